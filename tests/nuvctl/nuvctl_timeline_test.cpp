// nuvctl timeline: the files that it reads and writes, and how it ends.
#include <gmock/gmock.h>

#include <fstream>
#include <set>

#include "checked_by.h"
#include "made_entries.h"
#include "nuvctl_run.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::json;

class NuvctlTimeline : public NuvctlTest {
 protected:
  static constexpr char kClient[] = ":1.5";

  void SetUp() override {
    made_.StartWithService();
    made_.Client(0, kClient, 500, "nuvctl");
    const guint32 launch = made_.Launch(1000000, kClient, "obj500", kApp, 3);
    made_.Reply(1500000, kClient, launch);
    const guint32 result = made_.Result(3000000, "obj500", kApp, 900, 0, 3);
    made_.Reply(3010000, MadeEntries::kService, result, kClient);
    made_.Exchange(5000000, 1000, kClient, "terminate_allapp");
  }

  void WriteRecording() {
    made_.End(6000000);
    made_.WriteTo(recording_);
  }

  NuvctlRun Draw(const Arguments& more = {}) const {
    Arguments line = {"timeline", recording_};
    line.insert(line.end(), more.begin(), more.end());
    return Run(line);
  }

  MadeEntries made_;
  const std::string recording_ = directory_ / "run.nuvrec";
};

TEST_F(NuvctlTimeline, DrawsOnTheStandardOutput) {
  WriteRecording();
  const NuvctlRun run = Draw();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, AllOf(StartsWith("<svg "), EndsWith("</svg>\n"), HasSubstr(">NUV_NOTIFY_LAUNCHED<"),
                                HasSubstr(">1.50 s<"), HasSubstr("launch_app org.example.player")));
  EXPECT_EQ(TextCheckedBy("check_svg", run.output, directory_), "");
  EXPECT_EQ(Draw({"-o", "-"}).output, run.output);
}

TEST_F(NuvctlTimeline, WritesTheFormThatTheNameEndsWith) {
  WriteRecording();
  for (const char* name : {"run.svg", "run.html", "run.json"}) {
    const NuvctlRun run = Draw({"-o", directory_ / name});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.output + run.errors, "");
  }
  EXPECT_EQ(ReadFile(directory_ / "run.svg"), Draw().output);
  EXPECT_THAT(ReadFile(directory_ / "run.html"), StartsWith("<!DOCTYPE html>"));
  EXPECT_EQ(CheckedBy("check_svg", directory_ / "run.html", directory_), "");
  EXPECT_EQ(CheckedBy("check_trace_events", directory_ / "run.json", directory_), "");
}

TEST_F(NuvctlTimeline, ReadsTheStandardInput) {
  WriteRecording();
  Process shell({"sh", "-c", NUV_BIN_DIR "/nuvctl timeline - < " + recording_}, directory_.path());
  EXPECT_EQ(shell.Wait(), 0);
  EXPECT_EQ(shell.Output(), Draw().output);
}

TEST_F(NuvctlTimeline, DrawsAWindow) {
  WriteRecording();
  EXPECT_THAT(Draw({"--from", "4"}).output, AllOf(HasSubstr("terminate_allapp"), Not(HasSubstr("launch_app"))));
  EXPECT_THAT(Draw({"--to", "4.5"}).output, AllOf(Not(HasSubstr("terminate_allapp")), HasSubstr("launch_app")));
  EXPECT_THAT(Draw({"--from", "1.2", "--to", "1.4"}).output,
              AllOf(HasSubstr("launch_app"), Not(HasSubstr("NUV_NOTIFY_LAUNCHED"))));
  EXPECT_THAT(Draw({"--from", "30"}).output, HasSubstr("nothing to show"));
}

TEST_F(NuvctlTimeline, ShortensGapsWhereAsked) {
  WriteRecording();
  EXPECT_THAT(Draw().output, Not(HasSubstr("drawn shorter")));
  const std::string shorter = Draw({"--compress-gaps"}).output;
  EXPECT_THAT(shorter, AllOf(HasSubstr("drawn shorter"), HasSubstr("class=\"gap\"")));
  EXPECT_EQ(TextCheckedBy("check_svg", shorter, directory_), "");
}

TEST_F(NuvctlTimeline, WrongUsageIsRefused) {
  WriteRecording();
  const NuvctlRun form = Draw({"-o", directory_ / "run.png"});
  EXPECT_EQ(form.status, 2);
  EXPECT_THAT(form.errors, HasSubstr("not a name that ends with .svg, .html or .json"));
  EXPECT_EQ(Draw({"-o", ".svg"}).status, 2);
  EXPECT_EQ(Draw({"--from", "3", "--to", "3"}).status, 2);
  EXPECT_EQ(Run({"timeline"}).status, 2);
}

TEST_F(NuvctlTimeline, WhatCannotBeReadIsAFailure) {
  const NuvctlRun missing = Draw();
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.output, "");
  EXPECT_THAT(missing.errors, AllOf(HasSubstr("run.nuvrec"), HasSubstr("No such file")));
  WriteFile(recording_, "{}\n");
  const NuvctlRun other = Draw({"-o", directory_ / "run.svg"});
  EXPECT_EQ(other.status, 1);
  EXPECT_THAT(other.errors, HasSubstr("not a recording"));
  EXPECT_FALSE(std::ifstream(directory_ / "run.svg").is_open());
}

