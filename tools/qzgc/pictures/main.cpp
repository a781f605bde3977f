// SPDX-License-Identifier: MIT
// Draws the pictures of full-screen views for the pages; scripts/pictures runs it. It is not installed.
#include "tools/qzgc/ExitStatus.h"
#include "tools/qzgc/monitor/MonitorListener.h"
#include "tools/qzgc/monitor/MonitorView.h"
#include "tools/qzgc/terminal/CanvasPicture.h"

#include <iostream>

using namespace qz::tools;

namespace {

/// The monitor at the end of a recording, as `qzgc replay --fast` leaves it.
std::string monitorPicture(const std::string& recording) {
    Session session({.from = recording, .fast = true});
    const auto listener = std::make_shared<MonitorListener>(
        "", [&] { return session.source().time(); }, [](bool /*soon*/) {});
    listener->follow(session.manager());
    session.start(listener);
    while (!session.source().hasEnded()) {
        session.source().turn();
        listener->refresh();
    }
    Canvas canvas(16, 88);
    drawMonitor(canvas, listener->model(), session.source().time());
    return canvasPicture(canvas, "qzgc monitor");
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 2) {
            throw WrongUse("usage: qzgc_pictures RECORDING");
        }
        std::cout << monitorPicture(argv[1]) << std::flush;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return exitFailure;
    }
    return std::cout ? exitSuccess : exitFailure;
}
