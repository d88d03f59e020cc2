// The first launch of a process, which connects and starts the listener.
//   bench_first_launch plain|library LAUNCHES    makes 0 or 1 launches and prints their nanoseconds
// The process then ends on the spot: what happens at its exit is no part of a launch.
#include <nuv/nuv_launcher_api.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "plain_calls.h"
#include "plain_listener.h"
#include "wall_time.h"

namespace {

void Hear(const char*, nuv_notify_event_e, int, int, void*) {}

// Sends no heartbeat, because the library's first launch sends none.
void LaunchPlainly() {
  GDBusConnection* const connection = bench::SystemBus();
  auto* const listener = new bench::PlainListener("obj" + std::to_string(getpid()), [](int32_t) {});
  bench::PlainLaunch launch;
  launch.object = listener->object().c_str();
  bench::PlainLaunchApp(connection, launch);
}

void LaunchThroughLibrary() {
  if (nuv_launch_webapp(bench::kAppId, bench::kPayload, bench::kCallerId, Hear, nullptr) != 0) exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const bool plain = strcmp(argv[1], "plain") == 0;
  if (atoi(argv[2]) == 1) {
    printf("%lld\n", static_cast<long long>(bench::TimeOf(plain ? LaunchPlainly : LaunchThroughLibrary)));
    fflush(stdout);
  }
  _exit(0);
}
