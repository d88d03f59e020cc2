// nuvctl watch: the lines, who may cause them, and what ends them.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <regex>
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
    for (std::string line; std::getline(output, line);) lines.push_back(std::regex_replace(line, kTime, ""));
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

  static void Own(const PrivateConnection& bus, const char* name) {
    GVariant* reply = g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", name, 4),
                                                  nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
  }

  // In JSON, what the service tells of itself, without the times.
  std::vector<Json> Signals() const {
    std::vector<Json> signals;
    for (const std::string& line : Lines()) {
      Json json = Json::parse(line);
      const std::string kind = json.value("kind", "");
      json.erase("time");
      json.erase("t");
      if (kind != "call" && kind != "return" && kind != "error") signals.push_back(json);
    }
    return signals;
  }

  const std::regex kTime{"^[0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{6} "};
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
  const auto lines = Signals();
  ASSERT_EQ(lines.size(), 5u) << watch_->Output();
  EXPECT_EQ(lines[0], Json::parse(R"({"kind": "service", "present": true})"));
  EXPECT_EQ(lines[1], Json::parse(R"({"kind": "request", "method": "launch_app",
                                                   "app": "org.example.player", "caller": ""})"));
  EXPECT_EQ(lines[2], Json::parse(R"({"kind": "reply", "method": "launch_app",
                                                   "app": "org.example.player", "answer": "reply"})"));
  Json result = lines[3];
  EXPECT_TRUE(result["index"].is_number());
  result.erase("index");
  EXPECT_THAT(result["delivery"].get<std::string>(), StartsWith("delivered"));  // and perhaps how the client took it
  result.erase("delivery");
  EXPECT_EQ(result, Json::parse(R"({"kind": "result", "app": "org.example.player",
                                    "event": 903, "event_name": "NUV_NOTIFY_LAUNCH_FAILED",
                                    "result": 403, "result_name": "NUV_LAUNCH_STATUS_REFUSED"})"));
  EXPECT_EQ(lines[4], Json::parse(R"({"verb": "watch", "outcome": "done", "status": 0})"));
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
    EXPECT_THAT(Lines(), ElementsAre("service absent"));
    EXPECT_EQ(run.errors, "");
  }
}

TEST_F(NuvctlWatch, EndsByItselfWhenTheTimeIsOver) {
  const auto begin = std::chrono::steady_clock::now();
  const NuvctlRun run = Run({"watch", "--for", "0.7"});
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(std::regex_replace(run.output, kTime, ""), "service absent\n");
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
  static void Emit(const PrivateConnection& bus, const char* signal, GVariant* arguments) {
    EmitAt(bus, "/org/kelvo/tv/NuvSimulator", signal, arguments);
  }
  static void EmitAt(const PrivateConnection& bus, const char* path, const char* signal, GVariant* arguments) {
    ASSERT_TRUE(g_dbus_connection_emit_signal(bus.get(), nullptr, path, "org.kelvo.tv.NuvSimulator1", signal, arguments,
                                              nullptr));
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
  EmitAt(other, "/org/kelvo/tv/corvane/launcherclient/obj1", "ForegroundChanged", g_variant_new("(s)", "of another"));
  Emit(service_, "ForegroundChanged", g_variant_new("(s)", "last"));
  ASSERT_TRUE(Shows("last"));
  EXPECT_THAT(Lines(), ElementsAre("service present", "front app=\"last\""));
}

// Messages between programs and the service.
class NuvctlWatchMessages : public NuvctlWatch {
 protected:
  std::vector<Json> Messages(const std::string& kind) const {
    std::vector<Json> messages;
    for (const std::string& line : Lines()) {
      Json json = Json::parse(line);
      if (json.value("kind", "") == kind) messages.push_back(json);
    }
    return messages;
  }
  static std::string Method(const Json& message) { return message["method"].is_string() ? message["method"] : ""; }

  // One of them; the test fails where there is none.
  Json MessageOf(const std::string& kind, const std::string& method) const {
    for (const Json& message : Messages(kind)) {
      if (Method(message) == method) return message;
    }
    ADD_FAILURE() << "no " << kind << " of " << method << " in " << watch_->Output();
    return Json::object();
  }
};

TEST_F(NuvctlWatchMessages, ACallTellsItsArgumentsByName) {
  StartSimulator();
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"launch", kApp, "--force", "--payload", "a=1\x1b", "--caller", "me", "--wait", "20"}).status, 0);
  ASSERT_TRUE(Shows("delivery=\"delivered"));
  const auto lines = Lines();
  EXPECT_THAT(lines, testing::Contains(
                         MatchesRegex("call launch_app from=[^ ]+ app=\"org.example.player\" payload=\"a=1.u001b\" "
                                      "caller=\"me\" index=[0-9]+ flags=force(,[a-z0-9,-]+)?")));
  EXPECT_THAT(lines, testing::Contains(MatchesRegex(
                         "return launch_app from=[0-9]+/nuv-simulator to=[^ ]+ after=[0-9]+[.][0-9]{3}ms")));
}

