// Launches twice and exits in the first callback's time, with the second outcome there: which callbacks are entered?
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <nuv/nuv_launch.hpp>
#include <string>

#include "process.h"

namespace {

constexpr std::chrono::seconds kLimit(60);

struct Once {
  std::promise<void> promise;
  std::future<void> future = promise.get_future();
};

// Made before the first launch, so that exit() destroys it after what the header has made.
struct HostsObject {
  Once entered, may_end, has_ended;
  ~HostsObject() {
    may_end.promise.set_value();
    has_ended.future.wait_for(kLimit);
    // The time in which another one would be entered.
    WaitUntil([] { return false; }, Milliseconds(200));
    puts("the host's object");
    fflush(stdout);
  }
};

}  // namespace

int main() {
  static HostsObject host;
  nuv::launch_async("app", {}, kLimit, [](const nuv::LaunchOutcome&) {
    host.entered.promise.set_value();
    host.may_end.future.wait_for(kLimit);
    puts("the first one");
    host.has_ended.promise.set_value();
  });
  nuv::launch_async("app", {}, kLimit, [](const nuv::LaunchOutcome&) { puts("the second one"); });
  if (host.entered.future.wait_for(kLimit) != std::future_status::ready) return 1;
  // Its outcome comes behind that of the second one.
  if (!nuv::launch_future("app", {}, kLimit).get().ok()) return 2;
  return 0;
}
