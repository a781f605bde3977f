// SPDX-License-Identifier: MIT
#include "HIDWrapper/QZGCHIDManager.h"
#include "QZGameController/QZGCConfigurationManager.h"
#include "platform/Text.h"
#include "platform/linux/FileUserDefaults.h"
#include "tests/support/RecordingDelegate.h"
#include "tests/unit/LinuxHIDFixture.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <set>

namespace qz::platform::tests {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

/// The errors that a call may well meet.
const std::map<std::string, std::vector<int>, std::less<>> plausibleErrors = {
    {"close", {EINTR, EIO}},
    {"epollControl", {ENOMEM, ENOSPC}},
    {"epollCreate", {EMFILE, ENFILE, ENOMEM}},
    {"epollWait", {EINTR}},
    {"eventCreate", {EMFILE, ENFILE, ENOMEM, ENODEV}},
    {"fileStatus", {EIO, ENOMEM}},
    {"fileStatusAt", {EIO, ENOENT}},
    {"inotifyAddWatch", {EACCES, ENOENT, ENOMEM, ENOSPC}},
    {"inotifyCreate", {EMFILE, ENFILE, ENOMEM}},
    {"lockFile", {EINTR, EWOULDBLOCK, ENOLCK, EOPNOTSUPP}},
    {"makeDirectory", {EACCES, ENOSPC, EROFS}},
    {"open", {EINTR, EACCES, EPERM, EBUSY, EIO, EMFILE, ENFILE, ENODEV, ENOENT, ENOMEM, ENXIO}},
    {"openAt", {EINTR, EACCES, EMFILE, ENFILE, ENOMEM, ENOSPC, EROFS, EIO}},
    {"poll", {EINTR, ENOMEM}},
    {"read", {EINTR, EAGAIN, EIO, ENODEV, ESHUTDOWN, ENOMEM}},
    {"readDirectory", {EIO, ENOENT, ENOMEM}},
    {"readLinkAt", {EINTR, EACCES, EIO, ENOENT, ENOMEM}},
    {"renameAt", {EINTR, EIO, ENOSPC, EROFS, EACCES}},
    {"resourceLimit", {EINVAL}},
    {"sleep", {EINTR}},
    {"synchronizeFile", {EINTR, EIO, ENOSPC}},
    {"unlinkAt", {EIO, EACCES, ENOENT}},
    {"write", {EINTR, EAGAIN, EIO, ENOSPC}},
};

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

/// The Linux back end with preferences in a file, everything by way of one table of calls.
class ScriptedPlatform final : public Platform {
public:
    ScriptedPlatform(FakeHIDRaw& kernel, const std::string& directory)
        : runLoop_(kernel), hidServices_(kernel.paths(), kernel), userDefaults_(directory, "app", kernel) {}

    HIDServices& hidServices() override { return hidServices_; }
    RunLoop& currentRunLoop() override { return runLoop_; }
    UserDefaults& userDefaults() override { return userDefaults_; }
    SystemLog& systemLog() override { return systemLog_; }

private:
    LinuxRunLoop runLoop_;
    LinuxHIDServices hidServices_;
    FileUserDefaults userDefaults_;
    VirtualSystemLog systemLog_;
};

/// A device with all that sysfs has for one on USB, at this port.
FakeHIDDevice usbPad(const std::string& name, const std::string& port) {
    FakeHIDDevice device = fakePad(name);
    device.uniq = "made up";
    device.parent = joined({"pci0000:00/0000:00:14.0/usb1/1-", port, "/1-", port, ":1.0"});
    device.usbFiles = {
        {"bcdDevice", "0111\n"}, {"manufacturer", "Maker\n"}, {"product", name + "\n"}, {"serial", "AB12\n"}};
    return device;
}

/// What an application does from its start to its end: connect, take values, calibrate, save, disconnect.
class Session {
public:
    Session(FakeHIDRaw& kernel, const std::string& directory) : kernel_(kernel), platform_(kernel, directory) {}

