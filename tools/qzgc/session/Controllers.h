// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/JSONText.h"
#include "tools/qzgc/session/Session.h"
#include "tools/qzgc/session/Text.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tools {

/// What tells controllers apart.
struct ControllerIdentity {
    std::string name; ///< the product name, or the kind where the device has none; without control characters
    std::string kind; ///< "Joystick" or "Gamepad"
    std::string typeID;
    std::string instanceID;
    std::string bus; ///< "USB", "Bluetooth"; empty when not known

    friend bool operator==(const ControllerIdentity&, const ControllerIdentity&) = default;
};

ControllerIdentity identityOf(const QZHIDDevice& device);
/// The same without control characters anywhere, for people; what names a controller to programs is kept as it is.
ControllerIdentity inPrint(ControllerIdentity identity);
/// The same of one that has not been admitted yet.
ControllerIdentity identityOf(QZGCHIDManager& manager, platform::IOHIDDeviceRef device);

/// For messages: "Stick" (4660-22136.A1), and so on.
std::string listText(const std::vector<ControllerIdentity>& identities);

/// `"Stick" cannot be used: no permission to read it`, and so on.
std::string unusableText(const ControllerIdentity& identity, std::string_view why);

/// Whether DEVICE on the command line means this controller: its instance ID or its type ID, or a part of its name in
/// any case. An empty text means any.
bool isMeant(std::string_view text, const ControllerIdentity& identity);

/// What a look at a source brings.
struct FoundControllers {
    struct Unusable {
        ControllerIdentity identity;
        std::string why; ///< with a remedy
    };
    std::vector<ControllerIdentity> usable; ///< each once
    std::vector<ControllerIdentity> twins;  ///< those of them that several have at the same time
    std::vector<Unusable> unusable;
};

/// The one that DEVICE on the command line means. Throws Failure when there is none, WrongUse when there are several;
/// `ifNothing` is the failure where nothing at all was found. Says on the standard error when the first is taken of
/// several that nothing tells apart.
ControllerIdentity chosenOf(const FoundControllers& found, std::string_view text, const std::string& ifNothing);

/// The controllers that are attached, or all that a recording ever has.
FoundControllers findControllers(SessionOptions options);

/// What is wrong with a recording that holds no controllers.
std::string noControllersText(const SessionOptions& options);
/// Why a recording brought none so far: it holds none, or they come later.
std::string whyNoneCame(const SessionOptions& options);

/// Whether there is a file of this name that could be a recording; a directory, or a device node, may well have a
/// controller's name.
bool isFile(std::string_view text);

/// Throws WrongUse where DEVICE names a file and none of these controllers: somebody wants its recording.
void expectNoFile(const FoundControllers& found, std::string_view text);
/// The same for those that are attached. It looks for them only where there is a file of that name.
void expectNoFile(const SessionOptions& options, std::string_view text);

/// The one controller among them that DEVICE on the command line means. Throws Failure when there is none, WrongUse
/// when there are several; both list what there is.
ControllerIdentity chooseController(const SessionOptions& options, std::string_view text);

/// A listener that admits the chosen controller alone: the first with this identity, and no second one beside it.
class ChosenControllerListener : public Listener {
public:
    explicit ChosenControllerListener(ControllerIdentity chosen) : chosen_(std::move(chosen)) {}

    bool hidManagerShouldConnectDevice(QZGCHIDManager& manager, platform::IOHIDDeviceRef device) final;
    const ControllerIdentity& chosen() const noexcept { return chosen_; }

private:
    ControllerIdentity chosen_;
};

/// The members of a JSON object for a controller: "name", "kind", "type", "instance", "bus" (null when not known).
void appendMembers(JSONText& json, const ControllerIdentity& identity);

/// The device's own elements, members of collections included; never absent.
std::vector<std::shared_ptr<QZHIDElement>> elementsOf(const QZHIDDevice& device);
/// Those of them that a user can move or press: inputs, without collections, outputs and features.
std::vector<std::shared_ptr<QZHIDElement>> controlsOf(const QZHIDDevice& device);

/// The names of some controls of a device, by their cookies, with the cookie behind the name where several have it.
std::map<std::int64_t, std::string> labelsOf(const std::vector<std::shared_ptr<QZHIDElement>>& controls);

/// What a control is; no element is two of them.
enum class ControlKind : std::uint8_t {
    Moving, ///< an axis, slider, dial or wheel
    Hat,
    Button,
    DirectionPadButton,
    Consumer, ///< a button of a remote control, such as Home
    Other,
};
ControlKind kindOf(const QZHIDElement& element);

/// What people call the controls of a device, by cookie: as the library does, but for hats, for which it has only
/// numbers. The first of `controlsOf` is "Hat", the second "Hat 2", and so on.
std::map<std::int64_t, std::string> controlNames(const QZHIDDevice& device);
/// What people call this one.
std::string controlName(const QZHIDElement& element);

/// The eight directions of a hat, clockwise from up; the centre where it is let go.
enum class HatDirection : std::uint8_t { Up, UpRight, Right, DownRight, Down, DownLeft, Left, UpLeft, Centre };

/// Where a hat of this logical range points that sends `raw`. Its range goes clockwise from up, in as many steps as
/// there are, and outside of it is the centre.
HatDirection directionOf(std::int64_t minimum, std::int64_t maximum, std::int64_t raw);

/// The last value known of a control; unlike the library's answer this tells 0 from a value that is not known.
std::optional<std::int64_t> lastKnownValue(const QZHIDDevice& device, const QZHIDElement& element);

/// The control of the device that CONTROL on the command line means: its cookie, or its name or name key in any case.
/// Throws WrongUse when there is none or more than one; the options say where the device comes from.
std::shared_ptr<QZHIDElement> findControl(const QZHIDDevice& device, std::string_view text,
                                          const SessionOptions& options = {});

} // namespace qz::tools
