// SPDX-License-Identifier: MIT
#include "tools/qzgc/monitor/EventLines.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

namespace qz::tools {

namespace {

template<typename... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 64> buffer{};
    const int length = std::snprintf(buffer.data(), buffer.size(), format, values...);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string describe(const ControllerIdentity& identity) {
    return identity.name + (identity.bus.empty() ? "" : ", " + identity.bus) + ", " + identity.instanceID;
}

} // namespace

std::string timeText(std::chrono::microseconds time) {
    return formatted("%5" PRId64 ".%06" PRId64, static_cast<std::int64_t>(time.count() / 1'000'000),
                     static_cast<std::int64_t>(time.count() % 1'000'000));
}

EventLines::EventLines(Options options, Time time, Sink sink)
    : options_(std::move(options)), time_(std::move(time)), sink_(std::move(sink)) {}

bool EventLines::hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    return isMeant(options_.device, identityOf(manager, device));
}

void EventLines::hidManagerDeviceConnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) {
    Controller controller{++connectedSoFar_, identityOf(*device)};
    if (!options_.json) {
        controller.names = controlNames(*device);
    }
    controllers_.insert_or_assign(device.get(), controller);
    tellController("connected", controller);
}

void EventLines::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDDevice>& device) {
    // Null for one that could not be used and has gone.
    if (const auto found = controllers_.find(device.get()); found != controllers_.end()) {
        tellController("disconnected", found->second);
        controllers_.erase(found);
    }
}

void EventLines::hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/, const std::shared_ptr<QZHIDElement>& element,
                                              std::int64_t newRawValue) {
    const auto found = controllers_.find(element->device().get());
    moved_ = {found != controllers_.end() ? found->second.number : 0, element->cookie(), element->name()};
    if (found != controllers_.end() && !options_.json) {
        moved_.name = found->second.names.at(moved_.cookie);
    }
    if (!options_.raw) {
        return;
    }
    if (options_.json) {
        send(jsonBegin("raw", moved_.controller)
                 .member("control", moved_.name)
                 .member("cookie", moved_.cookie)
                 .member("raw", newRawValue));
    } else {
        send(lineBegin("raw", moved_.controller) + moved_.name + " (" + std::to_string(moved_.cookie) +
             "): " + std::to_string(newRawValue));
    }
}

void EventLines::hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action, double newValue) {
    if (options_.json) {
        send(jsonBegin("action", moved_.controller)
                 .member("action", action)
                 .member("value", newValue)
                 .member("control", moved_.name)
                 .member("cookie", moved_.cookie));
    } else {
        send(lineBegin("action", moved_.controller) + withoutControlCharacters(action) + ": " +
             formatted("%.4f", newValue) + "  " + moved_.name + " (" + std::to_string(moved_.cookie) + ')');
    }
}

void EventLines::hidManagerHidError(QZGCHIDManager& /*manager*/, platform::IOReturn error) {
    tellStatus("error", nullptr, error);
}

void EventLines::controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) {
    const ControllerIdentity identity = identityOf(manager, device);
    if (isMeant(options_.device, identity)) {
        tellStatus("unusable", &identity, why);
    }
}

void EventLines::tellController(std::string_view event, const Controller& controller) {
    if (options_.json) {
        JSONText json = jsonBegin(event, controller.number);
        appendMembers(json, controller.identity);
        send(json);
    } else {
        send(lineBegin(event, controller.number) + describe(controller.identity));
    }
}

void EventLines::tellStatus(std::string_view event, const ControllerIdentity* identity, platform::IOReturn status) {
    if (options_.json) {
        JSONText json = jsonBegin(event, 0);
        if (identity != nullptr) {
            appendMembers(json, *identity);
        }
        send(json.member("status", status).member("reason", statusText(status)));
    } else {
        send(lineBegin(event, 0) + (identity != nullptr ? describe(*identity) + ": " : "") + statusText(status) +
             remedyText(status));
    }
}

std::string EventLines::lineBegin(std::string_view event, std::size_t controller) const {
    std::string line = timeText(time_()) + "  " + (controller == 0 ? "-" : '#' + std::to_string(controller));
    line.resize(std::max<std::size_t>(line.size() + 1, 18), ' ');
    line.append(event);
    line.resize(std::max<std::size_t>(line.size() + 1, 32), ' ');
    return line;
}

JSONText EventLines::jsonBegin(std::string_view event, std::size_t controller) const {
    JSONText json;
    // Six decimals survive the way through a double for as long as a recording can be.
    json.beginObject().member("time", static_cast<double>(time_().count()) / 1e6).member("event", event);
    if (controller != 0) {
        json.member("controller", controller);
    }
    return json;
}

void EventLines::send(std::string line) {
    sink_(line += '\n');
}

void EventLines::send(JSONText& json) {
    send(json.endObject().text());
}

} // namespace qz::tools
