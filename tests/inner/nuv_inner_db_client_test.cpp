// What the inner side asks the service, on a real bus.
#include <gmock/gmock.h>
#include <unistd.h>

#include "faults.h"
#include "inner_test.h"

namespace {

using Answer = RecordingService::Answer;

struct Forwarder {
  const char* name;
  const char* method;
  std::function<int()> call;
  const char* signature;
  const char* arguments;
  std::string start;
  std::string state;  // the line of an answer, up to the number; empty: the answer is not read
};
void PrintTo(const Forwarder& forwarder, std::ostream* out) {
  *out << forwarder.name;
}

const Forwarder kForwarders[] = {
    {"Count", "nuv_update_app_count", [] { return nuv_dbus_update_app_count("app"); }, "(s)", "('app',)",
     "I Start, appid [app]", "update app count state: "},
    {"Version", "nuv_update_app_version", [] { return nuv_dbus_update_app_version("app", "2.0"); }, "(ss)",
     "('app', '2.0')", "I Start appid [app]", "update app version state : "},
    {"ByKey", "nuv_update_app_by_key",
     [] { return nuv_dbus_update_app_by_key("app", static_cast<APPSINFO_UPDATE_KEY_e>(-7)); }, "(si)", "('app', -7)",
     "I Start app[app], key[-7]", "update app info by key state : "},
    {"Command", "nuv_command", [] { return nuv_dbus_nuv_command(-3, "app", "/path", "data"); }, "(isss)",
     "(-3, 'app', '/path', 'data')", "I Start cmd[-3] app_id[app] pkg_path[/path] data[data]", ""},
};

class InnerForwarder : public InnerBusTest, public ::testing::WithParamInterface<Forwarder> {
 protected:
  static bool ReadsTheAnswer() { return !GetParam().state.empty(); }
  // The result where the service gave none.
  static int NoAnswer() { return ReadsTheAnswer() ? -1 : 0; }

  void ExpectNoAnswer() {
    fake_platform::Clear();
    EXPECT_EQ(NoAnswer(), GetParam().call());
    EXPECT_EQ(LogLines{GetParam().start}, LogSoFar());
  }
};

TEST_P(InnerForwarder, SendsItsArgumentsToTheFullService) {
  WarmUp();
  EXPECT_EQ(0, GetParam().call());
  const auto calls = service_->Calls();
  ASSERT_EQ(2u, calls.size());
  EXPECT_EQ("heartbeat", calls[0].method);
  EXPECT_EQ(GetParam().method, calls[1].method);
  EXPECT_EQ(GetParam().signature, calls[1].Signature());
  EXPECT_EQ(GetParam().arguments, calls[1].Text());
  for (const RecordedCall& call : calls) {
    EXPECT_EQ("org.kelvo.tv.corvane.server", call.destination);
    EXPECT_EQ("/org/kelvo/tv/corvane/server", call.path);
    EXPECT_EQ("org.kelvo.tv.corvane.server.interface", call.interface);
    EXPECT_EQ(call.method == "heartbeat", call.no_auto_start);
  }
}

TEST_P(InnerForwarder, TheServicesAnswerIsTheResult) {
  WarmUp();
  for (const int state : {-3, -2, -1, 0, 1, 2, 3, -2147483647 - 1, 2147483647}) {
    service_->AnswerTo(GetParam().method, {Answer::kReply, "(" + std::to_string(state) + ",)"});
    fake_platform::Clear();
    EXPECT_EQ(ReadsTheAnswer() ? state : 0, GetParam().call());
    LogLines lines = {GetParam().start};
    if (ReadsTheAnswer()) lines.push_back("I " + GetParam().state + "[" + std::to_string(state) + "]");
    EXPECT_EQ(lines, LogSoFar());
  }
}

TEST_P(InnerForwarder, ARefusalIsNoAnswer) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kError, "no"});
  ExpectNoAnswer();
  EXPECT_EQ(1u, service_->CallsOf(GetParam().method).size()) << "nothing is tried again";
}

TEST_P(InnerForwarder, AnAnswerOfAnotherTypeIsNone) {
  WarmUp();
  for (const char* wrong : {"()", "('0',)", "(0, 0)", "(int64 0,)", "(uint32 0,)", "(true,)", "([0],)"}) {
    service_->AnswerTo(GetParam().method, {Answer::kReply, wrong});
    EXPECT_EQ(NoAnswer(), GetParam().call()) << wrong;
  }
}

TEST_P(InnerForwarder, WithoutAServiceThereIsNoAnswer) {
  WarmUp();
  service_.reset();
  ExpectNoAnswer();
}

TEST_P(InnerForwarder, WithoutABusItFails) {
  bus_.Kill();
  EXPECT_EQ(-1, GetParam().call());
  EXPECT_EQ((LogLines{GetParam().start, "E get inner db proxy error"}), LogSoFar());
}

