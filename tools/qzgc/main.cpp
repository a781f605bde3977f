// SPDX-License-Identifier: MIT
#include "QZGameController/QZGameController.h"
#include "tools/qzgc/Elements.h"
#include "tools/qzgc/Simulate.h"

#include <CLI/CLI.hpp>

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
    CLI::App app("Looks at game controllers and at what an application makes of them.", "qzgc");
    app.set_version_flag("--version", std::string(QZGameControllerVersionString), "Print the version and exit");

    std::string scenario;
    CLI::App* const simulateCommand = app.add_subcommand(
        "simulate", "Plays a scenario file on virtual devices and prints what the application receives, a line each.");
    simulateCommand->add_option("FILE", scenario, "The scenario; - is the standard input")->required();

    std::string descriptor;
    CLI::App* const elementsCommand = app.add_subcommand(
        "elements", "Prints the elements that a report descriptor makes, each under its collection.");
    elementsCommand
        ->add_option(
            "--descriptor", descriptor,
            "A file with the descriptor's bytes, hexadecimal digits for them, or a recording; or the digits themselves")
        ->type_name("FILE-OR-HEX")
        ->required();

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
    return *elementsCommand ? printElementsOfDescriptor(descriptor) : simulate(scenario);
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
