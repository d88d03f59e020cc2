// The picture of a time line: its axis, where its texts stand, how it looks, and that it is well-formed.
#include <gmock/gmock.h>

#include <random>

#include "checked_by.h"
#include "timeline/drawing.h"
#include "timeline/layout.h"
#include "timeline/time_scale.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using timeline::Arrow;
using timeline::Bar;
using timeline::Heading;
using timeline::InWords;
using timeline::Lane;
using timeline::Layout;
using timeline::Mark;
using timeline::Picture;
using timeline::Tick;
using timeline::Timeline;
using timeline::TimeScale;

constexpr timeline::Micros kMillisecond = 1000;
constexpr timeline::Micros kSecond = 1000 * kMillisecond;

const Heading kHeading = {"2024-02-29T12:00:00.000001Z", "1.0.0", "2.5"};

Bar BarOf(size_t lane, timeline::Micros begin, timeline::Micros end, const std::string& name,
          Bar::Ending ending = Bar::Ending::kReply) {
  Bar bar;
  bar.lane = lane;
  bar.begin = begin;
  bar.end = end;
  bar.name = name;
  bar.ending = ending;
  return bar;
}

Mark MarkOf(size_t lane, timeline::Micros time, Mark::Kind kind, const std::string& name) {
  Mark mark;
  mark.lane = lane;
  mark.time = time;
  mark.kind = kind;
  mark.name = name;
  return mark;
}

// A client that launches, and hears the result so much after the reply.
Timeline LaunchWithWait(timeline::Micros wait, Mark::Kind kind = Mark::Kind::kSuccess) {
  Timeline timeline;
  timeline.lanes = {{Lane::Kind::kService, "nuv-simulator", 100}, {Lane::Kind::kClient, "nuvctl", 500}};
  timeline.bars = {BarOf(1, 0, 20 * kMillisecond, "launch_app"),
                   BarOf(0, 20 * kMillisecond + wait, 22 * kMillisecond + wait, "app_launch_result")};
  timeline.marks = {MarkOf(1, 20 * kMillisecond + wait, kind, "NUV_NOTIFY_LAUNCHED")};
  timeline.arrows = {{Arrow::Kind::kDelivery, 1, 0}, {Arrow::Kind::kWait, 0, 0}};
  timeline.end = kSecond;
  timeline.messages = 4;
  return timeline;
}

std::vector<std::string> LabelsOf(const std::vector<Tick>& ticks) {
  std::vector<std::string> labels;
  labels.reserve(ticks.size());
  for (const Tick& tick : ticks) labels.push_back(tick.label);
  return labels;
}

std::vector<std::string> TicksOf(timeline::Micros begin, timeline::Micros end, double room = 200) {
  Timeline timeline;
  timeline.begin = begin;
  timeline.end = end;
  return LabelsOf(TimeScale(timeline, 1000, false).Ticks(room));
}

size_t CountOf(const std::string& part, const std::string& text) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::string Svg(const Timeline& timeline, bool compress = false) {
  return DrawSvg(timeline, kHeading, Picture{compress});
}

class TimelineDrawing : public testing::Test {
 protected:
  std::string Complaint(const std::string& svg) const { return TextCheckedBy("check_svg", svg, directory_); }

  TempDir directory_;
};

TEST(TimelineDuration, HasThreeDigitsThatCount) {
  EXPECT_EQ(InWords(0), "0 µs");
  EXPECT_EQ(InWords(999), "999 µs");
  EXPECT_EQ(InWords(1234), "1.23 ms");
  EXPECT_EQ(InWords(45600), "45.6 ms");
  EXPECT_EQ(InWords(999 * kMillisecond), "999 ms");
  EXPECT_EQ(InWords(12345 * kMillisecond), "12.3 s");
  EXPECT_EQ(InWords(7200 * kSecond), "7200 s");
}

