// A launch through the public interface against the two calls beneath it.
//   bench_launch plain|library COUNT    makes COUNT launches, for an instruction counter
//   bench_launch wall COUNT             COUNT launches of each, in turns; prints both medians in nanoseconds
#include <nuv/nuv_launcher_api.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "plain_calls.h"
#include "wall_time.h"

namespace {

void Hear(const char*, nuv_notify_event_e, int, int, void*) {}

void LaunchThroughLibrary() {
  if (nuv_launch_webapp(bench::kAppId, bench::kPayload, bench::kCallerId, Hear, nullptr) != 0) exit(1);
}

void LaunchPlainly(GDBusConnection* connection) {
  static bench::PlainLaunch launch;
  bench::PlainHeartbeat(connection);
  bench::PlainLaunchApp(connection, launch);
  ++launch.event;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int count = atoi(argv[2]);
  GDBusConnection* const connection = bench::SystemBus();
  if (strcmp(argv[1], "plain") == 0) {
    for (int i = 0; i < count; ++i) LaunchPlainly(connection);
  } else if (strcmp(argv[1], "library") == 0) {
    for (int i = 0; i < count; ++i) LaunchThroughLibrary();
  } else {
    bench::CompareInTurns(
        count, [connection] { return bench::TimeOf([connection] { LaunchPlainly(connection); }); },
        [] { return bench::TimeOf(LaunchThroughLibrary); });
  }
  return 0;
}
