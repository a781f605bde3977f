// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ManagerStory.h"

#include <ostream>

namespace qz::tests {

/// One way to get a manager to call its delegate: everything that a delegate may do is tried at each of them.
struct Moment {
    std::string name; ///< letters: part of the tests' names
    Callback callback;

    /// Sets the manager up and leads to where the next turn of the loop calls the callback, for a device named "pad".
    void (*leadTo)(ManagerStory& story);

    EventLog upToCallback; ///< what that turn reports, the callback's own line being the last
    EventLog afterwards;   ///< what it goes on to report when the callback returns

    /// The connected devices when the callback ends by an exception, and when it returns.
    std::vector<std::string> connectedAfterException;
    std::vector<std::string> connectedAfterReturn;

    EventLog events() const {
        EventLog all = upToCallback;
        all.insert(all.end(), afterwards.begin(), afterwards.end());
        return all;
    }

    friend std::ostream& operator<<(std::ostream& out, const Moment& moment) { return out << moment.name; }
};

/// Every moment. A new callback is added here, and with it come all the stories.
std::vector<Moment> moments();

} // namespace qz::tests