TEST_F(NuvctlWatchMessages, AResultIsJoinedToItsLaunch) {
  StartSimulator();
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  ASSERT_TRUE(Shows("return app_launch_result"));
  EXPECT_THAT(Lines(), testing::Contains(MatchesRegex(
                           "call app_launch_result from=[0-9]+/nuv-simulator app=\"org.example.player\" result=0 "
                           "event=900 [(]NUV_NOTIFY_LAUNCHED[)] index=[0-9]+ to=[^ ]+ of=launch_app "
                           "after=[0-9]+[.][0-9]{3}ms")));
}

TEST_F(NuvctlWatchMessages, InJsonAMessageHasItsEndsItsTimeAndItsArguments) {
  StartSimulator();
  Watch({"--json"});
  ASSERT_TRUE(Shows("\"present\":true"));
  EXPECT_EQ(Run({"launch", kApp, "--payload", "x\n", "--wait", "20"}).status, 0);
  ASSERT_TRUE(WaitUntil([this] { return Messages("return").size() == 2; })) << watch_->Output();
  const Json call = MessageOf("call", "launch_app");
  EXPECT_THAT(call["from"]["name"].get<std::string>(), StartsWith(":"));
  EXPECT_EQ(call["payload"], "x\n");
  EXPECT_EQ(call["app"], kApp);
  EXPECT_EQ(call["extra_data"], Json::array());
  EXPECT_TRUE(call["flags"].is_array());
  EXPECT_THAT(call["time"].get<std::string>(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[.][0-9]{6}Z"));
  const Json answer = MessageOf("return", "launch_app");
  EXPECT_EQ(answer["to"]["name"], call["from"]["name"]);
  EXPECT_EQ(answer["after_us"], answer["t"].get<std::int64_t>() - call["t"].get<std::int64_t>());
  const Json result = MessageOf("call", "app_launch_result");
  EXPECT_EQ(result["event_name"], "NUV_NOTIFY_LAUNCHED");
  EXPECT_EQ(result["of"], "launch_app");
  EXPECT_EQ(result["after_us"], result["t"].get<std::int64_t>() - call["t"].get<std::int64_t>());
}

// This process is still there when it is asked for.
TEST_F(NuvctlWatchMessages, WhoAsksIsToldByItsProcessAndProgram) {
  StartSimulator();
  for (const Arguments& how : {Arguments{}, {"--json"}}) {
    Watch(how);
    ASSERT_TRUE(Shows(how.empty() ? "service present\n" : "\"present\":true"));
    const PrivateConnection client(bus_.address());
    GVariant* reply =
        g_dbus_connection_call_sync(client.get(), "org.kelvo.tv.corvane.server", "/org/kelvo/tv/corvane/server",
                                    "org.kelvo.tv.corvane.server.interface", "launch_systempopup",
                                    g_variant_new("(i)", 3), nullptr, G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr);
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
    ASSERT_TRUE(Shows(how.empty() ? "return launch_systempopup" : "\"kind\":\"return\""));
    const std::string self = std::to_string(getpid()) + "/nuvctl_watch_test";
    if (how.empty()) {
      EXPECT_EQ(CountOf("call launch_systempopup from=" + self + " popup=3 (type-3)"), 1U);
    } else {
      EXPECT_EQ(MessageOf("call", "launch_systempopup")["from"]["pid"], getpid());
      EXPECT_EQ(MessageOf("return", "launch_systempopup")["to"]["program"], "nuvctl_watch_test");
    }
    EXPECT_EQ(Interrupt().status, 0);
  }
}

TEST_F(NuvctlWatchMessages, ErrorsAndPopupsAreSaidByNameAndText) {
  StartSimulator(R"([{"method": "launch_systempopup", "answer": "error", "error_name": "org.example.No"}])");
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_NE(Run({"popup", "no-app-id"}).status, 0);
  ASSERT_TRUE(Shows("error launch_systempopup"));
  EXPECT_THAT(Lines(), testing::Contains(MatchesRegex("call launch_systempopup from=[^ ]+ popup=4 "
                                                      "[(]no-app-id[)]")));
  EXPECT_THAT(Lines(), testing::Contains(MatchesRegex("error launch_systempopup from=[0-9]+/nuv-simulator "
                                                      "to=[^ ]+ after=.*ms name=org.example.No text=\".*\"")));
}

TEST_F(NuvctlWatchMessages, ACallOfAServiceThatIsGoneIsSeenWithTheErrorOfTheBus) {
  Watch();
  ASSERT_TRUE(Shows("service absent\n"));
  EXPECT_NE(Run({"popup", "3"}).status, 0);
  ASSERT_TRUE(Shows("ServiceUnknown"));
  EXPECT_THAT(Lines(), testing::Contains(HasSubstr("call launch_systempopup from=")));
  EXPECT_THAT(Lines(), testing::Contains(MatchesRegex("error launch_systempopup from=org.freedesktop.DBus "
                                                      "to=[^ ]+ after=.* "
                                                      "name=org.freedesktop.DBus.Error.ServiceUnknown text=.*")));
}

TEST_F(NuvctlWatchMessages, HeartbeatsAreShownWithAllOnly) {
  StartSimulator();
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"ping", "-c", "2", "-i", "0.01"}).status, 0);
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  ASSERT_TRUE(Shows("return launch_systempopup"));
  EXPECT_EQ(watch_->Output().find("heartbeat"), std::string::npos) << watch_->Output();
  EXPECT_EQ(Interrupt().status, 0);
  Watch({"--all"});
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"ping", "-c", "2", "-i", "0.01"}).status, 0);
  EXPECT_TRUE(Shows("return heartbeat"));
}

