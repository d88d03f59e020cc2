// What every launch does, whichever function it comes from: effects in their order, log, callback, lock.
#include "nuv_launcher_api/nuv_launch_body.h"

#include <nuv/nuv_launcher_api.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "launch_test.h"
#include "log_notation.h"

namespace {

class LaunchBody : public LaunchTest {};

TEST_F(LaunchBody, OrdersTheEffectsOfALaunch) {
  WarmUp();
  CallsAsEffects();
  ASSERT_EQ(0, nuv_launch_webapp("org.kelvo.app", "a", "me", OnNotify, &heard_));
  const std::string marker = "[BEGIN]Start: app id:[org.kelvo.app], callerid [me].";
  const std::vector<std::string> effects = fake_platform::Effects();
  ASSERT_EQ(6u, effects.size());
  EXPECT_EQ("cpu set self litecorvane -1", effects[0]);
  EXPECT_EQ("marker " + std::to_string(marker.size()) + " " + marker, effects[1]);
  EXPECT_EQ("trace_begin " + marker, effects[2]);
  EXPECT_EQ("trace_end", effects[3]);
  EXPECT_EQ("call launch_app", effects[4].substr(0, 15));
  EXPECT_EQ("cpu clear self litecorvane", effects[5]);
}

TEST_F(LaunchBody, OrdersTheEffectsOfANullAppId) {
  WarmUp();
  CallsAsEffects();
  ASSERT_EQ(-1, nuv_launch_app(nullptr, nullptr, OnResult, &heard_));
  const std::string marker = "[BEGIN]Start: app id:[(null)], callerid [(null)].";
  const std::vector<std::string> expected = {"cpu set self litecorvane -1",
                                             "marker " + std::to_string(marker.size()) + " " + marker,
                                             "trace_begin " + marker,
                                             "trace_end",
                                             "call launch_systempopup (4,)",
                                             "callback result 0 null 610",
                                             "vconf rtc/litenuv/webapp/launch_fail=NULL:101",
                                             "cpu clear self litecorvane"};
  EXPECT_EQ(expected, fake_platform::Effects());
  EXPECT_EQ(6, fake_platform::LogPriority(Red("App_id == NULL")));
}

TEST_F(LaunchBody, LogsAfterThePopupAndBeforeTheCallback) {
  WarmUp();
  CallsAsEffects();
  fake_platform::LogAsEffects(true);
  ASSERT_EQ(-1, nuv_launch_webapp(nullptr, nullptr, nullptr, OnNotify, &heard_));
  const std::vector<std::string> effects = fake_platform::Effects();
  const auto at = [&](const std::string& text) {
    return std::find(effects.begin(), effects.end(), text) - effects.begin();
  };
  EXPECT_LT(at("call launch_systempopup (4,)"), at("log E " + Red("App_id == NULL")));
  EXPECT_LT(at("log E " + Red("App_id == NULL")), at("callback notify null 903 0 404"));
  EXPECT_LT(at("callback notify null 903 0 404"), at("vconf rtc/litenuv/webapp/launch_fail=NULL:101"));
}

TEST_F(LaunchBody, CallsNobodyForANullAppIdWithoutCallback) {
  WarmUp();
  CallsAsEffects();
  EXPECT_EQ(-1, nuv_launch_app(nullptr, nullptr, nullptr, &heard_));
  EXPECT_EQ(-1, nuv_launch_webapp(nullptr, nullptr, nullptr, nullptr, &heard_));
  EXPECT_TRUE(heard_.Texts().empty());
  EXPECT_EQ(2u, service_->CallsOf("launch_systempopup").size());
}

TEST_F(LaunchBody, ReturnsFailureForANullAppIdWithoutAnyBus) {
  bus_.Kill();
  EXPECT_EQ(-1, nuv_launch_app(nullptr, nullptr, OnResult, &heard_));
  EXPECT_EQ(std::vector<std::string>{"result 0 null 610"}, heard_.Texts());
}

TEST_F(LaunchBody, LogsTheRequestAsItCame) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_app_with_param("org.kelvo.app", "a&callerid=X", nullptr, nullptr, nullptr));
  EXPECT_EQ(6, fake_platform::LogPriority(
                   Yellow("Start: app id:[org.kelvo.app], payload:[a&callerid=X],callerid [(null)].")));
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("get app info for app id [org.kelvo.app] success.")));
  EXPECT_EQ("X", service_->Launches().front().texts[3]);
}

