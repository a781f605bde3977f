// SPDX-License-Identifier: MIT
#include "platform/report/Recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qz::platform {
namespace {

using namespace std::chrono_literals;
using Kind = RecordedEvent::Kind;

Recording read(std::string_view text) {
    auto result = readRecording(text);
    if (const auto* error = std::get_if<RecordingError>(&result)) {
        ADD_FAILURE() << error->message;
        return {};
    }
    return std::get<Recording>(std::move(result));
}

/// The message of the refusal, which names its line; empty when the text is taken.
std::string refusal(std::string_view text) {
    auto result = readRecording(text);
    const auto* error = std::get_if<RecordingError>(&result);
    if (error == nullptr) {
        return {};
    }
    EXPECT_TRUE(error->message.starts_with("line " + std::to_string(error->line) + ": ")) << error->message;
    EXPECT_EQ(error->message.find('\n'), std::string::npos);
    return error->message;
}

std::string bytes(std::size_t count) {
    std::string text = std::to_string(count);
    for (std::size_t i = 0; i < count; ++i) {
        text += " 7f";
    }
    return text;
}

RecordedDevice stick() {
    return {.name = "Stick",
            .phys = "usb-0000:00:14.0-2/input0",
            .uniq = "SN 42",
            .bus = 3,
            .vendor = 0x46d,
            .product = 0xc215,
            .descriptor = {0x05, 0x01, 0xc0}};
}

TEST(Recording, ReadsWhatHidRecorderWrites) {
    const Recording recording = read("# Some Stick\n"
                                     "# 0x05, 0x01,                    // Usage Page (Generic Desktop)        0\n"
                                     "# \n"
                                     "R: 3 05 01 c0\n"
                                     "N: Some Stick\n"
                                     "I: 3 046d c215\n"
                                     "#  X:    520 | Y:    512\n"
                                     "E: 000000.000000 2 08 ff\n"
                                     "E: 000001.000250 2 00 10\n");
    EXPECT_EQ(recording.devices,
              (std::vector<RecordedDevice>{
                  {.name = "Some Stick", .bus = 3, .vendor = 0x46d, .product = 0xc215, .descriptor = {5, 1, 0xc0}}}));
    EXPECT_EQ(recording.events, (std::vector<RecordedEvent>{{.time = 0us, .report = {0x08, 0xff}},
                                                            {.time = 1'000'250us, .report = {0x00, 0x10}}}));
}

TEST(Recording, TellsDevicesApartByTheirNumbers) {
    const Recording recording = read("D: 7\nR: 1 07\nN: seven\nD: 2\nR: 1 02\nN: two\n"
                                     "D: 7\nE: 0.000001 1 70\nD: 2\nE: 0.000002 1 20\nE: 0.000003 1 21\n");
    ASSERT_EQ(recording.devices.size(), 2U);
    EXPECT_EQ(recording.devices[0].name, "two");
    EXPECT_EQ(recording.devices[1].name, "seven");
    EXPECT_EQ(recording.events, (std::vector<RecordedEvent>{{.device = 1, .time = 1us, .report = {0x70}},
                                                            {.device = 0, .time = 2us, .report = {0x20}},
                                                            {.device = 0, .time = 3us, .report = {0x21}}}));
}

TEST(Recording, TakesLinesBeforeAnyNumberForDevice0) {
    const Recording recording = read("R: 1 00\nD: 1\nR: 1 01\nD: 0\nN: first\n");
    ASSERT_EQ(recording.devices.size(), 2U);
    EXPECT_EQ(recording.devices[0].name, "first");
    EXPECT_EQ(recording.devices[0].descriptor, (std::vector<std::uint8_t>{0}));
}

TEST(Recording, BearsWhatOtherToolsAndEditorsWrite) {
    const Recording expected = read("R: 2 0a 0b\nN: x\nI: 3 0001 0002\nE: 0.000000 1 ff\n");
    EXPECT_EQ(read("R: 2 0a 0b\r\nN: x\r\nI: 3 0001 0002\r\n\r\nE: 0.000000 1 ff\r\n"), expected) << "CRLF";
    EXPECT_EQ(read("R: 2 0a 0b\nN: x\nI: 3 0001 0002\nE: 0.000000 1 ff"), expected) << "no last line end";
    EXPECT_EQ(read("\xef\xbb\xbfR: 2 0a 0b\nN: x\nI: 3 0001 0002\nE: 0.000000 1 ff\n"), expected) << "mark in front";
    EXPECT_EQ(read("\n \t\n#\nR: 2 0a 0b\nN: x\nI: 3 0001 0002\n#E: 1\nE: 0.000000 1 ff\n"), expected) << "blank";
    EXPECT_EQ(read("B: x\nR: 2 0a 0b\nN: x\nI: 3 0001 0002\nnew-key: ?\nE: 0.000000 1 ff\n"), expected) << "keys";
    EXPECT_EQ(read("R:2 A b\n N: x\nI: 3 1 2\nE:  000000.000000\t1  FF \n"), expected) << "blanks and digits";
}

TEST(Recording, KeepsStringsAsTheyAreAfterOneBlank) {
    const Recording recording = read("R: 0\nN:  two in front, one behind \nP:none\nU: \n");
    EXPECT_EQ(recording.devices[0].name, " two in front, one behind ");
    EXPECT_EQ(recording.devices[0].phys, "none");
    EXPECT_EQ(recording.devices[0].uniq, "");
}

TEST(Recording, NumbersDoNotReadAsLessThanTheySay) {
    EXPECT_EQ(read("R: 0\nE: 9999999999.999999 0\n").events[0].time, 9'999'999'999'999'999us);
    EXPECT_NE(refusal("R: 0\nE: 10000000000.000000 0\n"), "");
    EXPECT_EQ(read("R: 0\nI: ffff ffff ffff\n").devices[0].vendor, 0xffff);
    EXPECT_NE(refusal("R: 0\nI: 3 10000 1\n"), "");
    EXPECT_NE(refusal("R: 0\nI: 3 0x46d 1\n"), "");
    EXPECT_NE(refusal("R: 0\nI: 3 -1 1\n"), "");
    EXPECT_NE(refusal("D: 4294967296\nR: 0\n"), "");
}

TEST(Recording, RefusesWhatWouldBeMisread) {
    EXPECT_EQ(refusal("R: 3 05 01\n"), "line 1: the line has 2 bytes and says 3; complete it or mend the number");
    EXPECT_EQ(refusal("\n\nR: 1 05 01\n"), "line 3: the line has 2 bytes and says 1; complete it or mend the number");
    EXPECT_EQ(refusal("R: 2 05 1c0\n"), "line 1: byte 2 is no byte in hexadecimal; write it as 00 to ff");
    EXPECT_NE(refusal("R: 2 05 0c0\n"), "");
    EXPECT_NE(refusal("R: 2 05 x\n"), "");
    EXPECT_NE(refusal("R: 2 05 -1\n"), "");
    EXPECT_NE(refusal("R: 05 01 c0\n"), "") << "no number of bytes";
    EXPECT_NE(refusal("R:\n"), "");
    EXPECT_NE(refusal("R: 0\nD: one\n"), "");
    EXPECT_NE(refusal("R: 0\nD: 1 2\n"), "");
    EXPECT_NE(refusal("R: 0\nI: 3 046d\n"), "");
    EXPECT_EQ(refusal("R: 0\nI: 3 046d c215 0111\n"),
              "line 2: more than bus, vendor and product; take away what follows them");
    EXPECT_EQ(refusal("R: 0\nhid-recorder said something\n"),
              "line 2: neither a key with a colon nor a comment; put # in front of remarks");
    EXPECT_EQ(refusal("R: 0\nN: a\nN: b\n"),
              "line 3: device 0 has had this line already; give another device its own D: line");
    EXPECT_NE(refusal("R: 0\nR: 0\n"), "") << "two recordings put together";
    for (const char* time : {"0", "0.5", "0.0000005", ".000000", "1.00000x", "-1.000000", "1,000000", "1e3.000000"}) {
        EXPECT_NE(refusal(std::string("R: 0\nE: ") + time + " 1 00\n"), "") << time;
    }
    EXPECT_EQ(refusal("R: 0\nE: 0.5 1 00\n"),
              "line 2: write the time as seconds, a point and six digits, as in \"E: 000012.345678 2 01 ff\"");
}

TEST(Recording, RefusesATextThatLacksADescriptor) {
    EXPECT_EQ(refusal(""), "line 1: the text ends and has no device; a recording needs an R: line");
    EXPECT_EQ(refusal("# nothing\n#\n"), "line 2: the text ends and has no device; a recording needs an R: line");
    EXPECT_EQ(refusal("R: 0\nD: 4\n\nN: x\nD: 0\n"), "line 4: device 4 has no R: line; add its report descriptor");
    EXPECT_EQ(refusal("R: 0\nD: 4\n"), "") << "a number alone is no device";
}

TEST(Recording, DevicesComeAndGo) {
    const Recording recording = read("R: 1 00\n"
                                     "E: 000001.000000 1 11\n"
                                     "D: 1\n"
                                     "R: 1 01\n"
                                     "# qzgc: plugged in 000002.000000\n"
                                     "E: 000003.000000 1 33\n"
                                     "# qzgc: unplugged 000004.000000\n"
                                     "#qzgc: plugged in 000005.000000\n"
                                     "D: 0\n"
                                     "# qzgc: unplugged 000006.000000\n");
    EXPECT_EQ(recording.devices.size(), 2U);
    EXPECT_EQ(recording.events, (std::vector<RecordedEvent>{
                                    {.kind = Kind::Report, .device = 0, .time = 1s, .report = {0x11}},
                                    {.kind = Kind::PluggedIn, .device = 1, .time = 2s},
                                    {.kind = Kind::Report, .device = 1, .time = 3s, .report = {0x33}},
                                    {.kind = Kind::Unplugged, .device = 1, .time = 4s},
                                    {.kind = Kind::PluggedIn, .device = 1, .time = 5s},
                                    {.kind = Kind::Unplugged, .device = 0, .time = 6s},
                                }));
}

TEST(Recording, RefusesDevicesThatComeTwiceOrReportWhileAway) {
    const std::string in = "# qzgc: plugged in 0.000000\n";
    const std::string out = "# qzgc: unplugged 0.000000\n";
    const std::string report = "E: 0.000000 0\n";
    const std::string begin = "R: 0\n";
    EXPECT_EQ(refusal(begin + in + report + out + in + report + out), "");
    EXPECT_EQ(refusal(begin + report + out + in), "");
    EXPECT_EQ(refusal(begin + report + in), "line 3: device 0 is plugged in already; remove the mark");
    EXPECT_NE(refusal(begin + in + in), "");
    EXPECT_EQ(refusal(begin + out + report),
              "line 3: device 0 is unplugged here; mark before this line that it is plugged in");
    EXPECT_NE(refusal(begin + out + out), "");
}

TEST(Recording, RefusesMarksThatItDoesNotKnow) {
    EXPECT_EQ(refusal("R: 0\n# qzgc: renamed 0.000000\n"),
              "line 2: unknown mark; write \"# qzgc: plugged in\" or \"# qzgc: unplugged\" and a time such as "
              "000012.345678");
    EXPECT_NE(refusal("R: 0\n# qzgc: 0.000000\n"), "");
    EXPECT_NE(refusal("R: 0\n# qzgc: unplugged\n"), "");
    EXPECT_NE(refusal("R: 0\n# qzgc: unplugged 1\n"), "");
    EXPECT_NE(refusal("R: 0\n# qzgc: unplugged 0.000000 2\n"), "");
    EXPECT_NE(refusal("R: 0\n# qzgc:unplugged 0.000000\n"), "");
    EXPECT_EQ(refusal("R: 0\n# the qzgc: unplugged\n"), "") << "an ordinary comment";
}

TEST(Recording, HasLimits) {
    EXPECT_EQ(refusal("R: " + bytes(RecordingLimits::descriptorBytes) + "\n"), "");
    EXPECT_EQ(refusal("R: " + bytes(RecordingLimits::descriptorBytes + 1) + "\n"),
              "line 1: write the number of bytes, up to 4096, in front of the bytes");
    EXPECT_EQ(refusal("R: 0\nE: 9999999999.999999 " + bytes(RecordingLimits::reportBytes) + "\n"), "");
    EXPECT_EQ(refusal("R: 0\nE: 0.000000 " + bytes(RecordingLimits::reportBytes + 1) + "\n"),
              "line 2: write the number of bytes, up to 16385, in front of the bytes");
    EXPECT_EQ(refusal("R: 0\n#" + std::string(RecordingLimits::lineBytes - 1, 'x') + "\n"), "");
    EXPECT_EQ(refusal("R: 0\n#" + std::string(RecordingLimits::lineBytes, 'x') + "\n"),
              "line 2: the line has more than 65536 bytes; no report needs as many");

    std::string devices;
    for (std::size_t i = 0; i < RecordingLimits::devices; ++i) {
        devices += "D: " + std::to_string(i) + "\nR: 0\n";
    }
    EXPECT_EQ(refusal(devices), "");
    EXPECT_EQ(refusal(devices + "D: 256\nR: 0\n"), "line 514: more than 256 devices; cut the recording into parts");

    std::string text = "R: 0\n";
    const std::string comment = "#" + std::string(60'000, 'x') + "\n";
    while (text.size() + comment.size() < RecordingLimits::textBytes) {
        text += comment;
    }
    text.resize(RecordingLimits::textBytes, '\n');
    EXPECT_EQ(refusal(text), "");
    EXPECT_EQ(refusal(text + "\n"), "line 1: the recording has more than 67108864 bytes; cut it into parts");
}

TEST(Recording, WritesWhatHidRecorderWouldWrite) {
    Recording recording{.devices = {stick()}, .events = {{.time = 1'000'250us, .report = {0x00, 0xff}}}};
    EXPECT_EQ(writeRecording(recording), "R: 3 05 01 c0\n"
                                         "N: Stick\n"
                                         "P: usb-0000:00:14.0-2/input0\n"
                                         "U: SN 42\n"
                                         "I: 3 046d c215\n"
                                         "E: 000001.000250 2 00 ff\n");
    recording.devices.push_back({});
    recording.events.push_back({.device = 1, .time = 1'234'567s, .report = {}});
    recording.events.push_back({.device = 1, .time = -1s, .report = {1}});
    EXPECT_EQ(writeRecording(recording), "R: 3 05 01 c0\n"
                                         "N: Stick\n"
                                         "P: usb-0000:00:14.0-2/input0\n"
                                         "U: SN 42\n"
                                         "I: 3 046d c215\n"
                                         "D: 1\n"
                                         "R: 0\n"
                                         "I: 0 0000 0000\n"
                                         "D: 0\n"
                                         "E: 000001.000250 2 00 ff\n"
                                         "D: 1\n"
                                         "E: 1234567.000000 0\n"
                                         "E: 000000.000000 1 01\n");
}

TEST(Recording, DescribesADeviceThatComesLaterWhereItComes) {
    const Recording recording{.devices = {stick(), {.name = "Pad", .descriptor = {1}}},
                              .events = {{.kind = Kind::PluggedIn, .device = 0, .time = 1s},
                                         {.kind = Kind::Unplugged, .device = 1, .time = 2s},
                                         {.kind = Kind::PluggedIn, .device = 1, .time = 3s}}};
    const std::string text = writeRecording(recording);
    EXPECT_EQ(text, "D: 1\n"
                    "R: 1 01\n"
                    "N: Pad\n"
                    "I: 0 0000 0000\n"
                    "D: 0\n"
                    "R: 3 05 01 c0\n"
                    "N: Stick\n"
                    "P: usb-0000:00:14.0-2/input0\n"
                    "U: SN 42\n"
                    "I: 3 046d c215\n"
                    "# qzgc: plugged in 000001.000000\n"
                    "D: 1\n"
                    "# qzgc: unplugged 000002.000000\n"
                    "# qzgc: plugged in 000003.000000\n");
    EXPECT_EQ(read(text), recording);

    RecordingWriter writer;
    std::string pieces = writer.describe(1, recording.devices[1]);
    pieces += writer.describe(0, recording.devices[0]);
    for (const RecordedEvent& event : recording.events) {
        pieces += writer.write(event);
    }
    EXPECT_EQ(pieces, text);
}

TEST(Recording, AStringCannotBecomeALine) {
    const Recording recording{.devices = {{.name = "a\nR: 0\r\x01\x7f", .uniq = std::string("\0", 1)}}};
    const std::string text = writeRecording(recording);
    EXPECT_EQ(text, "R: 0\nN: a R: 0   \nU:  \nI: 0 0000 0000\n");
    EXPECT_EQ(writeRecording(read(text)), text);
}

/// A recording that keeps to the rules, of devices that come and go at random.
Recording randomRecording(std::mt19937& random) {
    const auto upTo = [&random](std::uint32_t last) { return static_cast<std::uint32_t>(random() % (last + 1)); };
    const auto randomBytes = [&upTo](std::uint32_t most) {
        std::vector<std::uint8_t> bytes(upTo(most));
        std::ranges::generate(bytes, [&upTo] { return static_cast<std::uint8_t>(upTo(255)); });
        return bytes;
    };
    Recording recording;
    recording.devices.resize(1 + upTo(4));
    for (RecordedDevice& device : recording.devices) {
        for (std::string* const string : {&device.name, &device.phys, &device.uniq}) {
            std::ranges::transform(randomBytes(9), std::back_inserter(*string), [](std::uint8_t byte) {
                return static_cast<char>(byte < 0x20 || byte == 0x7f ? ' ' : byte);
            });
        }
        device.bus = static_cast<std::uint16_t>(upTo(0xffff));
        device.vendor = static_cast<std::uint16_t>(upTo(0xffff));
        device.product = static_cast<std::uint16_t>(upTo(0xffff));
        device.descriptor = randomBytes(20);
    }
    std::vector<bool> isPresent(recording.devices.size());
    std::vector<bool> hasEvents(recording.devices.size());
    for (std::uint32_t i = upTo(30); i > 0; --i) {
        const std::uint32_t device = upTo(static_cast<std::uint32_t>(recording.devices.size()) - 1);
        const bool canStay = isPresent[device] || !hasEvents[device];
        const Kind kind = !canStay || (!hasEvents[device] && upTo(1) == 0) ? Kind::PluggedIn
                          : upTo(3) == 0                                   ? Kind::Unplugged
                                                                           : Kind::Report;
        hasEvents[device] = true;
        isPresent[device] = kind != Kind::Unplugged;
        recording.events.push_back({.kind = kind,
                                    .device = device,
                                    .time = std::chrono::microseconds(std::int64_t{upTo(0xfffffffe)} * upTo(2'000'000)),
                                    .report = kind == Kind::Report ? randomBytes(9) : std::vector<std::uint8_t>{}});
    }
    return recording;
}

TEST(Recording, ReadsBackWhatItWrites) {
    std::mt19937 random(20);
    for (int i = 0; i < 2000; ++i) {
        const Recording recording = randomRecording(random);
        const std::string text = writeRecording(recording);
        const Recording again = read(text);
        ASSERT_EQ(again, recording) << text;
        ASSERT_EQ(writeRecording(again), text);
    }
}

TEST(Recording, DamageIsTakenOrRefusedAndNeverWorse) {
    std::mt19937 random(21);
    int refused = 0;
    for (int i = 0; i < 5000; ++i) {
        std::string text = writeRecording(randomRecording(random));
        for (std::size_t hits = 1 + random() % 3; hits > 0; --hits) {
            const std::size_t at = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, 1 + random() % 4);
                break;
            default:
                text.insert(at, text.substr(random() % text.size(), random() % 20));
            }
            text += text.empty() ? "\n" : "";
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        refused += std::holds_alternative<RecordingError>(readRecording(text)) ? 1 : 0;
    }
    EXPECT_GT(refused, 500) << "most damage is in numbers and bytes and must be seen";
    EXPECT_LT(refused, 4900);
}

TEST(RecordingDeathTest, AnEventOfNoDeviceIsAProgrammingError) {
    const Recording recording{.devices = {stick()}, .events = {{.device = 1}}};
    EXPECT_DEATH(writeRecording(recording), "an event of a recording is of none of its devices");
}

} // namespace
} // namespace qz::platform
