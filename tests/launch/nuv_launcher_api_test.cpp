// The launch entry points and their common body, against a service that records what reaches it.
#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <ostream>
#include <stdexcept>

#include "launch_test.h"
#include "log_notation.h"
#include "nuv_launcher_api/nuv_launch_body.h"

namespace {

using ::testing::Test;

enum Flag {
  kForce,
  kPreload,
  kOption1,
  kOption2,
  kOption3,
  kOption4,
  kShape,
  kDeepLink,
  kExtra,
  kBackground,
  kSkipPin
};

struct Entry {
  const char* name;
  std::function<int(const char* app, Heard*)> launch;
  std::string caller_id;  // as the service sees it
  int deep_link;
  int force;
  int shape;
  int background;
};

void PrintTo(const Entry& entry, std::ostream* out) {
  *out << entry.name;
}

const Entry kEntries[] = {
    {"nuv_launch_app", [](const char* app, Heard* h) { return nuv_launch_app(app, "p=1", OnResult, h); }, "", 0, 0, 0,
     0},
    {"nuv_launch_app_with_param",
     [](const char* app, Heard* h) { return nuv_launch_app_with_param(app, "p=1", "me", OnResult, h); }, "me", 0, 0, 0,
     0},
    {"nuv_force_launch_app", [](const char* app, Heard* h) { return nuv_force_launch_app(app, "p=1", OnResult, h); },
     "", 0, 1, 0, 0},
    {"nuv_force_launch_app_with_param",
     [](const char* app, Heard* h) { return nuv_force_launch_app_with_param(app, "p=1", "me", OnResult, h); }, "me", 0,
     1, 0, 0},
    {"nuv_launch_webapp", [](const char* app, Heard* h) { return nuv_launch_webapp(app, "p=1", "me", OnNotify, h); },
     "me", 0, 0, 1, 0},
    {"nuv_force_launch_webapp",
     [](const char* app, Heard* h) { return nuv_force_launch_webapp(app, "p=1", "me", OnNotify, h); }, "me", 0, 1, 1,
     0},
    {"nuv_background_launch_webapp",
     [](const char* app, Heard* h) { return nuv_background_launch_webapp(app, "p=1", "me", OnNotify, h); }, "me", 0, 0,
     1, 1},
    {"nuv_launch_webapp_for_deeplink",
     [](const char* app, Heard* h) { return nuv_launch_webapp_for_deeplink(app, "p=1", "me", OnNotify, h); }, "me", 1,
     1, 1, 0},
    {"nuv_background_launch_webapp_for_deeplink",
     [](const char* app, Heard* h) { return nuv_background_launch_webapp_for_deeplink(app, "p=1", "me", OnNotify, h); },
     "me", 1, 1, 1, 1},
};

class EntryPoint : public LaunchTest, public ::testing::WithParamInterface<Entry> {};

TEST_P(EntryPoint, SendsTheOptionsThatItFixes) {
  StartService();
  ASSERT_EQ(0, GetParam().launch("org.kelvo.app", &heard_));
  ASSERT_EQ(1u, service_->Launches().size());
  const LaunchRequest request = service_->Launches().front();
  const std::vector<std::string> texts = {"org.kelvo.app", "p=1", "", GetParam().caller_id, "", "", ""};
  EXPECT_EQ(texts, request.texts);
  EXPECT_EQ("nuv_launch_app", request.method_call);
  EXPECT_TRUE(request.extra_datas.empty());
  std::vector<int32_t> flags(11, 0);
  flags[kForce] = GetParam().force;
  flags[kOption2] = 1;
  flags[kOption3] = 1;
  flags[kShape] = GetParam().shape;
  flags[kDeepLink] = GetParam().deep_link;
  flags[kBackground] = GetParam().background;
  EXPECT_EQ(flags, request.flags);
  EXPECT_EQ("(sisssssssisiiiiiiiiiiiaay)", service_->CallsOf("launch_app").front().Signature());
}

TEST_P(EntryPoint, TellsTheCallbackTheOutcomeOnTheListenerThread) {
  StartService();
  ASSERT_EQ(0, GetParam().launch("org.kelvo.app", &heard_));
  ASSERT_TRUE(service_->SendResult(service_->Launches().front(), {903, 404, GetParam().shape}));
  ASSERT_TRUE(heard_.WaitFor(1));
  EXPECT_EQ(GetParam().shape == 1 ? "notify org.kelvo.app 903 0 404" : "result 0 org.kelvo.app 610",
            heard_.Texts().front());
  EXPECT_NE(std::this_thread::get_id(), heard_.Threads().front());
}

TEST_P(EntryPoint, RefusesANullAppIdAndTellsTheCallbackAtOnce) {
  StartService();
  EXPECT_EQ(-1, GetParam().launch(nullptr, &heard_));
  ASSERT_EQ(1u, heard_.Texts().size());
  EXPECT_EQ(GetParam().shape == 1 ? "notify null 903 0 404" : "result 0 null 610", heard_.Texts().front());
  EXPECT_EQ(std::this_thread::get_id(), heard_.Threads().front());
  EXPECT_TRUE(service_->Launches().empty());
}

INSTANTIATE_TEST_SUITE_P(All, EntryPoint, ::testing::ValuesIn(kEntries),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
