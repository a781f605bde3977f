// SPDX-License-Identifier: MIT
#include "tools/qzgc/CommandLine.h"
#include "tools/qzgc/TextFile.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>

using namespace qz::tools;

namespace {

/// Wrong use of the command line: what is wrong and where to read on, in one line.
ExitStatus explain(const CLI::App& app, const CLI::ParseError& error) {
    std::string reason = error.what();
    std::ranges::replace(reason, '\n', ' ');
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "qzgc" : "qzgc " + chosen.front()->get_name();
    std::cerr << "qzgc: " << reason << "; see '" << command << " --help'\n";
    return exitRefused;
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
        std::cerr << error.what() << '\n';
        return exitRefused;
    } catch (const WrongUse& error) {
        std::cerr << "qzgc: " << error.what() << '\n';
        return exitRefused;
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "qzgc: " << error.what() << '\n';
        return exitFailure;
    }
}
