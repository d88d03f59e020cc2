#include "fake_apps.h"

#include <nuv_platform/platform_hbbtv.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

#include "fake_platform.h"
#include "undisturbed.h"

struct app_control_s {
  fake_platform::AppControl content;
};

namespace {

using fake_platform::AddEffect;
using fake_platform::RunningApp;

struct State {
  std::mutex mutex;
  std::vector<RunningApp> running;
  int hbbtv_answer = 0;
  std::optional<std::string> hbbtv_id;
  std::vector<fake_platform::AppControl> sent;
  std::atomic<bool> common_ui_runs{false};
  std::atomic<bool> launch_requests_fail{false};
};

// The library's listener may still ask while the test process exits.
State& Get() {
  static State& state = *new State;
  return state;
}

std::vector<RunningApp> Running() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().running;
}

int HandOut(const std::optional<std::string>& text, char** value) {
  *value = text ? strdup(text->c_str()) : nullptr;
  return 0;
}

}  // namespace

namespace fake_platform {

void SetRunningApps(const std::vector<RunningApp>& apps) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().running = apps;
}

void SetCommonUiRunning(bool running) {
  Get().common_ui_runs = running;
}

void SetHbbtvApp(int answer, const std::optional<std::string>& platform_id) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().hbbtv_answer = answer;
  Get().hbbtv_id = platform_id;
}

void LetLaunchRequestsFail(bool fail) {
  Get().launch_requests_fail = fail;
}

void DestroyAppControl::operator()(app_control_h request) const {
  delete request;
}

AppControlHandle MakeAppControl(const AppControl& content) {
  return AppControlHandle(new app_control_s{content});
}

AppControl ContentOf(const AppControlHandle& request) {
  return request->content;
}

std::vector<AppControl> SentRequests() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().sent;
}

}  // namespace fake_platform

int aul_app_is_running(const char* app_id) {
  const Undisturbed undisturbed;
  AddEffect(std::string("running? ") + app_id);
  if (Get().common_ui_runs && strcmp(app_id, "org.kelvo.corvane-commui") == 0) return 1;
  const std::vector<RunningApp> running = Running();
  return std::any_of(running.begin(), running.end(), [&](const RunningApp& app) { return app.platform_id == app_id; });
}

int aul_app_get_running_app_info(aul_app_info_iter_fn iter, void* data) {
  std::vector<RunningApp> running;
  {
    const Undisturbed undisturbed;
    running = Running();
  }
  for (const RunningApp& app : running) {
    const aul_app_info info = {1, app.status, app.platform_id ? app.platform_id->c_str() : nullptr};
    if (iter(&info, data) < 0) break;
  }
  return 0;
}

int GetRunningHbbtvApp(char** app_id) {
  const Undisturbed undisturbed;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  HandOut(Get().hbbtv_id, app_id);
  return Get().hbbtv_answer;
}

int app_control_create(app_control_h* request) {
  const Undisturbed undisturbed;
  *request = new app_control_s;
  return 0;
}

int app_control_destroy(app_control_h request) {
  const Undisturbed undisturbed;
  AddEffect("app_control destroyed");
  delete request;
  return 0;
}

int app_control_set_app_id(app_control_h request, const char* value) {
  const Undisturbed undisturbed;
  request->content.app_id = value;
  return 0;
}

int app_control_set_operation(app_control_h request, const char* value) {
  const Undisturbed undisturbed;
  request->content.operation = value;
  AddEffect(std::string("operation ") + value);
  return 0;
}

int app_control_get_app_id(app_control_h request, char** value) {
  const Undisturbed undisturbed;
  return HandOut(request->content.app_id, value);
}

int app_control_get_operation(app_control_h request, char** value) {
  const Undisturbed undisturbed;
  return HandOut(request->content.operation, value);
}

int app_control_get_uri(app_control_h request, char** value) {
  const Undisturbed undisturbed;
  return HandOut(request->content.uri, value);
}

int app_control_add_extra_data(app_control_h request, const char* key, const char* value) {
  const Undisturbed undisturbed;
  if (value == nullptr) return -1;
  AddEffect(std::string("extra ") + key + "=" + value);
  for (auto& [known, old] : request->content.extra_data) {
    if (known != key) continue;
    old = value;
    return 0;
  }
  request->content.extra_data.emplace_back(key, value);
  return 0;
}

int app_control_get_extra_data(app_control_h request, const char* key, char** value) {
  const Undisturbed undisturbed;
  *value = nullptr;
  for (const auto& [known, text] : request->content.extra_data) {
    if (known == key) return HandOut(text, value);
  }
  return -1;
}

int app_control_foreach_extra_data(app_control_h request, app_control_extra_data_cb callback, void* user_data) {
  decltype(request->content.extra_data) extra_data;
  {
    const Undisturbed undisturbed;
    extra_data = request->content.extra_data;
  }
  for (const auto& [key, value] : extra_data) {
    if (!callback(request, key.c_str(), user_data)) break;
  }
  return 0;
}

int app_control_send_launch_request(app_control_h request, app_control_reply_cb, void*) {
  const Undisturbed undisturbed;
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().sent.push_back(request->content);
  }
  AddEffect("launch request " + request->content.app_id.value_or("nothing"));
  return Get().launch_requests_fail ? -1 : 0;
}
