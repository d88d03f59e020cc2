// What peers, catalogues and databases may say: none of it reaches the terminal as it is, and none of it harms.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "simulator_fixture.h"

namespace {

using ::testing::HasSubstr;
using Outcome = std::pair<int, int>;

// Clears the screen; C1 and DEL; the text after it from right to left; a line of its own.
constexpr const char* kEvil =
    "\x1b[2J\a\t\x7f\xc2\x9b"
    "1m\xe2\x80\xae\xe2\x81\xa6\xe2\x80\x8f\xe2\x80\x8e\xd8\x9c\xe2\x80\xa8\nfake line";
constexpr const char* kShown =
    "\\u001b[2J\\u0007\\u0009\\u007f\\u009b1m\\u202e\\u2066\\u200f\\u200e\\u061c\\u2028\\u000afake line";

// What a terminal would act upon, as a number; 0 for nothing. A byte that is no UTF-8 counts.
gunichar Raw(const std::string& text) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at < end; at = g_utf8_next_char(at)) {
    const gunichar c = g_utf8_get_char_validated(at, end - at);
    const bool control = (c < 0x20 && c != '\n') || (c >= 0x7f && c < 0xa0) || c > 0x10ffff;
    const bool directs =
        (c >= 0x200e && c <= 0x200f) || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069) || c == 0x61c;
    if (control || directs) return c;
  }
  return 0;
}

class SimulatorHostileTest : public SimulatorTest {
 protected:
  // Writes a catalogue or scenario, has it read at the start, and tells what it says when it ends with status 2.
  std::string Refusal(const std::string& option, const std::string& path) {
    StartPlain({option, path});
    EXPECT_EQ(simulator_->Wait(), 2) << simulator_->Output();
    return simulator_->Errors();
  }
  std::string RefusalOf(const std::string& option, const std::string& content) {
    WriteFile(files_ / "refused.json", content);
    return Refusal(option, files_ / "refused.json");
  }
  void ChangeDatabase(const std::string& sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((directory_ / ".corvane.db").c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  }
};

TEST_F(SimulatorHostileTest, NothingThatPeersSayReachesTheTerminalAsItIs) {
  Start({}, R"({"apps": [{"id": "an.app"}]})");
  const ResultObject object(bus_, "obj1");
  Launch launch{kEvil};
  launch.caller = kEvil;
  ASSERT_TRUE(SendLaunch(launch));
  launch = {"an.app"};
  launch.object = kEvil;
  launch.uri = kEvil;
  ASSERT_TRUE(SendLaunch(launch));
  ASSERT_TRUE(SendLaunch(launch));
  Call("terminate_app", g_variant_new("(siss)", kEvil, 0, kEvil, kEvil));
  CallCorvane("nuv_command", g_variant_new("(isss)", 7, kEvil, kEvil, kEvil));
  CallControl("LaunchRequest", g_variant_new("(sssa(ss))", kEvil, kEvil, kEvil, nullptr));
  EXPECT_TRUE(WaitForOutput("request LaunchRequest"));
  EXPECT_TRUE(WaitForOutput("lost: "));
  EXPECT_TRUE(WaitForOutput("told    an.app"));
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(Raw(simulator_->Output()), 0U) << simulator_->Output();
  EXPECT_EQ(Raw(simulator_->Errors()), 0U) << simulator_->Errors();
  for (const std::string line :
       {"request launch_app app=\"", "request terminate_app app=\"", "request LaunchRequest app=\""}) {
    EXPECT_THAT(simulator_->Output(), HasSubstr(line + kShown + "\" caller=\""));
  }
}

TEST_F(SimulatorHostileTest, WhatCanBePrintedIsPrintedAsItIs) {
  Start();
  Call("terminate_app", g_variant_new("(siss)", "Stra\xc3\x9f\x65 \xe6\x97\xa5\xf0\x9f\x93\xba \\u", 0, "", ""));
  EXPECT_TRUE(WaitForOutput("app=\"Stra\xc3\x9f\x65 \xe6\x97\xa5\xf0\x9f\x93\xba \\u\""));
}

TEST_F(SimulatorHostileTest, NothingThatACatalogueSaysReachesTheTerminalAsItIs) {
  WriteFile(files_ / "text", "no program");
  Start({}, R"({"apps": [{"id": "a.\u001b[2Japp\u202e", "run_title": "T", "install_path": ")" + (files_ / "text") +
                R"("}, {"id": "b.app", "kelvo_id": "../\u009b\u2067"}, {"id": "c.app"}]})");
  EXPECT_EQ(OutcomeOf({"a.\x1b[2Japp\xe2\x80\xae"}).first, NUV_NOTIFY_LAUNCH_FAILED);
  EXPECT_EQ(OutcomeOf({"b.app"}).first, NUV_NOTIFY_LAUNCHED);
  ChangeDatabase("UPDATE widgetinfo SET kelvo_id = cast(x'2f9bff' AS text) WHERE id = 'c.app'");
  EXPECT_EQ(OutcomeOf({"c.app"}).first, NUV_NOTIFY_LAUNCHED);
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(Raw(simulator_->Output()), 0U) << simulator_->Output();
  EXPECT_EQ(Raw(simulator_->Errors()), 0U) << simulator_->Errors();
  EXPECT_THAT(simulator_->Errors(), HasSubstr("a.\\u001b[2Japp\\u202e: "));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("\"../\\u009b\\u2067\" cannot be a file name"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("\"/\\x9b\\xff\" cannot be a file name"));
}

