// SPDX-License-Identifier: MIT
#include "platform/HIDDevice.h"

#include "platform/report/Recording.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace qz::platform {

namespace {

constexpr std::string_view usagePageKey = "DeviceUsagePage";
constexpr std::string_view usageKey = "DeviceUsage";

bool isInteger(const PropertyValue* property, std::int64_t wanted) {
    const auto* const integer = property != nullptr ? std::get_if<std::int64_t>(property) : nullptr;
    return integer != nullptr && *integer == wanted;
}

} // namespace

HIDCriterion criterionOf(const HIDMatchingDictionary& dictionary) {
    HIDCriterion criterion;
    for (const auto& [name, number] : dictionary) {
        if (name == usagePageKey) {
            criterion.usagePage = number;
        } else if (name == usageKey) {
            criterion.usage = number;
        } else {
            criterion.others.emplace_back(name, number);
        }
    }
    return criterion;
}

HIDDevice::~HIDDevice() = default;

const PropertyValue* HIDDevice::property(std::string_view key) {
    if (!hasProperty(key)) {
        loadProperties();
    }
    const NamedProperty* const found = findProperty(key);
    return found != nullptr && found->value ? &*found->value : nullptr;
}

std::optional<RecordedDevice> HIDDevice::recordedDevice() {
    return std::nullopt;
}

HIDDevice::NamedProperty* HIDDevice::findProperty(std::string_view key) noexcept {
    const auto found = std::ranges::find(properties_, key, &NamedProperty::name);
    return found != properties_.end() ? &*found : nullptr;
}

bool HIDDevice::hasProperty(std::string_view key) noexcept {
    const NamedProperty* const found = findProperty(key);
    return found != nullptr && found->value;
}

void HIDDevice::setProperty(std::string_view key, PropertyValue value) {
    ++propertyRevision_;
    if (NamedProperty* const found = findProperty(key)) {
        found->value = std::move(value);
    } else {
        properties_.push_back({std::string(key), std::move(value)});
    }
}

void HIDDevice::setProperties(const HIDProperties& properties) {
    for (const auto& [key, value] : properties) {
        setProperty(key, value);
    }
}

void HIDDevice::removeProperty(std::string_view key) {
    if (hasProperty(key)) {
        findProperty(key)->value.reset();
        ++propertyRevision_;
    }
}

void HIDDevice::setElements(std::vector<HIDElement> elements,
                            const std::vector<std::optional<std::vector<std::size_t>>>& children) {
    elements_ = std::move(elements);
    lastKnownValues_.assign(elements_->size(), std::nullopt);

    std::size_t memberships = 0;
    for (const auto& list : children) {
        memberships += list ? list->size() : 0;
    }
    // Reserved once: the spans below point into it. One more, so that the span of an empty list is no null span.
    children_.reserve(memberships + 1);
    for (std::size_t i = 0; i < elements_->size(); ++i) {
        HIDElement& element = (*elements_)[i];
        element.device = this;
        if (i >= children.size() || !children[i]) {
            element.children = std::nullopt;
            continue;
        }
        const std::size_t begin = children_.size();
        for (const std::size_t member : *children[i]) {
            if (member < elements_->size()) {
                children_.push_back(&(*elements_)[member]);
            }
        }
        element.children = std::span<const IOHIDElementRef>(children_.data() + begin, children_.size() - begin);
    }
}

void HIDDevice::setElementTree(std::vector<HIDElement> elements, std::span<const std::uint32_t> parents) {
    elements_ = std::move(elements);
    lastKnownValues_.assign(elements_->size(), std::nullopt);

    std::vector<std::uint32_t> counts(elements_->size());
    for (const std::uint32_t parent : parents) {
        if (parent < counts.size()) {
            ++counts[parent];
        }
    }
    // One more, so that the span of an empty list is no null span.
    children_.resize(elements_->size() + 1);
    std::size_t end = 0;
    for (std::size_t i = 0; i < elements_->size(); ++i) {
        HIDElement& element = (*elements_)[i];
        element.device = this;
        if (element.type == kIOHIDElementTypeCollection) {
            element.children = std::span<const IOHIDElementRef>(children_.data() + end, counts[i]);
            end += std::exchange(counts[i], static_cast<std::uint32_t>(end));
        }
        // The collection has its place by now, and its count has become where the next member goes.
        if (parents[i] < counts.size()) {
            children_[counts[parents[i]]++] = &element;
        }
    }
}

std::optional<std::size_t> HIDDevice::indexOf(IOHIDElementRef element) const {
    if (element == nullptr || element->device != this || !elements_) {
        return std::nullopt;
    }
    // Not a subtraction alone: a client's copy of a record names this device too, but does not lie within the list.
    const HIDElement* const begin = elements_->data();
    const HIDElement* const end = begin + elements_->size();
    if (std::less<>{}(element, begin) || !std::less<>{}(element, end)) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(element - begin);
}

std::optional<std::int64_t> HIDDevice::lastKnownValue(IOHIDElementRef element) const {
    const auto index = indexOf(element);
    return index ? lastKnownValues_[*index] : std::nullopt;
}

void HIDDevice::setLastKnownValue(IOHIDElementRef element, std::optional<std::int64_t> value) {
    if (const auto index = indexOf(element)) {
        lastKnownValues_[*index] = value;
    }
}

bool HIDDevice::fits(const HIDCriterion& criterion) {
    const bool othersFit = std::ranges::all_of(
        criterion.others, [&](const auto& other) { return isInteger(property(other.first), other.second); });
    if (!othersFit) {
        return false;
    }
    const auto& page = criterion.usagePage;
    const auto& usage = criterion.usage;
    if (usagePairs_.empty()) {
        return (!page || isInteger(property("PrimaryUsagePage"), *page)) &&
               (!usage || isInteger(property("PrimaryUsage"), *usage));
    }
    return std::ranges::any_of(usagePairs_, [&](HIDUsagePair pair) {
        return (!page || *page == std::int64_t{pair.usagePage}) && (!usage || *usage == std::int64_t{pair.usage});
    });
}

} // namespace qz::platform
