// SPDX-License-Identifier: MIT
#include "QZGameController/QZGCConfigurationManager.h"

#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "QZGameController/QZGCDeviceConfiguration.h"
#include "platform/FatalError.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <atomic>

using namespace qz::platform;

namespace {

constexpr std::string_view configKey = "QZGameControllerConfig";
constexpr std::string_view legacyConfigKey = "EkinorBindings";

std::uint64_t nextRevision() noexcept {
    static std::atomic<std::uint64_t> last = 0;
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

using DeviceConfigurations = QZGCConfigurationManager::DeviceConfigurations;

std::shared_ptr<QZGCDeviceConfiguration> entry(const DeviceConfigurations& table, std::string_view deviceID) {
    const auto found = table.find(deviceID);
    return found != table.end() ? found->second : nullptr;
}

void setEntry(DeviceConfigurations& table, std::string_view deviceID,
              std::shared_ptr<QZGCDeviceConfiguration> configuration) {
    if (configuration) {
        table.insert_or_assign(std::string(deviceID), std::move(configuration));
    } else if (const auto found = table.find(deviceID); found != table.end()) {
        table.erase(found);
    }
}

bool contains(const QZGCConfigurationManager::Actions& actions, const QZGCConfigurationManager::Action& action) {
    return std::ranges::find(actions, action) != actions.end();
}

} // namespace

std::shared_ptr<QZGCConfigurationManager>
QZGCConfigurationManager::create(Actions xActions, Actions yActions, Actions buttonActions,
                                 std::optional<Actions> legacyXActions, std::optional<Actions> legacyYActions,
                                 std::optional<Actions> legacyButtonActions, Platform& platform) {
    auto manager = std::make_shared<QZGCConfigurationManager>(Private{}, platform);
    manager->xActions_ = std::move(xActions);
    manager->yActions_ = std::move(yActions);
    manager->buttonActions_ = std::move(buttonActions);
    manager->legacyXActions_ = std::move(legacyXActions);
    manager->legacyYActions_ = std::move(legacyYActions);
    manager->legacyButtonActions_ = std::move(legacyButtonActions);
    manager->loadUserDefaults();
    return manager;
}

std::shared_ptr<QZGCConfigurationManager> QZGCConfigurationManager::create(Actions xActions, Actions yActions,
                                                                           Actions buttonActions, Platform& platform) {
    return create(std::move(xActions), std::move(yActions), std::move(buttonActions), std::nullopt, std::nullopt,
                  std::nullopt, platform);
}

std::shared_ptr<QZGCConfigurationManager> QZGCConfigurationManager::create() {
    fatalError("class \"QZGameController.QZGCConfigurationManager\" cannot be made by \"init()\": it needs the "
               "application's action lists");
}

QZGCConfigurationManager::QZGCConfigurationManager(Private /*only create makes one*/, Platform& platform)
    : platform_(platform), revision_(nextRevision()) {}

QZGCConfigurationManager::~QZGCConfigurationManager() = default;

std::shared_ptr<QZGCConfigurationManager> QZGCConfigurationManager::copy() const {
    auto manager = std::make_shared<QZGCConfigurationManager>(Private{}, platform_);
    manager->xActions_ = xActions_;
    manager->yActions_ = yActions_;
    manager->buttonActions_ = buttonActions_;
    manager->legacyXActions_ = legacyXActions_;
    manager->legacyYActions_ = legacyYActions_;
    manager->legacyButtonActions_ = legacyButtonActions_;
    for (const auto& [instanceID, configuration] : deviceInstanceConfigs_) {
        manager->deviceInstanceConfigs_.emplace(instanceID, configuration->copy());
    }
    for (const auto& [typeID, configuration] : deviceTypeConfigs_) {
        manager->deviceTypeConfigs_.emplace(typeID, configuration->copy());
    }
    return manager;
}

QZGCConfigurationManager::Actions QZGCConfigurationManager::allActions() const {
    Actions all;
    all.reserve(static_cast<std::size_t>(actionCount()));
    all.insert(all.end(), xActions_.begin(), xActions_.end());
    all.insert(all.end(), yActions_.begin(), yActions_.end());
    all.insert(all.end(), buttonActions_.begin(), buttonActions_.end());
    return all;
}

std::int64_t QZGCConfigurationManager::actionCount() const noexcept {
    return static_cast<std::int64_t>(xActions_.size() + yActions_.size() + buttonActions_.size());
}

void QZGCConfigurationManager::tablesChanged() noexcept {
    revision_ = nextRevision();
}

void QZGCConfigurationManager::setDeviceInstanceConfigs(DeviceConfigurations configurations) {
    std::erase_if(configurations, [](const auto& each) { return each.second == nullptr; });
    deviceInstanceConfigs_ = std::move(configurations);
    tablesChanged();
}

void QZGCConfigurationManager::setDeviceTypeConfigs(DeviceConfigurations configurations) {
    std::erase_if(configurations, [](const auto& each) { return each.second == nullptr; });
    deviceTypeConfigs_ = std::move(configurations);
    tablesChanged();
}

void QZGCConfigurationManager::setDeviceInstanceConfig(std::string_view instanceID,
                                                       std::shared_ptr<QZGCDeviceConfiguration> configuration) {
    setEntry(deviceInstanceConfigs_, instanceID, std::move(configuration));
    tablesChanged();
}

void QZGCConfigurationManager::setDeviceTypeConfig(std::string_view typeID,
                                                   std::shared_ptr<QZGCDeviceConfiguration> configuration) {
    setEntry(deviceTypeConfigs_, typeID, std::move(configuration));
    tablesChanged();
}

std::shared_ptr<QZGCDeviceConfiguration>
QZGCConfigurationManager::existingConfiguration(const QZHIDDevice& device) const {
    const QZHIDUserPrefIDs& ids = device.currentUserPrefIDs();
    auto configuration = entry(deviceInstanceConfigs_, ids.aInstanceID);
    return configuration ? configuration : entry(deviceTypeConfigs_, ids.aDeviceTypeID);
}

/// The same search for the questions that every value asks: what was found is remembered with the device for as long as
/// neither the tables nor the device's properties, which its IDs follow from, have changed.
QZGCDeviceConfiguration* QZGCConfigurationManager::find(const QZHIDDevice& device) const {
    auto& known = device.configurationLookup_;
    const std::uint64_t properties = IOHIDDeviceGetPropertyRevision(device.ioHIDDeviceRef());
    if (known.tablesRevision != revision_ || known.propertyRevision != properties) {
        known = {revision_, properties, existingConfiguration(device).get()};
    }
    return known.configuration;
}

std::shared_ptr<QZGCDeviceConfiguration>
QZGCConfigurationManager::existingOrDefaultConfiguration(const QZHIDDevice& device) {
    auto configuration = existingConfiguration(device);
    return configuration ? configuration : makeAndRegisterDefaultConfiguration(device);
}

std::shared_ptr<QZGCDeviceConfiguration>
QZGCConfigurationManager::makeAndRegisterDefaultConfiguration(const QZHIDDevice& device) {
    auto configuration = defaultConfiguration(device);
    const QZHIDUserPrefIDs& ids = device.currentUserPrefIDs();
    setDeviceInstanceConfig(ids.aInstanceID, configuration);
    setDeviceTypeConfig(ids.aDeviceTypeID, configuration);
    return configuration;
}

[[gnu::hot]] std::optional<QZGCConfigurationManager::Action>
QZGCConfigurationManager::action(const QZHIDElement& element) {
    const QZHIDDevice* const device = element.liveDevice();
    if (device == nullptr) {
        return std::nullopt;
    }
    const QZGCDeviceConfiguration* configuration = find(*device);
    if (configuration == nullptr) {
        configuration = makeAndRegisterDefaultConfiguration(*device).get();
    }
    const Action* const mapped = configuration->mapping(element.cookie());
    return mapped != nullptr ? std::optional(*mapped) : std::nullopt;
}

std::optional<std::string_view> QZGCConfigurationManager::actionString(const QZHIDElement& element) {
    const auto mapped = action(element);
    return mapped ? std::optional<std::string_view>(mapped->rawValue()) : std::nullopt;
}

[[gnu::hot]] bool QZGCConfigurationManager::mustReverseDirection(const QZHIDElement& element) const {
    const QZHIDDevice* const device = element.liveDevice();
    const QZGCDeviceConfiguration* const configuration = device != nullptr ? find(*device) : nullptr;
    if (configuration == nullptr) {
        return false;
    }
    const auto found = configuration->elements().find(element.cookie());
    return found != configuration->elements().end() && found->second.reversedDirection();
}

bool QZGCConfigurationManager::isElementCompatible(const QZHIDElement& element, const Action& action) const {
    if (element.isMovingControl() && (contains(xActions_, action) || contains(yActions_, action))) {
        return true;
    }
    return (element.isPushButton() || element.isConsumerElement()) && contains(buttonActions_, action);
}

void QZGCConfigurationManager::setReverseDirection(bool reversed, const QZHIDElement& element) {
    const auto device = element.device();
    if (!device) {
        return;
    }
    const QZHIDUserPrefIDs& ids = device->currentUserPrefIDs();
    for (const auto& configuration :
         {entry(deviceInstanceConfigs_, ids.aInstanceID), entry(deviceTypeConfigs_, ids.aDeviceTypeID)}) {
        if (configuration) {
            configuration->setReversedDirection(element.cookie(), reversed);
        }
    }
}

void QZGCConfigurationManager::setMapping(const QZHIDElement& element, const Action& action) {
    const auto device = element.device();
    if (QZGCDeviceConfiguration* const configuration = device ? find(*device) : nullptr) {
        configuration->mappings_.insert_or_assign(element.cookie(), action);
    }
}

void QZGCConfigurationManager::clearMapping(const QZHIDElement& element) {
    const auto device = element.device();
    if (QZGCDeviceConfiguration* const configuration = device ? find(*device) : nullptr) {
        configuration->mappings_.erase(element.cookie());
    }
}

void QZGCConfigurationManager::saveUserDefaults() const {
    platform_.userDefaults().setObjectForKey(configPList(), configKey);
    platform_.userDefaults().synchronize();
}

void QZGCConfigurationManager::loadUserDefaults() {
    UserDefaults& userDefaults = platform_.userDefaults();
    if (const auto* const stored = userDefaults.dictionaryForKey(configKey)) {
        setup(*stored, false);
    } else if (const auto* const legacy = userDefaults.dictionaryForKey(legacyConfigKey)) {
        setup(*legacy, true);
        saveUserDefaults();
        userDefaults.removeObjectForKey(legacyConfigKey);
    }
}

void QZGCConfigurationManager::setup(const PropertyList::Dictionary& prefsDict, bool legacyStyle) {
    for (const auto& [deviceID, value] : prefsDict) {
        const PropertyList::Dictionary* const prefs = value.dictionary();
        if (prefs == nullptr) {
            continue;
        }
        auto configuration = std::make_shared<QZGCDeviceConfiguration>(shared_from_this(), *prefs, legacyStyle);
        const bool isInstance = deviceID.find('.') != std::string::npos;
        setEntry(isInstance ? deviceInstanceConfigs_ : deviceTypeConfigs_, deviceID, std::move(configuration));
    }
    tablesChanged();
}

PropertyList::Dictionary QZGCConfigurationManager::configPList() const {
    PropertyList::Dictionary plist;
    for (const auto& [instanceID, configuration] : deviceInstanceConfigs_) {
        plist.insert_or_assign(instanceID, configuration->configPList());
    }
    // After the instances: of two configurations with one key the type's is kept.
    for (const auto& [typeID, configuration] : deviceTypeConfigs_) {
        plist.insert_or_assign(typeID, configuration->configPList());
    }
    return plist;
}

QZGCConfigurationManager::Action QZGCConfigurationManager::convertLegacyToModern(const Action& action) const {
    if (!legacyXActions_ || !legacyYActions_ || !legacyButtonActions_) {
        return action;
    }
    // A name that is modern and legacy at once converts by its legacy position: by design.
    for (const auto& [legacy, modern] :
         {std::pair{&*legacyXActions_, &xActions_}, std::pair{&*legacyYActions_, &yActions_},
          std::pair{&*legacyButtonActions_, &buttonActions_}}) {
        const auto found = std::ranges::find(*legacy, action);
        if (found == legacy->end()) {
            continue;
        }
        const auto position = static_cast<std::size_t>(found - legacy->begin());
        if (position >= modern->size()) {
            fatalError(
                "a legacy action list is longer than its list of actions, and a stored name lies beyond the end");
        }
        return (*modern)[position];
    }
    return action;
}
