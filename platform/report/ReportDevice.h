// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDescriptor.h"

namespace qz::platform {

class ReportDecoder;

/// A device whose elements follow from a report descriptor and whose values come in reports. It knows nothing of the
/// wire: a back end feeds it what it has read, and delivers what `feed` answers.
///
/// All that reports need is laid out when the device is made, so taking one in allocates nothing; a report that repeats
/// the last one is compared and no more, and otherwise only fields near changed bytes are looked at.
class QZGC_EXPORT ReportDevice : public HIDDevice {
public:
    /// "PrimaryUsagePage" and "PrimaryUsage", where `properties` lacks them, are those of the first application
    /// collection.
    ReportDevice(ReportDescriptor descriptor, const HIDProperties& properties);
    ~ReportDevice() override;

    /// Takes an input report in, its ID in front where the descriptor has report IDs: all that it carries becomes the
    /// last known values. Answers which elements' values are to be delivered, as indices in the order of cookies: those
    /// that changed or were not known before, and those of relative fields that are not 0. Valid until the next call.
    ///
    /// A report that is empty or has an unknown ID is dropped. An element whose bits a short report does not carry
    /// wholly keeps its value, as do the elements of an Array unless all of its slots are carried; bytes beyond the
    /// declared ones are ignored.
    std::span<const std::uint32_t> feed(std::span<const std::uint8_t> report);

    /// The element at `index`, one that `feed` answered, with its last known value.
    HIDValue value(std::uint32_t index) const;

    /// Whether the device was made of a report descriptor.
    bool takesReports() const noexcept { return decoder_ != nullptr; }

protected:
    /// A device without reports; `feed` drops all.
    ReportDevice();

    /// To be called when a last known value was set in another way than by `feed`.
    void forgetReports() noexcept;

    /// The values of these elements, which `feed` answered, have not been delivered: they are not known.
    void forgetValues(std::span<const std::uint32_t> indices) noexcept;

private:
    std::unique_ptr<ReportDecoder> decoder_;
};

} // namespace qz::platform
