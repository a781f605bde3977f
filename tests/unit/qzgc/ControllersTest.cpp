// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Controllers.h"

#include "platform/virtual/VirtualPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

// What DEVICE and CONTROL on a command line mean.

namespace {

using namespace qz::tools;
using qz::platform::ReportDescriptor;
using qz::platform::VirtualDevice;
using qz::platform::VirtualPlatform;

const ControllerIdentity knueppel = {
    .name = "Kn\xC3\xBCppel PRO", .kind = "Joystick", .typeID = "12-34", .instanceID = "12-34.0", .bus = "USB"};

TEST(Controllers, AreMeantByIDAndByPartOfTheName) {
    for (const char* const text : {"12-34", "12-34.0", "Kn\xC3\xBCppel PRO", "ppel", "pro", "PRO", "Pro", "", " "}) {
        EXPECT_TRUE(isMeant(text, knueppel)) << text;
    }
    EXPECT_TRUE(isMeant("KN\xC3\xBC", knueppel)) << "ASCII letters in any case";
    for (const char* const text : {"12", "12-3", "34.0", "12-34.", "12-34.00", "KN\xC3\x9CPPEL", "pro ", "stick"}) {
        EXPECT_FALSE(isMeant(text, knueppel)) << text;
    }
}

std::string choice(const FoundControllers& found, std::string_view text) {
    try {
        return chosenOf(found, text, "nothing").name;
    } catch (const std::exception& error) {
        return error.what();
    }
}

ControllerIdentity identity(const std::string& name, const std::string& instance) {
    return {.name = name, .kind = "Joystick", .typeID = "generic", .instanceID = instance, .bus = ""};
}

TEST(Controllers, ThatMayNotBeReadAreNamedWhereTheyAreMeant) {
    const FoundControllers found = {
        {identity("Pad", "1-1.0")}, {}, {{identity("Wheel", "2-2.0"), "a"}, {identity("Yoke", "3-3.0"), "b"}}};
    EXPECT_EQ(choice(found, ""), "Pad");
    EXPECT_EQ(choice(found, "yoke"), "\"Yoke\" cannot be used: b");
    EXPECT_EQ(choice(found, "stick"), "no controller is called \"stick\"; there is \"Pad\" (1-1.0)");
    EXPECT_EQ(choice({{}, {}, found.unusable}, ""), "\"Wheel\" cannot be used: a");
    EXPECT_EQ(choice({{}, {}, found.unusable}, "stick"), "\"Wheel\" cannot be used: a");
    EXPECT_EQ(choice({}, ""), "nothing");
}

TEST(Controllers, AreNoFilesUnlessTheyHaveTheName) {
    const std::string file = testing::TempDir() + "qzgc-" + std::to_string(::getpid()) + "-Pad";
    std::ofstream(file) << "a recording";
    const FoundControllers found = {{identity("Pad", "1-1.0")}, {}, {}};
    EXPECT_NO_THROW(expectNoFile(found, ""));
    EXPECT_NO_THROW(expectNoFile(found, "no file"));
    EXPECT_NO_THROW(expectNoFile(found, testing::TempDir())) << "a directory is none";
    EXPECT_THROW(expectNoFile(found, file), WrongUse);
    EXPECT_NO_THROW(expectNoFile({{identity(file, "1-1.0")}, {}, {}}, file));
    EXPECT_NO_THROW(expectNoFile({{}, {}, {{identity("Pad", file), "not readable"}}}, file));
    std::filesystem::remove(file);
}

TEST(Controllers, WithTheSameInstanceIDAreToldApartByTheirNames) {
    const FoundControllers found = {{identity("Generic", "0"), identity("Generic B", "0")}, {}, {}};
    const std::string several = "several controllers are meant, with the same instance ID; name one by its name: "
                                "\"Generic\" (0), \"Generic B\" (0)";
    EXPECT_EQ(choice(found, ""), several);
    EXPECT_EQ(choice(found, "0"), several);
    EXPECT_EQ(choice(found, "Generic"), "Generic");
    EXPECT_EQ(choice(found, "b"), "Generic B");
}

/// A stick with X, two controls that are both called Slider, a hat, three buttons, an output and a feature.
class Stick {
public:
    explicit Stick(const std::vector<std::uint8_t>& bytes = usual) {
        auto parsed = qz::platform::parseReportDescriptor(bytes);
        handle_ = std::make_shared<VirtualDevice>(std::get<ReportDescriptor>(std::move(parsed)),
                                                  qz::platform::HIDProperties{});
        manager_->hidDeviceConnected(handle_.get());
    }

