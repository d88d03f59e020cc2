// The service's plain calls.
#include <nuv/nuv_service_api.h>

#include <functional>
#include <ostream>

#include "faults.h"
#include "launch_test.h"
#include "log_notation.h"

namespace {

using Answer = RecordingService::Answer;

const std::string kInvalid = "caf\xc3";

struct Method {
  const char* name;
  const char* method;
  std::function<int()> call;
  const char* signature;
  const char* arguments;
  const char* reply;  // of the agreed type
  bool reply_needed;  // a reply of another type is a failure
  const char* failure_log;
  std::string no_link_log;
};
void PrintTo(const Method& method, std::ostream* out) {
  *out << method.name;
}

int status_out = 0;
std::string extra_out;

constexpr const char* kNoLink = "get_launcher_proxy() error";
const std::string kNoLinkDot = Red("get_launcher_proxy() error.");

const Method kMethods[] = {
    {"Popup", "launch_systempopup", [] { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_NO_APP_ID); }, "(i)",
     "(4,)", "()", false, "Call failed", kNoLink},
    {"Kpi", "send_appexec_kpi", [] { return nuv_send_appexec_kpi_client(1, "app", "caller", -2, "text"); }, "(issis)",
     "(1, 'app', 'caller', -2, 'text')", "()", false, "Call failed", kNoLink},
    {"AndroidStatus", "get_android_app_status", [] { return nuv_get_android_app_status_client("app", status_out); },
     "(s)", "('app',)", "(-7,)", true, "MethodCall failed.", kNoLinkDot},
    {"TerminateAll", "terminate_allapp", [] { return nuv_terminate_allApps_internal("caller", "reason"); }, "(ss)",
     "('caller', 'reason')", "()", false, "call terminate_allapp error.", kNoLink},
    {"GetExtraApp", "get_extra_app", [] { return nuv_get_extra_app(extra_out); }, "", "", "('extra',)", true,
     "MethodCall failed.", kNoLinkDot},
    {"NotifyExtraApp", "notify_extra_app_changed", [] { return nuv_notify_extra_app_changed("extra"); }, "(s)",
     "('extra',)", "()", false, "MethodCall failed.", kNoLinkDot},
};

class ServiceCall : public LaunchTest, public ::testing::WithParamInterface<Method> {
 protected:
  void SetUp() override {
    status_out = 55;
    extra_out = "untouched";
  }
};

TEST_P(ServiceCall, SendsItsArgumentsAndSucceeds) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kReply, GetParam().reply});
  EXPECT_EQ(0, GetParam().call());
  const auto calls = service_->CallsOf(GetParam().method);
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ(GetParam().signature, calls[0].Signature());
  EXPECT_EQ(GetParam().arguments, calls[0].Text());
  EXPECT_EQ("org.kelvo.tv.litecorvane.server", calls[0].destination);
  EXPECT_FALSE(calls[0].no_auto_start);
}

TEST_P(ServiceCall, FailsWhenTheServiceRefuses) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kError, "no"});
  EXPECT_EQ(-1, GetParam().call());
  EXPECT_EQ(6, fake_platform::LogPriority(GetParam().failure_log));
  EXPECT_EQ(55, status_out);
  EXPECT_EQ("untouched", extra_out);
}

TEST_P(ServiceCall, FailsWithoutAService) {
  WarmUp();
  service_.reset();
  EXPECT_EQ(-1, GetParam().call());
}

TEST_P(ServiceCall, FailsWithoutABus) {
  bus_.Kill();
  EXPECT_EQ(-1, GetParam().call());
  EXPECT_EQ(6, fake_platform::LogPriority(GetParam().no_link_log));
}

TEST_P(ServiceCall, WaitsTenSecondsAtMost) {
  WarmUp();
  service_->AnswerTo(GetParam().method, {Answer::kSilence, ""});
  faults::hurried_method = GetParam().method;
  faults::TakeBusCalls();
  EXPECT_EQ(-1, GetParam().call());
  EXPECT_EQ((std::vector<faults::BusCall>{{"heartbeat", 10000}, {GetParam().method, 10000}}), faults::TakeBusCalls());
  EXPECT_EQ(6, fake_platform::LogPriority("gdbus timeout"));
}

TEST_P(ServiceCall, ChecksTheTypeOfAReplyThatItReads) {
  WarmUp();
  for (const char* wrong : {"()", "(1.5,)", "('a', 'b')", "(true,)", "([1, 2],)", "(@ay [],)"}) {
    service_->AnswerTo(GetParam().method, {Answer::kReply, wrong});
    EXPECT_EQ(GetParam().reply_needed ? -1 : 0, GetParam().call()) << wrong;
  }
  EXPECT_EQ(55, status_out);
  EXPECT_EQ("untouched", extra_out);
  service_->AnswerTo(GetParam().method, {Answer::kReply, GetParam().reply});
  EXPECT_EQ(0, GetParam().call());
}

INSTANTIATE_TEST_SUITE_P(All, ServiceCall, ::testing::ValuesIn(kMethods),
                         [](const auto& row) { return std::string(row.param.name); });

