// Terminating one application: the catalogue says which, the service does it.
#include <atomic>
#include <functional>
#include <ostream>

#include "catalogue_launch_test.h"
#include "faults.h"
#include "log_notation.h"

namespace {

using Answer = RecordingService::Answer;

constexpr const char* kNotFound = "app id is null or failed to get app info!";
constexpr const char* kSuccess = "call terminate_app success.";
constexpr const char* kError = "call terminate_app error.";

// The two calls, for the application "org.kelvo.clock" with the run title "Clock".
struct Terminate {
  const char* name;
  const char* method;
  std::function<int(const char*)> call;
  const char* known;
  const char* signature;
  const char* arguments;  // for the known application
  std::string no_link_log;
};
void PrintTo(const Terminate& row, std::ostream* out) {
  *out << row.name;
}

const Terminate kCalls[] = {
    {"ById", "terminate_app", [](const char* id) { return nuv_terminate_app_client(id, 7, "me", "why"); },
     "org.kelvo.clock", "(siss)", "('org.kelvo.clock', 7, 'me', 'why')", "get_launcher_proxy() error"},
    {"ByRunTitle", "terminate_app_by_runtitle", nuv_terminate_app_by_runtitle_client, "Clock", "(s)", "('Clock',)",
     Red("get_launcher_proxy() error.")},
};

class TerminateCall : public CatalogueLaunchTest, public ::testing::WithParamInterface<Terminate> {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    database_.Add("org.kelvo.clock", {{"run_title", "Clock"}, {"kelvo_id", "k.clock"}, {"pkgname", "p.clock"}});
  }
  int Call(const char* text) const { return GetParam().call(text); }
  int CallKnown() const { return Call(GetParam().known); }
  // The lookup failed: the service hears nothing, not even whether it is there.
  void ExpectNotFound(const char* text) const {
    fake_platform::Clear();
    EXPECT_EQ(-1, Call(text));
    EXPECT_EQ(6, fake_platform::LogPriority(kNotFound));
    EXPECT_EQ(kNotFound, fake_platform::Log().back().text);
    EXPECT_TRUE(service_->Calls().empty());
  }
};

INSTANTIATE_TEST_SUITE_P(All, TerminateCall, ::testing::ValuesIn(kCalls),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(TerminateCall, TellsTheService) {
  WarmUp();
  EXPECT_EQ(0, CallKnown());
  const auto calls = service_->CallsOf(GetParam().method);
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ(GetParam().signature, calls[0].Signature());
  EXPECT_EQ(GetParam().arguments, calls[0].Text());
  EXPECT_EQ("org.kelvo.tv.litecorvane.server", calls[0].destination);
  EXPECT_EQ(4, fake_platform::LogPriority(kSuccess));
  EXPECT_EQ(kSuccess, fake_platform::Log().back().text);
  EXPECT_FALSE(fake_platform::Logged(kError));
}

TEST_P(TerminateCall, LeavesNoOtherTrace) {
  WarmUp();
  CallsAsEffects();
  EXPECT_EQ(0, CallKnown());
  EXPECT_EQ((std::vector<std::string>{std::string("call ") + GetParam().method + " " + GetParam().arguments}),
            fake_platform::Effects());
}

TEST_P(TerminateCall, LooksUpBeforeItAsksForTheLink) {
  bus_.Kill();
  EXPECT_EQ(-1, Call("unknown"));
  EXPECT_TRUE(fake_platform::Logged(kNotFound));
  EXPECT_FALSE(fake_platform::Logged(GetParam().no_link_log));
}

TEST_P(TerminateCall, HoldsNoLockWhileTheServiceWorks) {
  WarmUp();
  std::atomic<bool> free{false};
  service_->Before(GetParam().method, [&free](const RecordedCall&) { free = LockIsFree(); });
  EXPECT_EQ(0, CallKnown());
  EXPECT_TRUE(free);
}

TEST_P(TerminateCall, NullIsRefusedWithoutALookup) {
  WarmUp();
  ExpectNotFound(nullptr);
  EXPECT_EQ(1u, fake_platform::Log().size());
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(TerminateCall, AnUnknownApplicationIsRefused) {
  WarmUp();
  ExpectNotFound("unknown");
  ExpectNotFound("");
  ExpectNotFound("ORG.KELVO.CLOCK");
  database_.Run("update widgetinfo set install_state = 2");
  ExpectNotFound(GetParam().known);
}

TEST_P(TerminateCall, ABusyDatabaseIsAFailureLikeAnyOther) {
  WarmUp();
  LetDatabaseBeBusy();
  ExpectNotFound(GetParam().known);
  EXPECT_EQ(std::vector<std::string>(49, "usleep 10000"), fake_platform::Effects());
  EXPECT_EQ(0, CallKnown());
}

TEST_P(TerminateCall, GuardsRefuse) {
  WarmUp();
  fake_platform::SetRepairMarker(true);
  ExpectNotFound(GetParam().known);
  fake_platform::SetFactoryReset(1);
  ExpectNotFound(GetParam().known);
  EXPECT_TRUE(sqlite_faults::Openings().empty());
}

TEST_P(TerminateCall, FailsWithoutADatabase) {
  WarmUp();
  fake_platform::SetDatabaseDirectory(std::nullopt);
  ExpectNotFound(GetParam().known);
}

TEST_P(TerminateCall, FailsWithoutABus) {
  bus_.Kill();
  EXPECT_EQ(-1, CallKnown());
  EXPECT_EQ(6, fake_platform::LogPriority(GetParam().no_link_log));
  EXPECT_EQ(GetParam().no_link_log, fake_platform::Log().back().text);
  EXPECT_FALSE(fake_platform::Logged(kNotFound));
  EXPECT_FALSE(fake_platform::Logged(kError));
}

TEST_P(TerminateCall, FailsWithoutAService) {
  WarmUp();
  service_.reset();
  EXPECT_EQ(-1, CallKnown());
}

TEST_P(TerminateCall, FailsWhenTheServiceRefuses) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kError, "no"});
  EXPECT_EQ(-1, CallKnown());
  EXPECT_EQ(6, fake_platform::LogPriority(kError));
  EXPECT_EQ(kError, fake_platform::Log().back().text);
  EXPECT_FALSE(fake_platform::Logged(kSuccess));
  EXPECT_EQ(1u, service_->CallsOf(GetParam().method).size());  // it is not repeated
}

