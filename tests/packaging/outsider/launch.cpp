// A component written in C++: launches an application, hears the event, and calls the service.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>

#include <chrono>
#include <future>
#include <iostream>
#include <string>

namespace {

struct Event {
  std::string app_id;
  nuv_notify_event_e event;
};

void OnNotify(const char* app_id, nuv_notify_event_e event, int, int, void* promise) {
  static_cast<std::promise<Event>*>(promise)->set_value({app_id, event});
}

}  // namespace

int main() {
  static std::promise<Event> promise;  // lives as long as a late callback might
  std::future<Event> future = promise.get_future();
  if (nuv_launch_webapp("org.kelvo.app.weather", "city=Oslo", "org.kelvo.menu", OnNotify, &promise) != 0) {
    std::cerr << "the request was not accepted\n";
    return 1;
  }
  if (future.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
    std::cerr << "no event\n";
    return 1;
  }
  const Event event = future.get();
  std::string extra_app = "not asked yet";
  const int answer = nuv_get_extra_app(extra_app);
  std::cout << "event " << event.event << " of " << event.app_id << ", extra application \"" << extra_app << "\"\n";
  return event.app_id == "org.kelvo.app.weather" && event.event == NUV_NOTIFY_LAUNCHED && answer == 0 &&
                 extra_app != "not asked yet"
             ? 0
             : 1;
}
