// nuvctl watch: the lines, who may cause them, and what ends them.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <sstream>

#include "nuvctl_run.h"
#include "private_connection.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;
using Json = nlohmann::json;

class NuvctlWatch : public NuvctlOnBusTest {
 protected:
  void Watch(const Arguments& more = {}) {
    Arguments arguments = {"watch"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    watch_ = Start(arguments);
  }

  std::vector<std::string> Lines() const {
    std::istringstream output(watch_->Output());
    std::vector<std::string> lines;
    for (std::string line; std::getline(output, line);) lines.push_back(line);
    return lines;
  }

  bool Shows(const std::string& text) const {
    return WaitUntil([&] { return watch_->Output().find(text) != std::string::npos; });
  }

  size_t CountOf(const std::string& line) const {
    const auto lines = Lines();
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
  }

  NuvctlRun Interrupt(int signal = SIGINT) const {
    watch_->Signal(signal);
    return Finish(*watch_, Milliseconds(10000));
  }

  std::unique_ptr<Process> watch_;
};

TEST_F(NuvctlWatch, ShowsALaunchFromTheRequestToTheEnd) {
  StartSimulator();
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"launch", kApp, "--caller", "me", "--wait", "20"}).status, 0);
  ASSERT_TRUE(Shows("delivery=\"delivered"));
  EXPECT_EQ(Run({"terminate-all"}).status, 0);
  ASSERT_TRUE(Shows("front app=\"\"\n"));
  const NuvctlRun run = Interrupt();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  const auto shown = Lines();
  EXPECT_THAT(shown, testing::IsSupersetOf({
                         testing::StrEq("request method=\"launch_app\" app=\"org.example.player\" caller=\"me\""),
                         testing::StrEq("reply method=\"launch_app\" app=\"org.example.player\" answer=\"reply\""),
                         testing::StrEq("front app=\"org.example.player\""),
                     }));
  EXPECT_THAT(shown, testing::Contains(MatchesRegex("started app=\"org.example.player\" pid=[0-9]+ stand-in")));
  EXPECT_THAT(shown, testing::Contains(MatchesRegex("result app=\"org.example.player\" event=900 "
                                                    "\\(NUV_NOTIFY_LAUNCHED\\) result=0 index=[0-9]+ "
                                                    "delivery=\"delivered.*\"")));
  EXPECT_THAT(shown,
              testing::Contains(MatchesRegex("stopped app=\"org.example.player\" pid=[0-9]+ exit_status=[0-9]+")));
}

TEST_F(NuvctlWatch, EachLineIsAnObjectInJsonAndTheLastIsTheAnswer) {
  StartSimulator(R"([{"method": "launch_app", "start": false, "results": [{"event": 903, "res": 403}]}])");
  Watch({"--json"});
  ASSERT_TRUE(Shows("\"present\":true"));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 1);
  ASSERT_TRUE(Shows("\"delivery\":\"delivered"));
  EXPECT_EQ(Interrupt().status, 0);
  const auto lines = Lines();
  ASSERT_EQ(lines.size(), 5u) << watch_->Output();
  EXPECT_EQ(Json::parse(lines[0]), Json::parse(R"({"kind": "service", "present": true})"));
  EXPECT_EQ(Json::parse(lines[1]), Json::parse(R"({"kind": "request", "method": "launch_app",
                                                   "app": "org.example.player", "caller": ""})"));
  EXPECT_EQ(Json::parse(lines[2]), Json::parse(R"({"kind": "reply", "method": "launch_app",
                                                   "app": "org.example.player", "answer": "reply"})"));
  Json result = Json::parse(lines[3]);
  EXPECT_TRUE(result["index"].is_number());
  result.erase("index");
  EXPECT_THAT(result["delivery"].get<std::string>(), StartsWith("delivered"));  // and perhaps how the client took it
  result.erase("delivery");
  EXPECT_EQ(result, Json::parse(R"({"kind": "result", "app": "org.example.player",
                                    "event": 903, "event_name": "NUV_NOTIFY_LAUNCH_FAILED",
                                    "result": 403, "result_name": "NUV_LAUNCH_STATUS_REFUSED"})"));
  EXPECT_EQ(Json::parse(lines[4]), Json::parse(R"({"verb": "watch", "outcome": "done", "status": 0})"));
}

TEST_F(NuvctlWatch, MayBeStartedBeforeTheService) {
  Watch();
  ASSERT_TRUE(Shows("service absent\n"));
  StartSimulator();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  EXPECT_TRUE(Shows("started app=\"org.example.player\""));
}

TEST_F(NuvctlWatch, TellsWhenTheServiceGoesAndComesBack) {
  StartSimulator();
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  simulator().KillAndWait();
  ASSERT_TRUE(Shows("service absent\n"));
  EXPECT_TRUE(watch_->Running());
  StartSimulator();
  ASSERT_TRUE(WaitUntil([this] { return CountOf("service present") == 2; }));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  EXPECT_TRUE(Shows("started app=\"org.example.player\""));
}

TEST_F(NuvctlWatch, IsEndedCleanlyByBothSignals) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Watch();
    ASSERT_TRUE(Shows("service absent\n"));
    const NuvctlRun run = Interrupt(signal);
    EXPECT_EQ(run.status, 0) << signal;
    EXPECT_EQ(run.output, "service absent\n");
    EXPECT_EQ(run.errors, "");
  }
}

