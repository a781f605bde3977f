// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Session.h"

#include <functional>
#include <string>

namespace qz::tools {

/// Lets `store` change what the preferences hold under `key`, and brings it to the disk. What cannot get there is taken
/// back, lest the end of the process tries once more and stores what was said to be lost. Throws Failure then.
void storeOrTakeBack(Session& session, const std::string& key, const std::function<void()>& store);

/// The same for all mappings.
void storeMappings(Session& session);

} // namespace qz::tools
