// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Export.h"

#include <memory>
#include <optional>
#include <vector>

class QZHIDElement;

/// A list of elements; absent where there is no list, which is not the same as an empty one.
using QZHIDElementList = std::optional<std::vector<std::shared_ptr<QZHIDElement>>>;

/// The owner of elements: a device, or an element that is a collection.
class QZGC_EXPORT QZHIDElementOwning {
public:
    QZHIDElementOwning() = default;
    QZHIDElementOwning(const QZHIDElementOwning&) = delete;
    QZHIDElementOwning& operator=(const QZHIDElementOwning&) = delete;
    virtual ~QZHIDElementOwning();

    /// The elements that this one owns, in the platform's order; valid until they are set anew.
    virtual const QZHIDElementList& ownedElements() const = 0;

    /// The owner of this owner; null for a device, and when it is gone.
    virtual std::shared_ptr<QZHIDElementOwning> elementOwner() const = 0;
};
