// SPDX-License-Identifier: MIT
#include "platform/PropertyList.h"

#include <atomic>

namespace qz::platform {

namespace {

template<typename Kind, typename Variant>
std::optional<Kind> valueOfKind(const Variant& value) {
    const Kind* const found = std::get_if<Kind>(&value);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

} // namespace

struct PropertyList::SharedDictionary::Content {
    Dictionary entries;
    bool changeable = false; ///< somebody has been given a pointer by which entries may be changed at any time
};

PropertyList::SharedDictionary::SharedDictionary(Dictionary entries)
    : content_(std::make_shared<Content>(Content{std::move(entries)})) {}

PropertyList::SharedDictionary::SharedDictionary(const SharedDictionary& other) : content_(other.content_) {
    if (content_ != nullptr && content_->changeable) {
        content_ = std::make_shared<Content>(Content{content_->entries});
    }
}

PropertyList::SharedDictionary& PropertyList::SharedDictionary::operator=(const SharedDictionary& other) {
    return *this = SharedDictionary(other);
}

PropertyList::SharedDictionary::~SharedDictionary() = default;

const PropertyList::Dictionary& PropertyList::SharedDictionary::entries() const noexcept {
    if (content_ == nullptr) {
        static const Dictionary none;
        return none;
    }
    return content_->entries;
}

PropertyList::Dictionary& PropertyList::SharedDictionary::changeableEntries() {
    if (content_.use_count() != 1) {
        content_ = std::make_shared<Content>(Content{entries()});
    }
    // The last other owner may have been on another thread: what it read comes before what is changed now.
    std::atomic_thread_fence(std::memory_order_acquire);
    content_->changeable = true;
    return content_->entries;
}

const PropertyList::Dictionary* PropertyList::dictionary() const noexcept {
    const auto* const shared = std::get_if<SharedDictionary>(&value_);
    return shared != nullptr ? &shared->entries() : nullptr;
}

PropertyList::Dictionary* PropertyList::dictionary() {
    auto* const shared = std::get_if<SharedDictionary>(&value_);
    return shared != nullptr ? &shared->changeableEntries() : nullptr;
}

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
