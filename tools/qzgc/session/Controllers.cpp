// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Controllers.h"

#include "HIDWrapper/QZHIDUsages.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace qz::tools {

namespace {

/// Only the letters of ASCII have two cases here; names in other scripts are compared as they are.
std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](unsigned char each) {
        return static_cast<char>(each < 0x80 ? std::tolower(each) : each);
    });
    return lower;
}

/// Makes a note of all there is, and admits nothing.
class IdentityListener final : public Listener {
public:
    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) override {
        identities_.push_back(identityOf(manager, device));
        return false;
    }
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override {
        unusable_ = '"' + identityOf(manager, device).name + "\" cannot be used: " + statusText(why) + remedyText(why);
    }

    /// One that comes again, or that is asked about once more when it leaves, is the same; so are two that nothing
    /// tells apart.
    void forgetRepetitions() {
        std::vector<ControllerIdentity> once;
        for (ControllerIdentity& each : identities_) {
            if (std::ranges::find(once, each) == once.end()) {
                once.push_back(std::move(each));
            }
        }
        identities_ = std::move(once);
    }

    const std::vector<ControllerIdentity>& identities() const noexcept { return identities_; }
    const std::string& unusable() const noexcept { return unusable_; }

private:
    std::vector<ControllerIdentity> identities_;
    std::string unusable_;
};

ControllerIdentity chosenOf(const IdentityListener& listener, const SessionOptions& options, std::string_view text) {
    const std::vector<ControllerIdentity>& all = listener.identities();
    std::vector<ControllerIdentity> meant;
    std::ranges::copy_if(all, std::back_inserter(meant),
                         [&](const ControllerIdentity& each) { return isMeant(text, each); });
    // Who names an instance means it, whatever other names hold the same text.
    const auto exact = std::ranges::find(meant, text, &ControllerIdentity::instanceID);
    if (exact != meant.end()) {
        return *exact;
    }
    if (meant.size() == 1) {
        return meant.front();
    }
    if (meant.size() > 1) {
        throw WrongUse("several controllers are meant; name one by its instance ID: " + listText(meant));
    }
    if (!all.empty()) {
        throw Failure("no controller is called \"" + std::string(text) + "\"; there is " + listText(all));
    }
    if (!listener.unusable().empty()) {
        throw Failure(listener.unusable());
    }
    throw Failure(options.from.empty() ? "no controller is there; attach one, or name a recording with --from"
                                       : "the recording has no joystick or gamepad; 'qzgc elements --descriptor' shows "
                                         "what it has");
}

} // namespace

std::string listText(const std::vector<ControllerIdentity>& identities) {
    std::string text;
    for (const ControllerIdentity& each : identities) {
        text += text.empty() ? "" : ", ";
        text += '"' + each.name + "\" (" + each.instanceID + ')';
    }
    return text;
}

std::string withoutControlCharacters(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char each) { return each < ' ' || each == 0x7f; }, ' ');
    return text;
}

ControllerIdentity identityOf(const QZHIDDevice& device) {
    const QZHIDUserPrefIDs ids = device.userPrefIDs();
    return {.name = withoutControlCharacters(device.productName().value_or(device.kind())),
            .kind = device.kind(),
            .typeID = ids.aDeviceTypeID,
            .instanceID = ids.aInstanceID,
            .bus = device.stringPropertyWithKey("Transport").value_or("")};
}

ControllerIdentity identityOf(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    return identityOf(*QZHIDDevice::create(device, manager.shared_from_this()));
}

bool isMeant(std::string_view text, const ControllerIdentity& identity) {
    return text == identity.instanceID || text == identity.typeID ||
           lowerCase(identity.name).find(lowerCase(text)) != std::string::npos;
}

ControllerIdentity chooseController(const SessionOptions& options, std::string_view text) {
    const auto listener = std::make_shared<IdentityListener>();
    Session session(options);
    session.start(listener);
    session.settle();
    listener->forgetRepetitions();
    return chosenOf(*listener, options, text);
}