TEST_P(InnerForwarder, RecoversWithTheBus) {
  WarmUp();
  service_.reset();
  bus_.Restart();
  StartService();
  EXPECT_TRUE(WaitUntil([this] {
    GetParam().call();
    return !service_->CallsOf(GetParam().method).empty();
  }));
}

TEST_P(InnerForwarder, WaitsTenSecondsAtMostAndThenHasNoAnswerWhenTheServiceRunsOutOfTime) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kSilence, ""});
  faults::hurried_method = GetParam().method;
  faults::TakeBusCalls();
  EXPECT_EQ(NoAnswer(), GetParam().call());
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}, {GetParam().method, 10000}}), faults::TakeBusCalls());
  EXPECT_EQ(6, fake_platform::LogPriority("gdbus timeout"));
}

TEST_P(InnerForwarder, TakesNeitherMutexAndLeavesTheDatabaseAlone) {
  WarmUp();
  EXPECT_TRUE(LeavesMutexAlone(g_inner_Mute, [] { EXPECT_EQ(0, GetParam().call()); }));
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [] { EXPECT_EQ(0, GetParam().call()); }));
  EXPECT_TRUE(Flags().empty());
}

INSTANTIATE_TEST_SUITE_P(All, InnerForwarder, ::testing::ValuesIn(kForwarders),
                         [](const auto& row) { return std::string(row.param.name); });

class InnerLink : public InnerBusTest {};

TEST_F(InnerLink, OwnsANameOfItsOwnKind) {
  WarmUp();
  EXPECT_TRUE(bus_.WaitForName("org.kelvo.tv.corvane.innerdbclient.obj" + std::to_string(getpid())));
}

TEST_F(InnerLink, IsGivenBackWhenTheProcessEnds) {
  StartService();
  database_.Add("app", {{"use_count", 0}});
  database_.Close();
  Process writer({NUV_TEST_DIR "/inner_writer", "1", "forward"}, directory_.path(),
                 Process::Environment{{"NUV_HOST_DIR", database_.directory()}, {"NUV_LOG", "stderr"}});
  EXPECT_EQ(0, writer.Wait());
  EXPECT_EQ("ready\n.", writer.Output());
  EXPECT_THAT(writer.Errors(), testing::HasSubstr("CNUVGdbus [innerdb] destructor end"));
}

TEST_F(InnerLink, TextThatCannotTravelIsNoAnswer) {
  WarmUp();
  const std::string invalid = "caf\xc3";
  EXPECT_EQ(-1, nuv_dbus_update_app_count(invalid));
  EXPECT_EQ(-1, nuv_dbus_update_app_version("app", invalid));
  EXPECT_EQ(-1, nuv_dbus_update_app_by_key(invalid, APPSINFO_UPDATE_IS_UPDATED));
  EXPECT_EQ(0, nuv_dbus_nuv_command(1, "app", invalid, ""));
  EXPECT_EQ(6, fake_platform::LogPriority("nuv_command: a text is null or not valid UTF-8"));
  for (const RecordedCall& call : service_->Calls()) EXPECT_EQ("heartbeat", call.method);
}

TEST_F(InnerLink, VersionAndCommandAreForwardedUnchanged) {
  WarmUp();
  for (const int state : {-2, -1, 0, 5}) {
    service_->AnswerTo("nuv_update_app_version", {Answer::kReply, "(" + std::to_string(state) + ",)"});
    EXPECT_EQ(state, nuv_inner_update_app_version("app", "2.0"));
  }
  EXPECT_EQ("('app', '2.0')", service_->CallsOf("nuv_update_app_version")[0].Text());
  EXPECT_EQ(0, nuv_inner_nuv_command(4, "a", "b", "c"));
  EXPECT_EQ("(4, 'a', 'b', 'c')", service_->CallsOf("nuv_command")[0].Text());
  EXPECT_EQ(5, nuv_inner_update_app_version("", "")) << "an empty id is the service's matter";
  EXPECT_TRUE(LeavesMutexAlone(g_inner_Mute, [] {
    nuv_inner_update_app_version("app", "2.0");
    nuv_inner_nuv_command(4, "a", "b", "c");
  }));
  EXPECT_TRUE(Flags().empty());
}

TEST_F(InnerLink, VersionAndCommandAreRefusedWhilePackagesAreRepaired) {
  WarmUp();
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ(-1, nuv_inner_update_app_version("app", "2.0"));
  EXPECT_EQ(-1, nuv_inner_nuv_command(4, "a", "b", "c"));
  EXPECT_EQ(Times(2, {"I " + Yellow("Pkgmgr is recovering")}), LogSoFar());
  EXPECT_TRUE(service_->Calls().empty());
}

}  // namespace
