// The platform's running applications and app-control requests, put in front of the real ones.
#pragma once

#include <nuv_platform/platform_app_control.h>
#include <nuv_platform/platform_aul.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fake_platform {

struct RunningApp {
  std::optional<std::string> platform_id;  // nothing: the platform hands out a null
  int status;
};

// What aul_app_get_running_app_info() walks over, in this order; aul_app_is_running() knows the same.
void SetRunningApps(const std::vector<RunningApp>& apps);
void SetCommonUiRunning(bool running);
// What GetRunningHbbtvApp() answers and hands out.
void SetHbbtvApp(int answer, const std::optional<std::string>& platform_id);
void LetLaunchRequestsFail(bool fail);

// A request as an application of the platform would make it. Nothing: not set.
struct AppControl {
  std::optional<std::string> app_id;
  std::optional<std::string> operation;
  std::optional<std::string> uri;
  std::vector<std::pair<std::string, std::optional<std::string>>> extra_data;  // nothing: the key has no value
};

// The application's own way of giving its request back, which is no effect.
struct DestroyAppControl {
  void operator()(app_control_h request) const;
};
using AppControlHandle = std::unique_ptr<app_control_s, DestroyAppControl>;
AppControlHandle MakeAppControl(const AppControl& content);
// What the request holds now.
AppControl ContentOf(const AppControlHandle& request);
// What the launch requests held when they were sent, the refused ones too.
std::vector<AppControl> SentRequests();

}  // namespace fake_platform