TEST_F(SimulatorHostileTest, TheReasonOfARefusalReachesTheTerminalWithoutControls) {
  for (const char* option : {"--seed", "--scenario"}) {
    const bool seed = option == std::string("--seed");
    const std::string refusal =
        RefusalOf(option, seed ? R"({"apps": [{"id": "a", "\u001b]0;x\u0007": 1}]})" : R"([{"\u001b]0;x\u0007": 1}])");
    EXPECT_EQ(Raw(refusal), 0U) << refusal;
    EXPECT_THAT(refusal, HasSubstr(".\\u001b]0;x\\u0007: there is no such "));
  }
}

TEST_F(SimulatorHostileTest, ATextOfTheDatabaseThatIsNoUtf8IsAnErrorLikeAnyOther) {
  Start({}, R"({"apps": [{"id": "an.app"}]})");
  ChangeDatabase("CREATE TRIGGER t BEFORE UPDATE ON widgetinfo BEGIN SELECT RAISE(ABORT, 'no \xff\x9b way'); END");
  const Reply reply = CallCorvane("nuv_update_app_count", g_variant_new("(s)", "an.app"));
  EXPECT_EQ(reply.error, "org.freedesktop.DBus.Error.Failed");
  EXPECT_EQ(reply.message, directory_ / ".corvane.db" + ": no \xef\xbf\xbd\xef\xbf\xbd way");
  EXPECT_TRUE(WaitUntil([&] { return !simulator_->Errors().empty(); }));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("no \\xff\\x9b way\n"));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
}

TEST_F(SimulatorHostileTest, ExtraDataThatAreNoTextHarmNoReceiver) {
  Start({"--pin-answer", "right"}, R"({"apps": [{"id": "locked.app", "is_lock": 1}]})");
  Launch launch{"locked.app"};
  launch.blocks = {ExtraBlock("\xff\xfe", "\xc3"), ExtraBlock("key", std::string("\xed\xa0\x80\x80")),
                   std::string(1024, '\xff'), ExtraBlock("AppId", "\x9b")};
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_LAUNCHED, 0));
  launch.skip_pin = 1;
  EXPECT_EQ(OutcomeOf(launch), Outcome(NUV_NOTIFY_BROUGHT_TO_FRONT, 0));
  EXPECT_EQ(Call("heartbeat").Text(), "()");
  EXPECT_EQ(simulator_->Errors(), "");
}

