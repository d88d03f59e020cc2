// What peers, catalogues and databases may say: none of it reaches the terminal as it is, and none of it harms.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <sqlite3.h>

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

}  // namespace
