// SPDX-License-Identifier: MIT
#include "QZGameController/QZGCConfigurationManager.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tests/support/ReportDescriptorChecks.h"
#include "tests/support/StoredConfigurationFromBytes.h"
#include "tests/support/StoredConfigurationModel.h"

/// Any stored configuration is read as far as it is well-formed, and what is written is read back as it is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qz::test::ActionNames names{{{{"X"}, {"Y1", "Y2"}, {"B"}}}, {{{{"oldX"}, {"oldY1", "oldY2"}, {"oldB"}}}}};
    const auto list = [](const auto& from) { return QZGCConfigurationManager::Actions(from.begin(), from.end()); };
    const auto& [x, y, b] = names.modern;
    const auto& [oldX, oldY, oldB] = *names.legacy;
    for (const bool isLegacy : {false, true}) {
        const auto stored = qz::test::StoredConfigurationFromBytes({data, size}, isLegacy).configuration();
        qz::platform::VirtualPlatform platform({{isLegacy ? "EkinorBindings" : "QZGameControllerConfig", stored}});
        for (int i = 0; i < 2; ++i) { // the second time from what the first one wrote
            QZGCConfigurationManager::create(list(x), list(y), list(b), list(oldX), list(oldY), list(oldB), platform)
                ->saveUserDefaults();
            const auto* const saved = platform.userDefaults().dictionaryForKey("QZGameControllerConfig");
            qz::test::check(isModernFormOf(*saved, modelConfiguration(stored, isLegacy, names)));
        }
    }
    return 0;
}
