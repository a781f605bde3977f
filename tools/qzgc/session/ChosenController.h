// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/session/Controllers.h"

namespace qz::tools {

/// The same options for a command that does not depend on when a recorded controller does what.
SessionOptions withoutWaiting(SessionOptions options);

/// Starts the session with the listener, and answers its controller once that is there: a recording may plug it in
/// later, and then says so on the standard error unless it is played without waiting. Throws Failure.
std::shared_ptr<QZHIDDevice> awaitChosen(Session& session, const SessionOptions& options,
                                         const std::shared_ptr<ChosenControllerListener>& listener);

} // namespace qz::tools
