// SPDX-License-Identifier: MIT
#include "tests/conformance/Moments.h"

namespace qz::tests {

namespace {

DeviceId plugAndTurn(ManagerStory& story) {
    story.setUp();
    const DeviceId pad = story.host->plug(gamePad("pad"));
    story.turn();
    story.told();
    return pad;
}

void leadToArrival(ManagerStory& story) {
    story.setUp();
    story.host->plug(gamePad("pad"));
}

void leadToRefusal(ManagerStory& story) {
    story.delegate->refuse("pad");
    leadToArrival(story);
}

void leadToRemoval(ManagerStory& story) {
    story.host->unplug(plugAndTurn(story));
}

void leadToRemovalOfARefusedDevice(ManagerStory& story) {
    story.delegate->refuse("pad");
    story.host->unplug(plugAndTurn(story));
}

void leadToRemovalOfADeviceThatIsWantedNow(ManagerStory& story) {
    leadToRemovalOfARefusedDevice(story);
    story.delegate->accept("pad");
}

void leadToError(ManagerStory& story) {
    story.setUp();
    story.host->plugUnusable(gamePad("pad"), -536870203);
}

void leadToValue(ManagerStory& story) {
    story.manager->setReportRawValues(true);
    story.host->send(plugAndTurn(story), 0, 1);
}

} // namespace

std::vector<Moment> moments() {
    return {
        {.name = "AskedAtArrival",
         .callback = Callback::ShouldConnect,
         .leadTo = leadToArrival,
         .upToCallback = {"should connect pad -> yes"},
         .afterwards = {"connected pad"},
         .connectedAfterException = {},
         .connectedAfterReturn = {"pad"}},
        {.name = "Refusing",
         .callback = Callback::ShouldConnect,
         .leadTo = leadToRefusal,
         .upToCallback = {"should connect pad -> no"},
         .afterwards = {},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
        {.name = "Connected",
         .callback = Callback::Connected,
         .leadTo = leadToArrival,
         .upToCallback = {"should connect pad -> yes", "connected pad"},
         .afterwards = {},
         .connectedAfterException = {"pad"},
         .connectedAfterReturn = {"pad"}},
        {.name = "Disconnected",
         .callback = Callback::Disconnected,
         .leadTo = leadToRemoval,
         .upToCallback = {"disconnected pad"},
         .afterwards = {},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
        {.name = "AskedAtRemoval",
         .callback = Callback::ShouldConnect,
         .leadTo = leadToRemovalOfARefusedDevice,
         .upToCallback = {"should connect pad -> no"},
         .afterwards = {},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
        {.name = "WantingAtRemoval",
         .callback = Callback::ShouldConnect,
         .leadTo = leadToRemovalOfADeviceThatIsWantedNow,
         .upToCallback = {"should connect pad -> yes"},
         .afterwards = {"disconnected null"},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
        {.name = "DisconnectedAsNull",
         .callback = Callback::Disconnected,
         .leadTo = leadToRemovalOfADeviceThatIsWantedNow,
         .upToCallback = {"should connect pad -> yes", "disconnected null"},
         .afterwards = {},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
        {.name = "RawValue",
         .callback = Callback::RawValue,
         .leadTo = leadToValue,
         .upToCallback = {"raw pad 9:1 1"},
         .afterwards = {"action Fire 1"},
         .connectedAfterException = {"pad"},
         .connectedAfterReturn = {"pad"}},
        {.name = "ActionValue",
         .callback = Callback::ActionValue,
         .leadTo = leadToValue,
         .upToCallback = {"raw pad 9:1 1", "action Fire 1"},
         .afterwards = {},
         .connectedAfterException = {"pad"},
         .connectedAfterReturn = {"pad"}},
        {.name = "Error",
         .callback = Callback::Error,
         .leadTo = leadToError,
         .upToCallback = {"error -536870203"},
         .afterwards = {},
         .connectedAfterException = {},
         .connectedAfterReturn = {}},
    };
}

} // namespace qz::tests
