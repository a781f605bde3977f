// SPDX-License-Identifier: MIT
#include "platform/virtual/JournalPlatform.h"

#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"

#include <utility>

namespace qz::platform {

class JournalPlatform::Journal {
public:
    /// Writes the operation down and says what it is to fail with: success when it is to be carried out.
    IOReturn record(std::string_view operation, std::string_view arguments) {
        entries.push_back(std::string(operation) + "(" + std::string(arguments) + ")");
        const auto found = failures.find(operation);
        return found != failures.end() ? found->second : kIOReturnSuccess;
    }

    std::vector<std::string> entries;
    std::map<std::string, IOReturn, std::less<>> failures;
};

namespace {

const char* modeName(RunLoopMode mode) {
    return mode == NSModalPanelRunLoopMode ? "NSModalPanelRunLoopMode" : "kCFRunLoopDefaultMode";
}

template<typename Function>
std::string registrationText(Function function, const void* context) {
    return std::string(function != nullptr ? "function" : "NULL") + ", " + (context != nullptr ? "context" : "NULL");
}

std::string criteriaText(std::span<const HIDMatchingDictionary> criteria) {
    std::string text;
    for (const HIDMatchingDictionary& criterion : criteria) {
        std::string entries;
        for (const auto& [key, number] : criterion) {
            entries += (entries.empty() ? "" : ", ") + key + ": " + std::to_string(number);
        }
        text += (text.empty() ? "{" : ", {") + entries + "}";
    }
    return text;
}

} // namespace

class JournalPlatform::Manager final : public HIDManager {
public:
    Manager(Journal& journal, IOHIDManagerRef wrapped) : journal_(journal), wrapped_(wrapped) {}

    void setDeviceMatchingMultiple(std::span<const HIDMatchingDictionary> criteria) override {
        if (journal_.record("IOHIDManagerSetDeviceMatchingMultiple", criteriaText(criteria)) == kIOReturnSuccess) {
            wrapped_->setDeviceMatchingMultiple(criteria);
        }
    }

    void registerDeviceMatchingCallback(IOHIDDeviceCallback callback, void* context) override {
        if (journal_.record("IOHIDManagerRegisterDeviceMatchingCallback", registrationText(callback, context)) ==
            kIOReturnSuccess) {
            wrapped_->registerDeviceMatchingCallback(callback, context);
        }
    }

    void registerDeviceRemovalCallback(IOHIDDeviceCallback callback, void* context) override {
        if (journal_.record("IOHIDManagerRegisterDeviceRemovalCallback", registrationText(callback, context)) ==
            kIOReturnSuccess) {
            wrapped_->registerDeviceRemovalCallback(callback, context);
        }
    }

    void registerInputValueCallback(IOHIDValueCallback callback, void* context) override {
        if (journal_.record("IOHIDManagerRegisterInputValueCallback", registrationText(callback, context)) ==
            kIOReturnSuccess) {
            wrapped_->registerInputValueCallback(callback, context);
        }
    }

    void registerInputReportCallback(IOHIDReportCallback callback, void* context) override {
        if (journal_.record("IOHIDManagerRegisterInputReportCallback", registrationText(callback, context)) ==
            kIOReturnSuccess) {
            wrapped_->registerInputReportCallback(callback, context);
        }
    }

    void scheduleWithRunLoop(RunLoop& runLoop, RunLoopMode mode) override {
        if (journal_.record("IOHIDManagerScheduleWithRunLoop", modeName(mode)) == kIOReturnSuccess) {
            wrapped_->scheduleWithRunLoop(runLoop, mode);
        }
    }

    void unscheduleFromRunLoop(RunLoop& runLoop, RunLoopMode mode) override {
        if (journal_.record("IOHIDManagerUnscheduleFromRunLoop", modeName(mode)) == kIOReturnSuccess) {
            wrapped_->unscheduleFromRunLoop(runLoop, mode);
        }
    }

    IOReturn open(IOOptionBits options) override {
        const IOReturn failure = journal_.record("IOHIDManagerOpen", std::to_string(options));
        return failure == kIOReturnSuccess ? wrapped_->open(options) : failure;
    }