TEST_F(NuvctlTimeline, OfABrokenRecordingItDrawsWhatIsBefore) {
  made_.WriteTo(recording_);
  std::ofstream(recording_, std::ios::app) << "{\"t\":1\n";
  const NuvctlRun run = Draw();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("run.nuvrec:11: "));
  EXPECT_THAT(run.output, AllOf(HasSubstr("terminate_allapp"), HasSubstr("! the recording stops without an end")));
}

TEST_F(NuvctlTimeline, OfACutRecordingItDrawsAllAndSaysSo) {
  made_.WriteTo(recording_);
  const NuvctlRun run = Draw();
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors, HasSubstr("warning: the recording was cut"));
  EXPECT_THAT(run.output, AllOf(HasSubstr("terminate_allapp"), HasSubstr("! the recording stops without an end")));
}

TEST_F(NuvctlTimeline, WhatCannotBeWrittenIsAFailure) {
  WriteRecording();
  const NuvctlRun nowhere = Draw({"-o", directory_ / "none/run.svg"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_THAT(nowhere.errors, AllOf(HasSubstr("none/run.svg"), HasSubstr("No such file")));
  ASSERT_EQ(symlink("/dev/full", (directory_ / "full.svg").c_str()), 0);
  const NuvctlRun full = Draw({"-o", directory_ / "full.svg"});
  EXPECT_EQ(full.status, 1);
  EXPECT_THAT(full.errors, HasSubstr("No space left"));
}

TEST_F(NuvctlTimeline, AnAnswerInJsonCountsWhatIsDrawn) {
  WriteRecording();
  const NuvctlRun written = Draw({"--json", "-o", directory_ / "run.svg"});
  EXPECT_EQ(written.Json(), Json({{"verb", "timeline"},
                                  {"outcome", "done"},
                                  {"status", 0},
                                  {"messages", 6},
                                  {"left_out", 0},
                                  {"lanes", 2},
                                  {"output", directory_ / "run.svg"}}));
  EXPECT_EQ(Draw({"--json"}).Json()["picture"], Draw().output);
}

TEST_F(NuvctlTimeline, DrawsSoManyMessagesAndCountsTheRest) {
  for (int i = 0; i < 6000; ++i) made_.Exchange(5100000 + i * 100, 50, kClient, "heartbeat");
  WriteRecording();
  const Json answer = Draw({"--json", "-o", directory_ / "run.svg"}).Json();
  EXPECT_EQ(answer["left_out"].get<int>() + answer["messages"].get<int>(), 12006);
  EXPECT_EQ(answer["messages"], 10000);
  EXPECT_THAT(ReadFile(directory_ / "run.svg"), HasSubstr("! 2006 further messages, from 5.60 s on, left out"));
  EXPECT_EQ(CheckedBy("check_svg", directory_ / "run.svg", directory_), "");
  EXPECT_EQ(Draw({"--json", "-o", directory_ / "run.json"}).Json()["left_out"], 0);
  EXPECT_EQ(CheckedBy("check_trace_events", directory_ / "run.json", directory_), "");
}

TEST_F(NuvctlTimeline, ASingleMessageIsAPictureToo) {
  MadeEntries one;
  one.Call(0, kClient, "heartbeat");
  one.End(0);
  one.WriteTo(recording_);
  const NuvctlRun run = Draw();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(TextCheckedBy("check_svg", run.output, directory_), "");
  EXPECT_THAT(run.output, HasSubstr(">heartbeat<"));
}

TEST_F(NuvctlTimeline, EventsHaveTheMonotonicClockOfTheRecording) {
  made_.header.monotonic_start_us = 123000000;
  WriteRecording();
  EXPECT_EQ(Draw({"-o", directory_ / "run.json"}).status, 0);
  const Json document = Json::parse(ReadFile(directory_ / "run.json"));
  EXPECT_EQ(document["traceEvents"][0]["ts"], 124000000);
  EXPECT_EQ(document["otherData"]["clock"], "CLOCK_MONOTONIC");
}

// The markers that the library leaves in the kernel's buffer have that clock's times, too.
TEST_F(NuvctlTimeline, EventsOfARealRunHaveTheTimesOfTheMonotonicClock) {
  const PrivateBus bus;
  StartSimulator();
  const std::int64_t before = recording::MonotonicNow();
  const NuvctlRun record = Run({"record", recording_, "--", NUV_BIN_DIR "/nuvctl", "launch", kApp, "--wait", "20"});
  const std::int64_t after = recording::MonotonicNow();
  ASSERT_EQ(record.status, 0) << record.errors;
  ASSERT_EQ(Draw({"-o", directory_ / "run.json"}).status, 0);
  EXPECT_EQ(CheckedBy("check_trace_events", directory_ / "run.json", directory_), "");
  const Json document = Json::parse(ReadFile(directory_ / "run.json"));
  ASSERT_EQ(document["otherData"]["clock"], "CLOCK_MONOTONIC");
  std::set<std::string> names;
  for (const Json& event : document["traceEvents"]) {
    names.insert(event["name"].get<std::string>());
    if (event["ph"] == "M") continue;
    EXPECT_LE(before, event["ts"]) << event;
    EXPECT_LE(event["ts"], after) << event;
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"launch_app", "NUV_NOTIFY_LAUNCHED", "AppStarted"}));
  const std::string picture = Draw().output;
  EXPECT_EQ(TextCheckedBy("check_svg", picture, directory_), "");
  EXPECT_THAT(picture, AllOf(HasSubstr("launch_app org.example.player"), HasSubstr("NUV_NOTIFY_LAUNCHED")));
}
