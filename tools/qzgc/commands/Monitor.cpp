// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Monitor.h"

#include "tools/qzgc/monitor/EventLines.h"
#include "tools/qzgc/monitor/MonitorScreen.h"
#include "tools/qzgc/session/Controllers.h"
#include "tools/qzgc/session/EventLoop.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/terminal/Screen.h"

#include <algorithm>
#include <unistd.h>

namespace qz::tools {

namespace {

ExitStatus printEvents(const MonitorOptions& options) {
    Session session(options.session);
    EventLoop loop(session.source());
    Output output(STDOUT_FILENO, "standard output",
                  [&](int fileDescriptor) { return loop.waitUntilWritable(fileDescriptor); });
    const auto listener = std::make_shared<EventLines>(
        EventLines::Options{.device = options.device, .json = options.json, .raw = options.raw},
        [&] { return session.source().time(); },
        [&](const std::string& line) {
            if (!output.write(line)) {
                loop.stop();
            }
        });
    if (output.isPipe()) {
        // Whoever has read enough need not wait for one more event.
        loop.onHangUp(STDOUT_FILENO, [&] { loop.stop(); });
    }
    loop.endAfter(options.session);
    session.manager().setReportRawValues(true);
    session.start(listener);
    if (loop.run() == EventLoop::End::SourceEnded && listener->connectedSoFar() == 0) {
        throw Failure(whyNoneCame(options.session));
    }
    return exitSuccess;
}

/// Whatever the pace and the limit are, a name that no controller of the recording has is told at the beginning.
void expectMeant(const MonitorOptions& options) {
    if (options.session.from.empty() || options.device.empty()) {
        expectNoFile(options.session, options.device);
        return;
    }
    const FoundControllers found = findControllers(options.session);
    if (found.usable.empty()) {
        throw Failure(noControllersText(options.session));
    }
    const bool isAnyMeant = std::ranges::any_of(
        found.usable, [&](const ControllerIdentity& each) { return isMeant(options.device, each); });
    if (!isAnyMeant) {
        throw Failure("the recording has no controller called \"" + options.device + "\"; " +
                      commandText("list", options.session) + " names those that it has");
    }
}

} // namespace

ExitStatus monitor(const MonitorOptions& options) {
    expectMeant(options);
    const bool isView = !options.lines && !options.json && inputIsTerminal() && outputIsTerminal();
    return isView ? watchControllers(options) : printEvents(options);
}

} // namespace qz::tools
