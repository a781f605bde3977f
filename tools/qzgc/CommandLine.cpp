// SPDX-License-Identifier: MIT
#include "tools/qzgc/CommandLine.h"

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/Simulate.h"
#include "tools/qzgc/commands/Calibrate.h"
#include "tools/qzgc/commands/Elements.h"
#include "tools/qzgc/commands/List.h"
#include "tools/qzgc/commands/Monitor.h"
#include "tools/qzgc/commands/Record.h"

#include <cmath>
#include <cstdlib>

namespace qz::tools {

namespace {

/// For what an empty text cannot be, such as the content of a variable that a script has not set.
std::string faultOfEmpty(const std::string& text) {
    return text.empty() ? "it is empty; give it a value, or leave the option out" : "";
}

/// CLI::Range compares in a way that "nan" passes.
std::string faultOfNumber(const std::string& text) {
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? "it is no number" : "";
}

} // namespace

CommandLine::CommandLine() : app_("Shows, calibrates, maps, records, replays and simulates game controllers.", "qzgc") {
    app_.set_version_flag("--version", std::string(QZGameControllerVersionString), "Print the version and exit");
    addList();
    addElements();
    addMonitor();
    addRecord();
    addReplay();
    addPlot();
    addMap();
    addCalibrate();
    addSimulate();
}

void CommandLine::addCommand(const char* name, const char* summary, Command command, Options options) {
    CLI::App& added = *app_.add_subcommand(name, summary);
    added.callback([this, command = std::move(command)] { chosen_ = command; });
    // Only once it is chosen: the options of all commands would take most of the time that a short one runs.
    added.preparse_callback([&added, options = std::move(options)](std::size_t) { options(added); });
}

void CommandLine::addPreferencesOptions(CLI::App& command) {
    command
        .add_option("--application", session_.application,
                    "Whose preferences are read and edited: the application's identifier. Without it, qzgc's own")
        ->type_name("ID")
        ->check(faultOfEmpty);
    command
        .add_option(
            "--actions", session_.actions,
            "The application's actions: a JSON object with the arrays \"x\", \"y\" and \"buttons\" of names, and "
            "\"legacyX\", \"legacyY\" and \"legacyButtons\" of those of an earlier version. Without it, a "
            "built-in set")
        ->type_name("FILE")
        ->check(faultOfEmpty);
}

void CommandLine::addSessionOptions(CLI::App& command) {
    addPreferencesOptions(command);
    addFrom(command);
}

void CommandLine::addFrom(CLI::App& command) {
    command
        .add_option("--from", session_.from,
                    "Take the devices of this recording, and what they sent, in place of what is attached; - is the "
                    "standard input")
        ->type_name("RECORDING")
        ->check(faultOfEmpty);
}

void CommandLine::addDevice(CLI::App& command) {
    command.add_option(
        "DEVICE", device_,
        "Which controller: its instance ID, its type ID or a part of its name. Not needed where there is "
        "only one");
}

void CommandLine::addJSON(CLI::App& command) {
    command.add_flag("--json", json_, "Print JSON for scripts");
}

void CommandLine::addFast(CLI::App& command) {
    command.add_flag("--fast", session_.fast, "Play the recording without waiting");
}

void CommandLine::addList() {
    addCommand(
        "list", "Lists the controllers that are attached, and those that cannot be used.",
        [this] { return listControllers(session_, json_); },
        [this](CLI::App& command) {
            addSessionOptions(command);
            addJSON(command);
        });
}

void CommandLine::addElements() {
    addCommand(
        "elements", "Prints the elements of a controller or of a report descriptor, each under its collection.",
        [this] {
            return !descriptor_ ? printElementsOfController(session_, device_, json_)
                                : printElementsOfDescriptor(*descriptor_, json_);
        },
        [this](CLI::App& command) {
            addDevice(command);
            command
                .add_option(
                    "--descriptor", descriptor_,
                    "In place of a controller: a file with a descriptor's bytes, hexadecimal digits for them, or a "
                    "recording; or the digits themselves")
                ->type_name("FILE-OR-HEX")
                ->excludes(command.get_option("DEVICE"));
            addSessionOptions(command);
            command.get_option("--descriptor")->excludes(command.get_option("--from"));
            addJSON(command);
        });
}

void CommandLine::addSeconds(CLI::App& command, const std::string& description) {
    command.add_option("--seconds", session_.seconds, description + "; with --fast, of the recording")
        ->type_name("NUMBER")
        ->check(CLI::Range(0.001, 1e9))
        ->check(faultOfNumber);
}

void CommandLine::addEventOptions(CLI::App& command) {
    CLI::Option* const lines = command.add_flag("--lines", lines_, "Print a line for each event, on a terminal too");
    command.add_flag("--json", json_, "Print a JSON object for each event")->excludes(lines);
    command.add_flag("--raw", raw_, "Print raw values too, beside those of actions");
}

ExitStatus CommandLine::runMonitor() const {
    return monitor({.session = session_, .device = device_, .lines = lines_, .json = json_, .raw = raw_});
}

void CommandLine::addMonitor() {
    addCommand(
        "monitor", "Shows live what controllers do: in a view that fills the terminal, or an event to a line.",
        [this] { return runMonitor(); },
        [this](CLI::App& command) {
            command.add_option("DEVICE", device_,
                               "Only controllers with this instance ID, this type ID or this text in their name");
            addEventOptions(command);
            addSeconds(command, "End after this time");
            addSessionOptions(command);
            addFast(command);
        });
}

void CommandLine::addRecord() {
    addCommand(
        "record", "Records controllers and all they send, as they come and go.",
        [this] { return record({.session = session_, .file = file_, .device = device_, .force = force_}); },
        [this](CLI::App& command) {
            command.add_option("FILE", file_, "The recording to write; - is the standard output")->required();
            command.add_option("DEVICE", device_,
                               "Only controllers with this instance ID, this type ID or this text in their name");
            command.add_flag("--force", force_, "Overwrite a file that is there already");
            addSeconds(command, "End after this time");
            addFrom(command);
            addFast(command);
        });
}

void CommandLine::addReplay() {
    addCommand(
        "replay", "Plays a recording through the whole library, and shows it as monitor does.",
        [this] { return runMonitor(); },
        [this](CLI::App& command) {
            command.add_option("FILE", session_.from, "The recording; - is the standard input")->required();
            command.add_option("DEVICE", device_,
                               "Only controllers with this instance ID, this type ID or this text in their name");
            addEventOptions(command);
            addSeconds(command, "End after this time");
            addPreferencesOptions(command);
            addFast(command);
        });
}

void CommandLine::addPlot() {
    addCommand(
        "plot",
        "Draws a recording over time, with its controls and the actions that they trigger, "
        "or the curve of one control, "
        "as an SVG picture.",
        [this] {
            plot_.session = session_;
            plot_.session.from = file_;
            plot_.session.fast = true;
            plot_.device = device_;
            return plot(plot_);
        },
        [this](CLI::App& command) {
            command.add_option("RECORDING", file_, "What to draw; - is the standard input")->required();
            addDevice(command);
            command
                .add_option(
                    "--control", plot_.control,
                    "Draw how this control's raw values are normalised, in place of the time line: its name or its "
                    "cookie")
                ->type_name("CONTROL");
            command
                .add_option("--hysteresis", plot_.hysteresis,
                            "With --control: shade the changes that an application with this hysteresis is not told")
                ->type_name("NUMBER")
                ->check(CLI::Range(0.0, 1.0))
                ->check(faultOfNumber)
                ->needs("--control");
            command
                .add_option(
                    "--output", plot_.output,
                    "Write the picture to this file, whose old content stays until the new is complete; without it, to "
                    "the standard output, unless that is a terminal")
                ->type_name("FILE.svg")
                ->check(faultOfEmpty);
            addPreferencesOptions(command);
        });
}

/// Edits are made in the order of the command line, whatever options they come from.
void CommandLine::addEdit(CLI::App& command, const char* name, MapEdit::Kind kind, const char* value,
                          const char* description) {
    command
        .add_option_function<std::string>(
            name,
            [this, kind](const std::string& text) {
                edits_.push_back({kind, text});
            },
            description)
        ->type_name(value)
        ->trigger_on_parse();
}

void CommandLine::addMap() {
    addCommand(
        "map", "Shows and changes which action each control of a controller triggers.",
        [this] {
            session_.mayStore = !edits_.empty() || (!show_ && !json_);
            return mapControls({.session = session_, .device = device_, .edits = edits_, .show = show_, .json = json_});
        },
        [this](CLI::App& command) {
            addDevice(command);
            addEdit(command, "--set", MapEdit::Kind::Set, "CONTROL=ACTION", "Let the control trigger the action");
            addEdit(command, "--clear", MapEdit::Kind::Clear, "CONTROL", "Let the control trigger nothing");
            addEdit(command, "--reverse", MapEdit::Kind::Reverse, "CONTROL",
                    "Let the control work in the reversed direction");
            addEdit(command, "--straight", MapEdit::Kind::Straight, "CONTROL", "Let it work in its own direction");
            command
                .add_flag_callback(
                    "--reset",
                    [this] {
                        edits_.push_back({MapEdit::Kind::Reset, ""});
                    },
                    "Go back to the default mapping")
                ->trigger_on_parse();
            command.add_flag("--show", show_, "Print the mapping, also after edits");
            addSessionOptions(command);
            addFast(command);
            addJSON(command);
        });
}

void CommandLine::addCalibrate() {
    addCommand(
        "calibrate", "Learns how far the axes of a controller go, and where they rest.",
        [this] {
            session_.mayStore = true;
            return calibrateController(
                {.session = session_, .device = device_, .yes = yes_, .json = json_, .reset = reset_});
        },
        [this](CLI::App& command) {
            addDevice(command);
            command.add_flag("--yes", yes_, "Save without asking; without a terminal, nothing is saved without it");
            addSeconds(command, "Watch the controls for this time, and do not ask");
            CLI::Option* const reset = command.add_flag(
                "--reset", reset_, "Remove what is stored for the model: the ranges that it declares count again");
            addSessionOptions(command);
            addFast(command);
            addJSON(command);
            for (const char* const measuring : {"--yes", "--seconds", "--json"}) {
                reset->excludes(command.get_option(measuring));
            }
        });
}

void CommandLine::addSimulate() {
    addCommand(
        "simulate", "Plays a scenario file on virtual devices and prints what the application receives, a line each.",
        [this] { return simulate(file_); },
        [this](CLI::App& command) {
            command.add_option("FILE", file_, "The scenario; - is the standard input")->required();
        });
}

} // namespace qz::tools
