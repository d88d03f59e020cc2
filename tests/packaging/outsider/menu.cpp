#include "menu.h"

#include <nuv/nuv_launcher_api.h>

#include <future>
#include <mutex>

namespace {

struct Outcome {
  std::promise<nuv_notify_event_e> first;
  std::once_flag told;
};

// The launch may be heard of again, also when nobody waits for it any more.
void OnNotify(const char*, nuv_notify_event_e event, int, int, void* data) {
  auto* outcome = static_cast<Outcome*>(data);
  std::call_once(outcome->told, [&] { outcome->first.set_value(event); });
}

}  // namespace

std::string Open(const char* app_id, std::chrono::milliseconds limit) {
  auto* outcome = new Outcome;  // for as long as the process, as the library asks for
  std::future<nuv_notify_event_e> event = outcome->first.get_future();
  if (nuv_launch_webapp(app_id, "", "org.kelvo.menu", OnNotify, outcome) != 0) return "failed";
  if (event.wait_for(limit) != std::future_status::ready) return "no answer";
  return event.get() == NUV_NOTIFY_LAUNCHED ? "opened" : "failed";
}
