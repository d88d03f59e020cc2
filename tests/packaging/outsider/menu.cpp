#include "menu.h"

#include <nuv/nuv_launcher_api.h>

#include <future>
#include <memory>

namespace {

using Outcome = std::promise<nuv_notify_event_e>;

// It belongs to the result, which may come when nobody waits for it any more.
void OnNotify(const char*, nuv_notify_event_e event, int, int, void* outcome) {
  const std::unique_ptr<Outcome> owner(static_cast<Outcome*>(outcome));
  owner->set_value(event);
}

}  // namespace

std::string Open(const char* app_id, std::chrono::milliseconds limit) {
  auto* outcome = new Outcome;
  std::future<nuv_notify_event_e> event = outcome->get_future();
  // Where it is not accepted the callback has been called already.
  nuv_launch_webapp(app_id, "", "org.kelvo.menu", OnNotify, outcome);
  if (event.wait_for(limit) != std::future_status::ready) return "no answer";
  return event.get() == NUV_NOTIFY_LAUNCHED ? "opened" : "failed";
}
