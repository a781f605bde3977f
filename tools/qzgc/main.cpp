// SPDX-License-Identifier: MIT
#include "tools/qzgc/CommandLine.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/session/Session.h"
#include "tools/qzgc/session/Text.h"

#include <algorithm>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <numeric>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

using namespace qz::tools;

namespace {

/// Takes up the standard descriptors that are closed, so that nothing that is opened later becomes one of them. Opened
/// the wrong way round: reading the one and writing to the others fails as it does where they are closed.
void occupyStandardDescriptors() {
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(each, F_GETFD) < 0) {
            // It becomes the lowest that is free, which is this one.
            static_cast<void>(::open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

/// One line of complaint, whatever names and arguments it repeats: no line ends, and nothing that steers a terminal.
ExitStatus complain(const std::string& message, ExitStatus status) {
    std::cerr << withoutControlCharacters(message) << '\n';
    return status;
}

/// How many characters have to be put in, left out or changed to make one text of the other.
std::size_t distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (const char each : from) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t changed = diagonal + (each == to[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({row[i] + 1, diagonal + 1, changed});
        }
    }
    return row.back();
}

/// The command that `word` must have been meant for, or else all there are.
std::string commandsFor(const CLI::App& app, const std::string& word) {
    constexpr std::size_t slips = 2;
    std::string all;
    for (const CLI::App* const each : app.get_subcommands([](const CLI::App*) { return true; })) {
        const std::string& name = each->get_name();
        if (distance(word, name) <= slips) {
            return "the nearest is " + name;
        }
        all += (all.empty() ? "there is " : ", ") + name;
    }
    return all;
}

std::string faultOf(const CLI::App& app, const CLI::ParseError& error) {
    const auto chosen = app.get_subcommands();
    const std::vector<std::string> extras = (chosen.empty() ? &app : chosen.front())->remaining();
    const auto word = std::ranges::find_if(extras, [](const std::string& each) { return !each.starts_with('-'); });
    if (word == extras.end()) {
        return error.what();
    }
    if (chosen.empty()) {
        return "no command is called \"" + *word + "\"; " + commandsFor(app, *word);
    }
    if (chosen.front()->get_option_no_throw("--from") != nullptr && isFile(*word)) {
        return error.what() + ("; to take the devices of a recording, use --from " + fileWord(*word));
    }
    const bool takesControls = chosen.front()->get_name() == "map";
    return error.what() + std::string(takesControls ? "; a name with blanks wants quotes, as in 'Button 3=fire'" : "");
}

/// Wrong use of the command line: what is wrong and where to read on.
ExitStatus explain(const CLI::App& app, const CLI::ParseError& error) {
    const auto chosen = app.get_subcommands();
    const std::string command = chosen.empty() ? "qzgc" : "qzgc " + chosen.front()->get_name();
    return complain("qzgc: " + faultOf(app, error) + "; see '" + command + " --help'", exitRefused);
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
    occupyStandardDescriptors();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        return complain("qzgc: " + std::string(error.what()), exitFailure);
    }
}