TEST_F(SimulatorHostileTest, ANulInATextOfAFileIsAnError) {
  EXPECT_THAT(RefusalOf("--seed", R"({"apps": [{"id": "a\u0000b"}]})"),
              HasSubstr("/refused.json: \"id\" has \\u0000 in it, after \"a\""));
  EXPECT_THAT(RefusalOf("--seed", R"({"apps": [{"id": "a", "title": "t\u0000"}]})"),
              HasSubstr("\"title\" has \\u0000"));
  EXPECT_THAT(RefusalOf("--seed", R"({"apps": [{"id": "a", "b\u0000": ""}]})"), HasSubstr("a key has \\u0000 in it"));
  EXPECT_THAT(RefusalOf("--seed", R"({"config": {"a": "\u0000"}})"), HasSubstr("\"a\" has \\u0000 in it"));
  EXPECT_THAT(RefusalOf("--scenario", R"([{"answer": "error", "error_message": "a\u0000b"}])"),
              HasSubstr("\"error_message\" has \\u0000 in it"));
  EXPECT_THAT(RefusalOf("--scenario", R"(["\u0000"])"), HasSubstr("a text has \\u0000 in it"));
}

TEST_F(SimulatorHostileTest, AReplyThatCannotTravelIsAnErrorOfTheScenario) {
  std::string many = "(5";
  for (int i = 0; i < 255; ++i) many += ", 5";
  std::string deep = std::string(34, '(') + "5";
  for (int i = 0; i < 34; ++i) deep += ",)";
  for (const std::string& reply : {std::string("(@ms nothing,)"), std::string("(just 5,)"), std::string("(<@mi 5>,)"),
                                   std::string("(handle 3,)"), std::string("((),)"), many + ")", deep}) {
    EXPECT_THAT(RefusalOf("--scenario", R"([{"reply": ")" + reply + "\"}]"),
                HasSubstr("rules[0].reply cannot travel on the bus"))
        << reply;
  }
}

// Opening a pipe that nobody writes to would never return.
TEST_F(SimulatorHostileTest, WhatIsNoFileIsNoCatalogueAndNoScenario) {
  const std::string pipe = files_ / "pipe";
  const std::string socket_path = files_ / "socket";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket_path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(listener);
  for (const char* option : {"--seed", "--scenario"}) {
    EXPECT_THAT(Refusal(option, pipe), HasSubstr(pipe + ": is a pipe, not a file"));
    EXPECT_THAT(Refusal(option, socket_path), HasSubstr(socket_path + ": is a socket, not a file"));
    EXPECT_THAT(Refusal(option, files_.path()), HasSubstr(files_.path() + ": is a directory, not a file"));
    EXPECT_THAT(Refusal(option, "/dev/null"), HasSubstr("/dev/null: is a device, not a file"));
    EXPECT_THAT(Refusal(option, files_ / "missing"), HasSubstr("/missing: No such file or directory"));
  }
}

TEST_F(SimulatorHostileTest, AFileThatCannotBeReadIsAnError) {
  // Root may read any file, but not memory that is not there.
  const std::string unreadable = getuid() == 0 ? "/proc/self/mem" : files_ / "unreadable";
  if (getuid() != 0) {
    WriteFile(unreadable, "[]");
    chmod(unreadable.c_str(), 0);
  }
  const char* const reason = getuid() == 0 ? "Input/output error" : "Permission denied";
  for (const char* option : {"--seed", "--scenario"}) {
    EXPECT_THAT(Refusal(option, unreadable), HasSubstr(unreadable + ": " + reason));
  }
}

TEST_F(SimulatorHostileTest, AScenarioThatBecomesAPipeIsReportedAndTheRulesStay) {
  const std::string path = files_ / "scenario.json";
  WriteFile(path, R"x([{"method": "get_extra_app", "reply": "('scripted',)"}])x");
  Start({"--scenario", path});
  ASSERT_EQ(unlink(path.c_str()), 0);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(Call("get_extra_app").Text(), "('scripted',)");
  EXPECT_THAT(simulator_->Errors(), HasSubstr("is a pipe, not a file; the scenario from before stays"));
}

}  // namespace
