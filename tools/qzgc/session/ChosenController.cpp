// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/ChosenController.h"

#include "tools/qzgc/session/EventLoop.h"

#include <iostream>

namespace qz::tools {

namespace {

bool isThere(Session& session) {
    return !session.manager().devices().empty();
}

/// What is sent before the controller comes is of no interest, and its coming is the last thing that is handled here.
void waitFor(Session& session, const SessionOptions& options, const ControllerIdentity& chosen) {
    if (!options.fast) {
        std::cerr << "qzgc: waiting for " << listText({chosen}) << ", which the recording plugs in later\n";
    }
    EventLoop loop(session.source());
    loop.endAfter(options);
    loop.onTurn([&] {
        if (isThere(session)) {
            loop.stop();
        }
    });
    const EventLoop::End end = loop.run();
    if (end == EventLoop::End::Interrupted || end == EventLoop::End::HungUp) {
        throw Failure("ended before the controller was plugged in; nothing was changed");
    }
    if (!isThere(session) && options.seconds) {
        throw Failure("the recording plugs the controller in after the time that --seconds gives: nothing was "
                      "saved; give it more");
    }
}

} // namespace

SessionOptions withoutWaiting(SessionOptions options) {
    options.fast = options.fast || !options.from.empty();
    return options;
}

std::shared_ptr<QZHIDDevice> awaitChosen(Session& session, const SessionOptions& options,
                                         const std::shared_ptr<ChosenControllerListener>& listener) {
    session.start(listener);
    session.settle();
    if (!isThere(session) && !options.from.empty()) {
        waitFor(session, options, listener->chosen());
    }
    const auto devices = session.manager().devices();
    if (devices.empty()) {
        throw Failure("the controller has gone; attach it again");
    }
    return devices.front();
}

} // namespace qz::tools
