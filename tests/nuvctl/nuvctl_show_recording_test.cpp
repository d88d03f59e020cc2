// nuvctl show-recording: as watch shows it, whatever is wrong with the file.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdlib>
#include <regex>

#include "kept_memory.h"
#include "nuvctl_run.h"
#include "recording/json_lines.h"
#include "recording/message.h"
#include "recording/writer.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

class NuvctlShowRecording : public NuvctlOnBusTest {
 protected:
  // A launch and a popup.
  void RecordSome() {
    StartSimulator();
    const std::string nuvctl = "'" NUV_BIN_DIR "/nuvctl' ";
    const std::string script = nuvctl + "launch " + kApp + " --wait 20; " + nuvctl + "popup 3";
    ASSERT_EQ(Run({"record", file_, "--", "sh", "-c", script}).status, 0);
  }
  NuvctlRun Show(const Arguments& more = {}) const {
    Arguments arguments = {"show-recording", file_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  // Of a line without what differs from one watcher to the other, such as whether a program could still be asked for.
  static std::string InCommon(const std::string& text) {
    const std::string lines = std::regex_replace(text, std::regex("(^|\n)[0-9:]{8}[.][0-9]{6} "), "$1");
    return std::regex_replace(lines, std::regex(" (after=[0-9.]+ms|from=[^ ]+|to=[^ ]+)"), "");
  }

  const std::string file_ = directory_ / "tv.nuvrec";
};

TEST_F(NuvctlShowRecording, ShowsWhatWatchShows) {
  StartSimulator();
  const auto watch = Start({"watch", "--all"});
  ASSERT_TRUE(WaitUntil([&] { return watch->Output().find("service present\n") != std::string::npos; }));
  const std::string nuvctl = "'" NUV_BIN_DIR "/nuvctl' ";
  // The simulator announces that it replied after the reply. "explain" asks it something it does not announce: with
  // the answer to that, both have seen everything from before.
  const std::string script =
      nuvctl + "launch " + kApp + " --payload x --wait 20; " + nuvctl + "popup 3; " + nuvctl + "explain " + kApp;
  ASSERT_EQ(Run({"record", file_, "--", "sh", "-c", script}).status, 0);
  watch->Signal(SIGINT);
  const std::string watched = InCommon(Finish(*watch).output);
  const std::string shown = InCommon(Show({"--all"}).output);
  const std::string end = "end reason=\"command ended\"\n";
  ASSERT_THAT(shown, EndsWith(end));
  // Before the recording began, the watch saw it ask the service.
  EXPECT_THAT(watched, EndsWith(shown.substr(0, shown.size() - end.size()).substr(shown.find('\n'))));
  EXPECT_THAT(shown, StartsWith("service present\n"));
}

TEST_F(NuvctlShowRecording, TakesTheFiltersOfWatch) {
  RecordSome();
  EXPECT_THAT(Show().output, HasSubstr("launch_app"));
  EXPECT_THAT(Show({"--method", "launch_systempopup"}).output, HasSubstr("call launch_systempopup"));
  EXPECT_EQ(Show({"--method", "launch_systempopup"}).output.find("launch_app"), std::string::npos);
  EXPECT_EQ(Show({"--app", kApp}).output.find("popup"), std::string::npos);
  EXPECT_EQ(Show({"--pid", "1"}).output.find("call "), std::string::npos);
  EXPECT_THAT(Show({"--raw"}).output, HasSubstr("  Type:    method-call\n"));
}

TEST_F(NuvctlShowRecording, SinceLeavesOutWhatWasBefore) {
  recording::Header header = {"1", std::nullopt, "b", "2024-02-29T12:00:00.000000Z", false};
  std::string text = recording::LineOf(header) + "\n";
  for (const int seconds : {1, 2, 3}) {
    recording::Entry lost;
    lost.t_us = seconds * 1000000;
    lost.kind = recording::Kind::kLost;
    lost.count = static_cast<std::uint64_t>(seconds);
    text += recording::LineOf(lost) + "\n";
  }
  WriteFile(file_, text);
  EXPECT_EQ(InCommon(Show({"--since", "2"}).output), "lost count=2\nlost count=3\n");
  EXPECT_EQ(InCommon(Show({"--since", "2024-02-29T12:00:02.5Z"}).output), "lost count=3\n");
  EXPECT_EQ(InCommon(Show({"--since", "2020-01-01T00:00:00Z"}).output), "lost count=1\nlost count=2\nlost count=3\n");
  const NuvctlRun wrong = Show({"--since", "noon"});
  EXPECT_EQ(wrong.status, 2);
  EXPECT_THAT(wrong.errors, HasSubstr("noon"));
}

TEST_F(NuvctlShowRecording, InJsonEachLineIsAnObject) {
  RecordSome();
  std::istringstream lines(Show({"--json"}).output);
  std::set<std::string> kinds;
  for (std::string line; std::getline(lines, line);) kinds.insert(Json::parse(line).value("kind", "answer"));
  EXPECT_THAT(kinds, testing::IsSupersetOf({"service", "call", "return", "request", "end", "answer"}));
}

TEST_F(NuvctlShowRecording, ReadsTheStandardInput) {
  RecordSome();
  Process shell({"sh", "-c", "'" NUV_BIN_DIR "/nuvctl' show-recording - < '" + file_ + "'"}, directory_.path());
  EXPECT_EQ(shell.Wait(), 0);
  EXPECT_EQ(shell.Output(), Show().output);
}

TEST_F(NuvctlShowRecording, SaysThatOneWasCutAndShowsWhatIsThere) {
  RecordSome();
  const std::string whole = ReadFile(file_);
  const std::string before = Show().output;
  WriteFile(file_, whole.substr(0, whole.size() - 10));
  const NuvctlRun run = Show();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, before.substr(0, before.rfind("\n", before.size() - 2) + 1));
  EXPECT_EQ(run.errors, "nuvctl: warning: " + file_ + " was cut: it has no end\n");
}

TEST_F(NuvctlShowRecording, NamesABrokenLineAndShowsWhatIsBefore) {
  RecordSome();
  const std::string whole = ReadFile(file_);
  const auto lines = std::count(whole.begin(), whole.end(), '\n');
  WriteFile(file_, whole.substr(0, whole.rfind("\n", whole.size() - 2) + 1) + "{}\n");
  const NuvctlRun run = Show();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr("return launch_systempopup"));
  EXPECT_EQ(run.errors, "nuvctl: failed: " + file_ + ":" + std::to_string(lines) + ": \"t\" is missing\n");
}

