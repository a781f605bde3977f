// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"

#include "platform/FatalError.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace qz::platform {

namespace {

// The marks for devices that come and go. To other tools they are comments.
constexpr std::string_view markPrefix = "qzgc:";
constexpr std::string_view pluggedInMark = " plugged in ";
constexpr std::string_view unpluggedMark = " unplugged ";

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

void dropBlanks(std::string_view& text) {
    const auto first = std::ranges::find_if_not(text, isBlank);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
}

/// Takes the next word off the front of `text`; empty at the end.
std::string_view takeWord(std::string_view& text) {
    dropBlanks(text);
    const auto end = std::ranges::find_if(text, isBlank);
    const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(word.size());
    return word;
}

/// Removes `prefix` from the front of `text` if it is there.
bool takePrefix(std::string_view& text, std::string_view prefix) {
    const bool isThere = text.starts_with(prefix);
    text.remove_prefix(isThere ? prefix.size() : 0);
    return isThere;
}

/// The number that `word` is in full, without sign and prefix; nothing if it is none or above `maximum`.
std::optional<std::uint64_t> parseNumber(std::string_view word, int base, std::uint64_t maximum) {
    std::uint64_t number = 0;
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, number, base);
    if (result.ec != std::errc{} || result.ptr != end || number > maximum) {
        return std::nullopt;
    }
    return number;
}

/// A time as seconds.microseconds. Six digits are asked for because tools differ in what fewer of them mean.
std::optional<std::chrono::microseconds> parseTime(std::string_view word) {
    const auto point = word.find('.');
    if (point == std::string_view::npos || word.size() - point != 7) {
        return std::nullopt;
    }
    const auto seconds = parseNumber(word.substr(0, point), 10, RecordingLimits::seconds);
    const auto fraction = parseNumber(word.substr(point + 1), 10, 999'999);
    if (!seconds || !fraction) {
        return std::nullopt;
    }
    return std::chrono::microseconds(static_cast<std::int64_t>(*seconds * 1'000'000 + *fraction));
}

/// Takes the key of a line with its colon off the front; empty where the line has none.
std::string_view takeKey(std::string_view& line) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
    const auto end = line.find_first_not_of(letters);
    if (end == std::string_view::npos || line[end] != ':') {
        return {};
    }
    const std::string_view key = line.substr(0, end);
    line.remove_prefix(end + 1);
    return key;
}

class RecordingReader {
public:
    std::variant<Recording, RecordingError> read(std::string_view text);

private:
    /// The lines that describe a device, each of which it has once at the most.
    static constexpr std::string_view describingKeys = "RNPUI";

    struct Device {
        std::uint32_t number = 0;
        std::size_t line = 0;              ///< the first one that belongs to it
        std::array<bool, 5> isDescribed{}; ///< in the order of `describingKeys`
        bool hasEvents = false;
        bool isPresent = true;
        RecordedDevice recorded = {};
    };

    void readLine(std::string_view line);
    void readNumber(std::string_view value);
    void readDescription(std::size_t key, std::string_view value);
    void readIdentity(std::string_view value);
    void readReport(std::string_view value);
    void readMark(std::string_view mark);
    std::vector<std::uint8_t> readBytes(std::string_view value, std::size_t maximum);
    Device* device();
    void add(RecordedEvent event);
    void finish();
    void fail(std::initializer_list<std::string_view> message) { failAt(line_, message); }
    void failAt(std::size_t line, std::initializer_list<std::string_view> message);

    std::size_t line_ = 0;
    std::uint32_t number_ = 0;    ///< of the device that lines belong to
    std::size_t index_ = 0;       ///< in `devices_`, if that device is there already
    std::vector<Device> devices_; ///< in the order in which the text comes to them
    Recording recording_;
    std::optional<RecordingError> error_;
};

std::variant<Recording, RecordingError> RecordingReader::read(std::string_view text) {
    if (text.size() > RecordingLimits::textBytes) {
        failAt(1,
               {"the recording has more than ", DecimalText(RecordingLimits::textBytes), " bytes; cut it into parts"});
    }
    takePrefix(text, byteOrderMark);
    while (!text.empty() && !error_) {
        ++line_;
        const auto end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        readLine(line);
    }
    if (!error_) {
        finish();
    }
    if (error_) {
        return std::move(*error_);
    }
    return std::move(recording_);
}

void RecordingReader::readLine(std::string_view line) {
    if (line.size() > RecordingLimits::lineBytes) {
        fail({"the line has more than ", DecimalText(RecordingLimits::lineBytes), " bytes; no report needs as many"});
        return;
    }
    dropBlanks(line);
    if (line.empty()) {
        return;
    }
    if (takePrefix(line, "#")) {
        dropBlanks(line);
        if (takePrefix(line, markPrefix)) {
            readMark(line);
        }
        return;
    }
    const std::string_view key = takeKey(line);
    if (key.empty()) {
        fail({"neither a key with a colon nor a comment; put # in front of remarks"});
    } else if (key == "D") {
        readNumber(line);
    } else if (key == "E") {
        readReport(line);
    } else if (key.size() == 1 && describingKeys.find(key.front()) != std::string_view::npos) {
        readDescription(describingKeys.find(key.front()), line);
    }
}

