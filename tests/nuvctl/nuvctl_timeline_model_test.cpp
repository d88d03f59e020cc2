// The time line of a recording, as data: its lanes, bars, marks and arrows.
#include <gmock/gmock.h>

#include "made_entries.h"
#include "timeline/gather.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using timeline::Arrow;
using timeline::Bar;
using timeline::Cut;
using timeline::Gatherer;
using timeline::Lane;
using timeline::Mark;
using timeline::Timeline;

constexpr char kClient[] = ":1.5";
constexpr char kOther[] = ":1.6";
constexpr char kApp[] = "org.example.player";

class TimelineModel : public testing::Test {
 protected:
  TimelineModel() {
    recording_.StartWithService();
    recording_.Client(0, kClient, 500, "nuvctl");
  }

  Timeline Gather(const Cut& cut = {}) const {
    Gatherer gatherer(cut);
    for (const recording::Entry& entry : recording_.entries()) gatherer.Add(entry);
    return gatherer.Finish();
  }

  static std::vector<std::string> LanesOf(const Timeline& timeline) {
    std::vector<std::string> names;
    for (const Lane& lane : timeline.lanes) names.push_back(lane.name + " " + std::to_string(lane.pid));
    return names;
  }

  static std::vector<std::string> MarksOf(const Timeline& timeline) {
    std::vector<std::string> names;
    for (const Mark& mark : timeline.marks) {
      names.push_back(timeline.lanes[mark.lane].name + ": " + mark.name +
                      (mark.detail.empty() ? "" : " " + mark.detail));
    }
    return names;
  }

  // "wait 0 -> 0", of bar and mark
  static std::vector<std::string> ArrowsOf(const Timeline& timeline) {
    std::vector<std::string> arrows;
    for (const Arrow& arrow : timeline.arrows) {
      arrows.push_back((arrow.kind == Arrow::Kind::kWait ? "wait " : "delivery ") + timeline.bars[arrow.bar].name +
                       " -> " + timeline.marks[arrow.mark].name);
    }
    return arrows;
  }

  void LaunchAndHear(int event, int status) {
    const guint32 launch = recording_.Launch(1000, kClient, "obj500", kApp, 3);
    recording_.Reply(2000, kClient, launch);
    const guint32 result = recording_.Result(9000, "obj500", kApp, event, status, 3);
    recording_.Reply(9500, MadeEntries::kService, result, kClient);
  }

  MadeEntries recording_;
};

TEST_F(TimelineModel, ACallIsABarFromItsRequestToItsReply) {
  const guint32 call = recording_.Call(1000, kClient, "terminate_app", g_variant_new("(siss)", kApp, 0, "", ""));
  recording_.Reply(3500, kClient, call);
  const Timeline timeline = Gather();
  ASSERT_EQ(timeline.bars.size(), 1u);
  const Bar& bar = timeline.bars[0];
  EXPECT_EQ(bar.name, "terminate_app");
  EXPECT_EQ(bar.detail, kApp);
  EXPECT_EQ(bar.begin, 1000);
  EXPECT_EQ(bar.end, 3500);
  EXPECT_EQ(bar.ending, Bar::Ending::kReply);
  EXPECT_EQ(bar.from, kClient);
  EXPECT_EQ(bar.to, MadeEntries::kServiceName);
  EXPECT_EQ(timeline.messages, 2u);
  EXPECT_EQ(timeline.lanes[bar.lane].name, "nuvctl");
}

TEST_F(TimelineModel, ReplyAndCallBelongTogetherByTheCallerAndItsSerial) {
  const guint32 first = recording_.Call(1000, kClient, "first");
  const guint32 second = recording_.Call(2000, kClient, "second");
  recording_.Reply(3000, kOther, first);  // another one's call with that number, which was not recorded
  recording_.Reply(4000, kClient, second);
  recording_.Reply(5000, kClient, first);
  const Timeline timeline = Gather();
  ASSERT_EQ(timeline.bars.size(), 2u);
  EXPECT_EQ(timeline.bars[0].end, 5000);
  EXPECT_EQ(timeline.bars[1].end, 4000);
}