TEST_F(NuvctlWatch, EndsByItselfWhenTheTimeIsOver) {
  const auto begin = std::chrono::steady_clock::now();
  const NuvctlRun run = Run({"watch", "--for", "0.7"});
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "service absent\n");
  EXPECT_GE(took.count(), 0.7);
}

TEST_F(NuvctlWatch, ABusThatDoesNotAnswerDoesNotHoldUpTheEnd) {
  bus_.Pause();
  EXPECT_EQ(Run({"watch", "--for", "0.3"}).status, 0);
  bus_.Resume();
}

TEST_F(NuvctlWatch, EndsWithTheBus) {
  StartSimulator();
  Watch({"--json"});
  ASSERT_TRUE(Shows("\"present\":true"));
  bus_.Kill();
  EXPECT_EQ(Finish(*watch_, Milliseconds(10000)).status, 6);
  const Json answer = Json::parse(Lines().back());
  EXPECT_EQ(answer["outcome"], "bus gone");
  EXPECT_EQ(answer["error"]["message"], "bus gone: the connection to the system bus broke");
}

TEST_F(NuvctlWatch, WithoutABusThereIsNothingToWatch) {
  bus_.Kill();
  const NuvctlRun run = Run({"watch"});
  EXPECT_EQ(run.status, 6);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, StartsWith("nuvctl: bus gone: the system bus cannot be reached"));
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "nonsense", 1);
  EXPECT_EQ(Run({"watch", "--json"}).Json()["outcome"], "bus gone");
}

TEST_F(NuvctlWatch, LinesThatCannotBeWrittenEndIt) {
  Process shell({"sh", "-c", NUV_BIN_DIR "/nuvctl watch > /dev/full"}, directory_.path());
  EXPECT_EQ(shell.Wait(), 1);
  EXPECT_EQ(shell.Errors(), "nuvctl: cannot write to the standard output stream\n");
}

TEST_F(NuvctlWatch, AWrongCommandLineIsRefused) {
  for (const Arguments& wrong :
       {Arguments{"watch", "now"}, {"watch", "--for"}, {"watch", "--for", "0"}, {"watch", "--for", "nan"}}) {
    EXPECT_EQ(Run(wrong).status, 2) << wrong.back();
  }
}

// Signals that the test sends itself.
class NuvctlWatchSignals : public NuvctlWatch {
 protected:
  static void Own(const PrivateConnection& bus, const char* name) {
    GVariant* reply = g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", name, 4),
                                                  nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
  }

  static void Emit(const PrivateConnection& bus, const char* signal, GVariant* arguments) {
    ASSERT_TRUE(g_dbus_connection_emit_signal(bus.get(), nullptr, "/org/kelvo/tv/NuvSimulator",
                                              "org.kelvo.tv.NuvSimulator1", signal, arguments, nullptr));
    ASSERT_TRUE(g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr));
  }

  PrivateConnection service_{bus_.address()};
};

TEST_F(NuvctlWatchSignals, TextsCannotControlTheTerminalOrFakeALine) {
  Own(service_, "org.kelvo.tv.corvane.server");
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  Emit(service_, "ForegroundChanged", g_variant_new("(s)", "\x1b[2J\nservice absent\xe2\x80\xae"));
  Emit(service_, "Request", g_variant_new("(sss)", "m", "a\" caller=\"x\\", "last"));
  ASSERT_TRUE(Shows("\"last\"\n"));
  EXPECT_THAT(Lines(), ElementsAre("service present", "front app=\"\\u001b[2J\\u000aservice absent\\u202e\"",
                                   "request method=\"m\" app=\"a\\\" caller=\\\"x\\\\\" caller=\"last\""));
}

TEST_F(NuvctlWatchSignals, TextsArriveWholeInJson) {
  Own(service_, "org.kelvo.tv.corvane.server");
  Watch({"--json"});
  ASSERT_TRUE(Shows("\"present\":true"));
  Emit(service_, "ForegroundChanged", g_variant_new("(s)", "\x1b[2J\n\"ä"));
  ASSERT_TRUE(Shows("front"));
  ASSERT_EQ(Lines().size(), 2u);
  EXPECT_EQ(Json::parse(Lines()[1])["app"], "\x1b[2J\n\"ä");
}

TEST_F(NuvctlWatchSignals, NumbersWithoutANameAreShownAsTheyAre) {
  Own(service_, "org.kelvo.tv.corvane.server");
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  Emit(service_, "Result", g_variant_new("(siiis)", "a", 950, -1, 7, "lost: no owner"));
  ASSERT_TRUE(Shows("lost"));
  EXPECT_EQ(Lines().back(), "result app=\"a\" event=950 result=-1 index=7 delivery=\"lost: no owner\"");
}

TEST_F(NuvctlWatchSignals, WhatIsNoSignalOfTheServiceIsNotShown) {
  Own(service_, "org.kelvo.tv.corvane.server");
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  Emit(service_, "ForegroundChanged", g_variant_new("(i)", 7));
  Emit(service_, "AppStarted", g_variant_new("(sis)", "a", 7, "more"));
  Emit(service_, "Request", nullptr);
  Emit(service_, "NoSuchSignal", g_variant_new("(s)", "a"));
  const PrivateConnection other(bus_.address());
  Emit(other, "ForegroundChanged", g_variant_new("(s)", "of another"));
  Emit(service_, "ForegroundChanged", g_variant_new("(s)", "last"));
  ASSERT_TRUE(Shows("last"));
  EXPECT_THAT(Lines(), ElementsAre("service present", "front app=\"last\""));
}
