// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/Controllers.h"

#include "HIDWrapper/QZHIDUsages.h"
#include "platform/HIDDevice.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>

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
        if (device->isGone()) {
            there_.erase(device); // asked once more
            return false;
        }
        ControllerIdentity identity = identityOf(manager, device);
        const bool hasTwin = std::ranges::any_of(
            there_, [&](const auto& each) { return each.first != device && each.second == identity; });
        if (hasTwin) {
            addOnce(found_.twins, identity);
        }
        there_.insert_or_assign(device, identity);
        addOnce(found_.usable, std::move(identity)); // one that comes again is the same
        return false;
    }
    void controllerUnusable(QZGCHIDManager& manager, platform::IOHIDDeviceRef device, platform::IOReturn why) override {
        found_.unusable.push_back({identityOf(manager, device), statusText(why) + remedyText(why)});
    }

    const FoundControllers& found() const noexcept { return found_; }

private:
    static void addOnce(std::vector<ControllerIdentity>& identities, ControllerIdentity identity) {
        if (std::ranges::find(identities, identity) == identities.end()) {
            identities.push_back(std::move(identity));
        }
    }

    FoundControllers found_;
    std::map<platform::IOHIDDeviceRef, ControllerIdentity> there_;
};

/// Where an instance ID or a whole name is the text and no other's, it means that one, whatever others hold it.
std::optional<ControllerIdentity> onlyExact(const std::vector<ControllerIdentity>& identities, std::string_view text) {
    for (const auto part : {&ControllerIdentity::instanceID, &ControllerIdentity::name}) {
        if (std::ranges::count(identities, text, part) == 1) {
            return *std::ranges::find(identities, text, part);
        }
    }
    return std::nullopt;
}

void warnOfTwins(const ControllerIdentity& chosen) {
    std::cerr << "qzgc: several controllers are " << listText({chosen})
              << ", and nothing tells them apart: the first is taken\n";
}

/// Among several that are meant.
ControllerIdentity firstUnlessNameable(const std::vector<ControllerIdentity>& meant) {
    const auto isSame = [&](auto part) {
        return std::ranges::all_of(meant, [&](const auto& each) { return each.*part == meant.front().*part; });
    };
    if (!isSame(&ControllerIdentity::instanceID)) {
        throw WrongUse("several controllers are meant; name one by its instance ID: " + listText(meant));
    }
    if (!isSame(&ControllerIdentity::name)) {
        throw WrongUse("several controllers are meant, with the same instance ID; name one by its name: " +
                       listText(meant));
    }
    warnOfTwins(meant.front());
    return meant.front();
}

} // namespace

std::string listText(const std::vector<ControllerIdentity>& identities) {
    std::vector<std::string> texts;
    texts.reserve(identities.size());
    for (const ControllerIdentity& each : identities) {
        texts.push_back('"' + each.name + "\" (" + withoutControlCharacters(each.instanceID) + ')');
    }
    return joined(texts);
}

std::string unusableText(const ControllerIdentity& identity, std::string_view why) {
    return ('"' + identity.name + "\" cannot be used: ").append(why);
}

ControllerIdentity identityOf(const QZHIDDevice& device) {
    const QZHIDUserPrefIDs ids = device.userPrefIDs();
    return {.name = withoutControlCharacters(device.productName().value_or(device.kind())),
            .kind = device.kind(),
            .typeID = ids.aDeviceTypeID,
            .instanceID = ids.aInstanceID,
            .bus = device.stringPropertyWithKey("Transport").value_or("")};
}

ControllerIdentity inPrint(ControllerIdentity identity) {
    for (const auto part : {&ControllerIdentity::typeID, &ControllerIdentity::instanceID, &ControllerIdentity::bus}) {
        identity.*part = withoutControlCharacters(std::move(identity.*part));
    }
    return identity;
}

ControllerIdentity identityOf(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) {
    return identityOf(*QZHIDDevice::create(device, manager.shared_from_this()));
}

bool isMeant(std::string_view text, const ControllerIdentity& identity) {
    return text == identity.instanceID || text == identity.typeID ||
           lowerCase(identity.name).find(lowerCase(text)) != std::string::npos;
}

ControllerIdentity chosenOf(const FoundControllers& found, std::string_view text, const std::string& ifNothing) {
    const auto& all = found.usable;
    std::vector<ControllerIdentity> meant;
    std::ranges::copy_if(all, std::back_inserter(meant),
                         [&](const ControllerIdentity& each) { return isMeant(text, each); });
    if (!meant.empty()) {
        const auto exact = onlyExact(meant, text);
        const bool isOne = meant.size() == 1 || exact;
        ControllerIdentity chosen = exact ? *exact : isOne ? meant.front() : firstUnlessNameable(meant);
        if (isOne && std::ranges::find(found.twins, chosen) != found.twins.end()) {
            warnOfTwins(chosen);
        }
        return chosen;
    }
    const auto unusable = std::ranges::find_if(
        found.unusable, [&](const FoundControllers::Unusable& each) { return isMeant(text, each.identity); });
    if (unusable != found.unusable.end() || (all.empty() && !found.unusable.empty())) {
        const auto& told = unusable != found.unusable.end() ? *unusable : found.unusable.front();
        throw Failure(unusableText(told.identity, told.why));
    }
    throw Failure(all.empty() ? ifNothing
                              : "no controller is called \"" + std::string(text) + "\"; there is " + listText(all));
}

