// Launches one application over and over, one launch at a time, until it is told to end (SIGTERM). Says "listening ID"
// with the listener's thread id once its first result has come, and at the end what it has seen and what that has cost.
#include <malloc.h>
#include <nuv/nuv_launcher_api.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kPause{5};

volatile sig_atomic_t told_to_end = 0;

struct Seen {
  std::mutex mutex;
  std::condition_variable changed;
  int genuine = 0;
  int forged = 0;
  int32_t listener = 0;
} seen;

void Hear(const char* app, nuv_notify_event_e event, int, int, void* expected) {
  const std::lock_guard<std::mutex> lock(seen.mutex);
  seen.listener = static_cast<int32_t>(pthread_self());
  const bool genuine = strcmp(app, static_cast<const char*>(expected)) == 0 &&
                       (event == NUV_NOTIFY_LAUNCHED || event == NUV_NOTIFY_BROUGHT_TO_FRONT);
  ++(genuine ? seen.genuine : seen.forged);
  seen.changed.notify_one();
}

// Microseconds until the result was heard; -1 when it was not.
long Launch(char* app, std::chrono::seconds limit) {
  const auto start = Clock::now();
  std::unique_lock<std::mutex> lock(seen.mutex);
  const int before = seen.genuine;
  lock.unlock();
  if (nuv_launch_webapp(app, nullptr, nullptr, Hear, app) != 0) return -1;
  lock.lock();
  if (!seen.changed.wait_for(lock, limit, [before] { return seen.genuine > before; })) return -1;
  return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
}

// A figure of /proc/self/status in kB.
long Memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
  }
  return -1;
}

long AllocatedKb() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<long>((info.uordblks + info.hblkhd) / 1024);
}

long CpuMs() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
         (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::chrono::seconds limit(atoi(argv[2]));
  signal(SIGTERM, [](int) { told_to_end = 1; });
  for (int i = 0; i < 20; ++i) {
    if (Launch(argv[1], limit) < 0) return 1;
  }
  const long memory = Memory("VmRSS");
  const long allocated = AllocatedKb();
  const long cpu = CpuMs();
  const auto start = Clock::now();
  printf("listening %d\n", seen.listener);
  fflush(stdout);

  std::vector<long> delays;
  int lost = 0;
  // The last launch is one that starts when the flood is over: its result comes behind all that was sent.
  for (bool last = false; !last;) {
    last = told_to_end != 0;
    const long delay = Launch(argv[1], limit);
    if (delay < 0) ++lost;
    delays.push_back(delay);
    std::this_thread::sleep_for(kPause);
  }
  std::sort(delays.begin(), delays.end());
  printf("launches %zu\nlost %d\nforged %d\nmedian_us %ld\nlongest_us %ld\n", delays.size(), lost, seen.forged,
         delays[delays.size() / 2], delays.back());
  printf("elapsed_ms %ld\ncpu_ms %ld\ngrown_kb %ld\npeak_kb %ld\nkept_kb %ld\n",
         static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count()),
         CpuMs() - cpu, Memory("VmRSS") - memory, Memory("VmHWM") - memory, AllocatedKb() - allocated);
  return lost == 0 ? 0 : 1;
}
