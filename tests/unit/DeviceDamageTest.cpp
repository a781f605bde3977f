// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"
#include "tests/support/ReportDescriptorChecks.h"
#include "tests/support/ReportModel.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

// What real devices declare, cut anywhere and with any bit of it changed: within the limits, or refused at a place.

namespace qz::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> descriptorsOfRealDevices() {
    std::vector<Bytes> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator(QZGC_TEST_DATA "/devices")) {
        if (entry.path().extension() == ".hid") {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(file), {});
            descriptors.push_back(
                std::get<platform::Recording>(platform::readRecording(text)).devices.at(0).descriptor);
        }
    }
    return descriptors;
}

/// What the parser makes of the bytes, after a look at it; null when it refuses them.
std::optional<platform::ReportDescriptor> checked(std::span<const std::uint8_t> bytes) {
    auto result = platform::parseReportDescriptor(bytes);
    if (const auto* const error = std::get_if<platform::ReportDescriptorError>(&result)) {
        EXPECT_LE(error->offset, bytes.size());
        EXPECT_FALSE(error->reason.empty());
        return std::nullopt;
    }
    checkDescriptor(std::get<platform::ReportDescriptor>(result));
    return std::get<platform::ReportDescriptor>(std::move(result));
}

TEST(DeviceDamage, ADescriptorCutAnywhereIsRefusedOrWhatItsWholeItemsSay) {
    std::size_t cut = 0;
    std::size_t accepted = 0;
    for (const Bytes& bytes : descriptorsOfRealDevices()) {
        for (std::size_t length = 0; length < bytes.size(); ++length, ++cut) {
            const auto descriptor = checked(std::span(bytes).first(length));
            if (!descriptor) {
                continue;
            }
            ++accepted;
            ReportModel model(*descriptor);
            platform::ReportDevice device(*descriptor, {});
            for (const Bytes& report : {Bytes(64, 0xff), Bytes(64, 0), Bytes(3, 1), Bytes(1, 1)}) {
                ASSERT_EQ(deliveredBy(device, report), model.feed(report));
            }
        }
    }
    EXPECT_GT(cut, 15'000U);
    EXPECT_GT(accepted, 116U) << "at least no bytes at all";
}

TEST(DeviceDamage, ADescriptorWithAnyBitChangedKeepsToTheLimitsOrIsRefused) {
    std::size_t changed = 0;
    std::size_t refused = 0;
    for (Bytes& bytes : descriptorsOfRealDevices()) {
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit, ++changed) {
            const auto flip = static_cast<std::uint8_t>(1U << (bit % 8));
            bytes[bit / 8] ^= flip;
            refused += checked(bytes) ? 0U : 1U;
            bytes[bit / 8] ^= flip;
        }
    }
    EXPECT_GT(changed, 120'000U);
    EXPECT_GT(refused, changed / 100);
    EXPECT_LT(refused, changed);
}

} // namespace
} // namespace qz::test
