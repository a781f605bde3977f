// SPDX-License-Identifier: MIT
#include "platform/report/ReportField.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace qz::platform {
namespace {

/// The field's number by the definition: bit for bit, the lowest first.
std::int64_t bitByBit(const std::vector<std::uint8_t>& report, const ReportField& field) {
    std::int64_t value = 0;
    for (std::uint32_t i = 0; i < field.width; ++i) {
        const std::uint32_t bit = field.offset + i;
        if ((report[bit / 8] >> (bit % 8) & 1) != 0) {
            const bool isSign = field.isSigned && i + 1U == field.width;
            value += (isSign ? -1 : 1) * (std::int64_t{1} << i);
        }
    }
    return value;
}

TEST(ReportField, AnswersWhatTheBitsSayAtEveryOffsetAndWidth) {
    std::mt19937 random(7);
    std::size_t compared = 0;
    for (std::uint32_t offset = 0; offset <= 23; ++offset) {
        for (std::uint8_t width = 1; width <= 32; ++width) {
            for (const bool isSigned : {false, true}) {
                const ReportField field{offset, width, isSigned};
                for (std::size_t extra = 0; extra < 8; ++extra) {
                    std::vector<std::uint8_t> report(field.end() + extra);
                    for (const int pattern : {0x00, 0xff, -1, -1, -1, -1}) {
                        for (auto& byte : report) {
                            byte = static_cast<std::uint8_t>(pattern < 0 ? random() : static_cast<unsigned>(pattern));
                        }
                        ASSERT_EQ(fieldValue(report, field), bitByBit(report, field))
                            << "offset " << offset << " width " << int{width} << " signed " << isSigned;
                        ++compared;
                    }
                }
            }
        }
    }
    EXPECT_EQ(compared, 24U * 32U * 2U * 8U * 6U);
}

TEST(ReportField, ReachesBothEndsOf32Bits) {
    const std::vector<std::uint8_t> ones(4, 0xff);
    const std::vector<std::uint8_t> lowest{0, 0, 0, 0x80};
    EXPECT_EQ(fieldValue(ones, {0, 32, false}), 4294967295);
    EXPECT_EQ(fieldValue(ones, {0, 32, true}), -1);
    EXPECT_EQ(fieldValue(lowest, {0, 32, true}), -2147483648);
    EXPECT_EQ(fieldValue(lowest, {0, 32, false}), 2147483648);
}

TEST(LittleEndianNumber, HasZerosForWhatIsBeyondTheEnd) {
    const std::vector<std::uint8_t> bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09};
    EXPECT_EQ(loadLittleEndian(bytes, 0), 0x0807060504030201U);
    EXPECT_EQ(loadLittleEndian(bytes, 1), 0x0908070605040302U);
    EXPECT_EQ(loadLittleEndian(bytes, 2), 0x09080706050403U);
    EXPECT_EQ(loadLittleEndian(bytes, 4), 0x0908070605U);
    EXPECT_EQ(loadLittleEndian(bytes, 5), 0x09080706U);
    EXPECT_EQ(loadLittleEndian(bytes, 6), 0x090807U);
    EXPECT_EQ(loadLittleEndian(bytes, 8), 0x09U);
    EXPECT_EQ(loadLittleEndian(bytes, 9), 0U);
    EXPECT_EQ(loadLittleEndian(bytes, 1000), 0U);
    EXPECT_EQ(loadLittleEndian({}, 0), 0U);
}

TEST(ReportField, EndsWithTheByteOfItsLastBit) {
    EXPECT_EQ((ReportField{0, 1, false}).end(), 1U);
    EXPECT_EQ((ReportField{0, 8, false}).end(), 1U);
    EXPECT_EQ((ReportField{1, 8, false}).end(), 2U);
    EXPECT_EQ((ReportField{7, 32, false}).end(), 5U);
}

} // namespace
} // namespace qz::platform