TEST_F(NuvctlWatchMessages, FiltersLeaveOutWhatIsNotAskedFor) {
  StartSimulator();
  const auto ping = Start({"ping", "-i", "0.05"});
  Watch({"--method", "launch_systempopup"});
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  ASSERT_TRUE(Shows("reply method=\"launch_systempopup\""));
  EXPECT_EQ(Interrupt().status, 0);
  EXPECT_EQ(watch_->Output().find(kApp), std::string::npos) << watch_->Output();

  Watch({"--app", kApp});
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  ASSERT_TRUE(Shows("result app="));
  EXPECT_EQ(Interrupt().status, 0);
  EXPECT_THAT(watch_->Output(), HasSubstr("return launch_app"));
  EXPECT_EQ(watch_->Output().find("popup"), std::string::npos) << watch_->Output();

  Watch({"--all", "--pid", std::to_string(ping->pid())});
  ASSERT_TRUE(Shows("return heartbeat"));
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  EXPECT_EQ(Interrupt().status, 0);
  EXPECT_EQ(watch_->Output().find("popup"), std::string::npos) << watch_->Output();
}

TEST_F(NuvctlWatchMessages, RawShowsTheWholeMessage) {
  StartSimulator();
  Watch({"--raw"});
  ASSERT_TRUE(Shows("service present\n"));
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  ASSERT_TRUE(Shows("return launch_systempopup"));
  EXPECT_THAT(watch_->Output(), HasSubstr("\n  Type:    method-call\n"));
  EXPECT_THAT(watch_->Output(), HasSubstr("member -> 'launch_systempopup'"));
  EXPECT_EQ(Run({"watch", "--raw", "--json"}).status, 2);
}

