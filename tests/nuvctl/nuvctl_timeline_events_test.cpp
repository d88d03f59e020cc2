// A time line as events for trace viewers.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "checked_by.h"
#include "made_entries.h"
#include "timeline/gather.h"
#include "timeline/trace_events.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using timeline::Heading;
using Json = nlohmann::json;

constexpr char kClient[] = ":1.5";
constexpr char kOther[] = ":1.6";

class TimelineEvents : public testing::Test {
 protected:
  TimelineEvents() {
    heading_ = {"2024-02-29T12:00:00.000001Z", "1.0.0", "2.5", {}, 7000000000000};
    recording_.StartWithService();
    recording_.Client(0, kClient, 500, "nuvctl");
  }

  // A launch with its result, calls that overlap, one that fails and one that nobody answers.
  void RecordAll() {
    const guint32 launch = recording_.Launch(1000, kClient, "obj500", "a.a", 3);
    recording_.Exchange(1500, 100, kClient, "heartbeat");
    recording_.Reply(2000, kClient, launch);
    const guint32 result = recording_.Result(9000, "obj500", "a.a", 903, 401, 3);
    recording_.Reply(9500, MadeEntries::kService, result, kClient);
    const guint32 failed = recording_.Call(10000, kOther, "terminate_app");
    recording_.Error(11000, kOther, failed, "org.example.Error");
    recording_.Call(12000, kClient, "get_extra_app");
    recording_.Owner(13000, "");
    recording_.End(20000);
  }

  std::string Text() const {
    timeline::Gatherer gatherer({});
    for (const recording::Entry& entry : recording_.entries()) gatherer.Add(entry);
    return TraceEvents(gatherer.Finish(), heading_);
  }

  std::vector<Json> Events(const std::string& phase) const {
    std::vector<Json> events;
    const Json document = Json::parse(Text());
    for (const Json& event : document["traceEvents"]) {
      if (event["ph"] == phase) events.push_back(event);
    }
    return events;
  }

  std::string Complaint(const std::string& text) const { return TextCheckedBy("check_trace_events", text, directory_); }

  TempDir directory_;
  MadeEntries recording_;
  Heading heading_;
};

TEST_F(TimelineEvents, FollowTheRulesOfTheirFormat) {
  EXPECT_EQ(Complaint(Text()), "");
  RecordAll();
  EXPECT_EQ(Complaint(Text()), "");
}

TEST_F(TimelineEvents, ACallIsASpanWithWhatItWasAbout) {
  recording_.Exchange(1000, 250, kClient, "nuv_update_app_count", g_variant_new("(s)", "a.a"));
  const auto spans = Events("X");
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_EQ(spans[0]["name"], "nuv_update_app_count");
  EXPECT_EQ(spans[0]["dur"], 250);
  EXPECT_EQ(spans[0]["pid"], 500);
  EXPECT_EQ(spans[0]["args"], Json::parse(R"({"from": ":1.5", "to": "org.kelvo.tv.corvane.server",
                                               "ended_by": "reply", "about": "a.a"})"));
}

TEST_F(TimelineEvents, TimesAreThoseOfTheMonotonicClock) {
  recording_.Exchange(1000, 250, kClient, "heartbeat");
  EXPECT_EQ(Events("X")[0]["ts"], 7000000001000);
  EXPECT_EQ(Json::parse(Text())["otherData"]["clock"], "CLOCK_MONOTONIC");
  heading_.monotonic_start.reset();
  EXPECT_EQ(Events("X")[0]["ts"], 1000);
  EXPECT_EQ(Json::parse(Text())["otherData"]["clock"], "since the start of the recording");
}

TEST_F(TimelineEvents, CallsOfAProcessThatOverlapHaveThreadsOfTheirOwn) {
  const guint32 first = recording_.Call(1000, kClient, "first");
  recording_.Exchange(2000, 100, kClient, "second");
  recording_.Reply(3000, kClient, first);
  recording_.Exchange(3000, 100, kClient, "third");
  const auto spans = Events("X");
  ASSERT_EQ(spans.size(), 3u);
  EXPECT_NE(spans[0]["tid"], spans[1]["tid"]);
  EXPECT_EQ(spans[0]["tid"], spans[2]["tid"]);
}

TEST_F(TimelineEvents, AFailureIsSaidAndHasTheColourForIt) {
  RecordAll();
  for (const Json& span : Events("X")) {
    const bool failed = span["name"] == "terminate_app" || span["name"] ==
                                                               "NUV_NOTIFY_LAUNCH_FAILED "
                                                               "NUV_LAUNCH_STATUS_NOT_INSTALLED";
    EXPECT_EQ(span.contains("cname"), failed) << span;
    EXPECT_EQ(span.value("/args/error"_json_pointer, ""), span["name"] == "terminate_app" ? "org.example.Error" : "");
    EXPECT_EQ(span.value("/args/ended_by"_json_pointer, "") == "no answer", span["name"] == "get_extra_app") << span;
  }
}