bool isFile(std::string_view text) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(text, error);
    return !text.empty() && (std::filesystem::is_regular_file(status) || std::filesystem::is_fifo(status));
}

void expectNoFile(const FoundControllers& found, std::string_view text) {
    const auto isIt = [&](const ControllerIdentity& each) { return isMeant(text, each); };
    if (isFile(text) && std::ranges::none_of(found.usable, isIt) &&
        std::ranges::none_of(found.unusable, isIt, &FoundControllers::Unusable::identity)) {
        throw WrongUse("no controller is called \"" + std::string(text) +
                       "\", but a file is: to take the devices of a recording, use --from " +
                       fileWord(std::string(text)));
    }
}

void expectNoFile(const SessionOptions& options, std::string_view text) {
    if (options.from.empty() && isFile(text)) {
        expectNoFile(findControllers(options), text);
    }
}

FoundControllers findControllers(SessionOptions options) {
    const bool isRecorded = !options.from.empty();
    options.fast = options.fast || isRecorded;
    options.seconds.reset();
    options.mayStore = false;
    const auto listener = std::make_shared<IdentityListener>();
    Session session(options);
    session.start(listener);
    session.settle();
    while (isRecorded && !session.source().hasEnded()) {
        session.source().turn();
    }
    return listener->found();
}

std::string noControllersText(const SessionOptions& options) {
    return "the recording has no joystick or gamepad; 'qzgc elements --descriptor " + fileWord(options.from) +
           "' shows what it has";
}

std::string whyNoneCame(const SessionOptions& options) {
    return findControllers(options).usable.empty() ? noControllersText(options)
                                                   : "the recording plugs its controllers in later; give it more time";
}

ControllerIdentity chooseController(const SessionOptions& options, std::string_view text) {
    const FoundControllers found = findControllers(options);
    if (options.from.empty()) {
        expectNoFile(found, text);
    }
    return chosenOf(found, text,
                    options.from.empty() ? "no controller is there; attach one, or name a recording with --from"
                                         : noControllersText(options));
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

std::map<std::int64_t, std::string> labelsOf(const std::vector<std::shared_ptr<QZHIDElement>>& controls) {
    const auto device = controls.empty() ? nullptr : controls.front()->device();
    const auto names = device ? controlNames(*device) : std::map<std::int64_t, std::string>();
    std::map<std::int64_t, std::string> labels;
    std::map<std::string, int> bearers;
    for (const auto& each : controls) {
        const auto name = names.find(each->cookie());
        ++bearers[labels.emplace(each->cookie(), name != names.end() ? name->second : each->name()).first->second];
    }
    for (auto& [cookie, label] : labels) {
        if (bearers[label] > 1) {
            label += " (" + std::to_string(cookie) + ')';
        }
    }
    return labels;
}

ControlKind kindOf(const QZHIDElement& element) {
    if (element.isMovingControl()) {
        return ControlKind::Moving;
    }
    if (element.isPushButton()) {
        return ControlKind::Button;
    }
    if (element.isPartOfDirectionPad()) {
        return ControlKind::DirectionPadButton;
    }
    if (element.isConsumerElement()) {
        return ControlKind::Consumer;
    }
    // HID Usage Tables 1.5, section 4: Hat Switch
    return element.usagePage() == 0x01 && element.usage() == 0x39 ? ControlKind::Hat : ControlKind::Other;
}

std::map<std::int64_t, std::string> controlNames(const QZHIDDevice& device) {
    std::map<std::int64_t, std::string> names;
    int hats = 0;
    for (const auto& each : controlsOf(device)) {
        const std::string hat =
            kindOf(*each) == ControlKind::Hat ? ++hats == 1 ? "Hat" : "Hat " + std::to_string(hats) : "";
        names.emplace(each->cookie(), hat.empty() ? each->name() : hat);
    }
    return names;
}

std::string controlName(const QZHIDElement& element) {
    const auto device = element.device();
    return device && kindOf(element) == ControlKind::Hat ? controlNames(*device).at(element.cookie()) : element.name();
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

std::shared_ptr<QZHIDElement> findControl(const QZHIDDevice& device, std::string_view text,
                                          const SessionOptions& options) {
    std::vector<std::shared_ptr<QZHIDElement>> found;
    const std::string wanted = lowerCase(text);
    const auto names = controlNames(device);
    for (const std::shared_ptr<QZHIDElement>& each : controlsOf(device)) {
        if (std::to_string(each->cookie()) == text) {
            return each;
        }
        if (lowerCase(names.at(each->cookie())) == wanted || lowerCase(each->name()) == wanted ||
            lowerCase(each->nameKey()) == wanted) {
            found.push_back(each);
        }
    }
    if (found.empty()) {
        const std::string listing = "elements " + shellWord(identityOf(device).instanceID);
        throw WrongUse("no control is called \"" + std::string(text) + "\"; " + commandText(listing, options) +
                       " lists them");
    }
    if (found.size() > 1) {
        std::vector<std::string> cookies;
        cookies.reserve(found.size());
        for (const auto& each : found) {
            cookies.push_back(std::to_string(each->cookie()));
        }
        throw WrongUse("several controls are called \"" + std::string(text) +
                       "\"; name one by its cookie: " + joined(cookies));
    }
    return found.front();
}

} // namespace qz::tools
