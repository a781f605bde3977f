// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDElement.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "QZGameController/QZGCDeviceConfiguration.h"

#include <span>

namespace {

/// The actions of one class of elements that have not been handed out yet.
using Queue = std::span<const QZGCConfigurationManager::Action>;

} // namespace

std::shared_ptr<QZGCDeviceConfiguration>
QZGCConfigurationManager::defaultConfiguration(const QZHIDDevice& device) const {
    // Without an owner, by design: that is asked for only when a configuration is read from the preferences.
    auto configuration = std::make_shared<QZGCDeviceConfiguration>();
    if (!device.ownedElements()) {
        return configuration;
    }
    std::vector<QZGCDeviceConfiguration::Elements::value_type> elements;
    QZGCDeviceConfiguration::NewMappings mappings;
    Queue xQueue = xActions_;
    Queue yQueue = yActions_;
    Queue buttonQueue = buttonActions_;
    Queue consumerQueue; // nothing is ever in it: by design consumer elements are configured, but not mapped
    const auto queueFor = [&](const QZHIDElement& element) -> Queue* {
        if (element.isXAxis() || element.isZAxis()) {
            return &xQueue;
        }
        if (element.isYAxis() || element.isRzAxis()) {
            return &yQueue;
        }
        if (element.isPushButton()) {
            return &buttonQueue;
        }
        return element.isConsumerElement() ? &consumerQueue : nullptr;
    };
    for (const auto& element : *device.ownedElements()) {
        Queue* const queue = queueFor(*element);
        if (queue == nullptr) {
            continue;
        }
        elements.emplace_back(element->cookie(), QZGCElementConfiguration());
        if (!queue->empty()) {
            mappings.emplace_back(element->cookie(), queue->front());
            *queue = queue->subspan(1);
        }
    }
    configuration->elements_ = QZGCDeviceConfiguration::Elements(std::move(elements));
    configuration->mappings_ = QZHIDCookieMap<Action>(std::move(mappings));
    return configuration;
}