TEST_F(TimelineEvents, ArrowsGoFromTheCallAndTheLaunchToTheResult) {
  RecordAll();
  const auto begins = Events("s");
  const auto ends = Events("f");
  ASSERT_EQ(begins.size(), 2u);
  ASSERT_EQ(ends.size(), 2u);
  EXPECT_EQ(begins[0]["name"], "result");
  EXPECT_EQ(begins[0]["pid"], 100);
  EXPECT_EQ(begins[1]["name"], "launch and result");
  EXPECT_EQ(begins[1]["pid"], 500);
  for (const Json& end : ends) EXPECT_EQ(end["pid"], 500);
  for (const Json& end : ends) EXPECT_EQ(end["ts"], 7000000009000);
}

TEST_F(TimelineEvents, EachProcessAndThreadHasItsName) {
  RecordAll();
  std::vector<std::string> processes;
  for (const Json& name : Events("M")) {
    if (name["name"] == "process_name") processes.push_back(name["args"]["name"]);
  }
  EXPECT_THAT(processes, UnorderedElementsAre("nuvctl", "nuv-simulator (service)", kOther, "bus"));
}

TEST_F(TimelineEvents, TextsOfPeersStayTexts) {
  recording_.Client(0, kOther, 600, "a\"}],\n\x1b\xff");
  recording_.Signal(1000, "signal", nullptr, kOther);
  EXPECT_EQ(Complaint(Text()), "");
}

struct PlantedFault {
  const char* name;
  const char* pointer;  // to what is changed
  const char* value;    // that it gets; null: it goes
  const char* found;
};

class CheckOfTraceEvents : public TimelineEvents, public testing::WithParamInterface<PlantedFault> {
 protected:
  // The first event of a phase under a number of its own: /X, /i, /s, /f, /M; the document is /document.
  static Json Plant(const Json& document, const std::string& pointer, const char* value) {
    const std::string root = pointer.substr(1, pointer.find('/', 1) - 1);
    std::string path = pointer.substr(1 + root.size());
    for (size_t i = 0; root != "document" && i < document["traceEvents"].size(); ++i) {
      if (document["traceEvents"][i]["ph"] != root) continue;
      path = "/traceEvents/" + std::to_string(i) + path;
      break;
    }
    const char operation[] = R"([{"op": "remove", "path": ""}])";
    Json patch = Json::parse(operation);
    patch[0]["path"] = path;
    if (value != nullptr) patch[0]["op"] = "replace";
    if (value != nullptr) patch[0]["value"] = Json::parse(value);
    return document.patch(patch);
  }
};

TEST_P(CheckOfTraceEvents, FindsAPlantedFault) {
  RecordAll();
  const Json document = Json::parse(Text());
  ASSERT_EQ(Complaint(document.dump()), "");
  const Json wrong = Plant(document, GetParam().pointer, GetParam().value);
  EXPECT_THAT(Complaint(wrong.dump()), HasSubstr(GetParam().found));
}

const PlantedFault kFaults[] = {
    {"Events", "/document/traceEvents", "{}", "no list of events"},
    {"Unit", "/document/displayTimeUnit", "\"s\"", "neither ms nor ns"},
    {"OtherData", "/document/otherData", nullptr, "no otherData"},
    {"Phase", "/X/ph", "\"Y\"", "a phase that is none"},
    {"Duration", "/X/dur", nullptr, "without ['dur']"},
    {"Process", "/i/pid", nullptr, "without ['pid']"},
    {"Time", "/X/ts", "\"5\"", "ts is no whole number"},
    {"FractionOfTime", "/i/ts", "0.5", "ts is no whole number"},
    {"EarlyTime", "/i/ts", "-5", "a time that is negative"},
    {"NoLength", "/X/dur", "0", "a span without a length"},
    {"Name", "/X/name", "\"\"", "without a name"},
    {"Args", "/X/args", "[]", "args is no object"},
    {"Scope", "/i/s", "\"x\"", "a scope that is none"},
    {"Binding", "/f/bp", "\"x\"", "binds to the next span"},
    {"Metadata", "/M/name", "\"other_name\"", "a name of nothing"},
    {"Label", "/M/args", "{}", "a name of nothing"},
    {"Overlap", "/X/dur", "11500", "overlap"},
    {"ArrowInTheAir", "/f/ts", "7000000019999", "an arrow without a span"},
    {"ArrowBack", "/s/ts", "7000000009400", "not an arrow from one span to a later one"},
    {"ArrowAlone", "/s/id", "99", "not an arrow from one span to a later one"},
    {"Nameless", "/X/tid", "77", "in a thread without a name"},
};

INSTANTIATE_TEST_SUITE_P(Each, CheckOfTraceEvents, testing::ValuesIn(kFaults),
                         [](const auto& fault) { return fault.param.name; });

}  // namespace
