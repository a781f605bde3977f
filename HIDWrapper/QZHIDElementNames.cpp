// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDElementNames.h"

#include "HIDWrapper/QZHIDElement.h"
#include "HIDWrapper/QZHIDUsages.h"
#include "platform/Text.h"

#include <array>
#include <span>

namespace qz::platform {

namespace {

using namespace std::string_view_literals;

// Hatswitch stands here for completeness: a hat is no moving control, so no name uses it.
constexpr std::array movingControlNames{"X"sv,  "Y"sv,      "Z"sv,    "Rx"sv,    "Ry"sv,
                                        "Rz"sv, "Slider"sv, "Dial"sv, "Wheel"sv, "Hatswitch"sv};
constexpr std::array padPartNames{"Up"sv, "Down"sv, "Right"sv, "Left"sv};

std::optional<std::string_view> entry(std::span<const std::string_view> names, std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(names.size())) {
        return std::nullopt;
    }
    return names[static_cast<std::size_t>(index)];
}

} // namespace

std::optional<std::string_view> movingControlBaseName(std::int64_t usage) {
    return entry(movingControlNames, usage - usages::x);
}

std::optional<std::string_view> padPartBaseName(std::int64_t usage) {
    return entry(padPartNames, usage - usages::dPadUp);
}

} // namespace qz::platform

using namespace qz::platform;

namespace {

constexpr std::string_view keyPrefix = "QZHID_";

std::string genericName(const QZHIDElement& element) {
    return joined({DecimalText(element.usagePage()), " / ", DecimalText(element.usage())});
}

std::string genericNameKey(const QZHIDElement& element) {
    return joined({keyPrefix, DecimalText(element.usagePage()), "_", DecimalText(element.usage())});
}

/// The fixed name of a moving control, direction-pad part or Home button; absent for everything else.
std::optional<std::string_view> fixedName(const QZHIDElement& element) {
    if (element.isMovingControl()) {
        return movingControlBaseName(element.usage());
    }
    if (element.isPartOfDirectionPad()) {
        return padPartBaseName(element.usage());
    }
    if (element.isConsumerElement() && element.usage() == usages::acHome) {
        return "Home";
    }
    return std::nullopt;
}

} // namespace

std::string QZHIDElement::name() const {
    if (isPushButton()) {
        return joined({"Button ", DecimalText(usage())});
    }
    const auto fixed = fixedName(*this);
    return fixed ? std::string(*fixed) : genericName(*this);
}

std::string QZHIDElement::nameKey() const {
    if (isPushButton()) {
        return joined({keyPrefix, "Button", DecimalText(usage())});
    }
    if (const auto fixed = fixedName(*this)) {
        return joined({keyPrefix, *fixed});
    }
    // Keys are compared as whole strings and have been stored with the prefix twice: by design.
    return isConsumerElement() ? joined({keyPrefix, genericNameKey(*this)}) : genericNameKey(*this);
}

std::string QZHIDElement::descriptionAtLevel(std::int32_t level) const {
    std::string text;
    appendDescription(text, level);
    return text;
}

void QZHIDElement::appendDescription(std::string& text, std::int32_t level) const {
    const std::string indent(level > 0 ? static_cast<std::size_t>(level) * 4 : 0, ' ');
    text += joined({indent, identityText("QZHIDElement", this), "; cookie = ", DecimalText(cookie()),
                    ", name = ", name(), ", nameKey = ", nameKey(), ", type = ", DecimalText(type()),
                    ", logmin/max = ", DecimalText(theoreticalMin()), "/", DecimalText(theoreticalMax()),
                    ", usage = 0x", hexadecimal(static_cast<std::uint64_t>(usage()), 4), ", usagePage = 0x",
                    hexadecimal(static_cast<std::uint64_t>(usagePage()), 4)});
    if (!isCollection()) {
        return;
    }
    text += joined({", collection type = ", DecimalText(collectionType()), ". Children:\n"});
    text += joined({indent, "--- begin collection ---\n"});
    if (const QZHIDElementList& members = ownedElements()) {
        for (const auto& member : *members) {
            member->appendDescription(text, level + 1);
            text += "\n";
        }
    }
    text += joined({indent, "--- end collection ---"});
}