    /// False when the manager could not be set up, which it has to say.
    bool run() {
        using Action = QZGCConfigurationManager::Action;
        const auto configuration = QZGCConfigurationManager::create({}, {}, {Action("Fire")}, std::nullopt,
                                                                    std::nullopt, std::nullopt, platform_);
        const auto delegate = std::make_shared<::qz::tests::RecordingDelegate>(events);
        const auto manager = QZGCHIDManager::create(configuration, platform_);
        manager->setReportRawValues(true);
        const int first = kernel_.plug(usbPad("first", "1"));
        const IOReturn result = manager->setupWithDelegate(delegate);
        if (result != kIOReturnSuccess) {
            EXPECT_EQ(result, kIOReturnNoResources);
            kernel_.unplug(first);
            return false;
        }
        turn();
        const int second = kernel_.plug(usbPad("second", "2"));
        turn();
        press(first, second);
        manager->startCalibration();
        press(first, second);
        manager->endCalibration();
        configuration->saveUserDefaults();
        platform_.userDefaults().synchronize();
        kernel_.unplug(first);
        kernel_.unplug(second);
        turn();
        return true;
    }

    /// Lets everything that is ready be handled; what is ready for ever keeps a processor busy for nothing.
    void turn() {
        RunLoop& loop = platform_.currentRunLoop();
        pollfd polled{loop.fileDescriptor(kCFRunLoopDefaultMode), POLLIN, 0};
        for (int turns = 0; polled.fd >= 0 && ::poll(&polled, 1, 0) != 0; ++turns) {
            ASSERT_LT(turns, 100) << "it spins";
            loop.runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(1)); // which is ready
        }
    }

    EventLog events;

private:
    void press(int first, int second) {
        for (const bool pressed : {true, false}) {
            kernel_.send(first, button(pressed));
            kernel_.send(second, button(pressed));
            turn();
        }
    }

    FakeHIDRaw& kernel_;
    ScriptedPlatform platform_;
};

/// One session in which call number `failing` (from 0; none: -1) meets the error `number`, and a healthy one after it.
class FaultySession {
public:
    FaultySession(int failing, int number) : failing_(failing), number_(number) {}

    void run(const EventLog& healthyEvents) {
        const std::size_t before = openDescriptors();
        kernel_.setScript([this](std::string_view call) { return next(call); });
        runOne(events);
        EXPECT_TRUE(number_ != EINTR || events == healthyEvents) << "a signal makes no difference";
        kernel_.setScript(nullptr);
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_EQ(kernel_.openNodes(), 0U);

        EventLog later;
        runOne(later);
        EXPECT_EQ(later, healthyEvents);
        EXPECT_EQ(openDescriptors(), before);
    }

    const std::vector<std::string>& calls() const { return calls_; }
    const std::string& failed() const { return failed_; }
    EventLog events;

private:
    void runOne(EventLog& log) {
        Session session(kernel_, directory_.path());
        session.run();
        log = session.events;
    }

    int next(std::string_view call) {
        calls_.emplace_back(call);
        if (static_cast<int>(calls_.size()) - 1 != failing_) {
            return 0;
        }
        failed_ = call;
        return number_;
    }

    int failing_;
    int number_;
    FakeHIDRaw kernel_;
    TemporaryDirectory directory_;
    std::vector<std::string> calls_;
    std::string failed_;
};

EventLog eventsOfAHealthySession() {
    FakeHIDRaw kernel;
    const TemporaryDirectory directory;
    Session session(kernel, directory.path());
    EXPECT_TRUE(session.run());
    return session.events;
}

TEST(FailingSystemCallsOfHIDDevices, LeaveEverySessionAfterThemWhole) {
    const EventLog healthyEvents = eventsOfAHealthySession();
    EXPECT_THAT(healthyEvents, Contains("disconnected second"));
    FaultySession healthy(-1, 0);
    healthy.run(healthyEvents);
    EXPECT_EQ(healthy.events, healthyEvents);
    std::set<std::string, std::less<>> failed;
    int combinations = 0;
    for (std::size_t i = 0; i < healthy.calls().size(); ++i) {
        const std::string& call = healthy.calls()[i];
        ASSERT_TRUE(plausibleErrors.contains(call)) << call;
        for (const int number : plausibleErrors.at(call)) {
            SCOPED_TRACE("call " + std::to_string(i) + ", " + call + ", fails with " + std::to_string(number));
            FaultySession session(static_cast<int>(i), number);
            session.run(healthyEvents);
            EXPECT_EQ(session.failed(), call);
            failed.insert(call);
            ++combinations;
        }
    }
    std::cout << combinations << " combinations of " << healthy.calls().size() << " positions, " << failed.size()
              << " calls and their errors\n";
    RecordProperty("combinations", combinations);
    for (const char* const call :
         {"close", "epollControl", "epollCreate", "epollWait", "eventCreate", "fileStatus", "inotifyAddWatch",
          "inotifyCreate", "open", "poll", "read", "readDirectory", "readLinkAt"}) {
        EXPECT_TRUE(failed.contains(call)) << call << " never came";
    }
}

