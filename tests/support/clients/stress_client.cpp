// Four threads launch 500 times each; every accepted launch has to deliver its result exactly once, to its own
// callback.
#include <nuv/nuv_launcher_api.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kLaunches = 500;
constexpr std::chrono::seconds kLimit{60};

struct Launch {
  std::string app;
  std::atomic<int> delivered{0};
  std::atomic<bool> foreign{false};
};

void Hear(const char* app_id, nuv_notify_event_e event, int, int result, void* data) {
  auto* launch = static_cast<Launch*>(data);
  if (app_id != launch->app || event != NUV_NOTIFY_LAUNCHED || result != 0) launch->foreign = true;
  ++launch->delivered;
}

bool AllDelivered(const std::vector<Launch>& launches) {
  for (const Launch& launch : launches) {
    if (launch.delivered == 0) return false;
  }
  return true;
}

int Count(const std::vector<Launch>& launches, bool (*wrong)(const Launch&)) {
  int count = 0;
  for (const Launch& launch : launches) count += wrong(launch) ? 1 : 0;
  return count;
}

}  // namespace

int main() {
  std::vector<Launch> launches(kThreads * kLaunches);
  for (size_t i = 0; i < launches.size(); ++i) launches[i].app = "org.kelvo.stress.n" + std::to_string(i);
  std::atomic<int> refused{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int n = 0; n < kLaunches; ++n) {
        Launch& launch = launches[t * kLaunches + n];
        if (nuv_launch_webapp(launch.app.c_str(), nullptr, nullptr, Hear, &launch) != 0) ++refused;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const auto deadline = std::chrono::steady_clock::now() + kLimit;
  while (!AllDelivered(launches) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const int lost = Count(launches, [](const Launch& launch) { return launch.delivered == 0; });
  const int twice = Count(launches, [](const Launch& launch) { return launch.delivered > 1; });
  const int foreign = Count(launches, [](const Launch& launch) { return launch.foreign.load(); });
  printf("refused %d, lost %d, delivered twice %d, wrong %d\n", refused.load(), lost, twice, foreign);
  return refused + lost + twice + foreign == 0 ? 0 : 1;
}
