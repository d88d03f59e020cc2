// Does what its arguments say, one after the other, and prints what the library answers:
//   launch|webapp|background|preload|deeplink|skip_pin|pin|pin_notify|terminate|status APP, showing, wait, pause
// A launch waits for its result unless its word ends with '&'; "wait" waits for all results, "pause" until it is
// killed.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_platform/platform_app_control.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace {

std::mutex mutex;
std::condition_variable heard;
int expected = 0;

void Print(const std::string& line) {
  printf("%s\n", line.c_str());
  fflush(stdout);
}

void Hear(const std::string& line) {
  Print(line);
  const std::lock_guard<std::mutex> guard(mutex);
  --expected;
  heard.notify_one();
}

void HearNotification(const char* app, nuv_notify_event_e event, int, int result, void*) {
  Hear("notified " + std::string(app) + " " + std::to_string(event) + " " + std::to_string(result));
}

void HearResult(void*, int, const char* app, int result) {
  Hear("result " + std::string(app) + " " + std::to_string(result));
}

void WaitForResults() {
  std::unique_lock<std::mutex> lock(mutex);
  if (!heard.wait_for(lock, std::chrono::seconds(20), [] { return expected <= 0; })) exit(3);
}

int LaunchWithoutPin(const char* app) {
  app_control_h request = nullptr;
  app_control_create(&request);
  app_control_set_app_id(request, app);
  app_control_add_extra_data(request, "SkipPIN", "true");
  const int answer = nuv_launch_app_ex(request, HearNotification, nullptr);
  app_control_destroy(request);
  return answer;
}

template <typename Callback>
int AskForPin(const char* app, Callback callback, int cb_type) {
  _NUV_LAUNCHER_DATA record;
  record.appId = app;
  record.callback = reinterpret_cast<uintptr_t>(callback);
  record.cbType = cb_type;
  return nuv_launch_Pin_Popup(0, 2, record);
}

using Launch = std::function<int(const char* app)>;

const std::map<std::string, Launch>& Launches() {
  static const std::map<std::string, Launch> launches = {
      {"launch", [](const char* app) { return nuv_launch_app(app, "", HearResult, nullptr); }},
      {"webapp", [](const char* app) { return nuv_launch_webapp(app, "", "", HearNotification, nullptr); }},
      {"background",
       [](const char* app) { return nuv_background_launch_webapp(app, "", "", HearNotification, nullptr); }},
      {"preload",
       [](const char* app) { return nuv_launch_webapp_for_preload(app, "", "", HearNotification, nullptr); }},
      {"deeplink",
       [](const char* app) { return nuv_launch_webapp_for_deeplink(app, "", "", HearNotification, nullptr); }},
      {"skip_pin", LaunchWithoutPin},
      {"pin", [](const char* app) { return AskForPin(app, HearResult, 0); }},
      {"pin_notify", [](const char* app) { return AskForPin(app, HearNotification, 1); }},
  };
  return launches;
}

void RunLaunch(std::string word, const char* app) {
  const bool waits = word.back() != '&';
  if (!waits) word.pop_back();
  {
    const std::lock_guard<std::mutex> guard(mutex);
    ++expected;
  }
  const int answer = Launches().at(word)(app);
  if (answer != 0) {
    Print(word + " " + app + " failed");
    const std::lock_guard<std::mutex> guard(mutex);
    --expected;
  } else if (waits) {
    WaitForResults();
  }
}

void PrintStatus(const char* app) {
  int status = -1;
  const int answer = nuv_get_app_status(app, &status);
  Print("status " + std::string(app) + " " + (answer == 0 ? std::to_string(status) : "failed"));
}

void PrintShowing() {
  char* app = nullptr;
  const int answer = nuv_get_current_showing_app(&app);
  Print("showing " + (answer == 0 ? "[" + std::string(app) + "]" : "failed"));
  free(app);
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "showing") {
      PrintShowing();
    } else if (word == "wait") {
      WaitForResults();
    } else if (word == "pause") {
      pause();
    } else if (i + 1 == argc) {
      return 2;
    } else if (word == "status") {
      PrintStatus(argv[++i]);
    } else if (word == "terminate") {
      Print("terminate " + std::to_string(nuv_terminate_app(argv[++i])));
    } else {
      RunLaunch(word, argv[++i]);
    }
  }
  return 0;
}
