// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/MapTerminal.h"

#include "tools/qzgc/commands/MapView.h"
#include "tools/qzgc/session/ChosenController.h"
#include "tools/qzgc/session/Storing.h"
#include "tools/qzgc/terminal/KeyHelp.h"
#include "tools/qzgc/terminal/TerminalLoop.h"

#include <iostream>

namespace qz::tools {

namespace {

/// Tells the editor what the chosen controller does, once there is one.
class MapListener final : public ChosenControllerListener {
public:
    using ChosenControllerListener::ChosenControllerListener;

    void hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) override {
        for (const auto& each : elementsOf(*device)) {
            letEverythingThrough(*each);
        }
        if (editor != nullptr) {
            editor->pluggedIn(device, now());
            loop->wake();
        }
    }

    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& device) override {
        if (device && editor != nullptr) {
            editor->unplugged();
            loop->wake();
        }
    }

    void hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                      std::int64_t newRawValue) override {
        letEverythingThrough(*element);
        if (editor != nullptr) {
            editor->see(*element, newRawValue, now());
        }
    }

    static MapEditor::Time now() {
        return std::chrono::duration_cast<MapEditor::Time>(Clock::now().time_since_epoch());
    }

    MapEditor* editor = nullptr;
    TerminalLoop* loop = nullptr;

private:
    /// What is out of the calibrated range, or a hat's centre, normalises to an end of the scale like the value before
    /// it; no value equals this one.
    static void letEverythingThrough(QZHIDElement& element) { element.setLastReportedValue(-1.0); }
};

std::string save(Session& session) {
    try {
        storeMappings(session);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

} // namespace

ExitStatus mapOnTerminal(const SessionOptions& options, const std::string& device) {
    const auto listener = std::make_shared<MapListener>(chooseController(options, device));
    Session session(options);
    session.manager().setReportRawValues(true);
    session.manager().setReportMappedValues(false);
    Mapping mapping(session.configuration(), awaitChosen(session, options, listener));
    MapEditor editor(
        mapping, [&] { return save(session); }, commandText("list", options));
    KeyHelp help({{"Up, Down", "choose; also Page, Home, End"},
                  {"n", "the next without a control"},
                  {"Enter", "bind it"},
                  {"c", "take it off its controls"},
                  {"r", "turn its controls round"},
                  {"R", "the default mapping (it asks)"},
                  {"s", "save"},
                  {"q, Esc", "end; while binding: cancel"},
                  {"r, k", "conflict: replace, keep both"},
                  {"Ctrl-C", "end at once, without saving"}});
    TerminalLoop* running = nullptr;
    TerminalLoop loop(
        session.source(), "use options such as --show and --set",
        [&](Canvas& canvas) {
            editor.tick(MapListener::now());
            if (editor.mode() == MapEditor::Mode::Listening) {
                running->wake();
            }
            if (help.isShown()) {
                help.draw(canvas);
            } else {
                drawMap(canvas, editor, listener->chosen().name, MapListener::now());
            }
        },
        [&](int key) {
            if (!help.take(key)) {
                editor.press(key, MapListener::now());
            }
            if (editor.hasEnded()) {
                running->stop();
            }
        });
    running = &loop;
    listener->editor = &editor;
    listener->loop = &loop;
    const EventLoop::End end = loop.run();
    listener->editor = nullptr;
    if (end != EventLoop::End::Stopped && editor.isChanged()) {
        throw Failure("ended before the changes were saved; they are lost");
    }
    return exitSuccess;
}

} // namespace qz::tools