class LinuxHIDWithoutResources : public LinuxHIDFixture {
protected:
    /// Lets no file be opened while so many descriptors are open.
    void limitDescriptors(std::size_t limit) {
        kernel.setScript([limit](std::string_view call) {
            return call == "open" && openDescriptors() > limit ? EMFILE : 0; // one of them is the counting's own
        });
    }

    /// Has every such call fail.
    void failAll(std::string call, int error) {
        kernel.setScript([call = std::move(call), error](std::string_view made) { return made == call ? error : 0; });
    }
};

TEST_F(LinuxHIDWithoutResources, TakesNoMoreDescriptorsForADeviceThanItsOwn) {
    setUp();
    turn();
    const std::size_t before = openDescriptors() - 1;
    limitDescriptors(before);
    kernel.plug(fakePad("pad"));
    for (int i = 0; i < 3; ++i) {
        dispatch();
    }
    EXPECT_THAT(told(), IsEmpty());
    limitDescriptors(before + 1);
    for (int i = 0; i < 3; ++i) {
        dispatch();
    }
    EXPECT_THAT(told(), ::testing::ElementsAre("matched unnamed")) << "finding out its name would take another";
    EXPECT_EQ(kernel.openNodes(), 1U);
}

TEST_F(LinuxHIDWithoutResources, SaysSoWhenItIsOpenedAndWorksOnceThereAreSome) {
    for (const auto& [call, error] : std::vector<std::pair<const char*, int>>{{"epollCreate", EMFILE},
                                                                              {"eventCreate", EMFILE},
                                                                              {"epollControl", ENOSPC},
                                                                              {"inotifyCreate", EMFILE},
                                                                              {"inotifyAddWatch", ENOSPC}}) {
        EventLog log;
        PlatformClient each(host.platform(), log);
        const std::size_t before = openDescriptors();
        failAll(call, error);
        each.schedule();
        EXPECT_EQ(each.open(), kIOReturnNoResources) << call;
        EXPECT_EQ(each.open(), kIOReturnNoResources) << call;
        EXPECT_LE(openDescriptors(), before + 3) << "what it has got it may keep, once";
        kernel.setScript(nullptr);
        const int pad = kernel.plug(fakePad("pad"));
        turn();
        EXPECT_THAT(log, IsEmpty()) << call;
        EXPECT_EQ(each.open(), kIOReturnSuccess) << call;
        turn();
        EXPECT_THAT(log, ::testing::ElementsAre("matched pad")) << call;
        each.release();
        EXPECT_EQ(openDescriptors(), before) << call;
        kernel.unplug(pad);
    }
}

TEST_F(LinuxHIDWithoutResources, ListsTheDevicesInALaterTurnWhenTheyCannotBeListed) {
    kernel.plug(fakePad("pad"));
    for (const auto& [call, error] :
         std::vector<std::pair<const char*, int>>{{"readDirectory", ENOMEM}, {"open", EMFILE}}) {
        EventLog log;
        PlatformClient each(host.platform(), log);
        failAll(call, error);
        each.schedule();
        EXPECT_EQ(each.open(), kIOReturnSuccess) << "the manager has what it takes";
        EXPECT_TRUE(wouldWake()) << "it may have passed by now";
        turn();
        EXPECT_THAT(log, IsEmpty());
        kernel.setScript(nullptr);
        EXPECT_FALSE(wouldWake()) << "but nobody knows when";
        dispatch();
        EXPECT_THAT(log, ::testing::ElementsAre("matched pad"));
    }
}

TEST_F(LinuxHIDWithoutResources, ListsTheDevicesWhenALaterSchedulingGetsSome) {
    kernel.plug(fakePad("pad"));
    failAll("inotifyCreate", EMFILE);
    client.schedule();
    EXPECT_THAT(turnAndTold(), IsEmpty());
    kernel.setScript(nullptr);
    client.unschedule();
    client.schedule();
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("matched pad"));
}