TEST_F(NuvctlWatchMessages, ReconnectsWhereTheBusIsBack) {
  StartSimulator();
  Watch({"--reconnect"});
  ASSERT_TRUE(Shows("service present\n"));
  bus_.Restart();
  ASSERT_TRUE(Shows("lost count=unknown\n"));
  ASSERT_TRUE(Shows("service absent\n"));
  StartSimulator();
  ASSERT_TRUE(WaitUntil([this] { return CountOf("service present") == 2; })) << watch_->Output();
  EXPECT_EQ(Run({"popup", "3"}).status, 0);
  EXPECT_TRUE(Shows("return launch_systempopup"));
  EXPECT_EQ(Interrupt().status, 0);
}

// A reply to a call that was never made stands in for a call that the bus did not show.
class NuvctlWatchLost : public NuvctlWatch {
 protected:
  static constexpr char kUnasked[] =
      "<policy context=\"default\"><allow send_type=\"method_return\" send_requested_reply=\"false\"/>"
      "<allow receive_type=\"method_return\" receive_requested_reply=\"false\"/></policy>\n";

  static void Reply(const PrivateConnection& service, const PrivateConnection& client, guint32 serial) {
    GDBusMessage* reply = g_dbus_message_new();
    g_dbus_message_set_message_type(reply, G_DBUS_MESSAGE_TYPE_METHOD_RETURN);
    g_dbus_message_set_destination(reply, g_dbus_connection_get_unique_name(client.get()));
    g_dbus_message_set_reply_serial(reply, serial);
    ASSERT_TRUE(g_dbus_connection_send_message(service.get(), reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr));
    ASSERT_TRUE(g_dbus_connection_flush_sync(service.get(), nullptr, nullptr));
    g_object_unref(reply);
  }

  const PrivateBus unasked_{kUnasked};
};

TEST_F(NuvctlWatchLost, AReplyWhoseCallWasNotSeenSaysThatMessagesAreMissing) {
  const PrivateConnection service(unasked_.address());
  const PrivateConnection before(unasked_.address());
  Own(service, "org.kelvo.tv.corvane.server");
  Watch();
  ASSERT_TRUE(Shows("service present\n"));
  const PrivateConnection client(unasked_.address());
  Reply(service, before, 7);  // what was asked before anybody watched is not missing
  Reply(service, client, 77);
  ASSERT_TRUE(Shows("lost count=1"));
  EXPECT_EQ(Interrupt().status, 0);
  EXPECT_EQ(CountOf("lost count=1 from=" + std::to_string(getpid()) + "/" + "nuvctl_watch_test"), 1U)
      << watch_->Output();
}

// A bus that shows nobody else's messages, as a system bus does to users.
class NuvctlWatchRefused : public NuvctlTest {
 protected:
  static constexpr char kRefuses[] =
      "<policy context=\"default\"><deny send_destination=\"org.freedesktop.DBus\" "
      "send_interface=\"org.freedesktop.DBus.Monitoring\"/></policy>\n";
  const PrivateBus bus_{kRefuses};
};

TEST_F(NuvctlWatchRefused, ShowsWhatTheServiceTellsAndSaysWhy) {
  StartSimulator();
  const auto watch = Start({"watch"});
  ASSERT_TRUE(WaitUntil([&] { return watch->Output().find("service present\n") != std::string::npos; }));
  EXPECT_EQ(Run({"launch", kApp, "--wait", "20"}).status, 0);
  ASSERT_TRUE(WaitUntil([&] { return watch->Output().find("delivery=\"delivered") != std::string::npos; }));
  watch->Signal(SIGINT);
  const NuvctlRun run = Finish(*watch);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.errors,
              MatchesRegex("nuvctl: the bus does not show its messages \\(.*BecomeMonitor.*\\): only what the "
                           "service tells of itself follows\n"));
  EXPECT_EQ(run.output.find("call "), std::string::npos) << run.output;
}

TEST_F(NuvctlWatchRefused, ARecordingFailsWithTheWordsOfTheBusAndLeavesNoFile) {
  const NuvctlRun run = Run({"record", directory_ / "a.nuvrec"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, MatchesRegex("nuvctl: failed: the bus does not show its messages: .*BecomeMonitor.*\n"));
  EXPECT_NE(access((directory_ / "a.nuvrec").c_str(), F_OK), 0);
}
