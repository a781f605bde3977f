// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyList.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Stored configurations made of bytes: of chance in the tests, of a fuzzer's choice elsewhere. Most of them have the
/// keys of the format in their places, and any value may be of any kind.
namespace qz::test {

class StoredConfigurationFromBytes {
public:
    explicit StoredConfigurationFromBytes(std::span<const std::uint8_t> bytes, bool legacyStyle)
        : bytes_(bytes), legacyStyle_(legacyStyle) {}

    platform::PropertyList configuration() {
        return odd() ? anything(0) : dictionary([&] { return deviceID(); }, [&] { return device(); });
    }

private:
    using Dictionary = platform::PropertyList::Dictionary;
    using Array = platform::PropertyList::Array;

    /// One of `count` choices; the first one when the bytes are used up, which is where every recursion ends.
    std::size_t choice(std::size_t count) {
        if (bytes_.empty()) {
            return 0;
        }
        const std::size_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte % count;
    }
    /// True now and then: time for something that is out of place.
    bool odd() { return choice(16) == 15; }

    std::string anyText() {
        std::string text;
        for (std::size_t length = choice(8); length > 0; --length) {
            text.push_back(static_cast<char>(choice(256)));
        }
        return text;
    }
    template<std::size_t Count>
    std::string oneOf(const std::array<const char*, Count>& texts) {
        return odd() ? anyText() : texts[choice(Count)];
    }
    std::string deviceID() {
        return oneOf(std::array{"121-305", "121-305.1a2b00", "generic_Gamepad", "generic_Gamepad.0", "0-1", "", ".",
                                "-1--1.\xC3\xA9"});
    }
    std::string cookie() {
        return oneOf(std::array{"1", "2", "3", "007", "+7", "-3", "", "-", "+-5", " 7", "7.0", "0x7", "\xD9\xA7",
                                "9223372036854775807", "9223372036854775808", "-9223372036854775808",
                                "-9223372036854775809", "00000000000000000000000000000000000000001"});
    }
    std::string actionName() {
        return oneOf(std::array{"oldX", "oldY1", "oldY2", "oldB", "X", "Y1", "Y2", "B", "other", "", "\xF0\x9F\x98\x80",
                                "QZGCMappings", "EkDeviceElementSpecifications"});
    }

    platform::PropertyList anything(int depth) {
        switch (choice(depth < 4 ? 8 : 6)) {
        case 0:
            return "1";
        case 1:
            return anyText();
        case 2:
            return true;
        case 3:
            return static_cast<std::int64_t>(choice(256)) - 128;
        case 4:
            return static_cast<double>(choice(256)) / 4.0;
        case 5:
            return "0";
        case 6:
            return dictionary([&] { return cookie(); }, [&] { return anything(depth + 1); });
        default:
            return array([&] { return anything(depth + 1); });
        }
    }
    template<typename Key, typename Value>
    platform::PropertyList dictionary(Key key, Value value) {
        Dictionary made;
        for (std::size_t count = choice(5); count > 0; --count) {
            std::string name = key();
            made.insert_or_assign(std::move(name), odd() ? anything(0) : platform::PropertyList(value()));
        }
        return made;
    }
    template<typename Value>
    platform::PropertyList array(Value value) {
        Array made;
        for (std::size_t count = choice(5); count > 0; --count) {
            made.push_back(odd() ? anything(0) : platform::PropertyList(value()));
        }
        return made;
    }
    platform::PropertyList device() {
        Dictionary made;
        if (choice(4) != 3) {
            const auto flag = [&] { return oneOf(std::array{"0", "1", "", "true", "00"}); };
            const auto flagKey = [&] {
                return std::string((choice(8) == 7) != legacyStyle_ ? "EkReversed" : "QZGCReversedDirection");
            };
            made.insert_or_assign((choice(8) == 7) != legacyStyle_ ? "EkDeviceElementSpecifications"
                                                                   : "QZGCElementSpecifications",
                                  dictionary([&] { return cookie(); }, [&] { return dictionary(flagKey, flag); }));
        }
        const auto names = [&] { return dictionary([&] { return cookie(); }, [&] { return actionName(); }); };
        if (!legacyStyle_) {
            made.insert_or_assign("QZGCMappings", odd() ? anything(0) : names());
            return made;
        }
        const auto elements = [&] {
            return dictionary(
                [&] {
                    return oneOf(std::array{"EkRealElements", "other"});
                },
                [&] { return array([&] { return cookie(); }); });
        };
        for (std::size_t count = choice(4); count > 0; --count) {
            std::string name = actionName();
            made.insert_or_assign(std::move(name), odd() ? anything(0) : elements());
        }
        return made;
    }

    std::span<const std::uint8_t> bytes_;
    bool legacyStyle_;
};

} // namespace qz::test