TEST(TimelineScale, TicksStandAtRoundNumbers) {
  EXPECT_THAT(TicksOf(0, kSecond), ElementsAre("0.0 s", "0.2 s", "0.4 s", "0.6 s", "0.8 s", "1.0 s"));
  EXPECT_THAT(TicksOf(0, 24 * kMillisecond), ElementsAre("0 ms", "5 ms", "10 ms", "15 ms", "20 ms"));
  EXPECT_THAT(TicksOf(30 * kSecond, 60 * kSecond), ElementsAre("30 s", "40 s", "50 s", "60 s"));
  EXPECT_THAT(TicksOf(kSecond + 300, kSecond + 1100),
              ElementsAre("1.0004 s", "1.0006 s", "1.0008 s", "1.0010 s", "1.0012 s"));
  EXPECT_THAT(TicksOf(0, 0), SizeIs(6));
}

TEST(TimelineScale, TicksHaveRoomWhateverTheSpan) {
  for (timeline::Micros span = 7; span < 100000 * kSecond; span *= 7) {
    Timeline timeline;
    timeline.end = span;
    const auto ticks = TimeScale(timeline, 1000, false).Ticks(90);
    ASSERT_GE(ticks.size(), 3u) << span;
    for (size_t i = 1; i < ticks.size(); ++i) EXPECT_GE(ticks[i].x - ticks[i - 1].x, 89) << span;
  }
}

TEST(TimelineScale, GapsAreShorterWhereThatIsWanted) {
  Timeline timeline;
  timeline.lanes = {{}};
  timeline.bars = {BarOf(0, 0, 100 * kMillisecond, "a"), BarOf(0, 9 * kSecond, 10 * kSecond, "b")};
  timeline.end = 10 * kSecond;
  const TimeScale plain(timeline, 1000, false);
  EXPECT_THAT(plain.gaps(), IsEmpty());
  EXPECT_NEAR(plain.At(9 * kSecond), 900, 0.1);
  const TimeScale compressed(timeline, 1000, true);
  ASSERT_THAT(compressed.gaps(), SizeIs(2));  // a long call is a gap, too
  EXPECT_EQ(compressed.gaps()[0].label, "8.85 s");
  EXPECT_LT(compressed.At(9 * kSecond) - compressed.At(100 * kMillisecond), 700);
  EXPECT_NEAR(compressed.At(10 * kSecond), 1000, 0.1);
  double before = -1;
  for (timeline::Micros time = 0; time <= timeline.end; time += 10 * kMillisecond) {
    EXPECT_GT(compressed.At(time), before) << time;
    before = compressed.At(time);
  }
}

TEST(TimelineScale, TimesOutsideStandAtTheEdges) {
  Timeline timeline;
  timeline.begin = kSecond;
  timeline.end = 2 * kSecond;
  const TimeScale scale(timeline, 1000, false);
  EXPECT_EQ(scale.At(0), 0);
  EXPECT_EQ(scale.At(9 * kSecond), 1000);
}

TEST(TimelineLayout, ALongWaitCarriesItsTimeAndAShortOneIsSaidBesideTheResult) {
  Timeline timeline = LaunchWithWait(500 * kMillisecond);
  Layout layout = Arrange(timeline, TimeScale(timeline, 1000, false));
  ASSERT_TRUE(layout.marks[0].wait);
  EXPECT_EQ(layout.marks[0].wait->label, "500 ms");
  EXPECT_EQ(layout.marks[0].label.text, "NUV_NOTIFY_LAUNCHED");
  EXPECT_EQ(layout.marks[0].row, layout.bars[0].row + 1);
  timeline = LaunchWithWait(3 * kMillisecond);
  layout = Arrange(timeline, TimeScale(timeline, 1000, false));
  EXPECT_EQ(layout.marks[0].wait->label, "");
  EXPECT_EQ(layout.marks[0].label.text, "NUV_NOTIFY_LAUNCHED after 3.00 ms");
}

TEST(TimelineLayout, AResultMayComeBeforeTheReply) {
  Timeline timeline = LaunchWithWait(-5 * kMillisecond);
  const Layout layout = Arrange(timeline, TimeScale(timeline, 1000, false));
  EXPECT_EQ(layout.marks[0].label.text, "NUV_NOTIFY_LAUNCHED before the reply");
  EXPECT_LE(layout.marks[0].wait->x, layout.marks[0].x);
}

