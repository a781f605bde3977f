// SPDX-License-Identifier: MIT
#include "tests/support/ManagerStory.h"

namespace qz::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using ModalMode = OverHosts;
QZ_TELL_OVER_ALL_HOSTS(ModalMode);

TEST_P(ModalMode, IsOffAtFirstSoThatModalTurnsReportNothing) {
    setUp();
    host->plug(gamePad("pad"));
    turnModally();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), IsEmpty());
    turn();
    EXPECT_THAT(connected(), ElementsAre("pad"));
}

TEST_P(ModalMode, SetBeforeTheSetUpReportsInModalTurnsOnly) {
    host->plug(gamePad("present"));
    manager->setModalMode(true);
    setUp();
    const DeviceId pad = host->plug(gamePad("pad"));
    turn();
    EXPECT_THAT(told(), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ::testing::UnorderedElementsAre("should connect present -> yes", "connected present",
                                                        "should connect pad -> yes", "connected pad"));
    host->unplug(pad);
    host->plugUnusable(gamePad("broken"), -536870203);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ::testing::UnorderedElementsAre("disconnected pad", "error -536870203"));
}

TEST_P(ModalMode, MovesBackAndForthAndReportsNewcomersOnly) {
    setUp();
    const DeviceId first = host->plug(gamePad("first"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect first -> yes", "connected first"));

    manager->setModalMode(true);
    turnModally();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), ElementsAre("first"));
    host->plug(gamePad("second"));
    turn();
    EXPECT_THAT(told(), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ElementsAre("should connect second -> yes", "connected second"));

    manager->setModalMode(false);
    host->unplug(first);
    turnModally();
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(connected(), ElementsAre("first", "second"));
    turn();
    EXPECT_THAT(told(), ElementsAre("disconnected first"));
    EXPECT_THAT(connected(), ElementsAre("second"));
}

TEST_P(ModalMode, HoldsBackWhatHappenedBeforeTheSwitch) {
    setUp();
    host->plug(gamePad("pad"));
    manager->setModalMode(true);
    turn();
    EXPECT_THAT(told(), IsEmpty());
    turnModally();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> yes", "connected pad"));
}

TEST_P(ModalMode, DoesNotAskAgainAboutARefusedDevice) {
    setUp();
    delegate->refuse("pad");
    host->plug(gamePad("pad"));
    turn();
    EXPECT_THAT(told(), ElementsAre("should connect pad -> no"));
    manager->setModalMode(true);
    turnModally();
    manager->setModalMode(false);
    turn();
    EXPECT_THAT(told(), IsEmpty());
}

} // namespace
} // namespace qz::tests
