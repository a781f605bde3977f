// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Session.h"

#include <functional>

namespace qz::tools {

/// Shows every value that the controls of the connected devices send, before the library makes anything of it: also
/// those that its filter keeps back, because they come to the same on the normalised scale. Exists while a session does
/// that has been started.
class ValueTap {
public:
    using Handler = std::function<void(const QZHIDElement& element, std::int64_t raw)>;

    ValueTap(Session& session, Handler handler);
    ValueTap(const ValueTap&) = delete;
    ValueTap& operator=(const ValueTap&) = delete;
    ~ValueTap();

private:
    static void valueCame(void* context, platform::IOReturn result, void* sender, platform::IOHIDValueRef value);

    QZGCHIDManager& manager_;
    Handler handler_;
};

} // namespace qz::tools
