// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyList.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// What a stored configuration means, worked out a second time and by other means than the library's: the yardstick for
/// input that no one has written by hand.
namespace qz::test {

/// An application's lists of names.
struct ActionNames {
    std::array<std::vector<std::string>, 3> modern; ///< X, Y, buttons
    std::optional<std::array<std::vector<std::string>, 3>> legacy;
};

/// One device's tables. Where the stored form gives several values for a cookie it does not say which one counts.
struct ModelDevice {
    std::map<std::int64_t, std::set<bool>> flags;
    std::map<std::int64_t, std::set<std::string>> names;
};

/// All configurations by device ID; a "." in the ID makes it an instance.
using ModelConfiguration = std::map<std::string, ModelDevice>;

inline std::optional<std::int64_t> modelCookie(const std::string& text) {
    const bool isSigned = !text.empty() && (text[0] == '+' || text[0] == '-');
    const bool isNegative = isSigned && text[0] == '-';
    const std::string digits = text.substr(isSigned ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const std::string significant = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
    const std::string limit = isNegative ? "9223372036854775808" : "9223372036854775807";
    if (significant.size() > limit.size() || (significant.size() == limit.size() && significant > limit)) {
        return std::nullopt;
    }
    return significant.empty() ? 0 : std::stoll((isNegative ? "-" : "") + significant);
}

inline std::string modelConversion(const ActionNames& lists, const std::string& name) {
    for (std::size_t kind = 0; lists.legacy && kind < 3; ++kind) {
        for (std::size_t i = 0; i < (*lists.legacy)[kind].size(); ++i) {
            if ((*lists.legacy)[kind][i] == name) {
                return lists.modern[kind].at(i);
            }
        }
    }
    return name;
}

/// The member of a dictionary when that is what `value` is and it has one; else null.
inline const platform::PropertyList* modelMember(const platform::PropertyList& value, const std::string& key) {
    const auto* const dictionary = value.dictionary();
    return dictionary != nullptr && dictionary->contains(key) ? &dictionary->at(key) : nullptr;
}

inline ModelDevice modelDevice(const platform::PropertyList::Dictionary& stored, bool legacyStyle,
                               const ActionNames& lists) {
    const std::string specifications = legacyStyle ? "EkDeviceElementSpecifications" : "QZGCElementSpecifications";
    ModelDevice device;
    for (const auto& [key, value] : stored) {
        if (value.dictionary() == nullptr) {
            continue;
        }
        if (key == specifications) {
            for (const auto& [text, specification] : *value.dictionary()) {
                const auto cookie = modelCookie(text);
                if (cookie && specification.dictionary() != nullptr) {
                    const auto* const flag =
                        modelMember(specification, legacyStyle ? "EkReversed" : "QZGCReversedDirection");
                    const bool isText = flag != nullptr && flag->string() != nullptr;
                    device.flags[*cookie].insert(isText && *flag->string() != std::string("0"));
                }
            }
        } else if (legacyStyle) {
            const auto* const member = modelMember(value, "EkRealElements");
            const auto* const texts = member != nullptr ? member->array() : nullptr;
            const auto isText = [](const platform::PropertyList& each) { return each.string() != nullptr; };
            if (texts != nullptr && std::ranges::all_of(*texts, isText)) {
                for (const auto& text : *texts) {
                    if (const auto cookie = modelCookie(*text.string())) {
                        device.names[*cookie].insert(modelConversion(lists, key));
                    }
                }
            }
        } else if (key == "QZGCMappings") {
            for (const auto& [text, name] : *value.dictionary()) {
                if (const auto cookie = modelCookie(text); cookie && name.string() != nullptr) {
                    device.names[*cookie].insert(modelConversion(lists, *name.string()));
                }
            }
        }
    }
    return device;
}

inline ModelConfiguration modelConfiguration(const platform::PropertyList& stored, bool legacyStyle,
                                             const ActionNames& lists) {
    ModelConfiguration configuration;
    if (stored.dictionary() != nullptr) {
        for (const auto& [deviceID, value] : *stored.dictionary()) {
            if (value.dictionary() != nullptr) {
                configuration.emplace(deviceID, modelDevice(*value.dictionary(), legacyStyle, lists));
            }
        }
    }
    return configuration;
}

/// Whether `written` is, to the letter, a modern form of what `model` describes.
inline bool isModernFormOf(const platform::PropertyList::Dictionary& written, const ModelConfiguration& model) {
    const auto fits = [](const platform::PropertyList* plist, const auto& expected, auto&& valueFits) {
        return plist != nullptr && plist->dictionary() != nullptr && plist->dictionary()->size() == expected.size() &&
               std::ranges::all_of(expected, [&](const auto& each) {
                   const auto* const value = modelMember(*plist, std::to_string(each.first));
                   return value != nullptr && valueFits(*value, each.second);
               });
    };
    const auto isFlag = [](const platform::PropertyList& value, const std::set<bool>& any) {
        const platform::PropertyList::Dictionary reversed{{"QZGCReversedDirection", "1"}};
        const platform::PropertyList::Dictionary straight{{"QZGCReversedDirection", "0"}};
        return (any.contains(true) && value == reversed) || (any.contains(false) && value == straight);
    };
    const auto isName = [](const platform::PropertyList& value, const std::set<std::string>& any) {
        return value.string() != nullptr && any.contains(*value.string());
    };
    return written.size() == model.size() && std::ranges::all_of(model, [&](const auto& each) {
               const auto found = written.find(each.first);
               return found != written.end() && found->second.dictionary() != nullptr &&
                      found->second.dictionary()->size() == 2 &&
                      fits(modelMember(found->second, "QZGCElementSpecifications"), each.second.flags, isFlag) &&
                      fits(modelMember(found->second, "QZGCMappings"), each.second.names, isName);
           });
}

} // namespace qz::test
