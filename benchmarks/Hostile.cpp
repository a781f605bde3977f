// SPDX-License-Identifier: MIT
#include "benchmarks/Hostile.h"

#include <initializer_list>

namespace qz::bench {

namespace {

constexpr std::size_t longest = 4096;

class Builder {
public:
    Builder& add(std::initializer_list<int> bytes) {
        for (const int byte : bytes) {
            descriptor_.push_back(static_cast<std::uint8_t>(byte));
        }
        return *this;
    }
    Builder& repeat(std::initializer_list<int> bytes, std::size_t times) {
        for (std::size_t i = 0; i < times; ++i) {
            add(bytes);
        }
        return *this;
    }
    /// As often as there is room, `after` bytes left free.
    Builder& fill(std::initializer_list<int> bytes, std::size_t after = 0) {
        return repeat(bytes, (longest - after - descriptor_.size()) / bytes.size());
    }
    std::vector<std::uint8_t> take() { return std::move(descriptor_); }

private:
    std::vector<std::uint8_t> descriptor_;
};

/// 16,384 buttons, each of its own usage from a list of single usages as long as there is room.
std::vector<std::uint8_t> mostElements() {
    return Builder()
        .add({0x05, 0x09, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x96, 0x00, 0x40})
        .fill({0x09, 0x07}, 2)
        .add({0x81, 0x02})
        .take();
}

/// 255 reports of 64 numbers each: the most bytes that are compared with the last report.
std::vector<std::uint8_t> mostFields() {
    Builder builder;
    builder.add({0x05, 0x09, 0x15, 0x00, 0x25, 0x01, 0x75, 0x20, 0x95, 0x40});
    for (int id = 1; id <= 255; ++id) {
        builder.add({0x85, id, 0x09, 0x07, 0x81, 0x02});
    }
    return builder.take();
}

/// 16,382 elements in two collections, 32,765 memberships.
std::vector<std::uint8_t> mostMemberships() {
    return Builder()
        .add({0x05, 0x09, 0xa0, 0xa0, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x96, 0xfe, 0x3f})
        .fill({0x09, 0x07}, 4)
        .add({0x81, 0x02, 0xc0, 0xc0})
        .take();
}

/// 64 collections in each other, as many elements in the innermost as memberships allow.
std::vector<std::uint8_t> deepest() {
    return Builder()
        .add({0x05, 0x09, 0x15, 0x00, 0x25, 0x01, 0x75, 0x01, 0x96, 0xe0, 0x01})
        .repeat({0xa0}, 64)
        .fill({0x09, 0x07}, 66)
        .add({0x81, 0x02})
        .repeat({0xc0}, 64)
        .take();
}

/// 255 reports of 16,384 bytes, each an Array of bits with 64 usages.
std::vector<std::uint8_t> mostReports() {
    Builder builder;
    builder.add({0x05, 0x09, 0x15, 0x00, 0x25, 0x01, 0x75, 0x08, 0x96, 0x00, 0x40});
    for (int id = 1; id <= 255; ++id) {
        builder.add({0x85, id, 0x29, 0x3f, 0x81, 0x00});
    }
    return builder.take();
}

/// Collections alone, side by side within one.
std::vector<std::uint8_t> mostCollections() {
    return Builder().add({0xa0}).fill({0xa0, 0xc0}, 1).add({0xc0}).take();
}

} // namespace

std::vector<Hostile> hostileDescriptors() {
    return {{"elements", mostElements()}, {"fields", mostFields()},   {"memberships", mostMemberships()},
            {"depth", deepest()},         {"reports", mostReports()}, {"collections", mostCollections()}};
}

} // namespace qz::bench