void RecordingReader::readNumber(std::string_view value) {
    const auto number = parseNumber(takeWord(value), 10, std::numeric_limits<std::uint32_t>::max());
    if (!number || !takeWord(value).empty()) {
        fail({R"(write D: and the device's number, as in "D: 1")"});
        return;
    }
    number_ = static_cast<std::uint32_t>(*number);
    const auto known = std::ranges::find(devices_, number_, &Device::number);
    index_ = static_cast<std::size_t>(known - devices_.begin());
}

/// The device that the line belongs to; null after an error.
RecordingReader::Device* RecordingReader::device() {
    if (index_ == devices_.size()) {
        if (devices_.size() == RecordingLimits::devices) {
            fail({"more than ", DecimalText(RecordingLimits::devices), " devices; cut the recording into parts"});
            return nullptr;
        }
        devices_.push_back({.number = number_, .line = line_});
    }
    return &devices_[index_];
}

void RecordingReader::readDescription(std::size_t key, std::string_view value) {
    Device* const device = this->device();
    if (device == nullptr) {
        return;
    }
    if (std::exchange(device->isDescribed.at(key), true)) {
        fail({"device ", DecimalText(number_), " has had this line already; give another device its own D: line"});
        return;
    }
    RecordedDevice& recorded = device->recorded;
    if (describingKeys[key] == 'R') {
        recorded.descriptor = readBytes(value, RecordingLimits::descriptorBytes);
        return;
    }
    if (describingKeys[key] == 'I') {
        readIdentity(value);
        return;
    }
    // One blank belongs to the key, further ones to the text.
    value.remove_prefix(!value.empty() && isBlank(value.front()) ? 1 : 0);
    switch (describingKeys[key]) {
    case 'N':
        recorded.name = value;
        break;
    case 'P':
        recorded.phys = value;
        break;
    default:
        recorded.uniq = value;
        break;
    }
}

void RecordingReader::readIdentity(std::string_view value) {
    RecordedDevice& recorded = devices_[index_].recorded;
    for (std::uint16_t* const part : {&recorded.bus, &recorded.vendor, &recorded.product}) {
        const auto number = parseNumber(takeWord(value), 16, 0xffff);
        if (!number) {
            fail({R"(write I: and bus, vendor and product as hexadecimal numbers up to ffff, as in "I: 3 046d c215")"});
            return;
        }
        *part = static_cast<std::uint16_t>(*number);
    }
    if (!takeWord(value).empty()) {
        fail({"more than bus, vendor and product; take away what follows them"});
    }
}