TEST_F(TimelineModel, AnErrorEndsABarAndIsNamed) {
  const guint32 call = recording_.Call(1000, kClient, "heartbeat");
  recording_.Error(2000, kClient, call, "org.freedesktop.DBus.Error.NoReply", "org.freedesktop.DBus");
  const Timeline timeline = Gather();
  ASSERT_EQ(timeline.bars.size(), 1u);
  EXPECT_EQ(timeline.bars[0].ending, Bar::Ending::kError);
  EXPECT_EQ(timeline.bars[0].error, "org.freedesktop.DBus.Error.NoReply");
  EXPECT_THAT(LanesOf(timeline), ElementsAre("nuvctl 500"));
}

TEST_F(TimelineModel, ACallWithoutAnAnswerLastsToTheEnd) {
  recording_.Call(1000, kClient, "heartbeat");
  recording_.End(70000);
  const Timeline timeline = Gather();
  EXPECT_EQ(timeline.end, 70000);
  ASSERT_EQ(timeline.bars.size(), 1u);
  EXPECT_EQ(timeline.bars[0].ending, Bar::Ending::kUnanswered);
  EXPECT_EQ(timeline.bars[0].end, 70000);
}

TEST_F(TimelineModel, ConnectionsOfAProcessShareALane) {
  recording_.Client(0, kOther, 500, "nuvctl");
  recording_.Exchange(1000, 10, kClient, "heartbeat");
  recording_.Exchange(2000, 10, kOther, "heartbeat");
  recording_.Exchange(3000, 10, ":1.9", "heartbeat");  // of which nobody knows whose it is
  const Timeline timeline = Gather();
  EXPECT_THAT(LanesOf(timeline), ElementsAre("nuvctl 500", ":1.9 0"));
  EXPECT_EQ(timeline.bars[0].lane, timeline.bars[1].lane);
}

TEST_F(TimelineModel, FirstComesTheBusThenTheServiceThenTheClients) {
  recording_.Exchange(1000, 10, kClient, "heartbeat");
  recording_.Signal(2000, "ForegroundChanged", g_variant_new("(s)", kApp));
  recording_.Owner(3000, "");
  const Timeline timeline = Gather();
  EXPECT_THAT(LanesOf(timeline), ElementsAre("bus 0", "nuv-simulator 100", "nuvctl 500"));
  EXPECT_EQ(timeline.lanes[1].kind, Lane::Kind::kService);
  EXPECT_THAT(MarksOf(timeline), ElementsAre("nuv-simulator: ForegroundChanged org.example.player",
                                             "bus: org.kelvo.tv.corvane.server has no owner"));
  EXPECT_EQ(timeline.bars[0].lane, 2u);
}

TEST_F(TimelineModel, AServiceThatComesBackHasALaneOfItsOwn) {
  recording_.Signal(1000, "AppStarted", g_variant_new("(sib)", kApp, 9, FALSE));
  recording_.Owner(2000, "");
  recording_.Client(3000, ":1.8", 200, "nuv-simulator");
  recording_.Owner(3000, ":1.8");
  recording_.Signal(4000, "AppStarted", g_variant_new("(sib)", kApp, 10, FALSE), ":1.8");
  const Timeline timeline = Gather();
  EXPECT_THAT(LanesOf(timeline), ElementsAre("bus 0", "nuv-simulator 100", "nuv-simulator 200"));
  EXPECT_EQ(timeline.lanes[2].kind, Lane::Kind::kService);
  EXPECT_EQ(timeline.marks[1].kind, Mark::Kind::kNoOwner);
  EXPECT_EQ(timeline.marks[2].kind, Mark::Kind::kOwner);
  EXPECT_EQ(timeline.marks[2].detail, "is owned by :1.8");
}

TEST_F(TimelineModel, WhoOwnsANameAtTheStartIsNoChange) {
  recording_.Owner(10, MadeEntries::kService);
  recording_.Owner(10, "", "org.kelvo.tv.litecorvane.server");
  EXPECT_THAT(MarksOf(Gather()), IsEmpty());
}

