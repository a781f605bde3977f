// SPDX-License-Identifier: MIT
#pragma once

#include "platform/HID.h"

#include <cstdint>

/// The type of an element as the platform numbers it. Any number may come from the platform and passes through; one
/// that is not named here belongs to no class.
using QZHIDElementType = std::int32_t;

inline constexpr QZHIDElementType QZHIDElementTypeMisc = qz::platform::kIOHIDElementTypeInput_Misc;
inline constexpr QZHIDElementType QZHIDElementTypeButton = qz::platform::kIOHIDElementTypeInput_Button;
inline constexpr QZHIDElementType QZHIDElementTypeAxis = qz::platform::kIOHIDElementTypeInput_Axis;
inline constexpr QZHIDElementType QZHIDElementTypeScanCodes = qz::platform::kIOHIDElementTypeInput_ScanCodes;
inline constexpr QZHIDElementType QZHIDElementTypeOutput = qz::platform::kIOHIDElementTypeOutput;
inline constexpr QZHIDElementType QZHIDElementTypeFeature = qz::platform::kIOHIDElementTypeFeature;
inline constexpr QZHIDElementType QZHIDElementTypeCollection = qz::platform::kIOHIDElementTypeCollection;

/// The kind of a collection, as HID 1.11 section 6.2.2.6 numbers it; any other number passes through too.
using QZHIDElementCollectionType = std::int32_t;

/// The answer for an element that is no collection.
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeNone = -1;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypePhysical = 0;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeApplication = 1;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeLogical = 2;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeReport = 3;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeNamedArray = 4;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeUsageSwitch = 5;
inline constexpr QZHIDElementCollectionType QZHIDElementCollectionTypeUsageModifier = 6;
