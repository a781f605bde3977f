// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Map.h"

#include "tools/qzgc/commands/MapTerminal.h"
#include "tools/qzgc/session/ChosenController.h"
#include "tools/qzgc/session/Mapping.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/Storing.h"
#include "tools/qzgc/terminal/Screen.h"

#include <iomanip>
#include <iostream>

namespace qz::tools {

namespace {

/// Makes one edit and answers what it did, in a line.
std::string apply(const MapEdit& edit, Mapping& mapping, const SessionOptions& options) {
    if (edit.kind == MapEdit::Kind::Reset) {
        mapping.reset();
        return "reset to the default mapping";
    }
    const std::size_t sign = edit.kind == MapEdit::Kind::Set ? edit.text.find('=') : std::string::npos;
    const auto control = findControl(mapping.device(), edit.text.substr(0, sign), options);
    const std::string& label = mapping.label(*control);
    switch (edit.kind) {
    case MapEdit::Kind::Set:
        mapping.set(*control, edit.text.substr(sign + 1));
        return label + ": " + edit.text.substr(sign + 1);
    case MapEdit::Kind::Clear:
        mapping.clear(*control);
        return label + ": no action";
    default:
        const bool reversed = edit.kind == MapEdit::Kind::Reverse;
        mapping.setReversed(*control, reversed);
        return label + (reversed ? ": reversed" : ": not reversed");
    }
}

void printTable(const Mapping& mapping) {
    std::size_t width = 4;
    for (const MappedControl& each : mapping.controls()) {
        width = std::max(width, each.label.size());
    }
    const auto column = static_cast<int>(width + 2);
    std::cout << "cookie  " << std::left << std::setw(column) << "name"
              << "direction  action\n";
    for (const MappedControl& each : mapping.controls()) {
        std::cout << std::right << std::setw(6) << each.element->cookie() << "  " << std::left << std::setw(column)
                  << each.label << std::setw(11) << (each.reversed ? "reversed" : "")
                  << withoutControlCharacters(each.action.value_or("no action")) << '\n';
    }
}

void printMapping(const Mapping& mapping, const ControllerIdentity& identity, bool isStored) {
    std::cout << identity.name << (isStored ? "" : ": nothing is stored, so the default mapping serves") << '\n';
    printTable(mapping);
}

void printMappingAsJSON(const Mapping& mapping, const ControllerIdentity& identity, bool isStored) {
    JSONText json;
    json.beginObject();
    appendMembers(json, identity);
    json.member("stored", isStored);
    appendMembers(json, mapping);
    std::cout << json.endObject().text() << '\n';
}

/// What a shell has cut at a blank would be taken for DEVICE, and a controller looked for that nobody means.
void expectWholeEdits(const MapOptions& options) {
    const bool isRest = options.device.find('=') != std::string::npos;
    for (const MapEdit& each : options.edits) {
        if (each.kind == MapEdit::Kind::Set && each.text.find('=') == std::string::npos) {
            throw WrongUse(
                "--set " + each.text + ": give a control and an action, as in --set X=roll" +
                (isRest ? "; a name with blanks wants quotes: --set '" + each.text + ' ' + options.device + '\'' : ""));
        }
    }
}

/// Whatever is edited, the default mapping goes into the preferences too, with the actions that are known.
void expectKnownActions(const SessionOptions& options) {
    if (!options.application.empty() && options.actions.empty()) {
        throw WrongUse("--application " + options.application +
                       ": its actions are not known; name them with --actions FILE, or only look with --show");
    }
}

} // namespace

ExitStatus mapControls(const MapOptions& options) {
    const bool isOnTerminal =
        options.edits.empty() && !options.show && !options.json && inputIsTerminal() && outputIsTerminal();
    if (isOnTerminal || !options.edits.empty()) {
        expectKnownActions(options.session);
    }
    expectWholeEdits(options);
    if (isOnTerminal) {
        return mapOnTerminal(options.session, options.device);
    }
    const auto listener = std::make_shared<ChosenControllerListener>(chooseController(options.session, options.device));
    const SessionOptions fast = withoutWaiting(options.session);
    Session session(fast);
    const auto device = awaitChosen(session, fast, listener);
    const auto& configuration = session.configuration();
    const bool wasStored = configuration->existingConfiguration(*device) != nullptr;
    Mapping mapping(configuration, device);
    std::string done;
    for (const MapEdit& each : options.edits) {
        done += withoutControlCharacters(apply(each, mapping, options.session)) + '\n';
    }
    if (!options.edits.empty()) {
        storeMappings(session);
    }
    const bool isStored = wasStored || !options.edits.empty();
    if (options.json) {
        printMappingAsJSON(mapping, listener->chosen(), isStored);
        return finishOutput();
    }
    std::cout << done;
    if (options.show || options.edits.empty()) {
        printMapping(mapping, listener->chosen(), isStored);
    }
    for (const ActionConflict& each : mapping.conflicts()) {
        std::cout << conflictText(each) << '\n';
    }
    return finishOutput();
}

} // namespace qz::tools
