// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZHIDElement.h"

#include "HIDWrapper/QZHIDDevice.h"
#include "HIDWrapper/QZHIDUsages.h"
#include "QZGameController/QZGCCalibrationValues.h"

using namespace qz::platform;

namespace {

/// Half the sum, truncated toward zero, also where the sum itself would not fit.
std::int64_t halfSum(std::int64_t a, std::int64_t b) {
    if ((a < 0) != (b < 0)) {
        return (a + b) / 2;
    }
    return a / 2 + b / 2 + (a % 2 + b % 2) / 2;
}

} // namespace

QZHIDElementOwning::~QZHIDElementOwning() = default;

std::shared_ptr<QZHIDElement>
QZHIDElement::create(IOHIDElementRef elementRef, const std::shared_ptr<QZHIDElementOwning>& owner,
                     const std::shared_ptr<QZHIDDevice>& device,
                     const std::shared_ptr<const QZGCCalibrationValues>& calibrationValues) {
    auto element = std::make_shared<QZHIDElement>(Private{}, elementRef, owner, device);
    if (element->isCollection() && IOHIDElementGetChildren(elementRef)) {
        element->members_ = std::make_unique<Members>(Members{{}, element.get(), calibrationValues});
    }
    element->setupRangesWithCalibrationValues(calibrationValues.get());
    return element;
}

QZHIDElement::QZHIDElement(Private /*only create makes one*/, IOHIDElementRef elementRef,
                           const std::shared_ptr<QZHIDElementOwning>& owner, const std::shared_ptr<QZHIDDevice>& device)
    : ioHIDElementRef_(pin(elementRef)), device_(device), devicePointer_(device.get()), elementOwner_(owner) {}

const QZHIDElementList& QZHIDElement::ownedElements() const {
    static const QZHIDElementList none;
    if (!members_) {
        return none;
    }
    if (members_->collection != nullptr) {
        members_->collection->setupChildrenWithCalibrationValues(members_->calibrationValues);
    }
    return members_->list;
}

void QZHIDElement::setOwnedElements(QZHIDElementList elements) {
    members_ = std::make_unique<Members>(Members{std::move(elements), nullptr, nullptr});
}

void QZHIDElement::setIoHIDElementRef(IOHIDElementRef elementRef) {
    ownedElements(); // those that belong to the old reference
    ioHIDElementRef_ = pin(elementRef);
}

void QZHIDElement::setupChildrenWithCalibrationValues(
    const std::shared_ptr<const QZGCCalibrationValues>& calibrationValues) {
    const auto children = IOHIDElementGetChildren(ioHIDElementRef());
    std::vector<std::shared_ptr<QZHIDElement>> members;
    members.reserve(children->size());
    for (const IOHIDElementRef child : *children) {
        members.push_back(create(child, shared_from_this(), device(), calibrationValues));
    }
    setOwnedElements(std::move(members));
}

void QZHIDElement::setupRangesWithCalibrationValues(const QZGCCalibrationValues* calibrationValues) {
    observedMin_ = theoreticalMin();
    observedMax_ = theoreticalMax();
    observedNeutral_ = halfSum(observedMin_, observedMax_);
    if (isSubjectToCalibration() && calibrationValues != nullptr && calibrationValues->contains(cookie())) {
        observedMin_ = calibrationValues->minimum(cookie());
        observedMax_ = calibrationValues->maximum(cookie());
        observedNeutral_ = calibrationValues->neutral(cookie());
    }
    lastReportedValue_ = isMovingControl() && hasPreferredState() ? normalizedNeutral() : normalizedMin();
}

QZHIDElementCollectionType QZHIDElement::collectionType() const {
    return isCollection() ? IOHIDElementGetCollectionType(ioHIDElementRef()) : QZHIDElementCollectionTypeNone;
}

bool QZHIDElement::isPushButton() const {
    return (type() == QZHIDElementTypeMisc || type() == QZHIDElementTypeButton) && usagePage() == usages::buttonPage;
}

bool QZHIDElement::isConsumerElement() const {
    return usagePage() == usages::consumerPage;
}

[[gnu::hot]] bool QZHIDElement::isMovingControl() const {
    return (type() == QZHIDElementTypeMisc || type() == QZHIDElementTypeAxis) &&
           usagePage() == usages::genericDesktopPage && usage() >= usages::x && usage() <= usages::wheel;
}

bool QZHIDElement::isXAxis() const {
    return isMovingControl() && usage() == usages::x;
}

bool QZHIDElement::isYAxis() const {
    return isMovingControl() && usage() == usages::y;
}

bool QZHIDElement::isZAxis() const {
    return isMovingControl() && usage() == usages::z;
}

bool QZHIDElement::isRzAxis() const {
    return isMovingControl() && usage() == usages::rz;
}

bool QZHIDElement::isPartOfDirectionPad() const {
    return usagePage() == usages::genericDesktopPage && usage() >= usages::dPadUp && usage() <= usages::dPadLeft;
}

void QZHIDElement::startCalibration() {
    if (isSubjectToCalibration()) {
        calibrationMin_ = theoreticalMax();
        calibrationMax_ = theoreticalMin();
    }
}

void QZHIDElement::receivedNewCalibrationValue(std::int64_t value) {
    if (calibrationMin_ > value) {
        calibrationMin_ = value;
    } else if (calibrationMax_ < value) {
        calibrationMax_ = value;
    }
}

void QZHIDElement::endCalibration() {
    if (!isSubjectToCalibration() || calibrationMin_ >= calibrationMax_) {
        return;
    }
    observedMin_ = calibrationMin_;
    observedMax_ = calibrationMax_;
    if (!hasPreferredState()) {
        return;
    }
    const auto itsDevice = device();
    observedNeutral_ = itsDevice ? itsDevice->valueForElement(*this) : 0;
    // By design a rest value of exactly 0 counts as unknown: a failed read gives 0 too.
    if (observedNeutral_ == 0) {
        observedNeutral_ = halfSum(observedMin_, observedMax_);
    }
}
