// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "platform/report/Recording.h"
#include "tests/unit/LinuxHIDFixture.h"

#include <filesystem>

namespace qz::platform::tests {
namespace {

using ::testing::ElementsAre;

/// Devices of the Linux back end, as a recording describes them and as they come out of one.
class RecordedDevices : public LinuxHIDFixture {
protected:
    void SetUp() override { client.schedule(); }

    /// The device that a recording of `device` makes.
    std::shared_ptr<VirtualDevice> madeOfRecording(const FakeHIDDevice& device) {
        number = plugReported(device);
        const Recording recording{.devices = {handle->recordedDevice().value()}, .events = {}};
        RecordedDevice recorded = std::get<Recording>(readRecording(writeRecording(recording))).devices.front();
        EXPECT_EQ(recorded, recording.devices.front());
        return std::make_shared<VirtualDevice>(std::get<ReportDescriptor>(parseReportDescriptor(recorded.descriptor)),
                                               std::move(recorded));
    }

    QZHIDUserPrefIDs idsOf(IOHIDDeviceRef device) {
        return QZHIDDevice::create(device, QZGCHIDManager::create(nullptr, host.platform()))->userPrefIDs();
    }

    void expectSameIdentity(const FakeHIDDevice& device) {
        const auto made = madeOfRecording(device);
        EXPECT_EQ(idsOf(made.get()).aDeviceTypeID, idsOf(handle).aDeviceTypeID);
        EXPECT_EQ(idsOf(made.get()).aInstanceID, idsOf(handle).aInstanceID);
        for (const char* const key :
             {"VendorID", "ProductID", "SerialNumber", "LocationID", "Transport", "PrimaryUsagePage", "PrimaryUsage"}) {
            const PropertyValue* const live = IOHIDDeviceGetProperty(handle, key);
            const PropertyValue* const replayed = IOHIDDeviceGetProperty(made.get(), key);
            ASSERT_EQ(live == nullptr, replayed == nullptr) << key;
            EXPECT_TRUE(live == nullptr || *live == *replayed) << key;
        }
        EXPECT_EQ(made->recordedDevice(), handle->recordedDevice());
        kernel.unplug(number);
        turn();
        told();
    }

    int number = -1;
};

FakeHIDDevice usbPad() {
    FakeHIDDevice device = fakePad("Maker Pad");
    device.phys = "usb-0000:00:14.0-1.2/input0";
    device.uniq = "AB12";
    device.parent = "pci0000:00/0000:00:14.0/usb1/1-1/1-1.2/1-1.2:1.0";
    device.usbFiles = {{"bcdDevice", "0111\n"}, {"manufacturer", "Maker\n"}, {"serial", "AB12\n"}};
    return device;
}

TEST_F(RecordedDevices, TellWhatARecordingDescribesThemBy) {
    plugReported(usbPad());
    EXPECT_EQ(handle->recordedDevice(), (RecordedDevice{.name = "Maker Pad",
                                                        .phys = "usb-0000:00:14.0-1.2/input0",
                                                        .uniq = "AB12",
                                                        .bus = 3,
                                                        .vendor = 0x1234,
                                                        .product = 0x5678,
                                                        .descriptor = usbPad().descriptor}));
}

TEST_F(RecordedDevices, OverUSBKeepTheirIDs) {
    expectSameIdentity(usbPad());
    FakeHIDDevice withoutSerial = usbPad();
    withoutSerial.usbFiles.erase("serial");
    withoutSerial.uniq = "";
    expectSameIdentity(withoutSerial);
    FakeHIDDevice withSerialOfDriver = withoutSerial;
    withSerialOfDriver.uniq = "a4:ae:11:22:33:44";
    expectSameIdentity(withSerialOfDriver);
    FakeHIDDevice behindReceiver = usbPad();
    behindReceiver.usbFiles = {};
    expectSameIdentity(behindReceiver);
}

TEST_F(RecordedDevices, OverBluetoothKeepTheirIDs) {
    FakeHIDDevice device = fakePad("Wireless Pad");
    device.bus = 5;
    device.vendor = 0x054c;
    device.phys = "aa:bb:cc:dd:ee:ff";
    device.uniq = "a4:ae:11:22:33:44";
    expectSameIdentity(device);
    device.uniq = "";
    expectSameIdentity(device);
}

TEST_F(RecordedDevices, WithoutAPlaceKeepTheirIDs) {
    FakeHIDDevice device = fakePad("pad");
    device.phys = "";
    expectSameIdentity(device);
    device.bus = 6;
    device.vendor = 0xabcd;
    expectSameIdentity(device);
}

TEST_F(RecordedDevices, OfWhichSysfsTellsNothingTellWhatTheirDirectoryIsCalled) {
    const int lost = kernel.plug(usbPad());
    std::filesystem::remove(kernel.deviceDirectory(lost) + "/uevent");
    client.onMatched = [](IOHIDDeviceRef device) {
        EXPECT_EQ(device->recordedDevice(),
                  (RecordedDevice{.bus = 3, .vendor = 0x1234, .product = 0x5678, .descriptor = usbPad().descriptor}));
    };
    EXPECT_THAT(turnAndTold(), ElementsAre("matched unnamed"));
}

TEST_F(RecordedDevices, StillTellAfterTheUnplugging) {
    number = plugReported(usbPad());
    const auto kept = pin(handle);
    kernel.unplug(number);
    turn();
    EXPECT_EQ(kept->recordedDevice()->uniq, "AB12");
}

TEST(VirtualDevices, ThatNobodyRecordedTellNothing) {
    EXPECT_EQ(std::make_shared<VirtualDevice>(VirtualDeviceDescription{})->recordedDevice(), std::nullopt);
    EXPECT_EQ(std::make_shared<VirtualDevice>(std::get<ReportDescriptor>(parseReportDescriptor(usbPad().descriptor)),
                                              HIDProperties{})
                  ->recordedDevice(),
              std::nullopt);
}

} // namespace
} // namespace qz::platform::tests
