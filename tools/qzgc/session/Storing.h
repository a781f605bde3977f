// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Session.h"

#include <functional>
#include <string>

namespace qz::tools {

/// Throws Failure when the preferences have not reached the disk.
void expectSaved(platform::UserDefaults& defaults);

/// Lets `store` change what the preferences hold under `key`, and brings it to the disk. What cannot get there is taken
/// back, lest the end of the process tries once more and stores what was said to be lost. Throws Failure then.
void storeOrTakeBack(platform::UserDefaults& defaults, const std::string& key, const std::function<void()>& store);

/// The same for all mappings.
void storeMappings(Session& session);

/// Takes the key out of the preferences on the disk, whatever it holds; false where they do not have it. Throws Failure
/// when they cannot be read or written.
bool removeStored(platform::UserDefaults& defaults, const std::string& key);

} // namespace qz::tools