TEST_F(TimelineModel, AResultIsAMarkWhereTheLaunchWasMade) {
  LaunchAndHear(900, 0);
  const Timeline timeline = Gather();
  EXPECT_THAT(MarksOf(timeline), ElementsAre("nuvctl: NUV_NOTIFY_LAUNCHED org.example.player"));
  EXPECT_EQ(timeline.marks[0].kind, Mark::Kind::kSuccess);
  EXPECT_EQ(timeline.marks[0].time, 9000);
  EXPECT_THAT(ArrowsOf(timeline), ElementsAre("delivery app_launch_result -> NUV_NOTIFY_LAUNCHED",
                                              "wait launch_app -> NUV_NOTIFY_LAUNCHED"));
  EXPECT_EQ(timeline.lanes[timeline.bars[1].lane].name, "nuv-simulator");
}

TEST_F(TimelineModel, AFailedLaunchSaysWhy) {
  LaunchAndHear(903, 401);
  const Timeline timeline = Gather();
  ASSERT_EQ(timeline.marks.size(), 1u);
  EXPECT_EQ(timeline.marks[0].kind, Mark::Kind::kFailure);
  EXPECT_EQ(timeline.marks[0].name, "NUV_NOTIFY_LAUNCH_FAILED NUV_LAUNCH_STATUS_NOT_INSTALLED");
}

TEST_F(TimelineModel, NumbersWithoutANameAreShownAsTheyAre) {
  LaunchAndHear(950, 499);
  const Timeline timeline = Gather();
  ASSERT_EQ(timeline.marks.size(), 1u);
  EXPECT_EQ(timeline.marks[0].kind, Mark::Kind::kFailure);
  EXPECT_EQ(timeline.marks[0].name, "event 950 result 499");
}

TEST_F(TimelineModel, EachOfTwoLaunchesHasItsOwnResult) {
  recording_.Launch(1000, kClient, "obj500", "a.a", 1);
  recording_.Launch(2000, kClient, "obj500", "b.b", 2);
  recording_.Result(3000, "obj500", "b.b", 900, 0, 2);
  recording_.Result(4000, "obj500", "a.a", 901, 0, 1);
  recording_.Result(5000, "obj500", "a.a", 906, 0, 1);
  const Timeline timeline = Gather();
  std::vector<std::string> waits;
  for (const Arrow& arrow : timeline.arrows) {
    if (arrow.kind != Arrow::Kind::kWait) continue;
    waits.push_back(timeline.bars[arrow.bar].detail + " " + timeline.marks[arrow.mark].name);
  }
  EXPECT_THAT(waits, ElementsAre("b.b NUV_NOTIFY_LAUNCHED", "a.a NUV_NOTIFY_BROUGHT_TO_FRONT",
                                 "a.a NUV_NOTIFY_DEEPLINK_DELIVERED"));
}

TEST_F(TimelineModel, AResultOfALaunchBeforeTheStartGoesToTheProcessThatItsObjectNames) {
  recording_.Result(1000, "obj500", kApp, 900, 0, 1);
  recording_.Result(2000, "obj77", kApp, 900, 0, 1);  // of which nobody knows whose it is
  const Timeline timeline = Gather();
  EXPECT_THAT(MarksOf(timeline),
              ElementsAre("nuvctl: NUV_NOTIFY_LAUNCHED org.example.player",
                          "org.kelvo.tv.corvane.launcherclient.obj77: NUV_NOTIFY_LAUNCHED org.example.player"));
  EXPECT_THAT(ArrowsOf(timeline), ElementsAre("delivery app_launch_result -> NUV_NOTIFY_LAUNCHED",
                                              "delivery app_launch_result -> NUV_NOTIFY_LAUNCHED"));
}

TEST_F(TimelineModel, AResultThatIsNoneIsOnlyACall) {
  recording_.Call(1000, MadeEntries::kService, "app_launch_result", g_variant_new("(s)", "x"));
  recording_.Call(2000, MadeEntries::kService, "app_launch_result");
  const Timeline timeline = Gather();
  EXPECT_EQ(timeline.bars.size(), 2u);
  EXPECT_THAT(timeline.marks, IsEmpty());
}

