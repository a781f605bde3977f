// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/ValueTap.h"

#include <utility>

namespace qz::tools {

using namespace platform;

ValueTap::ValueTap(Session& session, Handler handler) : manager_(session.manager()), handler_(std::move(handler)) {
    IOHIDManagerRegisterInputValueCallback(manager_.gameControllerHidManager(), valueCame, this);
}

ValueTap::~ValueTap() {
    IOHIDManagerRegisterInputValueCallback(manager_.gameControllerHidManager(), inputValueCallback, &manager_);
}

void ValueTap::valueCame(void* context, IOReturn result, void* sender, IOHIDValueRef value) {
    auto& tap = *static_cast<ValueTap*>(context);
    if (result == kIOReturnSuccess) {
        if (const auto element = tap.manager_.elementForValueRef(value)) {
            tap.handler_(*element, IOHIDValueGetIntegerValue(value));
        }
    }
    inputValueCallback(&tap.manager_, result, sender, value);
}

} // namespace qz::tools
