// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/List.h"

#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/session/Output.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace qz::tools {

namespace {

struct Unusable {
    ControllerIdentity identity;
    platform::IOReturn why;
};

class ListListener final : public Listener {
public:
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override {
        unusable_.push_back({identityOf(manager, device), why});
    }
    void hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn error) override {
        std::cerr << "qzgc: " << statusText(error) << remedyText(error) << '\n';
    }

    const std::vector<Unusable>& unusable() const noexcept { return unusable_; }

private:
    std::vector<Unusable> unusable_;
};

using ControlCounts = std::map<ControlKind, std::size_t>;

ControlCounts countControls(const QZHIDDevice& device) {
    ControlCounts counts;
    for (const auto& each : controlsOf(device)) {
        const ControlKind kind = kindOf(*each);
        ++counts[kind == ControlKind::Consumer ? ControlKind::Other : kind];
    }
    return counts;
}

std::string countsText(ControlCounts counts) {
    std::string text = countText(counts[ControlKind::Button], "button") + ", " +
                       countText(counts[ControlKind::Moving], "moving control");
    if (counts[ControlKind::Hat] > 0) {
        text += ", " + countText(counts[ControlKind::Hat], "hat");
    }
    if (counts[ControlKind::DirectionPadButton] > 0) {
        text += ", " + countText(counts[ControlKind::DirectionPadButton], "direction pad button");
    }
    if (counts[ControlKind::Other] > 0) {
        text += ", " + countText(counts[ControlKind::Other], "other control");
    }
    return text;
}

bool isCalibrated(Session& session, const QZHIDDevice& device) {
    return session.platform().userDefaults().dictionaryForKey(device.calibrationsPrefKey()) != nullptr;
}

bool isConfigured(Session& session, const QZHIDDevice& device) {
    return session.configuration()->existingConfiguration(device) != nullptr;
}

void printDevice(Session& session, const QZHIDDevice& device) {
    const ControllerIdentity identity = inPrint(identityOf(device));
    std::cout << identity.name << '\n'
              << "  kind        " << identity.kind << (identity.bus.empty() ? "" : ", " + identity.bus) << '\n'
              << "  type        " << identity.typeID << '\n'
              << "  instance    " << identity.instanceID << '\n'
              << "  controls    " << countsText(countControls(device)) << '\n'
              << "  calibrated  " << (isCalibrated(session, device) ? "yes" : "no") << '\n'
              << "  configured  " << (isConfigured(session, device) ? "yes" : "no") << '\n';
}

void printUnusable(const Unusable& unusable) {
    const ControllerIdentity identity = inPrint(unusable.identity);
    std::cout << identity.name << '\n'
              << "  kind        " << identity.kind << (identity.bus.empty() ? "" : ", " + identity.bus) << '\n'
              << "  type        " << identity.typeID << '\n'
              << "  instance    " << identity.instanceID << '\n'
              << "  not usable  " << statusText(unusable.why) << remedyText(unusable.why) << '\n';
}

void printNothing(const SessionOptions& options) {
    const auto later = options.from.empty() ? std::vector<ControllerIdentity>{} : findControllers(options).usable;
    std::cout << (later.empty()
                      ? "no controllers\n"
                      : "no controllers when the recording begins; plugged in later: " + listText(later) + '\n');
}

void appendDevice(JSONText& text, Session& session, const QZHIDDevice& device) {
    ControlCounts counts = countControls(device);
    text.beginObject();
    appendMembers(text, identityOf(device));
    text.member("usable", true).key("controls").beginObject();
    text.member("buttons", counts[ControlKind::Button])
        .member("movingControls", counts[ControlKind::Moving])
        .member("hats", counts[ControlKind::Hat])
        .member("directionPadButtons", counts[ControlKind::DirectionPadButton])
        .member("others", counts[ControlKind::Other])
        .endObject();
    text.member("calibrated", isCalibrated(session, device))
        .member("configured", isConfigured(session, device))
        .endObject();
}

void appendUnusable(JSONText& text, const Unusable& unusable) {
    text.beginObject();
    appendMembers(text, unusable.identity);
    text.member("usable", false).member("status", unusable.why).member("reason", statusText(unusable.why)).endObject();
}

} // namespace

ExitStatus listControllers(const SessionOptions& options, bool json) {
    Session session(options);
    const auto listener = std::make_shared<ListListener>();
    session.start(listener);
    session.settle();
    if (json) {
        JSONText text;
        text.beginArray();
        for (const auto& device : session.manager().devices()) {
            appendDevice(text, session, *device);
        }
        for (const Unusable& each : listener->unusable()) {
            appendUnusable(text, each);
        }
        std::cout << text.endArray().text() << '\n';
        return finishOutput();
    }
    for (const auto& device : session.manager().devices()) {
        printDevice(session, *device);
    }
    std::ranges::for_each(listener->unusable(), printUnusable);
    if (session.manager().devices().empty() && listener->unusable().empty()) {
        printNothing(options);
    }
    return finishOutput();
}

} // namespace qz::tools
