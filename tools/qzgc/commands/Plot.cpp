// SPDX-License-Identifier: MIT
#include "tools/qzgc/commands/Plot.h"

#include "tools/qzgc/plot/Pictures.h"
#include "tools/qzgc/session/Output.h"
#include "tools/qzgc/session/OutputFile.h"
#include "tools/qzgc/terminal/Screen.h"

#include <iostream>

namespace qz::tools {

namespace {

std::string draw(const PlotOptions& options) {
    if (options.control) {
        return pictureOf(gatherCurve(options.session, options.device, *options.control, options.hysteresis));
    }
    const TimeLine line = gatherTimeLine(options.session, options.device, TimeLineLayout::columns);
    return pictureOf(line, layOut(line));
}

} // namespace

ExitStatus plot(const PlotOptions& options) {
    if (!options.output && outputIsTerminal()) {
        throw WrongUse("the standard output is a terminal, which shows no picture; name a file with --output FILE.svg");
    }
    const std::string picture = draw(options);
    if (options.output && *options.output != "-") {
        replaceFile(*options.output, picture);
        return exitSuccess;
    }
    std::cout << picture;
    return finishOutput();
}

} // namespace qz::tools
