// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

namespace qz::platform {

class HIDServices;
class RunLoop;
class SystemLog;
class UserDefaults;

/// Everything that the library asks of the system it runs on, in one object.
///
/// The objects that an application creates take a platform, which must outlive them and everything made by them. A
/// platform takes no locks for its preferences and its HID services: they are used on one thread.
class QZGC_EXPORT Platform {
public:
    /// The platform of this system, made on first use and there to the end of the process: the user's preferences, the
    /// system's log, and a run loop for each thread that asks for one.
    static Platform& standard();

    Platform() = default;
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    virtual ~Platform();

    virtual HIDServices& hidServices() = 0;
    virtual RunLoop& currentRunLoop() = 0;
    virtual UserDefaults& userDefaults() = 0;
    virtual SystemLog& systemLog() = 0;
};

} // namespace qz::platform
