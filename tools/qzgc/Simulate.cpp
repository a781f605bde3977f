// SPDX-License-Identifier: MIT
#include "tools/qzgc/Simulate.h"

#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioRunner.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/Session.h"

#include <cerrno>
#include <iostream>
#include <optional>

namespace qz::tools {

namespace {} // namespace

ExitStatus simulate(const std::string& file) {
    Scenario scenario;
    try {
        scenario = readScenario(readFile(file));
    } catch (const ScenarioError& error) {
        std::cerr << error.what() << '\n';
        return exitRefused;
    }
    std::optional<int> fault;
    runScenario(scenario, [&](const std::string& line) {
        // It leaves the process before the next step: a fatal error in the library would drop what is still buffered.
        errno = 0;
        if (!fault && !(std::cout << line << std::endl)) {
            fault = errno;
        }
    });
    if (fault) {
        throw Failure(cannotWrite("standard output", *fault));
    }
    return exitSuccess;
}

} // namespace qz::tools