TEST(TimelineLayout, AFailedCallNamesItsError) {
  Timeline timeline;
  timeline.lanes = {{}};
  timeline.bars = {BarOf(0, 0, 10, "launch_app", Bar::Ending::kError)};
  timeline.bars[0].error = "org.freedesktop.DBus.Error.NoReply";
  const Layout layout = Arrange(timeline, TimeScale(timeline, 1000, false));
  EXPECT_EQ(layout.bars[0].label.text, "launch_app ✕ NoReply");
}

TEST(TimelineLayout, ABarThatIsLongEnoughHasItsLabelInside) {
  Timeline timeline;
  timeline.lanes = {{}};
  timeline.bars = {BarOf(0, 0, 500, "wide"), BarOf(0, 600, 601, "narrow")};
  timeline.end = 1000;
  const Layout layout = Arrange(timeline, TimeScale(timeline, 1000, false));
  EXPECT_TRUE(layout.bars[0].label.inside);
  EXPECT_FALSE(layout.bars[1].label.inside);
  EXPECT_GE(layout.bars[1].label.x, layout.bars[1].x + timeline::kLeastBarWidth);
}

// As many messages, of all kinds, at random times and in random order of lanes.
Timeline RandomTimeline(size_t messages) {
  std::mt19937 random(static_cast<unsigned>(messages));
  const auto below = [&random](size_t limit) { return static_cast<size_t>(random() % limit); };
  Timeline timeline;
  timeline.end = 20 * kSecond;
  timeline.messages = messages;
  const size_t lanes = 1 + messages / 500;
  for (size_t i = 0; i < lanes; ++i) timeline.lanes.push_back({Lane::Kind::kClient, "program-" + std::to_string(i), 5});
  for (size_t i = 0; i < messages; ++i) {
    const size_t lane = below(lanes);
    const auto time = static_cast<timeline::Micros>(below(20 * kSecond));
    if (below(3) == 0) {
      const auto kind = static_cast<Mark::Kind>(below(8));
      timeline.marks.push_back(MarkOf(lane, time, kind, "event" + std::string(below(30), 'x')));
    } else {
      const auto end = std::min<timeline::Micros>(timeline.end, time + static_cast<timeline::Micros>(below(kSecond)));
      const auto ending = static_cast<Bar::Ending>(below(4));
      timeline.bars.push_back(BarOf(lane, time, end, "日本語" + std::string(below(30), 'y'), ending));
    }
  }
  std::sort(timeline.bars.begin(), timeline.bars.end(), [](const Bar& a, const Bar& b) { return a.begin < b.begin; });
  std::sort(timeline.marks.begin(), timeline.marks.end(), [](const Mark& a, const Mark& b) { return a.time < b.time; });
  for (size_t i = 0; i < std::min(timeline.bars.size(), timeline.marks.size()) / 4; ++i) {
    const size_t mark = timeline.marks.size() - 1 - i;
    timeline.marks[mark].lane = timeline.bars[i].lane;
    timeline.arrows.push_back({Arrow::Kind::kWait, i, mark});
  }
  return timeline;
}

TEST_F(TimelineDrawing, NoTextCoversAnotherOneAndNoneIsCutOff) {
  for (const size_t messages : {0, 1, 2, 10, 100, 1000, 10000}) {
    const Timeline timeline = RandomTimeline(messages);
    EXPECT_EQ(Complaint(Svg(timeline)), "") << messages;
    EXPECT_EQ(Complaint(Svg(timeline, true)), "") << messages;
  }
}

TEST_F(TimelineDrawing, SaysHowManyLabelsHadNoRoom) {
  EXPECT_THAT(Svg(RandomTimeline(10)), Not(HasSubstr("left out")));
  EXPECT_THAT(Svg(RandomTimeline(10000)), HasSubstr("labels left out for want of room"));
}