/// A number of bytes, then as many bytes.
std::vector<std::uint8_t> RecordingReader::readBytes(std::string_view value, std::size_t maximum) {
    const auto count = parseNumber(takeWord(value), 10, maximum);
    if (!count) {
        fail({"write the number of bytes, up to ", DecimalText(static_cast<std::int64_t>(maximum)),
              ", in front of the bytes"});
        return {};
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(std::min<std::size_t>(*count, value.size() / 2));
    for (std::string_view word = takeWord(value); !word.empty(); word = takeWord(value)) {
        const auto byte = word.size() > 2 ? std::nullopt : parseNumber(word, 16, 0xff);
        if (!byte) {
            fail({"byte ", DecimalText(static_cast<std::int64_t>(bytes.size() + 1)),
                  " is no byte in hexadecimal; write it as 00 to ff"});
            return {};
        }
        bytes.push_back(static_cast<std::uint8_t>(*byte));
    }
    if (bytes.size() != *count) {
        fail({"the line has ", DecimalText(static_cast<std::int64_t>(bytes.size())), " bytes and says ",
              DecimalText(static_cast<std::int64_t>(*count)), "; complete it or mend the number"});
    }
    return bytes;
}

void RecordingReader::readReport(std::string_view value) {
    const auto time = parseTime(takeWord(value));
    if (!time) {
        fail({R"(write the time as seconds, a point and six digits, as in "E: 000012.345678 2 01 ff")"});
        return;
    }
    std::vector<std::uint8_t> report = readBytes(value, RecordingLimits::reportBytes);
    add({.time = *time, .report = std::move(report)});
}

void RecordingReader::readMark(std::string_view mark) {
    const bool isPluggedIn = takePrefix(mark, pluggedInMark);
    const bool isKnown = isPluggedIn || takePrefix(mark, unpluggedMark);
    const auto time = parseTime(takeWord(mark));
    if (!isKnown || !time || !takeWord(mark).empty()) {
        fail({R"(unknown mark; write "# qzgc: plugged in" or "# qzgc: unplugged" and a time such as 000012.345678)"});
        return;
    }
    add({.kind = isPluggedIn ? RecordedEvent::Kind::PluggedIn : RecordedEvent::Kind::Unplugged, .time = *time});
}

/// Adds an event of the device that lines belong to.
void RecordingReader::add(RecordedEvent event) {
    Device* const device = error_ ? nullptr : this->device();
    if (device == nullptr) {
        return;
    }
    const bool comes = event.kind == RecordedEvent::Kind::PluggedIn;
    if (comes && device->hasEvents && device->isPresent) {
        fail({"device ", DecimalText(number_), " is plugged in already; remove the mark"});
        return;
    }
    if (!comes && !device->isPresent) {
        fail({"device ", DecimalText(number_), " is unplugged here; mark before this line that it is plugged in"});
        return;
    }
    device->hasEvents = true;
    device->isPresent = event.kind != RecordedEvent::Kind::Unplugged;
    event.device = static_cast<std::uint32_t>(index_);
    recording_.events.push_back(std::move(event));
}

/// Puts the devices in order and looks for what is missing.
void RecordingReader::finish() {
    if (devices_.empty()) {
        failAt(std::max<std::size_t>(line_, 1), {"the text ends and has no device; a recording needs an R: line"});
        return;
    }
    std::vector<std::uint32_t> order(devices_.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::sort(order, {}, [this](std::uint32_t i) { return devices_[i].number; });
    std::vector<std::uint32_t> places(devices_.size());
    for (const std::uint32_t i : order) {
        Device& device = devices_[i];
        if (!device.isDescribed.front()) {
            failAt(device.line, {"device ", DecimalText(device.number), " has no R: line; add its report descriptor"});
            return;
        }
        places[i] = static_cast<std::uint32_t>(recording_.devices.size());
        recording_.devices.push_back(std::move(device.recorded));
    }
    for (RecordedEvent& event : recording_.events) {
        event.device = places[event.device];
    }
}

void RecordingReader::failAt(std::size_t line, std::initializer_list<std::string_view> message) {
    error_ = {line, joined({"line ", DecimalText(static_cast<std::int64_t>(line)), ": ", joined(message)})};
}

std::string padded(std::int64_t number) {
    constexpr std::size_t digits = 6;
    std::string text = std::to_string(number);
    text.insert(0, digits - std::min(digits, text.size()), '0');
    return text;
}

std::string timeText(std::chrono::microseconds time) {
    const std::int64_t count = std::max<std::int64_t>(time.count(), 0);
    return joined({padded(count / 1'000'000), ".", padded(count % 1'000'000)});
}

void appendBytes(std::string& text, std::span<const std::uint8_t> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += std::to_string(bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += {' ', digits[byte >> 4U], digits[byte & 0xfU]};
    }
    text += '\n';
}

/// A line for a string; none where it is empty, because hid-replay takes a key without a value for an error.
void appendString(std::string& text, std::string_view key, std::string_view value) {
    if (value.empty()) {
        return;
    }
    text += joined({key, ": "});
    std::ranges::replace_copy_if(
        value, std::back_inserter(text), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    text += '\n';
}

} // namespace

std::variant<Recording, RecordingError> readRecording(std::string_view text) {
    return RecordingReader().read(text);
}

void RecordingWriter::select(std::string& text, std::uint32_t index) {
    if (std::exchange(selected_, index) != index) {
        text += joined({"D: ", DecimalText(index), "\n"});
    }
}

std::string RecordingWriter::describe(std::uint32_t index, const RecordedDevice& device) {
    std::string text;
    select(text, index);
    text += "R: ";
    appendBytes(text, device.descriptor);
    appendString(text, "N", device.name);
    appendString(text, "P", device.phys);
    appendString(text, "U", device.uniq);
    return text + joined({"I: ", hexadecimal(device.bus), " ", hexadecimal(device.vendor, 4), " ",
                          hexadecimal(device.product, 4), "\n"});
}

std::string RecordingWriter::write(const RecordedEvent& event) {
    std::string text;
    select(text, event.device);
    if (event.kind == RecordedEvent::Kind::Report) {
        text += joined({"E: ", timeText(event.time), " "});
        appendBytes(text, event.report);
    } else {
        const bool comes = event.kind == RecordedEvent::Kind::PluggedIn;
        text += joined({"# ", markPrefix, comes ? pluggedInMark : unpluggedMark, timeText(event.time), "\n"});
    }
    return text;
}

std::string writeRecording(const Recording& recording) {
    enum class State : std::uint8_t { Unknown, ToBeDescribed, Described };
    std::vector<State> states(recording.devices.size(), State::Unknown);
    for (const RecordedEvent& event : recording.events) {
        if (event.device >= states.size()) {
            fatalError("an event of a recording is of none of its devices");
        }
        if (states[event.device] == State::Unknown) {
            const bool comesLater = event.kind == RecordedEvent::Kind::PluggedIn;
            states[event.device] = comesLater ? State::ToBeDescribed : State::Described;
        }
    }
    RecordingWriter writer;
    std::string text;
    for (std::size_t i = 0; i < states.size(); ++i) {
        if (states[i] != State::ToBeDescribed) {
            text += writer.describe(static_cast<std::uint32_t>(i), recording.devices[i]);
        }
    }
    for (const RecordedEvent& event : recording.events) {
        if (std::exchange(states[event.device], State::Described) == State::ToBeDescribed) {
            text += writer.describe(event.device, recording.devices[event.device]);
        }
        text += writer.write(event);
    }
    return text;
}

} // namespace qz::platform