    const QZHIDDevice& device() const { return *manager_->devices().front(); }

private:
    static inline const std::vector<std::uint8_t> usual = {
        0x05, 0x01, 0x09, 0x04, 0xa1, 0x01, 0x15, 0x00, 0x26, 0xff, 0x00, 0x75, 0x08, 0x95, 0x01, 0x09,
        0x30, 0x81, 0x02, 0x09, 0x36, 0x81, 0x02, 0x09, 0x36, 0x81, 0x02, 0x25, 0x07, 0x09, 0x39, 0x81,
        0x42, 0x05, 0x09, 0x19, 0x01, 0x29, 0x03, 0x25, 0x01, 0x75, 0x01, 0x95, 0x03, 0x81, 0x02, 0x05,
        0x08, 0x09, 0x4b, 0x95, 0x01, 0x91, 0x02, 0x06, 0x00, 0xff, 0x09, 0x01, 0xb1, 0x02, 0xc0};
    VirtualPlatform platform_;
    std::shared_ptr<VirtualDevice> handle_;
    std::shared_ptr<QZGCHIDManager> manager_ = QZGCHIDManager::create(nullptr, platform_);
};

std::string refusal(const QZHIDDevice& device, std::string_view text) {
    try {
        return "found " + findControl(device, text)->name();
    } catch (const WrongUse& error) {
        return error.what();
    }
}

TEST(Controls, AreInputsAlone) {
    const Stick stick;
    EXPECT_EQ(controlsOf(stick.device()).size(), 7U);
    EXPECT_EQ(elementsOf(stick.device()).size(), 10U) << "a collection, an output and a feature more";
    EXPECT_EQ(std::ranges::count_if(controlsOf(stick.device()),
                                    [](const auto& each) { return kindOf(*each) == ControlKind::Hat; }),
              1);
}

TEST(Hats, HaveANameForPeople) {
    // An axis, and three hats.
    const Stick stick({0x05, 0x01, 0x09, 0x04, 0xa1, 0x01, 0x15, 0x00, 0x25, 0x07, 0x75, 0x08, 0x95,
                       0x04, 0x09, 0x30, 0x09, 0x39, 0x09, 0x39, 0x09, 0x39, 0x81, 0x02, 0xc0});
    const auto controls = controlsOf(stick.device());
    ASSERT_EQ(controls.size(), 4U);
    const std::vector<std::string> names = {"X", "Hat", "Hat 2", "Hat 3"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(controlNames(stick.device()).at(controls[i]->cookie()), names[i]);
        EXPECT_EQ(controlName(*controls[i]), names[i]);
        EXPECT_EQ(findControl(stick.device(), names[i]), controls[i]);
    }
    EXPECT_EQ(findControl(stick.device(), "hat 2"), controls[2]);
    EXPECT_EQ(refusal(stick.device(), "1 / 57"),
              "several controls are called \"1 / 57\"; name one by its cookie: 3, 4, 5");
}

TEST(Hats, PointClockwiseFromUpInAnyNumberOfSteps) {
    for (std::int64_t place = 0; place < 8; ++place) {
        EXPECT_EQ(directionOf(1, 8, place + 1), static_cast<HatDirection>(place));
        EXPECT_EQ(directionOf(0, 3599, 450 * place), static_cast<HatDirection>(place)) << "tenths of a degree";
    }
    EXPECT_EQ(directionOf(0, 3, 1), HatDirection::Right);
    EXPECT_EQ(directionOf(0, 3, 3), HatDirection::Left);
    EXPECT_EQ(directionOf(0, 359, 359), HatDirection::Up) << "the nearest";
    EXPECT_EQ(directionOf(1, 8, 0), HatDirection::Centre);
    EXPECT_EQ(directionOf(1, 8, 9), HatDirection::Centre);
}

TEST(Controls, AreMeantByCookieNameAndNameKey) {
    const Stick stick;
    const std::int64_t x = controlsOf(stick.device()).front()->cookie();
    EXPECT_EQ(findControl(stick.device(), "X")->cookie(), x);
    EXPECT_EQ(findControl(stick.device(), "x")->cookie(), x);
    EXPECT_EQ(findControl(stick.device(), "qzhid_X")->cookie(), x);
    EXPECT_EQ(findControl(stick.device(), std::to_string(x))->cookie(), x);
    EXPECT_EQ(findControl(stick.device(), "button 3")->name(), "Button 3");
    EXPECT_EQ(kindOf(*findControl(stick.device(), "1 / 57")), ControlKind::Hat);
}

TEST(Controls, AreRefusedWhenNoneOrSeveralAreMeant) {
    const Stick stick;
    EXPECT_EQ(refusal(stick.device(), "Slider"),
              "several controls are called \"Slider\"; name one by its cookie: 3, 4");
    EXPECT_EQ(refusal(stick.device(), "4"), "found Slider");
    for (const char* const text : {"", "Butto", "Button 4", "02", " X", "1", "99"}) {
        EXPECT_EQ(refusal(stick.device(), text), "no control is called \"" + std::string(text) + "\"; 'qzgc elements " +
                                                     identityOf(stick.device()).instanceID + "' lists them");
    }
}

} // namespace
