// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDescriptor.h"

#include <chrono>
#include <string>

/// Recordings of devices and their reports in the text form of hid-recorder(1), one of the hid-tools, with two
/// additions that other tools pass over: a line for the serial number, and comments for devices that come and go. The
/// form is described in docs/recordings.md.
namespace qz::platform {

/// What the reader takes at the most.
struct RecordingLimits {
    static constexpr std::size_t textBytes = 67'108'864;    ///< 25 minutes of eight bytes a thousand times a second
    static constexpr std::size_t lineBytes = 65'536;        ///< the longest report takes 49,181
    static constexpr std::size_t devices = 256;             ///< four times HIDRAW_MAX_DEVICES: some leave, others come
    static constexpr std::uint64_t seconds = 9'999'999'999; ///< times of day, counted from 1970, included
    static constexpr std::size_t descriptorBytes = ReportDescriptorLimits::descriptorBytes;
    static constexpr std::size_t reportBytes = ReportDescriptorLimits::reportBytes + 1; ///< with the ID
};

/// One device. The writer puts a blank in place of control characters in the strings.
struct RecordedDevice {
    std::string name = {};
    std::string phys = {};     ///< where it is plugged in, as HIDIOCGRAWPHYS answers
    std::string uniq = {};     ///< its serial number or, over Bluetooth, its address
    std::uint16_t bus = 0;     ///< BUS_USB and so on in linux/input.h
    std::uint16_t vendor = 0;  ///< 0 where unknown
    std::uint16_t product = 0; ///< 0 where unknown
    std::vector<std::uint8_t> descriptor = {};

    friend bool operator==(const RecordedDevice&, const RecordedDevice&) = default;
};

/// What happened to one device.
struct RecordedEvent {
    enum class Kind : std::uint8_t { Report, PluggedIn, Unplugged };

    Kind kind = Kind::Report;
    std::uint32_t device = 0;          ///< index in Recording::devices
    std::chrono::microseconds time{0}; ///< Not below 0. The order of events is theirs in the recording, whatever it is.
    std::vector<std::uint8_t> report = {}; ///< the report's ID in front if it has one; empty for other kinds

    friend bool operator==(const RecordedEvent&, const RecordedEvent&) = default;
};

/// Devices and what happened to them. A device is there from the beginning unless its first event is that it is plugged
/// in, and reports only while it is there.
struct Recording {
    std::vector<RecordedDevice> devices = {};
    std::vector<RecordedEvent> events = {};

    friend bool operator==(const Recording&, const Recording&) = default;
};

/// Why a text is refused.
struct RecordingError {
    std::size_t line = 0;     ///< counted from 1
    std::string message = {}; ///< one line that names the line of the text and says what is to be done
};

/// Reads a recording of one device or more. Takes the line ends of any system, and passes over blank lines, comments
/// and lines with unknown keys. Devices are in the order of their numbers.
QZGC_EXPORT std::variant<Recording, RecordingError> readRecording(std::string_view text);

/// The text of a whole recording. A device that is plugged in later is described there. Reading the text and writing it
/// again gives the same text, provided that the recording keeps to the limits and to what Recording says.
QZGC_EXPORT std::string writeRecording(const Recording& recording);

/// Writes a recording while it comes into being: what the operations answer, one after the other, is its text.
class QZGC_EXPORT RecordingWriter {
public:
    /// Describes a device, which is `index` in events. Once for each device, and before its first event.
    std::string describe(std::uint32_t index, const RecordedDevice& device);

    std::string write(const RecordedEvent& event);

private:
    void select(std::string& text, std::uint32_t index);

    std::uint32_t selected_ = 0; ///< the number that the lines to come belong to; 0 without any number line
};

} // namespace qz::platform
