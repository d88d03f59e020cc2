// The way of a launch's result, from the moment the service sends it to the moment the user's callback runs.
//   bench_result COUNT    COUNT results to the library's client object and to a plain one of the same process, in
//                         turns; prints both medians in nanoseconds
#include <nuv/nuv_launcher_api.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "plain_calls.h"
#include "plain_listener.h"
#include "wall_time.h"

namespace {

sem_t heard;
uint32_t delay;

// The result carries the low half of the time at which it was sent.
void Hear(int32_t sent) {
  delay = static_cast<uint32_t>(bench::Now()) - static_cast<uint32_t>(sent);
  sem_post(&heard);
}

void HearFromLibrary(const char*, nuv_notify_event_e, int, int result, void*) {
  Hear(result);
}

int64_t WaitForDelay() {
  while (sem_wait(&heard) != 0) {
  }
  return delay;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  sem_init(&heard, 0, 0);
  GDBusConnection* const connection = bench::SystemBus();
  auto* const listener = new bench::PlainListener("plain" + std::to_string(getpid()), Hear);
  bench::PlainLaunch launch;
  launch.app_id = bench::kAppWithResult;
  launch.object = listener->object().c_str();
  bench::CompareInTurns(
      atoi(argv[1]),
      [&] {
        bench::PlainHeartbeat(connection);
        bench::PlainLaunchApp(connection, launch);
        return WaitForDelay();
      },
      [] {
        if (nuv_launch_webapp(bench::kAppWithResult, nullptr, nullptr, HearFromLibrary, nullptr) != 0) exit(1);
        return WaitForDelay();
      });
  return 0;
}
