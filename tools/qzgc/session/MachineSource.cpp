// SPDX-License-Identifier: MIT
#include "platform/RunLoop.h"
#include "tools/qzgc/session/Source.h"

namespace qz::tools {

namespace {

class MachineSource final : public Source {
public:
    platform::Platform& platform() override { return platform::Platform::standard(); }
    int fileDescriptor() override { return runLoop().fileDescriptor(platform::kCFRunLoopDefaultMode); }
    std::optional<Clock::time_point> due() const override { return std::nullopt; }
    std::size_t turn() override { return runLoop().dispatch(platform::kCFRunLoopDefaultMode); }
    bool hasEnded() const override { return false; }
    std::chrono::microseconds time() const override {
        return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin_);
    }

private:
    platform::RunLoop& runLoop() { return platform().currentRunLoop(); }

    Clock::time_point begin_ = Clock::now();
};

} // namespace

std::unique_ptr<Source> makeMachineSource() {
    return std::make_unique<MachineSource>();
}

} // namespace qz::tools
