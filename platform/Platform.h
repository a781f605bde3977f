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
/// platform is used on one thread; a second thread makes a platform of its own.
class QZGC_EXPORT Platform {
public:
    /// The platform of this system, made on first use: the real preferences, log and run loop.
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
