// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

namespace qz::platform {

namespace {

template<typename Kind, typename Variant>
std::optional<Kind> valueOfKind(const Variant& value) {
    const Kind* const found = std::get_if<Kind>(&value);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

} // namespace

PropertyList PropertyList::foreign(std::string text) {
    PropertyList result = false;
    result.value_ = Foreign{std::move(text)};
    return result;
}

std::optional<bool> PropertyList::boolean() const {
    return valueOfKind<bool>(value_);
}

std::optional<std::int64_t> PropertyList::integer() const {
    return valueOfKind<std::int64_t>(value_);
}

std::optional<double> PropertyList::floatingPoint() const {
    return valueOfKind<double>(value_);
}

const std::string* PropertyList::foreignText() const noexcept {
    const Foreign* const found = std::get_if<Foreign>(&value_);
    return found != nullptr ? &found->text : nullptr;
}

} // namespace qz::platform
