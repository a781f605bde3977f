// SPDX-License-Identifier: MIT
#include "tools/qzgc/session/MapEditor.h"
#include "platform/virtual/VirtualPlatform.h"
#include "tools/qzgc/commands/MapView.h"
#include "tools/qzgc/terminal/Screen.h"
#include "tools/qzgc/terminal/TextFlow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

// Binding by pressing, and what it looks like.

namespace {

using namespace qz::tools;
using qz::platform::VirtualElement;
using Mode = MapEditor::Mode;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr std::int64_t x = 2;
constexpr std::int64_t slider = 3;
constexpr std::int64_t hat = 4;
constexpr std::int64_t firstButton = 5;
constexpr std::int64_t secondButton = 6;
constexpr std::int64_t wheel = 7;

/// A stick with an X axis (cookie 2), a slider, a hat, two buttons and a wheel, and an application with the actions
/// roll, yaw, pitch, fire and gear. By default X has roll and the buttons have fire and gear.
class MapEditorTest : public testing::Test {
protected:
    void attach() {
        const auto handle = platform_.hidServices().plug(
            {.properties = {{"PrimaryUsagePage", std::int64_t{1}},
                            {"PrimaryUsage", std::int64_t{4}},
                            {"VendorID", std::int64_t{1}},
                            {"ProductID", std::int64_t{2}}},
             .elements =
                 std::vector<VirtualElement>{
                     {.cookie = 2, .type = 3, .usagePage = 1, .usage = 0x30, .max = 1000},
                     {.cookie = 3, .type = 3, .usagePage = 1, .usage = 0x36, .max = 1000},
                     {.cookie = 4, .type = 1, .usagePage = 1, .usage = 0x39, .max = 7},
                     {.cookie = 5, .type = 2, .usagePage = 9, .usage = 1, .max = 1},
                     {.cookie = 6, .type = 2, .usagePage = 9, .usage = 2, .max = 1},
                     {.cookie = 7, .type = 1, .usagePage = 1, .usage = 0x38, .min = -127, .max = 127}},
             .usagePairs = {}});
        for (const auto& [index, value] : {std::pair<std::size_t, int>{0, 500}, {1, 0}, {2, 8}, {3, 0}, {4, 0}}) {
            handle->setLastKnownValue(index, value);
        }
        manager_->hidDeviceConnected(handle.get());
    }

    static QZGCConfigurationManager::Actions actions(const std::vector<std::string>& names) {
        return {names.begin(), names.end()};
    }

    std::shared_ptr<QZHIDDevice> device() { return manager_->devices().back(); }
    void press(int key) { editor_.press(key, now_); }
    void pass(int milliseconds) {
        now_ += std::chrono::milliseconds(milliseconds);
        editor_.tick(now_);
    }
    void move(std::int64_t cookie, std::int64_t raw) {
        editor_.see(*device()->elementWithCookie(cookie), raw, now_);
        editor_.tick(now_);
    }
    void select(const std::string& action) {
        press(keyHome);
        while (editor_.actions()[editor_.selected()] != action) {
            press(keyDown);
        }
    }
    /// Chooses an action and gets past the baseline.
    void listenFor(const std::string& action) {
        select(action);
        press(keyEnter);
        pass(300);
    }
    std::string message() { return editor_.message(now_); }
    std::vector<std::int64_t> cookiesOf(const std::string& action) {
        std::vector<std::int64_t> cookies;
        for (const MappedControl& each : mapping_.controlsWith(action)) {
            cookies.push_back(each.element->cookie());
        }
        return cookies;
    }
    bool isReversed(std::int64_t cookie) { return mapping_.isReversed(*device()->elementWithCookie(cookie)); }
    std::string page(int columns, int rows, bool unicode = true) {
        Canvas canvas(rows, columns, unicode);
        drawMap(canvas, editor_, "Stick", now_);
        return canvas.text();
    }

