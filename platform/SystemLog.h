// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <string_view>

namespace qz::platform {

/// The log of the system that the process runs on. The library writes to it only on request.
class QZGC_EXPORT SystemLog {
public:
    SystemLog() = default;
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;
    virtual ~SystemLog();

    /// Writes one entry. `text` is UTF-8 and may hold line breaks. Failures are not reported.
    virtual void write(std::string_view text) = 0;
};

} // namespace qz::platform