    IOReturn close(IOOptionBits options) override {
        const IOReturn failure = journal_.record("IOHIDManagerClose", std::to_string(options));
        return failure == kIOReturnSuccess ? wrapped_->close(options) : failure;
    }

    void release() override {
        journal_.record("CFRelease", "");
        wrapped_->release();
        delete this;
    }

private:
    ~Manager() override = default;

    Journal& journal_;
    IOHIDManagerRef wrapped_;
};

class JournalPlatform::Services final : public HIDServices {
public:
    Services(Journal& journal, HIDServices& wrapped) : journal_(journal), wrapped_(wrapped) {}

    IOHIDManagerRef createManager(IOOptionBits options) override {
        if (journal_.record("IOHIDManagerCreate", std::to_string(options)) != kIOReturnSuccess) {
            return nullptr;
        }
        const IOHIDManagerRef manager = wrapped_.createManager(options);
        return manager != nullptr ? new Manager(journal_, manager) : nullptr;
    }

private:
    Journal& journal_;
    HIDServices& wrapped_;
};

class JournalPlatform::Defaults final : public UserDefaults {
public:
    Defaults(Journal& journal, UserDefaults& wrapped) : journal_(journal), wrapped_(wrapped) {}

    const PropertyList* objectForKey(std::string_view key) const override {
        return journal_.record("objectForKey", key) == kIOReturnSuccess ? wrapped_.objectForKey(key) : nullptr;
    }

    void setObjectForKey(PropertyList object, std::string_view key) override {
        if (journal_.record("setObjectForKey", key) == kIOReturnSuccess) {
            wrapped_.setObjectForKey(std::move(object), key);
        }
    }

    void removeObjectForKey(std::string_view key) override {
        if (journal_.record("removeObjectForKey", key) == kIOReturnSuccess) {
            wrapped_.removeObjectForKey(key);
        }
    }

    bool synchronize() override {
        return journal_.record("synchronize", "") == kIOReturnSuccess && wrapped_.synchronize();
    }

    const PropertyList::Dictionary& dictionaryRepresentation() const override {
        return wrapped_.dictionaryRepresentation();
    }

    std::string lastError() const override { return wrapped_.lastError(); }

    bool setApplicationIdentifier(std::string_view identifier) override {
        return journal_.record("setApplicationIdentifier", identifier) == kIOReturnSuccess &&
               wrapped_.setApplicationIdentifier(identifier);
    }

private:
    Journal& journal_;
    UserDefaults& wrapped_;
};

class JournalPlatform::Log final : public SystemLog {
public:
    Log(Journal& journal, SystemLog& wrapped) : journal_(journal), wrapped_(wrapped) {}

    void write(std::string_view text) override {
        if (journal_.record("SystemLog", text) == kIOReturnSuccess) {
            wrapped_.write(text);
        }
    }

private:
    Journal& journal_;
    SystemLog& wrapped_;
};

JournalPlatform::JournalPlatform(Platform& wrapped)
    : wrapped_(wrapped), journal_(std::make_unique<Journal>()),
      services_(std::make_unique<Services>(*journal_, wrapped.hidServices())),
      defaults_(std::make_unique<Defaults>(*journal_, wrapped.userDefaults())),
      log_(std::make_unique<Log>(*journal_, wrapped.systemLog())) {}

JournalPlatform::~JournalPlatform() = default;

HIDServices& JournalPlatform::hidServices() {
    return *services_;
}

RunLoop& JournalPlatform::currentRunLoop() {
    journal_->record("CFRunLoopGetCurrent", "");
    return wrapped_.currentRunLoop();
}

UserDefaults& JournalPlatform::userDefaults() {
    return *defaults_;
}

SystemLog& JournalPlatform::systemLog() {
    return *log_;
}

const std::vector<std::string>& JournalPlatform::entries() const noexcept {
    return journal_->entries;
}

std::vector<std::string> JournalPlatform::takeEntries() {
    return std::exchange(journal_->entries, {});
}

void JournalPlatform::fail(std::string_view operation, IOReturn result) {
    if (result == kIOReturnSuccess) {
        journal_->failures.erase(std::string(operation));
    } else {
        journal_->failures.insert_or_assign(std::string(operation), result);
    }
}

} // namespace qz::platform
