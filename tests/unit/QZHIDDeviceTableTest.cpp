// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"
#include "HIDWrapper/QZHIDDevice.h"
#include "platform/virtual/VirtualPlatform.h"

#include <gmock/gmock.h>

#include <array>

using namespace qz::platform;

namespace {

using ::testing::IsEmpty;

class QZHIDDeviceTableTest : public ::testing::Test {
protected:
    std::shared_ptr<QZHIDDevice> makeDevice() const { return QZHIDDevice::create(nullptr, manager); }

    IOHIDDeviceRef handle(std::size_t index) const { return handles.at(index).get(); }

    /// The places of the stored handles in `handles`, in the table's order.
    std::vector<std::size_t> order() const {
        std::vector<std::size_t> places;
        for (const auto& [key, device] : table.entries()) {
            for (std::size_t i = 0; i < handles.size(); ++i) {
                if (handles[i].get() == key) {
                    places.push_back(i);
                }
            }
        }
        return places;
    }

    VirtualPlatform platform;
    std::shared_ptr<QZGCHIDManager> manager = QZGCHIDManager::create(nullptr, platform);
    std::array<std::shared_ptr<VirtualDevice>, 4> handles{std::make_shared<VirtualDevice>(VirtualDeviceDescription{}),
                                                          std::make_shared<VirtualDevice>(VirtualDeviceDescription{}),
                                                          std::make_shared<VirtualDevice>(VirtualDeviceDescription{}),
                                                          std::make_shared<VirtualDevice>(VirtualDeviceDescription{})};
    QZHIDDeviceTable table;
};

TEST_F(QZHIDDeviceTableTest, FindsDevicesByTheIdentityOfTheirHandle) {
    const auto device = makeDevice();
    EXPECT_EQ(table.find(handle(0)), nullptr);
    table.set(handle(0), device);
    ASSERT_NE(table.find(handle(0)), nullptr);
    EXPECT_EQ(*table.find(handle(0)), device);
    EXPECT_EQ(table.find(handle(1)), nullptr) << "an equal description is another device";
    EXPECT_EQ(table.find(nullptr), nullptr);
}

TEST_F(QZHIDDeviceTableTest, FindsADeviceAgainOnlyAsLongAsItIsStored) {
    const std::array devices{makeDevice(), makeDevice(), makeDevice()};
    EXPECT_EQ(table.device(handle(0)), nullptr);
    table.set(handle(0), devices[0]);
    EXPECT_EQ(table.device(handle(0)), devices[0].get()) << "although it was asked for before";
    EXPECT_EQ(table.device(handle(0)), devices[0].get());
    table.set(handle(1), devices[1]);
    EXPECT_EQ(table.device(handle(1)), devices[1].get());
    EXPECT_EQ(table.device(handle(0)), devices[0].get());
    table.set(handle(0), devices[2]);
    EXPECT_EQ(table.device(handle(0)), devices[2].get());
    table.remove(handle(0));
    EXPECT_EQ(table.device(handle(0)), nullptr);
    EXPECT_EQ(table.device(handle(1)), devices[1].get());
    table.set(handle(1), nullptr);
    EXPECT_EQ(table.device(handle(1)), nullptr);
}

TEST_F(QZHIDDeviceTableTest, KeepsTheOrderOfAdmission) {
    for (const std::size_t i : {2U, 0U, 3U, 1U}) {
        table.set(handle(i), makeDevice());
    }
    EXPECT_EQ(order(), (std::vector<std::size_t>{2, 0, 3, 1}));
}

TEST_F(QZHIDDeviceTableTest, GivesAReplacementThePlaceOfWhatItReplaces) {
    for (std::size_t i = 0; i < 3; ++i) {
        table.set(handle(i), makeDevice());
    }
    auto replaced = *table.find(handle(1));
    const auto replacement = makeDevice();
    table.set(handle(1), replacement);
    EXPECT_EQ(order(), (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(table.entries().at(1).second, replacement);
    EXPECT_EQ(replaced.use_count(), 1);
}

TEST_F(QZHIDDeviceTableTest, StillFindsTheOthersAfterARemoval) {
    std::array<std::shared_ptr<QZHIDDevice>, 4> devices;
    for (std::size_t i = 0; i < devices.size(); ++i) {
        devices.at(i) = makeDevice();
        table.set(handle(i), devices.at(i));
    }
    table.remove(handle(1));
    EXPECT_EQ(order(), (std::vector<std::size_t>{0, 2, 3}));
    EXPECT_EQ(table.find(handle(1)), nullptr);
    for (const std::size_t i : {0U, 2U, 3U}) {
        EXPECT_EQ(*table.find(handle(i)), devices.at(i));
    }
    table.remove(handle(3));
    table.set(handle(1), devices[1]);
    EXPECT_EQ(order(), (std::vector<std::size_t>{0, 2, 1})) << "what comes again comes last";
    EXPECT_EQ(*table.find(handle(1)), devices[1]);
    EXPECT_EQ(*table.find(handle(2)), devices[2]);
}

TEST_F(QZHIDDeviceTableTest, LetsGoOfWhatIsRemoved) {
    const auto device = makeDevice();
    table.set(handle(0), device);
    EXPECT_EQ(device.use_count(), 2);
    table.remove(handle(0));
    EXPECT_EQ(device.use_count(), 1);
    EXPECT_THAT(table.entries(), IsEmpty());
}

TEST_F(QZHIDDeviceTableTest, RemovesWhatIsNotThereWithoutEffect) {
    table.remove(handle(0));
    table.set(handle(0), makeDevice());
    table.remove(handle(1));
    table.remove(nullptr);
    EXPECT_EQ(order(), (std::vector<std::size_t>{0}));
}

} // namespace