    qz::platform::VirtualPlatform platform_;
    std::shared_ptr<QZGCConfigurationManager> configuration_ = QZGCConfigurationManager::create(
        actions({"roll", "yaw"}), actions({"pitch"}), actions({"fire", "gear"}), platform_);
    std::shared_ptr<QZGCHIDManager> manager_ = QZGCHIDManager::create(configuration_, platform_);
    Mapping mapping_{configuration_, (attach(), device())};
    std::string failure_;
    int saves_ = 0;
    MapEditor editor_{mapping_, [this] { return ++saves_, failure_; }};
    MapEditor::Time now_{0};
};

TEST_F(MapEditorTest, BindsAnActionToTheButtonThatIsPressed) {
    mapping_.clear(*device()->elementWithCookie(firstButton));
    mapping_.clear(*device()->elementWithCookie(secondButton));
    select("fire");
    press(keyEnter);
    EXPECT_EQ(editor_.mode(), Mode::Listening);
    EXPECT_EQ(message(), "Let go of all controls ...");
    pass(300);
    EXPECT_EQ(message(), "Press the button for \"fire\".");
    EXPECT_FALSE(editor_.isChanged());
    move(secondButton, 1);
    EXPECT_EQ(editor_.mode(), Mode::Choosing);
    EXPECT_EQ(message(), "Button 2 triggers \"fire\" now.");
    EXPECT_THAT(cookiesOf("fire"), ElementsAre(secondButton));
    EXPECT_TRUE(editor_.isChanged());
}

TEST_F(MapEditorTest, ReplacesOrKeepsBothOrCancelsInAConflict) {
    const std::string question = "Button 2 triggers \"gear\" so far. \"fire\" is on Button 1 so far. "
                                 "Let Button 2 trigger \"fire\"?";
    listenFor("fire");
    move(secondButton, 1);
    EXPECT_EQ(editor_.mode(), Mode::Conflict);
    EXPECT_EQ(message(), question);
    press(keyEscape);
    EXPECT_EQ(message(), "Nothing was bound.");
    EXPECT_THAT(cookiesOf("gear"), ElementsAre(secondButton));
    EXPECT_FALSE(editor_.isChanged());

    listenFor("fire");
    move(secondButton, 0);
    move(secondButton, 1);
    press('k');
    EXPECT_THAT(cookiesOf("fire"), ElementsAre(firstButton, secondButton));
    EXPECT_THAT(cookiesOf("gear"), IsEmpty());

    listenFor("fire");
    move(secondButton, 0);
    move(secondButton, 1);
    EXPECT_EQ(message(), "\"fire\" is on Button 1 so far. Let Button 2 trigger \"fire\"?");
    press('r');
    EXPECT_THAT(cookiesOf("fire"), ElementsAre(secondButton));
}

TEST_F(MapEditorTest, CannotKeepTwoActionsOnOneControl) {
    listenFor("gear");
    move(firstButton, 1);
    press('r');
    ASSERT_THAT(cookiesOf("fire"), IsEmpty());
    mapping_.clear(*device()->elementWithCookie(firstButton));
    mapping_.set(*device()->elementWithCookie(secondButton), "fire");
    listenFor("gear");
    move(secondButton, 1);
    EXPECT_EQ(message(), "Button 2 triggers \"fire\" so far. Let Button 2 trigger \"gear\"?");
    EXPECT_FALSE(editor_.canKeepBoth());
    press('k');
    EXPECT_EQ(editor_.mode(), Mode::Conflict);
    press('x');
    EXPECT_EQ(editor_.mode(), Mode::Conflict);
    press('r');
    EXPECT_THAT(cookiesOf("gear"), ElementsAre(secondButton));
}

TEST_F(MapEditorTest, OffersToReverseAnAxisThatFell) {
    listenFor("roll");
    EXPECT_EQ(message(), "Move the control for \"roll\" to the right.");
    move(x, 100);
    EXPECT_EQ(editor_.mode(), Mode::Reversing);
    EXPECT_EQ(message(), "X went towards its minimum, from 500 to 100, so \"roll\" falls. Reverse it?");
    press('n');
    EXPECT_EQ(message(), "X triggers \"roll\" already (towards its minimum).");
    EXPECT_FALSE(isReversed(x));
    EXPECT_FALSE(editor_.isChanged());

    listenFor("roll");
    move(x, 500);
    move(x, 100);
    press('y');
    EXPECT_EQ(message(), "X triggers \"roll\" now, reversed (towards its minimum).");
    EXPECT_TRUE(isReversed(x));

    listenFor("roll");
    move(x, 500);
    move(x, 100);
    EXPECT_EQ(editor_.mode(), Mode::Choosing) << "it goes the right way now";

    listenFor("roll");
    move(x, 500);
    move(x, 900);
    EXPECT_EQ(message(), "X went towards its maximum, from 500 to 900, so \"roll\" falls. Take its reversal back?");
    press(keyEscape);
    EXPECT_TRUE(isReversed(x));
    listenFor("roll");
    move(x, 500);
    move(x, 900);
    press('y');
    EXPECT_FALSE(isReversed(x));
    EXPECT_EQ(message(), "X triggers \"roll\" now, no longer reversed (towards its maximum).");
}

TEST_F(MapEditorTest, AsksAboutTheConflictFirstAndThenAboutTheDirection) {
    listenFor("yaw");
    move(x, 0);
    EXPECT_EQ(editor_.mode(), Mode::Conflict);
    press('r');
    EXPECT_EQ(editor_.mode(), Mode::Reversing);
    press(keyEscape);
    EXPECT_THAT(cookiesOf("roll"), ElementsAre(x)) << "nothing of it";
    EXPECT_FALSE(editor_.isChanged());
}

TEST_F(MapEditorTest, SaysThatNoDirectionIsKeptForSomeControls) {
    listenFor("pitch");
    EXPECT_EQ(message(), "Move the control for \"pitch\" up or forward.");
    move(slider, 1000);
    EXPECT_EQ(message(), "Slider triggers \"pitch\" now (towards its maximum).");
    select("pitch");
    press(keyEnter);
    move(slider, 1000);
    pass(300);
    move(slider, 0);
    EXPECT_EQ(message(), "Slider triggers \"pitch\" already (towards its minimum). "
                         "It went the other way, but no direction is kept for this control.");
    select("pitch");
    press('r');
    EXPECT_THAT(message(), StartsWith("No direction is kept for Slider."));
}

TEST_F(MapEditorTest, BindsAWheelByItsSteps) {
    listenFor("yaw");
    move(wheel, 1);
    move(wheel, 1);
    EXPECT_EQ(editor_.mode(), Mode::Listening);
    move(wheel, 1);
    EXPECT_EQ(message(), "Wheel triggers \"yaw\" now (towards its maximum).");
}

TEST_F(MapEditorTest, SaysWhatCannotTriggerTheActionAndWhatIsMovedTogether) {
    listenFor("fire");
    move(hat, 2);
    EXPECT_EQ(message(), "Hat cannot trigger \"fire\".");
    pass(1000);
    move(hat, 8);
    pass(1000);
    EXPECT_EQ(message(), "Press the button for \"fire\".");
    editor_.see(*device()->elementWithCookie(firstButton), 1, now_);
    editor_.see(*device()->elementWithCookie(secondButton), 1, now_);
    pass(10);
    EXPECT_EQ(message(), "Button 1 and Button 2 are moved at the same time: move one of them alone.");
    EXPECT_EQ(editor_.mode(), Mode::Listening);
}

TEST_F(MapEditorTest, TakesTheCalibratedTravelForTheWhole) {
    device()->elementWithCookie(x)->setObservedMin(450);
    device()->elementWithCookie(x)->setObservedMax(550);
    listenFor("roll");
    move(x, 530);
    EXPECT_EQ(message(), "X triggers \"roll\" already (towards its maximum).");
}

TEST_F(MapEditorTest, TakesNoTravelBeyondWhatIsDeclared) {
    constexpr std::int64_t far = std::int64_t{1} << 62;
    for (const auto& [minimum, maximum] : {std::pair{-far, far}, {-far, std::int64_t{-1}}, {far, -far}, {0, far}}) {
        device()->elementWithCookie(x)->setObservedMin(minimum);
        device()->elementWithCookie(x)->setObservedMax(maximum);
        listenFor("roll");
        move(x, 700);
        EXPECT_EQ(editor_.mode(), Mode::Listening) << minimum << ".." << maximum;
        move(x, 751);
        EXPECT_EQ(editor_.mode(), Mode::Choosing) << minimum << ".." << maximum;
    }
}

TEST_F(MapEditorTest, WaitsForAControllerThatIsUnpluggedAndKeepsTheEdits) {
    select("roll");
    press('r');
    listenFor("fire");
    move(firstButton, 0);
    const auto before = device();
    editor_.unplugged();
    EXPECT_THAT(message(), StartsWith("The controller is unplugged; plug it in again. Nothing is lost. 'qzgc list' "));
    editor_.see(*before->elementWithCookie(secondButton), 1, now_);
    pass(1000);
    EXPECT_EQ(editor_.mode(), Mode::Listening);
    attach();
    ASSERT_NE(device(), before);
    editor_.pluggedIn(device(), now_);
    EXPECT_EQ(message(), "Let go of all controls ...") << "a new baseline";
    pass(300);
    move(secondButton, 1);
    EXPECT_EQ(editor_.mode(), Mode::Conflict);
    editor_.unplugged();
    attach();
    editor_.pluggedIn(device(), now_);
    EXPECT_EQ(editor_.mode(), Mode::Choosing);
    EXPECT_TRUE(isReversed(x));
    EXPECT_TRUE(editor_.isChanged());
}

TEST_F(MapEditorTest, ClearsAndReversesAndResets) {
    select("fire");
    press('c');
    EXPECT_EQ(message(), "\"fire\" has no control any more.");
    EXPECT_THAT(cookiesOf("fire"), IsEmpty());
    press('c');
    EXPECT_EQ(message(), "No control triggers \"fire\".");
    press('r');
    EXPECT_EQ(message(), "No control triggers \"fire\".");
    select("roll");
    press('r');
    EXPECT_THAT(message(), StartsWith("X is reversed now."));
    press('r');
    EXPECT_THAT(message(), StartsWith("X works in its own direction again."));
    press('R');
    EXPECT_EQ(editor_.mode(), Mode::Resetting);
    press('n');
    EXPECT_THAT(cookiesOf("fire"), IsEmpty());
    press('R');
    press('y');
    EXPECT_THAT(cookiesOf("fire"), ElementsAre(firstButton));
}

TEST_F(MapEditorTest, GoesToTheNextActionWithoutAControl) {
    press('n');
    EXPECT_EQ(editor_.actions()[editor_.selected()], "yaw");
    press('n');
    EXPECT_EQ(editor_.actions()[editor_.selected()], "pitch");
    press('n');
    EXPECT_EQ(editor_.actions()[editor_.selected()], "yaw");
    mapping_.set(*device()->elementWithCookie(slider), "yaw");
    mapping_.set(*device()->elementWithCookie(wheel), "pitch");
    press('n');
    EXPECT_EQ(message(), "Every action has a control.");
    press(keyEnd);
    EXPECT_EQ(editor_.selected(), 4U);
    press(keyPageUp);
    EXPECT_EQ(editor_.selected(), 0U);
    press(keyUp);
    EXPECT_EQ(editor_.selected(), 0U);
    press(keyPageDown);
    EXPECT_EQ(editor_.selected(), 4U);
}

TEST_F(MapEditorTest, EndsAtOnceWhenNothingHasChanged) {
    press('q');
    EXPECT_TRUE(editor_.hasEnded());
}

TEST_F(MapEditorTest, EndsOnEscapeToo) {
    press(keyEscape);
    EXPECT_TRUE(editor_.hasEnded());
}

TEST_F(MapEditorTest, AsksBeforeChangesAreLost) {
    press('c');
    press('q');
    EXPECT_EQ(editor_.mode(), Mode::Quitting);
    press(keyEscape);
    EXPECT_FALSE(editor_.hasEnded());
    failure_ = "not saved: the disk is full";
    press('q');
    press('y');
    EXPECT_FALSE(editor_.hasEnded());
    EXPECT_EQ(message(), failure_);
    EXPECT_TRUE(editor_.isChanged());
    press('s');
    EXPECT_EQ(message(), failure_);
    failure_.clear();
    press('s');
    EXPECT_EQ(message(), "Saved.");
    EXPECT_EQ(saves_, 3);
    press('q');
    EXPECT_TRUE(editor_.hasEnded());
}

TEST_F(MapEditorTest, ThrowsChangesAwayWhenTold) {
    press('c');
    press('q');
    press('n');
    EXPECT_TRUE(editor_.hasEnded());
    press('y');
    press('s');
    EXPECT_TRUE(editor_.hasEnded());
    EXPECT_EQ(saves_, 0) << "it has ended";
}

TEST_F(MapEditorTest, ShowsActionsThatTheApplicationDoesNotHave) {
    configuration_->setMapping(*device()->elementWithCookie(firstButton), QZGCConfigurationManager::Action("dance"));
    MapEditor editor(mapping_, [] { return std::string(); });
    EXPECT_EQ(editor.actions().back(), "dance");
    editor.press(keyEnd, now_);
    editor.press(keyEnter, now_);
    EXPECT_EQ(editor.message(now_), "The application has no action \"dance\"; it can only be cleared.");
    editor.press('c', now_);
    EXPECT_THAT(cookiesOf("dance"), IsEmpty());
}

TEST_F(MapEditorTest, DrawsTheTable) {
    const std::string rule = [] {
        std::string text;
        for (int i = 0; i < 80; ++i) {
            text += "─";
        }
        return text;
    }();
    select("fire");
    mapping_.set(*device()->elementWithCookie(secondButton), "fire");
    select("roll");
    press('r');
    EXPECT_EQ(page(80, 13), "qzgc map  Stick                                                        not saved\n"
                            "   action  wants    controls\n"
                            ">  roll    right    X (reversed)\n"
                            "   yaw     right    -\n"
                            "   pitch   up       -\n"
                            " ! fire    press    Button 1, Button 2\n"
                            "   gear    press    -\n"
                            "\n" +
                                rule +
                                "\nX is reversed now.\n\n\n"
                                "Enter bind  n next free  c clear  r reverse  R reset  s save  q quit  ? keys\n");
    select("fire");
    EXPECT_THAT(page(80, 24), HasSubstr("\n! \"fire\" is on several controls: Button 1, Button 2\n"));
    const std::string small = page(40, 12);
    EXPECT_THAT(small, HasSubstr(">! fire    Button 1, Button 2\n"));
    EXPECT_THAT(small, HasSubstr("\nEnter bind  c clear  r rev  s save  q  ?\n"));
    EXPECT_THAT(page(200, 60), HasSubstr("\nEnter bind  n next free  c clear"));
}

TEST_F(MapEditorTest, MixesNoLinesWhereThereAreFewRows) {
    press(keyEnter);
    const std::string whole = page(80, 24);
    for (int rows = 1; rows < 12; ++rows) {
        std::istringstream lines(page(80, rows));
        for (std::string line; std::getline(lines, line);) {
            // The heads also tell which rows there are.
            EXPECT_THAT(whole, HasSubstr(line.substr(0, line.find("controls")))) << "in " << rows << " rows";
        }
    }
}

TEST_F(MapEditorTest, DrawsTheControlThatMoves) {
    listenFor("roll");
    editor_.see(*device()->elementWithCookie(x), 620, now_);
    EXPECT_THAT(page(80, 24), HasSubstr("\nX  ██·················· 12 %\n"));
    EXPECT_THAT(page(40, 12, false), HasSubstr("\nX  ##.................. 12 %\n"));
    EXPECT_THAT(page(40, 12), HasSubstr("\nMove the control for \"roll\" to the\nright.\n"));
    EXPECT_THAT(page(80, 24), HasSubstr("\nEsc cancel\n"));
}

TEST_F(MapEditorTest, ScrollsWhereThereIsNoRoom) {
    select("gear");
    const std::string text = page(40, 10);
    EXPECT_THAT(text, HasSubstr("3-5 of 5\n"));
    EXPECT_THAT(text, HasSubstr(">  gear    Button 2\n"));
    EXPECT_THAT(text, Not(HasSubstr("roll")));
    EXPECT_THAT(page(1, 1), Not(IsEmpty()));
    EXPECT_EQ(page(0, 0), "");
}

TEST_F(MapEditorTest, DrawsEachQuestionWithItsKeys) {
    listenFor("fire");
    move(secondButton, 1);
    EXPECT_THAT(page(80, 24), HasSubstr("\nr replace  k keep both  Esc cancel\n"));
    press(keyEscape);
    press('R');
    EXPECT_THAT(page(80, 24), HasSubstr("\nGo back to the default mapping of this controller?\n\n\ny yes  n no\n"));
    press('y');
    press('q');
    EXPECT_THAT(page(80, 24), HasSubstr("\nChanges are not saved. Save them?\n\n\ny save  n discard  Esc go on\n"));
    press(keyEscape);
    listenFor("roll");
    move(x, 0);
    EXPECT_THAT(page(80, 24), HasSubstr("\ny yes  n no  Esc cancel\n"));
}

TEST(TextFlow, WrapsAndShortensAndScrolls) {
    EXPECT_THAT(wrapped("a bc def", 4), ElementsAre("a bc", "def"));
    EXPECT_THAT(wrapped("abcdef  g", 4), ElementsAre("abcdef", "g"));
    EXPECT_THAT(wrapped("", 4), IsEmpty());
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("äbcdefg", 6), "äbc...");
    EXPECT_EQ(firstShown(10, 4, 0), 0);
    EXPECT_EQ(firstShown(10, 4, 5), 3);
    EXPECT_EQ(firstShown(10, 4, 9), 6);
    EXPECT_EQ(firstShown(3, 4, 2), 0);
}

} // namespace