TEST_F(NuvctlShowRecording, WhatIsNoRecordingIsSaid) {
  WriteFile(file_, "a letter\n");
  const NuvctlRun run = Show();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "nuvctl: failed: " + file_ + ":1: no JSON object\n");
  EXPECT_EQ(Run({"show-recording", directory_ / "none"}).status, 1);
}

// Of a recording with so many calls, the most memory that the program needs, in kB.
class NuvctlShowLongRecording : public NuvctlTest {
 protected:
  void Write(const std::string& path, int calls) const {
    recording::Writer writer;
    ASSERT_EQ(writer.Open(path, recording::Writer::Existing::kRefuse), "");
    ASSERT_EQ(writer.Write(recording::Header{"1", std::nullopt, "b", "2024-02-29T12:00:00.000000Z", false}), "");
    const recording::MessageOwner message(
        g_dbus_message_new_method_call("org.kelvo.tv.litecorvane.server", "/a", "a.b", "terminate_app_by_runtitle"));
    g_dbus_message_set_body(message.get(), g_variant_new("(s)", std::string(100, 'x').c_str()));
    for (int i = 0; i < calls; ++i) {
      g_dbus_message_set_serial(message.get(), static_cast<guint32>(i + 1));
      gsize size = 0;
      guchar* blob = g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
      recording::Entry entry = recording::EntryOf(i, message.get(), {blob, blob + size});
      g_free(blob);
      entry.sender = ":1." + std::to_string(i);  // each from another client
      ASSERT_EQ(writer.Write(entry), "");
    }
    ASSERT_EQ(writer.End(calls, "interrupted"), "");
  }
  // More than what ran before it in this process, where it needs more.
  static long PeakOfShowing(const std::string& path) {
    const std::string command = "'" NUV_BIN_DIR "/nuvctl' show-recording '" + path + "' > /dev/null";
    if (system(command.c_str()) != 0) return -1;
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;
  }
};

TEST_F(NuvctlShowLongRecording, TakesTheSameMemoryForAHundredThousandMessages) {
  Write(directory_ / "few.nuvrec", 5000);
  Write(directory_ / "many.nuvrec", 100000);
  const int grown = InChild(
      [this] {
        const long few = PeakOfShowing(directory_ / "few.nuvrec");
        const long many = PeakOfShowing(directory_ / "many.nuvrec");
        if (few < 0 || many < 0) return 1;
        return many - few < kSpareKb ? 0 : 2;
      },
      std::chrono::minutes(2));
  EXPECT_EQ(grown, 0);
}

TEST_F(NuvctlShowRecording, NeedsNeitherBusNorService) {
  RecordSome();
  const std::string before = Show().output;
  simulator().KillAndWait();
  bus_.Kill();
  EXPECT_EQ(Show().output, before);
}