TEST_F(LaunchBody, LogLinesNameFileFunctionAndLine) {
  WarmUp();
  ASSERT_EQ(0, nuv_launch_app("org.kelvo.app", nullptr, nullptr, nullptr));
  for (const fake_platform::LogLine& line : fake_platform::Log()) {
    if (line.text.find("Start: app id") == std::string::npos) continue;
    EXPECT_EQ(0u, line.prefix.find("NuvClient nuv_launch_body.cpp: nuv_launch_app_internal_(")) << line.prefix;
  }
}

TEST_F(LaunchBody, LogsTheArgumentsOfABackgroundDeepLinkFirst) {
  WarmUp();
  ASSERT_EQ(0, nuv_background_launch_webapp_for_deeplink("a", "b", "c", nullptr, nullptr));
  ASSERT_FALSE(fake_platform::Log().empty());
  EXPECT_EQ(Yellow("nuv_background_launch_webapp_for_deeplink: app id:[a], payload:[b],callerid [c]."),
            fake_platform::Log().front().text);
  EXPECT_EQ(6, fake_platform::Log().front().priority);
}

TEST_F(LaunchBody, CutsTheTraceMarkerAt1023Characters) {
  WarmUp();
  const std::string app(3000, 'a');
  ASSERT_EQ(0, nuv_launch_app(app.c_str(), nullptr, nullptr, nullptr));
  const std::string marker = ("[BEGIN]Start: app id:[" + app).substr(0, 1023);
  EXPECT_EQ("marker 1023 " + marker, fake_platform::Effects().at(1));
  EXPECT_EQ("trace_begin " + marker, fake_platform::Effects().at(2));
}

TEST_F(LaunchBody, SerialisesLaunchesOfDifferentThreads) {
  WarmUp();
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  fake_platform::OnEffect([&](const std::string& effect) {
    if (effect.rfind("cpu set", 0) == 0) most = std::max(most.load(), ++inside);
    if (effect.rfind("cpu clear", 0) == 0) --inside;
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 25; ++n) EXPECT_EQ(0, nuv_launch_app("org.kelvo.app", nullptr, nullptr, nullptr));
    });
  }
  for (std::thread& thread : threads) thread.join();
  fake_platform::OnEffect(nullptr);
  EXPECT_EQ(1, most);
  EXPECT_EQ(100u, service_->Launches().size());
}

void LaunchAgain(void* heard, int reserved, const char* app_id, int result) {
  OnResult(heard, reserved, app_id, result);
  EXPECT_EQ(0, nuv_launch_app("org.kelvo.second", nullptr, nullptr, nullptr));
}

TEST_F(LaunchBody, LetsAFailureCallbackLaunchAnotherApplication) {
  WarmUp();
  EXPECT_EQ(-1, nuv_launch_app(nullptr, nullptr, LaunchAgain, &heard_));
  ASSERT_EQ(1u, service_->Launches().size());
  EXPECT_EQ("org.kelvo.second", service_->Launches().front().texts[0]);
}

void Throw(void*, int, const char*, int) {
  throw std::runtime_error("from a callback");
}

TEST_F(LaunchBody, EndsAnExceptionOfAFailureCallbackAtTheEdge) {
  WarmUp();
  EXPECT_EQ(-1, nuv_launch_app(nullptr, nullptr, Throw, nullptr));
  EXPECT_EQ(6, fake_platform::LogPriority("a callback threw: from a callback"));
  EXPECT_EQ("cpu clear self litecorvane", fake_platform::Effects().back());
  EXPECT_EQ(0, nuv_launch_app("org.kelvo.app", nullptr, nullptr, nullptr));
}

}  // namespace
