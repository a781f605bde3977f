// SPDX-License-Identifier: MIT
#include "tools/qzgc/CommandLine.h"

#include "QZGameController/QZGameController.h"
#include "tools/qzgc/Simulate.h"
#include "tools/qzgc/commands/Elements.h"
#include "tools/qzgc/commands/List.h"

namespace qz::tools {

namespace {

/// For what an empty text cannot be, such as the content of a variable that a script has not set.
std::string faultOfEmpty(const std::string& text) {
    return text.empty() ? "it is empty; give it a value, or leave the option out" : "";
}

} // namespace

CommandLine::CommandLine() : app_("Shows, calibrates, maps, records, replays and simulates game controllers.", "qzgc") {
    app_.set_version_flag("--version", std::string(QZGameControllerVersionString), "Print the version and exit");
    addList();
    addElements();
    addPlot();
    addSimulate();
}

CLI::App& CommandLine::addCommand(const char* name, const char* summary, Command command) {
    CLI::App& added = *app_.add_subcommand(name, summary);
    added.callback([this, command = std::move(command)] { chosen_ = command; });
    return added;
}

void CommandLine::addApplicationOptions(CLI::App& command) {
    command
        .add_option("--application", session_.application,
                    "Whose preferences are read and edited: the application's identifier. Without it, qzgc's own")
        ->type_name("ID")
        ->check(faultOfEmpty);
    command
        .add_option("--actions", session_.actions,
                    "The application's actions: a JSON object with the arrays \"x\", \"y\" and \"buttons\" of names. "
                    "Without it, a built-in set")
        ->type_name("FILE")
        ->check(faultOfEmpty);
}

void CommandLine::addSessionOptions(CLI::App& command) {
    addApplicationOptions(command);
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

void CommandLine::addList() {
    CLI::App& command = addCommand("list", "Lists the controllers that are attached, and those that cannot be used.",
                                   [this] { return listControllers(session_, json_); });
    addSessionOptions(command);
    addJSON(command);
}

void CommandLine::addElements() {
    CLI::App& command =
        addCommand("elements",
                   "Prints the elements of a controller or of a report descriptor, each under its collection.", [this] {
                       return !descriptor_ ? printElementsOfController(session_, device_, json_)
                                           : printElementsOfDescriptor(*descriptor_, json_);
                   });
    addDevice(command);
    command
        .add_option("--descriptor", descriptor_,
                    "In place of a controller: a file with a descriptor's bytes, hexadecimal digits for them, or a "
                    "recording; or the digits themselves")
        ->type_name("FILE-OR-HEX")
        ->excludes(command.get_option("DEVICE"));
    addSessionOptions(command);
    addJSON(command);
}

void CommandLine::addPlot() {
    CLI::App& command = addCommand("plot",
                                   "Draws a recording over time, with its controls and the actions that they trigger, "
                                   "or the curve of one control, "
                                   "as an SVG picture.",
                                   [this] {
                                       plot_.session = session_;
                                       plot_.session.from = file_;
                                       plot_.session.fast = true;
                                       plot_.device = device_;
                                       return plot(plot_);
                                   });
    command.add_option("RECORDING", file_, "What to draw; - is the standard input")->required();
    addDevice(command);
    command
        .add_option("--control", plot_.control,
                    "Draw how this control's raw values are normalised, in place of the time line: its name or its "
                    "cookie")
        ->type_name("CONTROL");
    command
        .add_option("--output", plot_.output,
                    "Write the picture to this file, whose old content stays until the new is complete; without it, to "
                    "the standard output")
        ->type_name("FILE.svg")
        ->check(faultOfEmpty);
    addApplicationOptions(command);
}

void CommandLine::addSimulate() {
    CLI::App& command = addCommand(
        "simulate", "Plays a scenario file on virtual devices and prints what the application receives, a line each.",
        [this] { return simulate(file_); });
    command.add_option("FILE", file_, "The scenario; - is the standard input")->required();
}

} // namespace qz::tools
