// The terminate functions of the launch API.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_lock.h>

#include <functional>
#include <ostream>

#include "effects.h"
#include "held_mutex.h"
#include "launch_database_test.h"

namespace {

using Answer = RecordingService::Answer;
using ::testing::ValuesIn;
using ::testing::WithParamInterface;

struct Terminate {
  const char* name;
  std::function<int(const char* app)> call;
  const char* known;
  std::string start;  // first line, with the application in the place of "@"
  const char* sent;
  std::string link_error;
  // Asked of the catalogue under g_Mute.
  bool waits;
};
void PrintTo(const Terminate& row, std::ostream* out) {
  *out << row.name;
}

const Terminate kTerminates[] = {
    {"nuv_terminate_app", [](const char* app) { return nuv_terminate_app(app); }, "kelvo.app", "Start,id:@",
     "call terminate_app ('org.kelvo.app', 0, '', '')", "get_launcher_proxy() error", false},
    {"nuv_terminate_app_with_preload", [](const char* app) { return nuv_terminate_app_with_preload(app); }, "package",
     "Start,id:@", "call terminate_app ('org.kelvo.app', 1, '', '')", "get_launcher_proxy() error", false},
    {"nuv_terminate_app_by_runtitle", [](const char* app) { return nuv_terminate_app_by_runtitle(app); }, "title",
     "Start,runtitle:@.", "call terminate_app_by_runtitle ('title',)", Red("get_launcher_proxy() error."), true},
    {"nuv_terminate_app_internal", [](const char* app) { return nuv_terminate_app_internal(app, "caller", "reason"); },
     "org.kelvo.app", "Terminate Start, id:[@], caller id:[caller], reason:[reason].",
     "call terminate_app ('org.kelvo.app', 0, 'caller', 'reason')", "get_launcher_proxy() error", false},
};

class TerminateTest : public LaunchDatabaseTest, public WithParamInterface<Terminate> {
 protected:
  void SetUp() override {
    LaunchDatabaseTest::SetUp();
    CallsAsEffects();
    database_.Add("org.kelvo.app", {{"kelvo_id", "kelvo.app"}, {"pkgname", "package"}, {"run_title", "title"}});
  }
  static std::string Start(const std::string& app) {
    std::string text = GetParam().start;
    return LogEffect('E', Yellow(text.replace(text.find('@'), 1, app)));
  }
  static Effects OwnEffects() {
    return EffectsWithLogOf({"nuv_launcher_api.cpp", "nuv_launcher_api_NUV.cpp", "nuv_launcher_client.cpp"});
  }
};

TEST_P(TerminateTest, OrdersTheEffects) {
  EXPECT_EQ(0, GetParam().call(GetParam().known));
  EXPECT_EQ((Effects{Start(GetParam().known), GetParam().sent, LogEffect('I', "call terminate_app success.")}),
            OwnEffects());
  EXPECT_EQ(0, fake_platform::Log().front().buffer);
}

TEST_P(TerminateTest, FailsForNullAndForWhatIsUnknown) {
  for (const char* app : {static_cast<const char*>(nullptr), "", "nobody"}) {
    fake_platform::Clear();
    EXPECT_EQ(-1, GetParam().call(app));
    EXPECT_EQ(
        (Effects{Start(app == nullptr ? "(null)" : app), LogEffect('E', "app id is null or failed to get app info!")}),
        OwnEffects());
  }
  EXPECT_TRUE(service_->Calls().empty());
}

TEST_P(TerminateTest, FailsWhileTheDatabaseIsBusy) {
  LetDatabaseBeBusy();
  EXPECT_EQ(-1, GetParam().call(GetParam().known));
  EXPECT_TRUE(service_->Calls().empty());
  EXPECT_EQ(0, GetParam().call(GetParam().known));
}

TEST_P(TerminateTest, ReportsARefusalOfTheService) {
  service_->AnswerTo("terminate_app", {Answer::kError, "no"});
  service_->AnswerTo("terminate_app_by_runtitle", {Answer::kError, "no"});
  EXPECT_EQ(-1, GetParam().call(GetParam().known));
  EXPECT_EQ((Effects{Start(GetParam().known), GetParam().sent, LogEffect('E', "call terminate_app error.")}),
            OwnEffects());
}

TEST_P(TerminateTest, ReportsAnUnusableLink) {
  bus_.Kill();
  EXPECT_EQ(-1, GetParam().call(GetParam().known));
  EXPECT_EQ((Effects{Start(GetParam().known), LogEffect('E', GetParam().link_error)}), OwnEffects());
}

TEST_P(TerminateTest, WaitsForALaunchOnlyToReadTheCatalogueByRunTitle) {
  const auto call = [] { EXPECT_EQ(0, GetParam().call(GetParam().known)); };
  if (GetParam().waits) {
    EXPECT_TRUE(TakesMutex(g_Mute, call));
  } else {
    EXPECT_TRUE(LeavesMutexAlone(g_Mute, call));
  }
  EXPECT_TRUE(LeavesMutexAlone(g_inner_Mute, call));
}

INSTANTIATE_TEST_SUITE_P(All, TerminateTest, ValuesIn(kTerminates),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