ControllerIdentity chooseRecordedController(const SessionOptions& options, std::string_view text) {
    const auto listener = std::make_shared<IdentityListener>();
    Session session(options);
    session.start(listener);
    session.settle();
    while (!session.source().hasEnded()) {
        session.source().turn();
    }
    listener->forgetRepetitions();
    return chosenOf(*listener, options, text);
}

bool ChosenControllerListener::hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    // Also asked about one that is removed and has not been admitted: no second one beside the first then either.
    return manager.connectedHIDDevices().entries().empty() && identityOf(manager, device) == chosen_;
}

void appendMembers(JSONText& json, const ControllerIdentity& identity) {
    json.member("name", identity.name)
        .member("kind", identity.kind)
        .member("type", identity.typeID)
        .member("instance", identity.instanceID)
        .member("bus", identity.bus.empty() ? std::nullopt : std::optional(identity.bus));
}

std::vector<std::shared_ptr<QZHIDElement>> elementsOf(const QZHIDDevice& device) {
    return device.ownedElements().value_or(std::vector<std::shared_ptr<QZHIDElement>>{});
}

std::vector<std::shared_ptr<QZHIDElement>> controlsOf(const QZHIDDevice& device) {
    std::vector<std::shared_ptr<QZHIDElement>> controls = elementsOf(device);
    std::erase_if(controls, [](const std::shared_ptr<QZHIDElement>& each) {
        return each->isCollection() || each->type() == QZHIDElementTypeOutput ||
               each->type() == QZHIDElementTypeFeature;
    });
    return controls;
}

bool isHat(const QZHIDElement& element) {
    return element.usagePage() == 0x01 && element.usage() == 0x39; // HID Usage Tables 1.5, section 4: Hat Switch
}

HatDirection directionOf(std::int64_t minimum, std::int64_t maximum, std::int64_t raw) {
    if (raw < minimum || raw > maximum) {
        return HatDirection::Centre;
    }
    const double count = static_cast<double>(maximum) - static_cast<double>(minimum) + 1.0;
    const double turn = (static_cast<double>(raw) - static_cast<double>(minimum)) / count;
    return static_cast<HatDirection>(static_cast<int>(std::lround(turn * 8.0)) % 8);
}

std::optional<std::int64_t> lastKnownValue(const QZHIDDevice& device, const QZHIDElement& element) {
    platform::HIDValue value;
    const platform::IOReturn result = IOHIDDeviceGetValueWithOptions(
        device.ioHIDDeviceRef(), element.ioHIDElementRef(), value, platform::kIOHIDDeviceGetValueWithoutUpdateOption);
    return result == platform::kIOReturnSuccess ? std::optional(IOHIDValueGetIntegerValue(&value)) : std::nullopt;
}

std::shared_ptr<QZHIDElement> findControl(const QZHIDDevice& device, std::string_view text) {
    std::vector<std::shared_ptr<QZHIDElement>> found;
    const std::string wanted = lowerCase(text);
    for (const std::shared_ptr<QZHIDElement>& each : controlsOf(device)) {
        if (std::to_string(each->cookie()) == text) {
            return each;
        }
        if (lowerCase(each->name()) == wanted || lowerCase(each->nameKey()) == wanted) {
            found.push_back(each);
        }
    }
    if (found.empty()) {
        throw WrongUse("no control is called \"" + std::string(text) + "\"; 'qzgc elements' lists them");
    }
    if (found.size() > 1) {
        std::string cookies;
        for (const auto& each : found) {
            cookies += (cookies.empty() ? "" : ", ") + std::to_string(each->cookie());
        }
        throw WrongUse("several controls are called \"" + std::string(text) + "\"; name one by its cookie: " + cookies);
    }
    return found.front();
}

} // namespace qz::tools
