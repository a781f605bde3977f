// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Axis.h"
#include "tools/qzgc/plot/SeenValues.h"
#include "tools/qzgc/plot/Svg.h"
#include "tools/qzgc/plot/Trace.h"

#include "tests/unit/qzgc/WellFormed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What pictures are made of: axes, traces, counts and the writer of SVG.

namespace {

using namespace qz::tools;
using qz::tests::faultOfXML;
using std::chrono::microseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> labels(const std::vector<Tick>& ticks) {
    std::vector<std::string> labels;
    for (const Tick& tick : ticks) {
        labels.push_back(tick.label);
    }
    return labels;
}

TEST(Axis, HasTicksAtMultiplesOfOneTwoAndFiveTimesAPowerOfTen) {
    EXPECT_THAT(labels(ticksBetween(0, 10, 10)), ElementsAre("0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"));
    EXPECT_THAT(labels(ticksBetween(0, 1023, 5)), ElementsAre("0", "500", "1000"));
    EXPECT_THAT(labels(ticksBetween(-128, 127, 6)), ElementsAre("-100", "-50", "0", "50", "100"));
    EXPECT_THAT(labels(ticksBetween(7, 7, 5)), ElementsAre("7"));
    EXPECT_THAT(labels(ticksBetween(0, 255, 6)), ElementsAre("0", "50", "100", "150", "200", "250"));
}

TEST(Axis, WritesTimesWithAsManyDigitsAsTheStepNeeds) {
    EXPECT_THAT(labels(ticksBetween(0, 210'000, 5, 6)), ElementsAre("0.00", "0.05", "0.10", "0.15", "0.20"));
    EXPECT_THAT(labels(ticksBetween(0, 3'600'000'000, 4, 6)), ElementsAre("0", "1000", "2000", "3000"));
    EXPECT_THAT(labels(ticksBetween(0, 2'500'000, 5, 6)), ElementsAre("0.0", "0.5", "1.0", "1.5", "2.0", "2.5"));
    EXPECT_EQ(decimalText(-1'500'000, 6, 5), "-1.5");
    EXPECT_EQ(decimalText(7, 6), "0.000007");
    EXPECT_EQ(decimalText(70, 0, 1), "70");
}

TEST(Axis, BearsTheLongestRecording) {
    const auto ticks = ticksBetween(0, 9'999'999'999'999'999, 10, 6);
    EXPECT_LE(ticks.size(), 11U);
    EXPECT_EQ(ticks.back().label, "9000000000");
}

Trace::Column column(int index, double low, double high, double last) {
    return {index, low, high, last, 0, false, false, false};
}

TEST(Trace, KeepsTheExtremesAndTheLastValueOfEachColumn) {
    Trace trace({microseconds(100), 10});
    trace.add(microseconds(0), 0.5);
    trace.add(microseconds(42), 0.25);
    trace.add(microseconds(44), 0.75);
    trace.add(microseconds(49), 0.375);
    trace.add(microseconds(50), 0.125);
    Trace::Column first = column(0, 0.5, 0.5, 0.5);
    first.seen = 1;
    first.begins = true;
    Trace::Column second = column(4, 0.25, 0.75, 0.375);
    second.seen = 1;
    Trace::Column third = column(5, 0.125, 0.125, 0.125);
    third.seen = 1;
    EXPECT_THAT(trace.columns(), ElementsAre(first, second, third));
    EXPECT_TRUE(trace.hasChanged());
}

TEST(Trace, KeepsNoMoreThanThePictureHasColumns) {
    Trace trace({microseconds(1'000'000), 100});
    for (int i = 0; i < 100'000; ++i) {
        trace.add(microseconds(i * 10), i % 7);
    }
    ASSERT_EQ(trace.columns().size(), 100U);
    for (const Trace::Column& each : trace.columns()) {
        EXPECT_EQ(each.low, 0);
        EXPECT_EQ(each.high, 6);
        EXPECT_EQ(each.seen, 0x7FU);
    }
}

TEST(Trace, EndsAndBeginsAgain) {
    Trace trace({microseconds(100), 10});
    trace.end(microseconds(1));
    EXPECT_TRUE(trace.columns().empty()) << "there is nothing to end";
    trace.add(microseconds(10), 1);
    trace.end(microseconds(35));
    trace.end(microseconds(60));
    trace.add(microseconds(75), 1);
    trace.end(microseconds(76));
    trace.add(microseconds(77), 1);
    ASSERT_EQ(trace.columns().size(), 3U);
    EXPECT_TRUE(trace.columns()[0].begins);
    EXPECT_EQ(trace.columns()[1].index, 3);
    EXPECT_TRUE(trace.columns()[1].ends);
    EXPECT_TRUE(trace.columns()[2].begins);
    EXPECT_FALSE(trace.columns()[2].ends);
    EXPECT_TRUE(trace.columns()[2].paused);
    EXPECT_FALSE(trace.hasChanged()) << "always the same value";
}

TEST(Trace, PutsWhatIsBeyondItsEndsIntoTheOutermostColumns) {
    const TimeScale scale{microseconds(100), 10};
    EXPECT_EQ(scale.column(microseconds(-5)), 0);
    EXPECT_EQ(scale.column(microseconds(99)), 9);
    EXPECT_EQ(scale.column(microseconds(100)), 9);
    EXPECT_EQ(scale.column(microseconds::max()), 9);
}

TEST(SeenValues, CountsEachValue) {
    SeenValues seen;
    for (const std::int64_t raw : {5, -3, 5, 127}) {
        seen.add(raw);
    }
    EXPECT_TRUE(seen.isExact());
    EXPECT_EQ(seen.count(), 4U);
    EXPECT_EQ(seen.least(), -3);
    EXPECT_EQ(seen.greatest(), 127);
    ASSERT_EQ(seen.groups().size(), 3U);
    EXPECT_EQ(seen.groups().at(5), (SeenValues::Group{5, 2}));
}

TEST(SeenValues, CountsNeighboursTogetherWhenThereAreVeryMany) {
    SeenValues seen;
    std::size_t added = 0;
    for (std::int64_t raw = -100'000; raw < 100'000; raw += 3, ++added) {
        seen.add(raw);
    }
    EXPECT_FALSE(seen.isExact());
    EXPECT_LE(seen.groups().size(), SeenValues::mostGroups);
    EXPECT_GT(seen.groups().size(), SeenValues::mostGroups / 2);
    std::size_t counted = 0;
    for (const auto& [number, group] : seen.groups()) {
        counted += group.count;
    }
    EXPECT_EQ(counted, added);
}

TEST(SVG, EscapesWhatXMLReadsOtherwise) {
    EXPECT_EQ(xmlText(R"(<a & "b">)"), "&lt;a &amp; &quot;b&quot;&gt;");
    EXPECT_EQ(xmlText("Kn\xC3\xBCppel \xF0\x9F\x8E\xAE"), "Kn\xC3\xBCppel \xF0\x9F\x8E\xAE");
}

TEST(SVG, ReplacesWhatXMLHasNoPlaceFor) {
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(xmlText(std::string("a\0b\x1B\n", 5)), "a" + mark + "b" + mark + mark);
    EXPECT_EQ(xmlText("\xFF"), mark);
    EXPECT_EQ(xmlText("a\xC3"), "a" + mark) << "cut off";
    EXPECT_EQ(xmlText("\xC3z"), mark + "z");
    EXPECT_EQ(xmlText("\xC0\xAF"), mark + mark) << "longer than it has to be";
    EXPECT_EQ(xmlText("\xED\xA0\x80"), mark + mark + mark) << "half of a surrogate pair";
    EXPECT_EQ(xmlText("\xEF\xBF\xBF"), mark + mark + mark) << "U+FFFF";
    EXPECT_EQ(xmlText("\xF4\x90\x80\x80"), mark + mark + mark + mark) << "beyond U+10FFFF";
}

TEST(SVG, CutsLabelsBetweenCharacters) {
    EXPECT_EQ(shortened("Button 1", 8), "Button 1");
    EXPECT_EQ(shortened("Button 10", 8), "Button …");
    EXPECT_EQ(shortened("\xC3\xBC\xC3\xBC\xC3\xBC", 2), "\xC3\xBC…");
    EXPECT_EQ(shortened("\xE6\xA4\x85\xE6\xA4\x85", 4), "\xE6\xA4\x85\xE6\xA4\x85") << "twice as wide as letters";
    EXPECT_EQ(shortened("\xE6\xA4\x85\xE6\xA4\x85", 3), "\xE6\xA4\x85…");
    EXPECT_EQ(shortened("", 5), "");
}

TEST(SVG, WritesCoordinatesShortAndWithoutMinusZero) {
    EXPECT_EQ(coordinate(12), "12");
    EXPECT_EQ(coordinate(12.34), "12.3");
    EXPECT_EQ(coordinate(-0.04), "0");
    EXPECT_EQ(coordinate(-1.25), "-1.3");
    EXPECT_EQ(coordinate(99.96), "100");
}

TEST(SVG, IsAWellFormedDocumentWithTitleAndDescription) {
    Svg svg(100, 50.5, "A & B", "what <it> is", ".a{fill:red}\n");
    svg.rectangle(1, 2, 3, 4, "a");
    svg.line(1, 2, 3, 4, "a");
    svg.circle(1, 2, 3, "a");
    PathData path;
    svg.path(path, "none");
    svg.path(path.moveTo(1, 2).horizontalTo(3).verticalTo(4).lineTo(5, 6).close(), "a");
    svg.text(1, 2, "a very long name", "a", 6);
    const std::string document = svg.finish();
    EXPECT_EQ(faultOfXML(document), "");
    EXPECT_THAT(document, HasSubstr(">A &amp; B</title>"));
    EXPECT_THAT(document, HasSubstr(">what &lt;it&gt; is</desc>"));
    EXPECT_THAT(document, HasSubstr("viewBox=\"0 0 100 50.5\""));
    EXPECT_THAT(document, HasSubstr("d=\"M1 2H3V4L5 6Z\""));
    EXPECT_THAT(document, HasSubstr("<title>a very long name</title>a ver…</text>"));
    EXPECT_THAT(document, Not(HasSubstr("none")));
}

TEST(SVG, IsCheckedByAReaderThatFindsFaults) {
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    EXPECT_EQ(faultOfXML(head + "<a x=\"1\"><b/>t &amp; u</a>\n"), "");
    for (const char* const faulty :
         {"<a>", "<a></b>", "</a>", "<a/><b/>", "<a>&</a>", "<a x=1/>", "<a x=\"1\" x=\"2\"/>", "<a x=\"<\"/>",
          "<a/>text", "", "<a>\x1B</a>", "<a x=\"&\"/>", "<a", "<a x/>"}) {
        EXPECT_NE(faultOfXML(head + faulty), "") << faulty;
    }
    EXPECT_NE(faultOfXML("<a/>"), "");
}

} // namespace
