// SPDX-License-Identifier: MIT
#include "tools/qzgc/PrintingDelegate.h"

using qz::platform::IOHIDDeviceRef;
using qz::platform::IOReturn;

namespace qz::tools {

namespace {

JSONText event(std::string_view kind) {
    JSONText text;
    text.beginObject().member("event", kind);
    return text;
}

} // namespace

void PrintingDelegate::setAdmits(IOHIDDeviceRef device, bool admits) {
    if (admits) {
        refused_.erase(device);
    } else {
        refused_.insert(device);
    }
}

bool PrintingDelegate::hidManagerShouldConnectDevice(QZGCHIDManager& /*manager*/, IOHIDDeviceRef device) {
    const bool answer = !refused_.contains(device);
    lines_(
        event("shouldConnectDevice").member("device", names_.at(device)).member("answer", answer).endObject().text());
    return answer;
}

void PrintingDelegate::hidManagerDeviceConnected(QZGCHIDManager& /*manager*/,
                                                 const std::shared_ptr<QZHIDDevice>& device) {
    lines_(event("deviceConnected").member("device", name(device)).endObject().text());
}

void PrintingDelegate::hidManagerDeviceDisconnected(QZGCHIDManager& /*manager*/,
                                                    const std::shared_ptr<QZHIDDevice>& device) {
    lines_(event("deviceDisconnected").member("device", name(device)).endObject().text());
}

void PrintingDelegate::hidManagerElementNewRawValue(QZGCHIDManager& /*manager*/,
                                                    const std::shared_ptr<QZHIDElement>& element,
                                                    std::int64_t newRawValue) {
    lines_(event("newRawValue")
               .member("device", name(element->device()))
               .member("cookie", element->cookie())
               .member("raw", newRawValue)
               .endObject()
               .text());
}

void PrintingDelegate::hidManagerActionNewValue(QZGCHIDManager& /*manager*/, const std::string& action,
                                                double newValue) {
    lines_(event("newValue").member("action", action).member("value", newValue).endObject().text());
}

void PrintingDelegate::hidManagerHidError(QZGCHIDManager& /*manager*/, IOReturn error) {
    lines_(event("hidError").member("code", error).endObject().text());
}

std::optional<std::string> PrintingDelegate::name(const std::shared_ptr<QZHIDDevice>& device) const {
    return device ? std::optional(names_.at(device->ioHIDDeviceRef())) : std::nullopt;
}

} // namespace qz::tools
