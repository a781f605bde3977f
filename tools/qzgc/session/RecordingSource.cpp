// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/TextFile.h"
#include "tools/qzgc/session/Session.h"

#include <algorithm>
#include <utility>

using std::chrono::microseconds;

namespace qz::tools {

namespace {

using platform::RecordedDevice;
using platform::RecordedEvent;
using platform::VirtualDevice;

/// Virtual devices and a loop driven by hand, beside the preferences and the log of this machine.
class ReplayPlatform final : public platform::Platform {
public:
    platform::VirtualHIDServices& hidServices() override { return hidServices_; }
    platform::VirtualRunLoop& currentRunLoop() override { return runLoop_; }
    platform::UserDefaults& userDefaults() override { return Platform::standard().userDefaults(); }
    platform::SystemLog& systemLog() override { return Platform::standard().systemLog(); }

private:
    platform::VirtualRunLoop runLoop_;
    platform::VirtualHIDServices hidServices_;
};

class RecordingSource final : public Source {
public:
    RecordingSource(platform::Recording recording, Pace pace, std::optional<std::chrono::duration<double>> limit)
        : recording_(std::move(recording)), pace_(pace), devices_(recording_.devices.size()),
          times_(eventTimes(recording_)), end_(times_.size()) {
        if (limit) {
            end_ = static_cast<std::size_t>(std::ranges::upper_bound(times_, *limit) - times_.begin());
        }
        parseDescriptors();
        for (std::size_t i = 0; i < devices_.size(); ++i) {
            if (isThereAtTheBeginning(i)) {
                plug(i);
            }
        }
    }

    platform::Platform& platform() override { return platform_; }
    int fileDescriptor() override { return -1; }
    bool hasEnded() const override { return begin_ && next_ == end_; }
    microseconds time() const override { return time_; }

    std::optional<Clock::time_point> due() const override {
        if (hasEnded()) {
            return std::nullopt;
        }
        return pace_ == Pace::Fast || !begin_ ? Clock::time_point{} : *begin_ + times_[next_];
    }

    /// The first turn brings the devices that are there at the beginning; a later one what is due by now. Everything is
    /// delivered before the next thing happens, so the same recording always gives the same. A turn that plugs
    /// something in ends with that: who waits for it misses nothing that it sends.
    std::size_t turn() override {
        if (!begin_) {
            begin_ = Clock::now();
            return dispatch();
        }
        std::size_t handled = dispatch();
        const auto now = Clock::now();
        do {
            if (hasEnded() || (pace_ == Pace::RealTime && *begin_ + times_[next_] > now)) {
                return handled;
            }
            time_ = times_[next_];
            take(recording_.events[next_]);
            handled += 1 + dispatch();
        } while (recording_.events[next_++].kind != RecordedEvent::Kind::PluggedIn && pace_ == Pace::RealTime);
        return handled;
    }

private:
    void parseDescriptors() {
        for (const RecordedDevice& device : recording_.devices) {
            auto parsed = platform::parseReportDescriptor(device.descriptor);
            if (const auto* const error = std::get_if<platform::ReportDescriptorError>(&parsed)) {
                throw WrongUse("the recording's device \"" + device.name +
                               "\" cannot be used: its descriptor is refused at byte " + std::to_string(error->offset) +
                               ": " + std::string(error->reason));
            }
            descriptors_.push_back(std::get<platform::ReportDescriptor>(std::move(parsed)));
        }
    }

    bool isThereAtTheBeginning(std::size_t device) const {
        const auto first = std::ranges::find(recording_.events, device, &RecordedEvent::device);
        return first == recording_.events.end() || first->kind != RecordedEvent::Kind::PluggedIn;
    }

    void plug(std::size_t index) {
        const platform::RecordedDevice& recorded = recording_.devices[index];
        devices_[index] = std::make_shared<VirtualDevice>(descriptors_[index], recorded);
        platform_.hidServices().plug(devices_[index]);
    }

    void take(const RecordedEvent& event) {
        std::shared_ptr<VirtualDevice>& device = devices_[event.device];
        switch (event.kind) {
        case RecordedEvent::Kind::Report:
            if (device) {
                platform_.hidServices().sendReport(device, event.report);
            }
            break;
        case RecordedEvent::Kind::PluggedIn:
            plug(event.device);
            break;
        case RecordedEvent::Kind::Unplugged:
            if (device) {
                platform_.hidServices().unplug(device);
                device.reset();
            }
            break;
        }
    }

    /// A queue hands over only so much at once; a report may bring more.
    std::size_t dispatch() {
        std::size_t handled = 0;
        while (const std::size_t more = platform_.currentRunLoop().dispatch(platform::kCFRunLoopDefaultMode)) {
            handled += more;
        }
        return handled;
    }

    ReplayPlatform platform_;
    platform::Recording recording_;
    Pace pace_;
    std::vector<platform::ReportDescriptor> descriptors_;
    std::vector<std::shared_ptr<VirtualDevice>> devices_; ///< null while one is not there
    std::vector<microseconds> times_;
    std::size_t next_ = 0; ///< event
    std::size_t end_;
    std::optional<Clock::time_point> begin_;
    microseconds time_{0};
};

} // namespace

std::vector<microseconds> eventTimes(const platform::Recording& recording) {
    std::vector<microseconds> times;
    times.reserve(recording.events.size());
    microseconds last{0};
    for (const RecordedEvent& event : recording.events) {
        last = std::max(last, event.time - recording.events.front().time);
        times.push_back(last);
    }
    return times;
}

microseconds durationOf(const platform::Recording& recording) {
    const auto times = eventTimes(recording);
    return times.empty() ? microseconds(0) : times.back();
}

std::unique_ptr<Source> makeRecordingSource(platform::Recording recording, Pace pace,
                                            std::optional<std::chrono::duration<double>> limit) {
    return std::make_unique<RecordingSource>(std::move(recording), pace, limit);
}

platform::Recording readRecordingFile(const std::string& name) {
    // Standard input and pipes can be read only once, and commands that look for a controller first need it twice.
    static std::optional<std::pair<std::string, platform::Recording>> latest;
    if (!latest || latest->first != name) {
        latest.emplace(name, recordingIn(readFile(name), name));
    }
    return latest->second;
}

platform::Recording recordingIn(std::string_view text, const std::string& name) {
    auto recording = platform::readRecording(text);
    if (const auto* const refusal = std::get_if<platform::RecordingError>(&recording)) {
        throw FileError(name, "no valid recording: " + refusal->message);
    }
    return std::get<platform::Recording>(std::move(recording));
}

} // namespace qz::tools
