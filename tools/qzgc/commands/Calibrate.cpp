// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Calibrate.h"

#include "tools/qzgc/commands/CalibrateView.h"
#include "tools/qzgc/plot/ValueTap.h"
#include "tools/qzgc/session/ChosenController.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/Storing.h"
#include "tools/qzgc/terminal/KeyHelp.h"
#include "tools/qzgc/terminal/TerminalLoop.h"

#include <iomanip>
#include <iostream>

namespace qz::tools {

namespace {

/// Admits the chosen controller, and makes a note when it goes.
class CalibrationListener final : public ChosenControllerListener {
public:
    using ChosenControllerListener::ChosenControllerListener;

    void hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                      const std::shared_ptr<QZHIDDevice>& device) override {
        if (device) {
            isGone_ = true;
            if (onGone) {
                onGone();
            }
        }
    }

    bool isGone() const noexcept { return isGone_; }

    std::function<void()> onGone;

private:
    bool isGone_ = false;
};

/// Why a calibration ended without being finished.
void expectEnd(EventLoop::End end, const CalibrationListener& listener) {
    if (listener.isGone()) {
        throw Failure("the controller was unplugged: nothing was saved; plug it in and begin again");
    }
    if (end != EventLoop::End::Stopped && end != EventLoop::End::SourceEnded) {
        throw Failure(end == EventLoop::End::HungUp ? "the terminal has gone: nothing was saved"
                                                    : "interrupted: nothing was saved");
    }
}

void printTable(const std::vector<CalibrationRow>& rows) {
    std::size_t labels = 7;
    std::size_t ranges = 6;
    for (const CalibrationRow& each : rows) {
        labels = std::max(labels, each.label.size());
        ranges = std::max({ranges, rangeText(each.before).size(), rangeText(each.after).size()});
    }
    const auto label = std::setw(static_cast<int>(labels + 2));
    const auto range = std::setw(static_cast<int>(ranges + 2));
    std::cout << std::left << label << "control" << range << "before"
              << "after\n";
    for (const CalibrationRow& each : rows) {
        const std::string remark = remarkOn(each);
        std::cout << label << each.label << range << rangeText(each.before);
        if (remark.empty()) {
            std::cout << rangeText(each.after) << '\n';
        } else {
            std::cout << range << rangeText(each.after) << remark << '\n';
        }
    }
    if (const std::string advice = adviceOn(rows); !advice.empty()) {
        std::cout << advice << '\n';
    }
}

void printSaved(const ControllerIdentity& identity, const std::vector<CalibrationRow>& rows) {
    std::cout << "saved the calibration of " << identity.name << '\n';
    printTable(rows);
}

void appendRange(JSONText& json, std::string_view key, const CalibratedRange& range) {
    json.key(key)
        .beginObject()
        .member("minimum", range.minimum)
        .member("maximum", range.maximum)
        .member("rest", range.rest)
        .endObject();
}

void printJSON(const std::vector<CalibrationRow>& rows, const ControllerIdentity& identity, bool isSaved) {
    JSONText json;
    json.beginObject();
    appendMembers(json, identity);
    json.member("saved", isSaved).key("controls").beginArray();
    for (const CalibrationRow& each : rows) {
        json.beginObject()
            .member("cookie", each.cookie)
            .member("name", each.name)
            .member("nameKey", each.nameKey)
            .member("springsBack", each.springsBack)
            .member("moved", each.isMoved)
            .member("movedLittle", each.isMovedLittle)
            .member("movedPartly", isMovedPartly(each))
            .member("restFarOff", restsFarOff(each))
            .member("changed", each.isChanged());
        appendRange(json, "before", each.before);
        appendRange(json, "after", each.after);
        json.endObject();
    }
    std::cout << json.endArray().endObject().text() << '\n';
}

ExitStatus calibrateOnTerminal(Session& session, CalibrationListener& listener, Calibration& calibration) {
    {
        CalibrationGuide guide([&] { return calibration.rows(); });
        const auto now = [] {
            return std::chrono::duration_cast<CalibrationGuide::Time>(Clock::now().time_since_epoch());
        };
        KeyHelp help({{"Enter", "go on; in step 3 save, as y does"},
                      {"m", "in step 3: move more"},
                      {"n, q, Esc", "cancel; n in step 3 only"},
                      {"Up, Down", "scroll"},
                      {"Page Up, Page Down", "scroll by ten"},
                      {"Ctrl-C", "cancel"}});
        TerminalLoop* running = nullptr;
        TerminalLoop loop(
            session.source(), "use --seconds and --yes",
            [&](Canvas& canvas) {
                guide.tick(now());
                if (guide.step() == CalibrationGuide::Step::LettingGo) {
                    running->wake(); // stillness is told by time alone
                }
                if (help.isShown()) {
                    help.draw(canvas);
                } else {
                    drawCalibration(canvas, guide, listener.chosen().name);
                }
            },
            [&](int key) {
                if (!help.take(key)) {
                    guide.press(key, now());
                }
                if (guide.hasEnded()) {
                    running->stop();
                }
            });
        running = &loop;
        listener.onGone = [&] { loop.stop(); };
        const ValueTap tap(session, [&](const QZHIDElement&, std::int64_t) { loop.wake(); });
        const EventLoop::End end = loop.run();
        listener.onGone = nullptr;
        expectEnd(end, listener);
        if (!guide.isConfirmed()) {
            throw Failure("cancelled: nothing was saved");
        }
    }
    calibration.save();
    printSaved(listener.chosen(), calibration.rows());
    return finishOutput();
}

ExitStatus calibrateUnattended(Session& session, CalibrationListener& listener, Calibration& calibration,
                               const CalibrateOptions& options) {
    EventLoop loop(session.source());
    loop.endAfter(options.session);
    listener.onGone = [&] { loop.stop(); };
    const EventLoop::End end = loop.run();
    listener.onGone = nullptr;
    expectEnd(end, listener);

    const bool saves = options.yes && isAnyMoved(calibration.rows());
    if (saves) {
        calibration.save();
    }
    if (options.json) {
        printJSON(calibration.rows(), listener.chosen(), saves);
    } else if (saves) {
        printSaved(listener.chosen(), calibration.rows());
    } else {
        std::cout << listener.chosen().name << '\n';
        printTable(calibration.rows());
    }
    const ExitStatus printed = finishOutput();
    if (!saves) {
        throw Failure(options.yes ? "no control was moved: nothing was saved"
                                  : "nothing was saved; add --yes to save it");
    }
    return printed;
}

/// As if nothing were stored, lest what the library cannot use is in the way of its own removal.
ExitStatus removeCalibration(const CalibrateOptions& options) {
    SessionOptions looking = withoutWaiting(options.session);
    looking.mayStore = false;
    looking.passesOverStored = true;
    const auto listener = std::make_shared<ChosenControllerListener>(chooseController(looking, options.device));
    Session session(looking);
    const auto device = awaitChosen(session, looking, listener);
    const bool wasStored = removeStored(session.stored(), device->calibrationsPrefKey());
    const std::string& name = listener->chosen().name;
    std::cout << (wasStored ? "removed the calibration of " + name + "; the ranges that it declares count again\n"
                            : "no calibration of " + name + " is stored; the ranges that it declares count\n");
    return finishOutput();
}

} // namespace

ExitStatus calibrateController(const CalibrateOptions& options) {
    if (options.reset) {
        return removeCalibration(options);
    }
    const bool isUnattended =
        options.yes || options.json || options.session.seconds || !inputIsTerminal() || !outputIsTerminal();
    const bool isRecorded = !options.session.from.empty();
    if (isUnattended && !isRecorded && !options.session.seconds) {
        throw WrongUse("say how long to watch the controls: --seconds N; or name a recording with --from");
    }
    const auto listener = std::make_shared<CalibrationListener>(chooseController(options.session, options.device));
    Session session(options.session);
    Calibration calibration(session, awaitChosen(session, options.session, listener));
    return isUnattended ? calibrateUnattended(session, *listener, calibration, options)
                        : calibrateOnTerminal(session, *listener, calibration);
}

} // namespace qz::tools
