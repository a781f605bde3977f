// SPDX-License-Identifier: MIT
#include "tests/kernel/support/EvdevNode.h"

#include <array>
#include <cstring>
#include <linux/input.h>
#include <sys/ioctl.h>

namespace qz::tests {

namespace {

constexpr std::size_t codesAtMost = KEY_CNT;
using Bits = std::array<std::uint8_t, (codesAtMost + 7) / 8>;

bool isSet(const Bits& bits, unsigned code) {
    return ((bits[code / 8] >> (code % 8)) & 1) != 0;
}

} // namespace

EvdevNode::EvdevNode(const std::string& path) : node_(path, O_RDWR | O_NONBLOCK) {
    for (const std::uint16_t type : std::initializer_list<std::uint16_t>{EV_KEY, EV_REL, EV_ABS, EV_MSC, EV_SW}) {
        Bits bits{};
        if (::ioctl(node_.get(), EVIOCGBIT(type, bits.size()), bits.data()) < 0) {
            continue;
        }
        for (unsigned code = 0; code < codesAtMost; ++code) {
            if (!isSet(bits, code)) {
                continue;
            }
            std::int32_t& value = values_[{type, static_cast<std::uint16_t>(code)}];
            if (input_absinfo axis{}; type == EV_ABS && ::ioctl(node_.get(), EVIOCGABS(code), &axis) == 0) {
                axis.fuzz = 0;
                axis.flat = 0;
                if (::ioctl(node_.get(), EVIOCSABS(code), &axis) != 0) {
                    throw std::system_error(errno, std::generic_category(), "EVIOCSABS of " + path);
                }
                value = axis.value;
            }
        }
    }
}

bool EvdevNode::update() {
    for (auto& [code, value] : values_) {
        value = code.type == EV_REL ? 0 : value;
    }
    std::array<input_event, 64> events{};
    bool isComplete = true;
    while (true) {
        const ssize_t count = ::read(node_.get(), events.data(), sizeof events);
        if (count <= 0) {
            return isComplete;
        }
        for (std::size_t i = 0; i < static_cast<std::size_t>(count) / sizeof(input_event); ++i) {
            const input_event& event = events[i];
            isComplete = isComplete && (event.type != EV_SYN || event.code != SYN_DROPPED);
            const auto found = values_.find({event.type, event.code});
            if (found != values_.end()) {
                found->second = event.type == EV_REL ? found->second + event.value : event.value;
            }
        }
    }
}

std::int32_t EvdevNode::value(Code code) const {
    return values_.at(code);
}

bool EvdevNode::has(Code code) const {
    return values_.contains(code);
}

std::vector<EvdevNode::MappedKey> EvdevNode::mappedKeys() const {
    std::vector<MappedKey> keys;
    input_keymap_entry entry{};
    entry.flags = INPUT_KEYMAP_BY_INDEX;
    for (unsigned index = 0;; ++index) {
        entry.index = static_cast<__u16>(index);
        if (::ioctl(node_.get(), EVIOCGKEYCODE_V2, &entry) != 0) {
            return keys;
        }
        std::uint32_t usage = 0;
        std::memcpy(&usage, entry.scancode, sizeof usage);
        keys.push_back({usage, static_cast<std::uint16_t>(entry.keycode)});
    }
}

} // namespace qz::tests