TEST_F(TimelineModel, SignalsThatRepeatTheMessagesAreNoMarks) {
  for (const char* repeating : {"Request", "Reply", "Result"}) {
    recording_.Signal(1000, repeating, g_variant_new("(sss)", "launch_app", kApp, ""));
  }
  recording_.Signal(2000, "AppStarted", g_variant_new("(sib)", kApp, 9, FALSE));
  recording_.Signal(3000, "AppStopped", g_variant_new("(sii)", kApp, 9, 0));
  recording_.Signal(4000, "Request", g_variant_new("(s)", "x"), kOther, "org.example.other");
  recording_.Signal(5000, "NameOwnerChanged", g_variant_new("(sss)", "a", "", ":1.1"), "org.freedesktop.DBus",
                    "org.freedesktop.DBus");
  const Timeline timeline = Gather();
  EXPECT_THAT(MarksOf(timeline), ElementsAre("nuv-simulator: AppStarted org.example.player",
                                             "nuv-simulator: AppStopped org.example.player", ":1.6: Request"));
  EXPECT_EQ(timeline.marks[0].kind, Mark::Kind::kStarted);
  EXPECT_EQ(timeline.marks[1].kind, Mark::Kind::kStopped);
  EXPECT_EQ(timeline.marks[2].kind, Mark::Kind::kSignal);
}

TEST_F(TimelineModel, WhatIsMissingIsMarked) {
  recording_.Lost(1000, 1);
  recording_.Lost(2000, 12, kClient);
  recording_.Unreadable(3000);
  const Timeline timeline = Gather();
  EXPECT_THAT(MarksOf(timeline), ElementsAre("bus: 1 message lost", "nuvctl: 12 messages lost", "bus: not a message"));
  EXPECT_EQ(timeline.marks[1].kind, Mark::Kind::kLost);
}

TEST_F(TimelineModel, AWindowKeepsWhatOverlapsIt) {
  recording_.Exchange(1000, 500, kClient, "before");
  const guint32 into = recording_.Call(2000, kClient, "into");
  recording_.Signal(2500, "early", nullptr);
  recording_.Reply(12000, kClient, into);
  recording_.Signal(13000, "within", nullptr);
  const guint32 out = recording_.Call(14000, kClient, "out");
  recording_.Signal(30000, "late", nullptr);
  recording_.Reply(31000, kClient, out);
  recording_.Exchange(32000, 500, kOther, "after");
  Cut cut;
  cut.from = 10000;
  cut.to = 20000;
  const Timeline timeline = Gather(cut);
  ASSERT_EQ(timeline.bars.size(), 2u);
  EXPECT_EQ(timeline.bars[0].name, "into");
  EXPECT_EQ(timeline.bars[1].name, "out");
  EXPECT_EQ(timeline.bars[1].end, 31000);
  EXPECT_THAT(MarksOf(timeline), ElementsAre("nuv-simulator: within"));
  EXPECT_THAT(LanesOf(timeline), ElementsAre("nuv-simulator 100", "nuvctl 500"));
  EXPECT_EQ(timeline.begin, 10000);
  EXPECT_EQ(timeline.end, 20000);
  EXPECT_EQ(timeline.messages, 3u);
}

TEST_F(TimelineModel, AnArrowStaysWhereBothItsEndsDo) {
  LaunchAndHear(900, 0);
  Cut cut;
  cut.from = 5000;
  const Timeline timeline = Gather(cut);
  EXPECT_THAT(ArrowsOf(timeline), ElementsAre("delivery app_launch_result -> NUV_NOTIFY_LAUNCHED"));
}

TEST_F(TimelineModel, AboveTheMostTheRestIsCounted) {
  const guint32 call = recording_.Call(1000, kClient, "first");
  recording_.Exchange(2000, 10, kClient, "second");
  recording_.Exchange(3000, 10, kClient, "third");
  recording_.Reply(4000, kClient, call);
  Cut cut;
  cut.most = 3;
  const Timeline timeline = Gather(cut);
  ASSERT_EQ(timeline.bars.size(), 2u);
  EXPECT_EQ(timeline.bars[0].ending, Bar::Ending::kReply);  // what is shown is shown to its end
  EXPECT_EQ(timeline.bars[0].end, 4000);
  EXPECT_EQ(timeline.left_out, 2u);
  EXPECT_EQ(timeline.left_out_from, 3000);
  EXPECT_EQ(Gather().left_out, 0u);
}

}  // namespace