TEST_F(TimelineDrawing, TextsOfPeersStayTexts) {
  Timeline timeline;
  const std::string hostile = "</text><script>alert(\"x\")</script>&amp;]]>\x01\x1b[31m\xff\xef\xbf\xbe\xe2\x80\xae";
  timeline.lanes = {{Lane::Kind::kClient, hostile, 5}};
  timeline.bars = {BarOf(0, 0, 10, hostile, Bar::Ending::kError)};
  timeline.bars[0].detail = timeline.bars[0].from = timeline.bars[0].to = timeline.bars[0].error = hostile;
  timeline.marks = {MarkOf(0, 5, Mark::Kind::kSignal, hostile)};
  timeline.marks[0].detail = hostile;
  timeline.end = 10;
  Heading heading = {hostile, hostile, hostile, {hostile}};
  const std::string svg = DrawSvg(timeline, heading, {});
  EXPECT_EQ(Complaint(svg), "");
  EXPECT_THAT(svg, AllOf(Not(HasSubstr("<script")), HasSubstr("&lt;script&gt;"), HasSubstr("&amp;amp;")));
  EXPECT_THAT(DrawHtml(timeline, heading, {}), Not(HasSubstr("<script")));
}

TEST_F(TimelineDrawing, FailuresHaveAnotherFormAndNotOnlyAnotherColour) {
  Timeline timeline = LaunchWithWait(500 * kMillisecond, Mark::Kind::kFailure);
  timeline.bars.push_back(BarOf(1, 600 * kMillisecond, 700 * kMillisecond, "x", Bar::Ending::kError));
  timeline.bars.push_back(BarOf(1, 800 * kMillisecond, 900 * kMillisecond, "y", Bar::Ending::kUnanswered));
  const std::string svg = Svg(timeline);
  EXPECT_EQ(CountOf("<rect class=\"failed\"", svg), 2u);  // one of them in the legend
  EXPECT_THAT(svg, HasSubstr(".failed { fill: url(#hatched)"));
  EXPECT_EQ(CountOf("<rect class=\"open\"", svg), 2u);
  EXPECT_EQ(CountOf("href=\"#failure\"", svg), 2u);
  EXPECT_EQ(CountOf("href=\"#success\"", svg), 0u);
}

TEST_F(TimelineDrawing, AWaitIsADashedLineAndADeliveryAnArrow) {
  const std::string svg = Svg(LaunchWithWait(500 * kMillisecond));
  EXPECT_EQ(CountOf("<path class=\"wait\"", svg), 1u);
  EXPECT_THAT(svg, HasSubstr(">500 ms</text>"));
  EXPECT_THAT(svg, testing::ContainsRegex("\\.wait \\{[^}]*stroke-dasharray[^}]*marker-end"));
  EXPECT_EQ(CountOf("<line class=\"delivery\"", svg), 2u);  // one of them in the legend
}

TEST_F(TimelineDrawing, TheLegendHasWhatThePictureHas) {
  const std::string svg = Svg(LaunchWithWait(500 * kMillisecond));
  EXPECT_THAT(svg, AllOf(HasSubstr(">call, to its reply<"), HasSubstr(">result: success<"),
                         HasSubstr(">result, from the service<"), HasSubstr(">from a launch's reply to its result<")));
  EXPECT_THAT(svg, AllOf(Not(HasSubstr(">call, to its error<")), Not(HasSubstr(">messages lost<")),
                         Not(HasSubstr("drawn shorter"))));
}

TEST_F(TimelineDrawing, TheTitleTellsTheStartAndTheVersions) {
  const std::string svg = Svg(LaunchWithWait(0));
  EXPECT_THAT(svg, AllOf(HasSubstr("<title>Messages of 2024-02-29 12:00:00 UTC</title>"),
                         HasSubstr(">library 1.0.0, service 2.5 · 4 messages in 1.00 s<")));
  Heading heading = kHeading;
  heading.service.clear();
  EXPECT_THAT(DrawSvg(LaunchWithWait(0), heading, {}), HasSubstr(">library 1.0.0 · 4 messages in 1.00 s<"));
}

TEST_F(TimelineDrawing, SaysWhatIsMissing) {
  Timeline timeline = LaunchWithWait(0);
  timeline.left_out = 7;
  timeline.left_out_from = 12300 * kMillisecond;
  Heading heading = kHeading;
  heading.remarks = {"the recording stops without an end"};
  const std::string svg = DrawSvg(timeline, heading, {});
  EXPECT_THAT(svg, AllOf(HasSubstr("! the recording stops without an end"),
                         HasSubstr("! 7 further messages, from 12.3 s on, left out")));
  EXPECT_THAT(Svg(Timeline()), HasSubstr("! nothing to show"));
}

