// SPDX-License-Identifier: MIT
#include "tools/qzgc/Simulate.h"

#include "tools/qzgc/JSONText.h"
#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioRunner.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <system_error>

namespace qz::tools {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

/// A file's name as it stands in a message of one line.
std::string inPrint(const std::string& name) {
    return name.find_first_of("\r\n") == std::string::npos ? name : jsonString(name);
}

std::string readAll(std::FILE* file, const std::string& name) {
    std::string text;
    std::array<char, 65536> buffer{};
    while (file != nullptr && std::feof(file) == 0 && std::ferror(file) == 0) {
        text.append(buffer.data(), std::fread(buffer.data(), 1, buffer.size(), file));
    }
    if (file == nullptr || std::ferror(file) != 0) {
        throw ScenarioError(inPrint(name), "cannot be read: " + std::generic_category().message(errno));
    }
    return text;
}

std::string readFile(const std::string& name) {
    if (name == "-") {
        return readAll(stdin, "standard input");
    }
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
    return readAll(file.get(), name);
}

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
    }
    runScenario(scenario, printLine);
    if (!std::cout) {
        std::cerr << "qzgc: cannot write to standard output\n";
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace qz::tools