TEST_P(TerminateCall, ATimeOutIsAFailureLikeAnyOther) {
  WarmUp();
  for (const char* name : {"NoReply", "Timeout", "TimedOut"}) {
    service_->AnswerTo(GetParam().method,
                       {Answer::kError, "too late", std::string("org.freedesktop.DBus.Error.") + name});
    EXPECT_EQ(-1, CallKnown()) << name;
    EXPECT_EQ(kError, fake_platform::Log().back().text);
  }
}

TEST_P(TerminateCall, WaitsTenSecondsAtMost) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kSilence, ""});
  faults::hurried_method = GetParam().method;
  faults::TakeBusCalls();
  EXPECT_EQ(-1, CallKnown());
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}, {GetParam().method, 10000}}), faults::TakeBusCalls());
  EXPECT_EQ(6, fake_platform::LogPriority(kError));
}

TEST_P(TerminateCall, NeedsNoParticularReply) {
  WarmUp();
  for (const char* reply : {"()", "(1,)", "('text', 2)", "([1, 2],)"}) {
    service_->AnswerTo(GetParam().method, {Answer::kReply, reply});
    EXPECT_EQ(0, CallKnown()) << reply;
  }
}

class TerminateById : public CatalogueLaunchTest {};

TEST_F(TerminateById, SendsTheIdOfTheRecord) {
  database_.Add("org.kelvo.clock", {{"kelvo_id", "k.clock"}, {"pkgname", "p.clock"}});
  WarmUp();
  for (const char* name : {"org.kelvo.clock", "k.clock", "p.clock"}) {
    service_->Forget();
    EXPECT_EQ(0, nuv_terminate_app_client(name, -1, "", "it's over")) << name;
    EXPECT_EQ("('org.kelvo.clock', -1, '', \"it's over\")", service_->CallsOf("terminate_app").at(0).Text());
  }
}

TEST_F(TerminateById, CutsALongIdAsTheRecordDoes) {
  const std::string id(200, 'i');
  database_.Add(id, {{"kelvo_id", "long"}});
  WarmUp();
  EXPECT_EQ(0, nuv_terminate_app_client(id.c_str(), 0, "", ""));
  EXPECT_EQ("('" + id.substr(0, 127) + "', 0, '', '')", service_->CallsOf("terminate_app").at(0).Text());
}

TEST_F(TerminateById, TextsThatAreNotUtf8AreAFailedCall) {
  database_.Add("good");
  database_.Add(std::string(126, 'i') + "\xc3\xa9", {{"pkgname", "cut in the middle of a character"}});
  WarmUp();
  EXPECT_EQ(-1, nuv_terminate_app_client("good", 0, "caf\xc3", ""));
  EXPECT_EQ(-1, nuv_terminate_app_client("good", 0, "", "caf\xc3"));
  EXPECT_EQ(-1, nuv_terminate_app_client("cut in the middle of a character", 0, "", ""));
  EXPECT_EQ(6, fake_platform::LogPriority(kError));
  EXPECT_TRUE(service_->CallsOf("terminate_app").empty());
}

class TerminateByRunTitle : public CatalogueLaunchTest {};

TEST_F(TerminateByRunTitle, SendsTheTitleItself) {
  const std::string title = std::string(200, 't') + "\xc3\xa9";
  database_.Add("app", {{"run_title", title}});
  WarmUp();
  EXPECT_EQ(0, nuv_terminate_app_by_runtitle_client(title.c_str()));
  EXPECT_EQ("('" + title + "',)", service_->CallsOf("terminate_app_by_runtitle").at(0).Text());
}

TEST_F(TerminateByRunTitle, KnowsNoOtherNames) {
  database_.Add("app", {{"run_title", "title"}, {"kelvo_id", "k"}, {"pkgname", "p"}});
  WarmUp();
  for (const char* name : {"app", "k", "p", "Title"}) {
    EXPECT_EQ(-1, nuv_terminate_app_by_runtitle_client(name)) << name;
  }
}

TEST_F(TerminateByRunTitle, LooksUpUnderTheNamedLock) {
  database_.Add("app", {{"run_title", "title"}});
  WarmUp();
  bool held = false;
  sqlite_faults::before_prepare = [&held](const std::string&) { held = !LockIsFree(); };
  EXPECT_EQ(0, nuv_terminate_app_by_runtitle_client("title"));
  EXPECT_TRUE(held);
}

TEST_F(TerminateByRunTitle, ATitleThatIsNotUtf8IsAFailedCall) {
  database_.Add("app", {{"run_title", "caf\xc3"}});
  WarmUp();
  EXPECT_EQ(-1, nuv_terminate_app_by_runtitle_client("caf\xc3"));
  EXPECT_EQ(kError, fake_platform::Log().back().text);
}

}  // namespace
