// SPDX-License-Identifier: MIT
#include "tests/kernel/support/KernelHost.h"
#include "tests/support/Hosts.h"

namespace qz::tests {

namespace {

std::unique_ptr<Host> makeKernel() {
    return std::make_unique<KernelHost>();
}

} // namespace

std::vector<HostKind> hostKinds() {
    return {{"Kernel", makeKernel}};
}

} // namespace qz::tests
