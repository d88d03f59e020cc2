// In the lightweight service's own process, told by the executable's path, the calls go to the full service.
#include "launch_test.h"

namespace {

TEST_F(LaunchTest, ServiceProcessCallsTheFullService) {
  StartService();
  ASSERT_EQ(0, nuv_launch_app("app", nullptr, nullptr, nullptr));
  ASSERT_EQ(0, nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1));
  ASSERT_EQ(3u, service_->Calls().size());
  for (const RecordedCall& call : service_->Calls()) {
    EXPECT_EQ("org.kelvo.tv.corvane.server", call.destination);
    EXPECT_EQ("/org/kelvo/tv/corvane/server", call.path);
    EXPECT_EQ("org.kelvo.tv.corvane.server.interface", call.interface);
  }
  EXPECT_EQ(6, fake_platform::LogPriority("Reset dbus receiver to [corvane]."));
}

}  // namespace