TEST_F(LinuxHIDWithoutResources, ReadsADeviceThatCannotBeWatchedInEveryTurnAndIsWokenOnceItCan) {
    setUp();
    turn();
    failAll("epollControl", ENOSPC);
    const int pad = kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("matched pad"));
    kernel.send(pad, button(true));
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("value pad 9:1 1")) << "in a turn that something else sets off";
    kernel.setScript(nullptr);
    dispatch();
    kernel.send(pad, button(false));
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("value pad 9:1 0"));
    kernel.unplug(pad);
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("removed pad"));
}

TEST_F(LinuxHIDWithoutResources, WatchesADeviceThatIsOpenedAgainWhenThereIsRoom) {
    setUp();
    turn();
    kernel.refusesAdditions = true;
    const int pad = kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("matched pad"));
    client.close();
    kernel.refusesAdditions = false;
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWake());
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDWithoutResources, WaitsInTheRunLoopForADeviceThatCannotBeWatched) {
    setUp();
    turn();
    kernel.refusesAdditions = true;
    const int pad = kernel.plug(fakePad("pad"));
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("matched pad"));
    kernel.send(pad, button(true));
    host.platform().currentRunLoop().runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1));
    EXPECT_THAT(told(), ::testing::ElementsAre("value pad 9:1 1"));
    kernel.unplug(pad);
    host.platform().currentRunLoop().runInMode(kCFRunLoopDefaultMode, std::chrono::milliseconds(-1));
    EXPECT_THAT(turnAndTold(), ::testing::ElementsAre("removed pad"));
}

class LinuxHIDInAModeWithoutRoom : public LinuxHIDWithoutResources {
protected:
    /// A device that is read, by a manager that has been moved to a mode whose set had no room for it.
    void SetUp() override {
        setUp();
        pad = plugReported(fakePad("pad"));
        client.unschedule();
        kernel.refusesAdditions = true;
        client.schedule(NSModalPanelRunLoopMode);
    }
    bool wouldWakeModal() {
        pollfd polled{host.platform().currentRunLoop().fileDescriptor(NSModalPanelRunLoopMode), POLLIN, 0};
        return ::poll(&polled, 1, 0) != 0;
    }
    std::size_t runModal(int milliseconds) {
        return host.platform().currentRunLoop().runInMode(NSModalPanelRunLoopMode,
                                                          std::chrono::milliseconds(milliseconds));
    }

    int pad = -1;
};

TEST_F(LinuxHIDInAModeWithoutRoom, ReadsInTurnsAndIsWokenOnceThereIsSome) {
    EXPECT_FALSE(wouldWakeModal());
    EXPECT_EQ(runModal(0), 0U);
    kernel.send(pad, button(true));
    EXPECT_EQ(runModal(-1), 1U);
    EXPECT_FALSE(wouldWakeModal());
    kernel.refusesAdditions = false;
    EXPECT_EQ(host.platform().currentRunLoop().dispatch(NSModalPanelRunLoopMode), 0U);
    EXPECT_FALSE(wouldWakeModal());
    kernel.send(pad, button(false));
    EXPECT_TRUE(wouldWakeModal());
    EXPECT_EQ(runModal(-1), 1U);
    EXPECT_THAT(told(), ::testing::ElementsAre("value pad 9:1 1", "value pad 9:1 0"));
}

TEST_F(LinuxHIDInAModeWithoutRoom, IsWokenAfterTheNextOpeningThatFindsSome) {
    EXPECT_EQ(client.open(), kIOReturnNoResources);
    kernel.refusesAdditions = false;
    EXPECT_EQ(client.open(), kIOReturnSuccess);
    kernel.send(pad, button(true));
    EXPECT_TRUE(wouldWakeModal());
    EXPECT_EQ(runModal(-1), 1U);
    EXPECT_THAT(told(), ::testing::ElementsAre("value pad 9:1 1"));
}

TEST_F(LinuxHIDWithoutResources, ReadsPropertiesInALaterTurn) {
    setUp();
    turn();
    FakeHIDDevice device = fakePad("pad");
    device.uniq = "one";
    std::shared_ptr<HIDDevice> kept;
    takeArrivals([&](IOHIDDeviceRef reported) {
        kept = pin(reported);
        failAll("open", EMFILE);
    });
    const int pad = kernel.plug(device);
    turn();
    kernel.setScript(nullptr);
    dispatch();
    kernel.unplug(pad);
    turn();
    ASSERT_TRUE(kept);
    ASSERT_NE(kept->property("SerialNumber"), nullptr);
    EXPECT_EQ(*kept->property("SerialNumber"), PropertyValue("one"));
}

} // namespace
} // namespace qz::platform::tests
