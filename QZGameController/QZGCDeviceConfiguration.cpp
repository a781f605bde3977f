// SPDX-License-Identifier: MIT
#include "QZGameController/QZGCDeviceConfiguration.h"

#include <algorithm>
#include <charconv>

using namespace qz::platform;

namespace {

constexpr std::string_view mappingsKey = "QZGCMappings";
constexpr std::string_view legacyElementsKey = "EkRealElements";
constexpr std::string_view notReversed = "0";

std::string_view elementSpecificationsKey(bool legacyStyle) {
    return legacyStyle ? "EkDeviceElementSpecifications" : "QZGCElementSpecifications";
}

std::string_view reversedDirectionKey(bool legacyStyle) {
    return legacyStyle ? "EkReversed" : "QZGCReversedDirection";
}

/// The cookie that a text denotes: one optional sign and decimal digits, within 64 bits, and nothing else.
std::optional<std::int64_t> cookieOf(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t cookie = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), cookie);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return cookie;
}

const PropertyList* valueForKey(const PropertyList::Dictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found != dictionary.end() ? &found->second : nullptr;
}

/// By design anything but the text "0" means reversed, while a value that is missing or no string means not reversed.
bool isReversed(const PropertyList* flag) {
    const std::string* const text = flag != nullptr ? flag->string() : nullptr;
    return text != nullptr && *text != notReversed;
}

} // namespace

QZGCDeviceConfiguration::QZGCDeviceConfiguration() = default;

QZGCDeviceConfiguration::~QZGCDeviceConfiguration() = default;

QZGCDeviceConfiguration::QZGCDeviceConfiguration(const QZGCDeviceConfiguration&) = default;

QZGCDeviceConfiguration::QZGCDeviceConfiguration(const std::shared_ptr<QZGCConfigurationManager>& owner,
                                                 const PropertyList::Dictionary& prefs, bool legacyStyle)
    : configManager_(owner) {
    NewMappings mappings;
    for (const auto& [key, value] : prefs) {
        const PropertyList::Dictionary* const dictionary = value.dictionary();
        if (dictionary == nullptr) {
            continue;
        }
        if (key == elementSpecificationsKey(legacyStyle)) {
            setupElementConfigurations(*dictionary, legacyStyle);
        } else if (legacyStyle) {
            addMappingLegacyStyle(mappings, Action(key), *dictionary);
        } else if (key == mappingsKey) {
            addMappingsModernStyle(mappings, *dictionary);
        }
    }
    mappings_ = QZHIDCookieMap<Action>(std::move(mappings));
}

std::shared_ptr<QZGCDeviceConfiguration> QZGCDeviceConfiguration::copy() const {
    return std::make_shared<QZGCDeviceConfiguration>(*this);
}

void QZGCDeviceConfiguration::setupElementConfigurations(const PropertyList::Dictionary& prefs, bool legacyStyle) {
    std::vector<Elements::value_type> elements;
    elements.reserve(prefs.size());
    for (const auto& [key, value] : prefs) {
        const PropertyList::Dictionary* const specification = value.dictionary();
        const auto cookie = cookieOf(key);
        if (specification != nullptr && cookie) {
            elements.emplace_back(*cookie, QZGCElementConfiguration());
            elements.back().second.reversedDirection_ =
                isReversed(valueForKey(*specification, reversedDirectionKey(legacyStyle)));
        }
    }
    elements_ = Elements(std::move(elements));
}

void QZGCDeviceConfiguration::addMappingLegacyStyle(NewMappings& mappings, const Action& appAction,
                                                    const PropertyList::Dictionary& prefs) {
    const PropertyList* const value = valueForKey(prefs, legacyElementsKey);
    const PropertyList::Array* const cookies = value != nullptr ? value->array() : nullptr;
    // One member that is no string voids the array; a string that is no cookie voids itself alone.
    if (cookies == nullptr ||
        !std::ranges::all_of(*cookies, [](const PropertyList& member) { return member.string() != nullptr; })) {
        return;
    }
    for (const PropertyList& cookieText : *cookies) {
        addMapping(mappings, *cookieText.string(), appAction);
    }
}

void QZGCDeviceConfiguration::addMappingsModernStyle(NewMappings& mappings, const PropertyList::Dictionary& prefs) {
    mappings.reserve(prefs.size());
    for (const auto& [cookieText, value] : prefs) {
        if (const std::string* const name = value.string()) {
            addMapping(mappings, cookieText, Action(*name));
        }
    }
}

void QZGCDeviceConfiguration::addMapping(NewMappings& mappings, const std::string& cookieText,
                                         const Action& action) const {
    const auto cookie = cookieOf(cookieText);
    const auto owner = configManager_.lock();
    if (cookie && owner) {
        mappings.emplace_back(*cookie, owner->convertLegacyToModern(action));
    }
}

PropertyList::Dictionary QZGCDeviceConfiguration::configPList() const {
    PropertyList::Dictionary plist;
    plist.emplace(elementSpecificationsKey(false), elementsPList());
    plist.emplace(mappingsKey, mappingsPList());
    return plist;
}

PropertyList::Dictionary QZGCDeviceConfiguration::elementsPList() const {
    const auto specification = [](std::string_view flag) {
        PropertyList::Dictionary entries;
        entries.emplace(reversedDirectionKey(false), flag);
        return PropertyList(std::move(entries));
    };
    // One for all elements that have it.
    const PropertyList plain = specification(notReversed);
    const PropertyList reversed = specification("1");
    PropertyList::Dictionary plist;
    // The text of a cookie mostly stands behind that of the cookie before.
    auto place = plist.end();
    for (const auto& [cookie, configuration] : elements_) {
        const PropertyList& value = configuration.reversedDirection() ? reversed : plain;
        place = std::next(plist.try_emplace(place, std::to_string(cookie), value));
    }
    return plist;
}

PropertyList::Dictionary QZGCDeviceConfiguration::mappingsPList() const {
    PropertyList::Dictionary plist;
    auto place = plist.end();
    for (const auto& [cookie, action] : mappings_) {
        place = std::next(plist.try_emplace(place, std::to_string(cookie), action.rawValue()));
    }
    return plist;
}

[[gnu::hot]] const QZGCDeviceConfiguration::Action* QZGCDeviceConfiguration::mapping(std::int64_t cookie) const {
    const auto found = mappings_.find(cookie);
    return found != mappings_.end() ? &found->second : nullptr;
}

void QZGCDeviceConfiguration::setReversedDirection(std::int64_t cookie, bool reversed) {
    if (QZGCElementConfiguration* const configured = elements_.value(cookie)) {
        configured->reversedDirection_ = reversed;
    }
}
