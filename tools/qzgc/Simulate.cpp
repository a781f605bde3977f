// SPDX-License-Identifier: MIT
#include "tools/qzgc/Simulate.h"

#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioRunner.h"
#include "tools/qzgc/TextFile.h"

#include <iostream>

namespace qz::tools {

namespace {

/// Each line leaves the process before the next step: a fatal error in the library would drop what is still buffered.
void printLine(const std::string& line) {
    std::cout << line << std::endl;
}

} // namespace

ExitStatus simulate(const std::string& file) {
    Scenario scenario;
    try {
        scenario = readScenario(readFile(file));
    } catch (const ScenarioError& error) {
        std::cerr << error.what() << '\n';
        return exitRefused;
    } catch (const FileError& error) {
        std::cerr << error.what() << '\n';
        return exitRefused;
    }
    runScenario(scenario, printLine);
    if (!std::cout) {
        std::cerr << "qzgc: cannot write to standard output\n";
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace qz::tools
