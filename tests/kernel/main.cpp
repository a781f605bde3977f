// SPDX-License-Identifier: MIT
#include "tests/kernel/support/Results.h"

#include <gmock/gmock.h>

#include <csignal>
#include <unistd.h>

namespace {

constexpr unsigned secondsForATest = 60;

/// Gives every test its time.
class Watchdog final : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo& /*test*/) override { qz::tests::allowSeconds(secondsForATest); }
    void OnTestEnd(const ::testing::TestInfo& /*test*/) override { qz::tests::allowSeconds(0); }
};

void hangs(int /*signal*/) {
    constexpr std::string_view message = "the test above hangs\n";
    const ssize_t ignored = ::write(STDERR_FILENO, message.data(), message.size());
    ::_exit(ignored < 0 ? 3 : 2);
}

} // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    if (::access("/dev/uhid", W_OK) != 0) {
        std::perror("these tests belong into the machine of scripts/test-kernel: /dev/uhid");
        return 1;
    }
    std::signal(SIGALRM, hangs);
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
