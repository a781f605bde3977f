// SPDX-License-Identifier: MIT
#pragma once

#include "QZGameController/QZGCConfigurationManager.h"
#include "QZGameController/QZGCElementConfiguration.h"

#include <unordered_map>

/// The configuration of one device, a unit or a model: for each element, by its cookie, the action it triggers and
/// whether its direction is reversed. The two are independent: an element may have either without the other.
class QZGC_EXPORT QZGCDeviceConfiguration final {
public:
    using Action = QZGCConfigurationManager::Action;
    using Elements = std::unordered_map<std::int64_t, QZGCElementConfiguration>;

    /// An empty configuration.
    QZGCDeviceConfiguration();

    /// What can be read of `prefs`, the stored form of one device; the rest is left out silently. Without an owner,
    /// which converts the names of actions, no mappings are read.
    QZGCDeviceConfiguration(const std::shared_ptr<QZGCConfigurationManager>& owner,
                            const qz::platform::PropertyList::Dictionary& prefs, bool legacyStyle);

    ~QZGCDeviceConfiguration();
    QZGCDeviceConfiguration& operator=(const QZGCDeviceConfiguration&) = delete;

    /// An independent configuration with the same contents, and by design with the same owner.
    std::shared_ptr<QZGCDeviceConfiguration> copy() const;

    /// The configured elements by their cookie.
    const Elements& elements() const noexcept { return elements_; }

    /// The stored form: the element specifications and the mappings, both always there.
    qz::platform::PropertyList::Dictionary configPList() const;

private:
    friend class QZGCConfigurationManager;
    friend struct QZGCConfigurationInternals;

    QZGCDeviceConfiguration(const QZGCDeviceConfiguration&);

    void setupElementConfigurations(const qz::platform::PropertyList::Dictionary& prefs, bool legacyStyle);
    void addMappingLegacyStyle(const Action& appAction, const qz::platform::PropertyList::Dictionary& prefs);
    void addMappingsModernStyle(const qz::platform::PropertyList::Dictionary& prefs);
    void addMapping(const std::string& cookieText, const Action& action);
    qz::platform::PropertyList::Dictionary elementsPList() const;
    qz::platform::PropertyList::Dictionary mappingsPList() const;

    /// The action of the element with this cookie, or null; valid until the mapping is changed.
    const Action* mapping(std::int64_t cookie) const;
    /// Changes the direction of an element that is configured; of any other, nothing.
    void setReversedDirection(std::int64_t cookie, bool reversed);

    std::weak_ptr<QZGCConfigurationManager> configManager_;
    Elements elements_;
    std::unordered_map<std::int64_t, Action> mappings_;
};
