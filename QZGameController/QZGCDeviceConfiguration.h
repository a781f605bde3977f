// SPDX-License-Identifier: MIT
#pragma once

#include "HIDWrapper/QZHIDCookieMap.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "QZGameController/QZGCElementConfiguration.h"

/// The configuration of one device, a unit or a model: for each element, by its cookie, the action it triggers and
/// whether its direction is reversed. The two are independent: an element may have either without the other.
class QZGC_EXPORT QZGCDeviceConfiguration final {
public:
    using Action = QZGCConfigurationManager::Action;
    using Elements = QZHIDCookieMap<QZGCElementConfiguration>;

    /// An empty configuration.
    QZGCDeviceConfiguration();

    /// What can be read of `prefs`, the stored form of one device; the rest is left out silently. Without an owner,
    /// which converts the names of actions, no mappings are read.
    QZGCDeviceConfiguration(const std::shared_ptr<QZGCConfigurationManager>& owner,
                            const qz::platform::PropertyList::Dictionary& prefs, bool legacyStyle);

    /// An independent configuration with the same contents, and by design with the same owner.
    QZGCDeviceConfiguration(const QZGCDeviceConfiguration& original);
    std::shared_ptr<QZGCDeviceConfiguration> copy() const;

    ~QZGCDeviceConfiguration();
    QZGCDeviceConfiguration& operator=(const QZGCDeviceConfiguration&) = delete;

    /// The configured elements by their cookie.
    const Elements& elements() const noexcept { return elements_; }

    /// The stored form: the element specifications and the mappings, both always there.
    qz::platform::PropertyList::Dictionary configPList() const;

private:
    friend class QZGCConfigurationManager;
    friend struct QZGCConfigurationInternals;

    using NewMappings = std::vector<std::pair<std::int64_t, Action>>;

    void setupElementConfigurations(const qz::platform::PropertyList::Dictionary& prefs, bool legacyStyle);
    void addMappingLegacyStyle(NewMappings& mappings, const Action& appAction,
                               const qz::platform::PropertyList::Dictionary& prefs);
    void addMappingsModernStyle(NewMappings& mappings, const qz::platform::PropertyList::Dictionary& prefs);
    void addMapping(NewMappings& mappings, const std::string& cookieText, const Action& action) const;
    qz::platform::PropertyList::Dictionary elementsPList() const;
    qz::platform::PropertyList::Dictionary mappingsPList() const;

    /// The action of the element with this cookie, or null; valid until the mapping is changed.
    const Action* mapping(std::int64_t cookie) const;
    /// Changes the direction of an element that is configured; of any other, nothing.
    void setReversedDirection(std::int64_t cookie, bool reversed);

    std::weak_ptr<QZGCConfigurationManager> configManager_;
    Elements elements_;
    QZHIDCookieMap<Action> mappings_;
};