class ServiceCalls : public LaunchTest {};

TEST_F(ServiceCalls, AndroidStatusIsTheServicesOwnValue) {
  WarmUp();
  service_->AnswerTo("get_android_app_status", {Answer::kReply, "(-7,)"});
  int status = 0;
  EXPECT_EQ(0, nuv_get_android_app_status_client("app", status));
  EXPECT_EQ(-7, status);
  EXPECT_EQ(4, fake_platform::LogPriority("get_android_app_status,app id [app],status:[-7]."));
}

TEST_F(ServiceCalls, AndroidStatusNeedsAnId) {
  WarmUp();
  int status = 5;
  EXPECT_EQ(-1, nuv_get_android_app_status_client(nullptr, status));
  EXPECT_EQ(5, status);
  EXPECT_EQ(6, fake_platform::LogPriority(Red("in param is NULL")));
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_F(ServiceCalls, ExtraAppReplacesTheCallersText) {
  WarmUp();
  service_->AnswerTo("get_extra_app", {Answer::kReply, "('org.kelvo.extra',)"});
  std::string id = "something longer than that, which is replaced";
  EXPECT_EQ(0, nuv_get_extra_app(id));
  EXPECT_EQ("org.kelvo.extra", id);
  EXPECT_EQ(4, fake_platform::LogPriority("Get_extra_app app id [org.kelvo.extra]."));
  service_->AnswerTo("get_extra_app", {Answer::kReply, "('',)"});
  EXPECT_EQ(0, nuv_get_extra_app(id));
  EXPECT_EQ("", id);
}

TEST_F(ServiceCalls, KpiSendsANullCallerAsEmptyText) {
  WarmUp();
  EXPECT_EQ(0, nuv_send_appexec_kpi_client(3, "app", nullptr, 4, "text"));
  EXPECT_EQ("(3, 'app', '', 4, 'text')", service_->CallsOf("send_appexec_kpi").at(0).Text());
  EXPECT_EQ(4, fake_platform::LogPriority("send appexec kpi log with param"));
  EXPECT_EQ(4, fake_platform::LogPriority("Call success "));
}

TEST_F(ServiceCalls, KpiRefusesOtherNullTexts) {
  WarmUp();
  EXPECT_EQ(-1, nuv_send_appexec_kpi_client(3, nullptr, "c", 4, "text"));
  EXPECT_EQ(-1, nuv_send_appexec_kpi_client(3, "app", "c", 4, nullptr));
  EXPECT_TRUE(service_->CallsOf("send_appexec_kpi").empty());
  EXPECT_EQ(6, fake_platform::LogPriority("Call failed"));
}

TEST_F(ServiceCalls, TextThatIsNotUtf8IsAFailedCall) {
  WarmUp();
  int status = 0;
  EXPECT_EQ(-1, nuv_send_appexec_kpi_client(1, kInvalid.c_str(), "c", 2, "t"));
  EXPECT_EQ(-1, nuv_send_appexec_kpi_client(1, "a", kInvalid.c_str(), 2, "t"));
  EXPECT_EQ(-1, nuv_send_appexec_kpi_client(1, "a", "c", 2, kInvalid.c_str()));
  EXPECT_EQ(-1, nuv_get_android_app_status_client(kInvalid.c_str(), status));
  EXPECT_EQ(-1, nuv_terminate_allApps_internal(kInvalid, "r"));
  EXPECT_EQ(-1, nuv_terminate_allApps_internal("c", kInvalid));
  EXPECT_EQ(-1, nuv_notify_extra_app_changed(kInvalid));
  for (const RecordedCall& call : service_->Calls()) EXPECT_EQ("heartbeat", call.method);
  EXPECT_EQ(6, fake_platform::LogPriority("send_appexec_kpi: a text is null or not valid UTF-8"));
}

TEST_F(ServiceCalls, TerminateAllIsBracketedInTheLog) {
  WarmUp();
  fake_platform::LogAsEffects(true);
  EXPECT_EQ(0, nuv_terminate_allApps_internal("me", "why"));
  const auto effects = fake_platform::Effects();
  EXPECT_EQ("log E Terminate all apps start, caller id:[me], reason:[why], .", effects.front());
  EXPECT_EQ("log I call terminate_allapp success.", effects[effects.size() - 2]);
  EXPECT_EQ("log I Terminate all apps end!!!", effects.back());
}

TEST_F(ServiceCalls, LaunchFailTextGoesToTheSettings) {
  EXPECT_EQ(0, nuv_set_launch_fail("app:103"));
  EXPECT_EQ(std::vector<std::string>{"vconf rtc/litenuv/webapp/launch_fail=app:103"}, fake_platform::Effects());
  fake_platform::LetSettingsFail(true);
  EXPECT_EQ(-1, nuv_set_launch_fail("app:103"));
  EXPECT_EQ(6, fake_platform::LogPriority("set vconf of VCONF_WEBAPP_LAUNCHFAIL failed."));
}

}  // namespace