TEST_F(TimelineDrawing, EachBarAndMarkTellsMoreUnderThePointer) {
  Timeline timeline = LaunchWithWait(500 * kMillisecond);
  timeline.bars[0].from = ":1.5";
  timeline.bars[0].to = "org.kelvo.tv.corvane.server";
  const std::string svg = Svg(timeline);
  EXPECT_THAT(svg, HasSubstr("<title>launch_app\nfrom :1.5 to org.kelvo.tv.corvane.server\n"
                             "at 0 µs, reply after 20.0 ms</title>"));
  EXPECT_THAT(svg, HasSubstr("<title>NUV_NOTIFY_LAUNCHED\nat 520 ms</title>"));
}

TEST_F(TimelineDrawing, ThePageIsLightOrDarkAndRunsNothing) {
  const std::string page = DrawHtml(LaunchWithWait(500 * kMillisecond), kHeading, {});
  EXPECT_THAT(page, AllOf(testing::StartsWith("<!DOCTYPE html>"), HasSubstr("prefers-color-scheme: dark"),
                          HasSubstr("<title>Messages of 2024-02-29 12:00:00 UTC</title>"), Not(HasSubstr("<script"))));
  EXPECT_EQ(Complaint(page), "");
}

// A colour of the picture that the dark page forgets would be one that nobody can read.
TEST_F(TimelineDrawing, TheDarkPageHasAColourForEachClassThatHasOne) {
  const std::string page = DrawHtml(LaunchWithWait(500 * kMillisecond), kHeading, {});
  const std::string dark = page.substr(page.find("prefers-color-scheme: dark"), page.find("</style>"));
  for (const char* style : {"page", "about", "kind", "tick",  "pid",  "label",    "inside", "lane", "grid",
                            "edge", "gap",   "call", "alone", "open", "delivery", "wait",   "head", "failed",
                            "loss", "hatch", "pale", "good",  "bad",  "cross",    "app",    "other"}) {
    EXPECT_THAT(page, testing::ContainsRegex("[.]" + std::string(style) + "[ ,]")) << style;
    EXPECT_THAT(dark.substr(0, dark.find("</style>")), testing::ContainsRegex("body [.]" + std::string(style) + "[ ,]"))
        << style;
  }
}

struct PlantedFault {
  const char* name;
  const char* part;     // of a picture
  const char* instead;  // of it
  const char* found;
};

class CheckOfPictures : public TimelineDrawing, public testing::WithParamInterface<PlantedFault> {};

TEST_P(CheckOfPictures, FindsAPlantedFault) {
  std::string svg = Svg(LaunchWithWait(500 * kMillisecond));
  ASSERT_EQ(Complaint(svg), "");
  const size_t at = svg.rfind(GetParam().part);
  ASSERT_NE(at, std::string::npos);
  svg.replace(at, std::string(GetParam().part).size(), GetParam().instead);
  EXPECT_THAT(Complaint(svg), HasSubstr(GetParam().found));
}

const PlantedFault kFaults[] = {
    {"Markup", "</svg>", "<g></svg>", "mismatched"},
    {"Script", "</svg>", "<script>1</script></svg>", "a script"},
    {"Handler", "<g><title>NUV", "<g onclick=\"x\"><title>NUV", "onclick"},
    {"Image", "</svg>", "<image href=\"https://example.org/x.png\"/></svg>", "href=https"},
    {"Font", "</svg>", "<style>@font-face { }</style></svg>", "style from elsewhere"},
    {"Fill", "</svg>", "<rect fill=\"url(http://example.org)\"/></svg>", "fill=url"},
    {"Shape", "href=\"#success\"", "href=\"#none\"", "no shape"},
    {"Cover", "</svg>",
     "<text class=\"label\" x=\"22\" y=\"100\">x</text><text class=\"label\" x=\"20\" y=\"101\">y</text></svg>",
     "covers"},
    {"Edge", "</svg>", "<text class=\"label\" x=\"9999\" y=\"100\">x</text></svg>", "leaves the page"},
};

INSTANTIATE_TEST_SUITE_P(Each, CheckOfPictures, testing::ValuesIn(kFaults),
                         [](const auto& fault) { return fault.param.name; });

}  // namespace
