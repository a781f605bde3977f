// SPDX-License-Identifier: MIT
#include "benchmarks/Devices.h"

#include <cstdio>
#include <cstdlib>

/// Sends the given number of values through the whole road. Run it twice under an instruction counter: the difference
/// of the counts, divided by the difference of the numbers, is what one value costs.
int main(int argc, char** argv) {
    const long values = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (values <= 0) {
        std::fputs("usage: qzgc_bench_instructions NUMBER-OF-VALUES\n", stderr);
        return 2;
    }
    qz::bench::Application application(1, 10);
    application.configuration->setReverseDirection(true, *application.manager->devices().front()->elementWithCookie(1));
    const std::int64_t heard = application.delegate->values;
    for (long i = 0; i < values; ++i) {
        application.send(0, static_cast<std::size_t>(i % 4), (i / 4 * 7 + 2) & 255);
    }
    return application.delegate->values - heard == values ? 0 : 1;
}
