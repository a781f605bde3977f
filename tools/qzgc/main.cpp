// SPDX-License-Identifier: MIT
#include "tools/qzgc/CommandLine.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Text.h"

#include <exception>
#include <iostream>
#include <string>

using namespace qz::tools;

namespace {

/// One line of complaint, whatever names and arguments it repeats: no line ends, and nothing that steers a terminal.
ExitStatus complain(const std::string& message, ExitStatus status) {
    std::cerr << withoutControlCharacters(message) << '\n';
    return status;
}

/// Wrong use of the command line: what is wrong and where to read on.
ExitStatus explain(const CLI::App& app, const CLI::ParseError& error) {
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "qzgc" : "qzgc " + chosen.front()->get_name();
    return complain("qzgc: " + std::string(error.what()) + "; see '" + command + " --help'", exitRefused);
}

int run(int argc, char** argv) {
    CommandLine commandLine;
    CLI::App& app = commandLine.app();
    try {
        app.parse(argc, argv);
        // Not by the parser, which would say this of an unknown subcommand too.
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (const CLI::Success& done) {
        return app.exit(done); // help or version
    } catch (const CLI::ParseError& error) {
        return explain(app, error);
    }
    try {
        return commandLine.run();
    } catch (const FileError& error) {
        return complain(error.what(), exitRefused);
    } catch (const WrongUse& error) {
        return complain("qzgc: " + std::string(error.what()), exitRefused);
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return complain("qzgc: " + std::string(error.what()), exitFailure);
    }
}
