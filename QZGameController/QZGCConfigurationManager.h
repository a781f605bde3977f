// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"
#include "platform/Platform.h"
#include "platform/PropertyList.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QZGCDeviceConfiguration;
class QZHIDDevice;
class QZHIDElement;

/// Which element of which device triggers which of the application's actions, and which controls work in the reversed
/// direction: for each unit of a model and for each model, the unit first.
///
/// A device that has neither gets a default configuration when its first action is asked for, under both. Everything is
/// loaded when the manager is made; edits take effect with the next value and are kept only by `saveUserDefaults`.
class QZGC_EXPORT QZGCConfigurationManager final : public std::enable_shared_from_this<QZGCConfigurationManager> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// One of the application's commands, by its name: any string, the empty one included. Equal and ordered by the
    /// bytes of the name. Copies share the name, so that copying allocates nothing.
    class Action {
    public:
        explicit Action(std::string rawValue) : rawValue_(std::make_shared<const std::string>(std::move(rawValue))) {}
        // Copied where others move: no action is ever without a name.
        Action(const Action&) = default;
        Action& operator=(const Action&) = default;
        ~Action() = default;

        /// The name; valid as long as any copy of the action.
        const std::string& rawValue() const noexcept { return *rawValue_; }

        friend bool operator==(const Action& a, const Action& b) noexcept { return a.rawValue() == b.rawValue(); }
        friend std::strong_ordering operator<=>(const Action& a, const Action& b) noexcept {
            return a.rawValue() <=> b.rawValue();
        }

    private:
        std::shared_ptr<const std::string> rawValue_;
    };

    using Actions = std::vector<Action>;
    using DeviceConfigurations = std::map<std::string, std::shared_ptr<QZGCDeviceConfiguration>, std::less<>>;

    /// A manager with the stored configuration. The lists may be empty, repeat an action and share actions; the order
    /// of a list is the order in which the default configuration hands its actions out.
    ///
    /// The legacy lists hold the names that an earlier version of the application used, position by position; only when
    /// all three are there are stored names converted. A stored legacy name beyond the end of its modern list ends the
    /// process. A configuration in the earlier form is taken over and removed when there is none in the present one.
    static std::shared_ptr<QZGCConfigurationManager>
    create(Actions xActions, Actions yActions, Actions buttonActions,
           std::optional<Actions> legacyXActions = std::nullopt, std::optional<Actions> legacyYActions = std::nullopt,
           std::optional<Actions> legacyButtonActions = std::nullopt,
           qz::platform::Platform& platform = qz::platform::Platform::standard());

    /// The same without legacy lists.
    static std::shared_ptr<QZGCConfigurationManager> create(Actions xActions, Actions yActions, Actions buttonActions,
                                                            qz::platform::Platform& platform);

    /// There is no manager without action lists: ends the process.
    [[noreturn]] static std::shared_ptr<QZGCConfigurationManager> create();

    QZGCConfigurationManager(Private, qz::platform::Platform& platform);
    QZGCConfigurationManager(const QZGCConfigurationManager&) = delete;
    QZGCConfigurationManager& operator=(const QZGCConfigurationManager&) = delete;
    ~QZGCConfigurationManager();

    /// A manager with the same lists and with copies of all configurations. One that stands in both tables becomes two.
    std::shared_ptr<QZGCConfigurationManager> copy() const;

    const Actions& xActions() const noexcept { return xActions_; }
    const Actions& yActions() const noexcept { return yActions_; }
    const Actions& buttonActions() const noexcept { return buttonActions_; }
    /// The X, Y and button actions one after the other, duplicates included.
    Actions allActions() const;
    std::int64_t actionCount() const noexcept;

    /// The configurations by instance ID and by device type ID. Setting an entry to null removes it.
    const DeviceConfigurations& deviceInstanceConfigs() const noexcept { return deviceInstanceConfigs_; }
    const DeviceConfigurations& deviceTypeConfigs() const noexcept { return deviceTypeConfigs_; }
    void setDeviceInstanceConfigs(DeviceConfigurations configurations);
    void setDeviceTypeConfigs(DeviceConfigurations configurations);
    void setDeviceInstanceConfig(std::string_view instanceID, std::shared_ptr<QZGCDeviceConfiguration> configuration);
    void setDeviceTypeConfig(std::string_view typeID, std::shared_ptr<QZGCDeviceConfiguration> configuration);

    /// The configuration of the unit or else of the model; null when there is neither.
    std::shared_ptr<QZGCDeviceConfiguration> existingConfiguration(const QZHIDDevice& device) const;
    /// The same, or a default configuration that is registered for the unit and for the model, one object for both.
    std::shared_ptr<QZGCDeviceConfiguration> existingOrDefaultConfiguration(const QZHIDDevice& device);
    /// Registers a default configuration for the unit and the model in place of whatever they had.
    std::shared_ptr<QZGCDeviceConfiguration> makeAndRegisterDefaultConfiguration(const QZHIDDevice& device);

    /// The action of an element; absent when it is not mapped or its device is gone. The first question about a device
    /// without a configuration registers its default.
    std::optional<Action> action(const QZHIDElement& element);
    /// The name of that action; valid until the element's mapping, its device's configuration or the tables are
    /// changed, and no longer than this manager. To keep a name, keep the action.
    std::optional<std::string_view> actionString(const QZHIDElement& element);

    /// Whether the element works in the reversed direction; false when nothing is configured. Registers nothing.
    bool mustReverseDirection(const QZHIDElement& element) const;

    /// Whether the action may be offered for the element: X and Y actions for any moving control, button actions for
    /// push buttons and consumer elements.
    bool isElementCompatible(const QZHIDElement& element, const Action& action) const;

    /// Sets the direction in the configuration of the unit and in that of the model, by design in both, each only where
    /// the element is configured already.
    void setReverseDirection(bool reversed, const QZHIDElement& element);

    /// Maps the element in the configuration of the unit or else of the model; without one, nothing happens. Other
    /// elements keep their actions, the same one included, and whether the two are compatible is not asked.
    void setMapping(const QZHIDElement& element, const Action& action);
    void clearMapping(const QZHIDElement& element);

    /// Stores the whole configuration in the preferences and brings it to the disk.
    void saveUserDefaults() const;

private:
    friend class QZGCDeviceConfiguration;
    friend struct QZGCConfigurationInternals;

    Action convertLegacyToModern(const Action& action) const;
    std::shared_ptr<QZGCDeviceConfiguration> defaultConfiguration(const QZHIDDevice& device) const;
    qz::platform::PropertyList::Dictionary configPList() const;
    void setup(const qz::platform::PropertyList::Dictionary& prefsDict, bool legacyStyle);
    void loadUserDefaults();
    QZGCDeviceConfiguration* find(const QZHIDDevice& device) const;
    void tablesChanged() noexcept;

    qz::platform::Platform& platform_;
    std::uint64_t revision_; ///< of the two tables; unique in the process, so that no two managers ever share one
    DeviceConfigurations deviceInstanceConfigs_;
    DeviceConfigurations deviceTypeConfigs_;
    Actions xActions_;
    Actions yActions_;
    Actions buttonActions_;
    std::optional<Actions> legacyXActions_;
    std::optional<Actions> legacyYActions_;
    std::optional<Actions> legacyButtonActions_;
};

template<>
struct std::hash<QZGCConfigurationManager::Action> {
    std::size_t operator()(const QZGCConfigurationManager::Action& action) const noexcept {
        return std::hash<std::string>{}(action.rawValue());
    }
};
