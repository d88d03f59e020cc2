// What the header for C++ adds to the C functions that it calls.
//   bench_kit plain|library COUNT               COUNT launches, each with its outcome, for an instruction counter
//   bench_kit plain|library list COUNT ROWS     lists the catalogue COUNT times and looks at each record
// "plain" is what a component writes over the C functions.
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <nuv/nuv_launch.hpp>

#include "launch_case.h"

namespace {

constexpr std::chrono::seconds kLimit(60);

// Lives as long as the process, because its launch may be heard of as long.
struct Outcome {
  std::mutex mutex;
  std::condition_variable heard;
  int event = 0;
};

void Hear(const char*, nuv_notify_event_e event, int, int, void* data) {
  auto* const outcome = static_cast<Outcome*>(data);
  const std::lock_guard<std::mutex> lock(outcome->mutex);
  outcome->event = event;
  outcome->heard.notify_one();
}

void LaunchPlainly() {
  auto* const outcome = new Outcome;
  const auto deadline = std::chrono::steady_clock::now() + kLimit;
  if (nuv_launch_webapp(bench::kAppWithResult, bench::kPayload, bench::kCallerId, Hear, outcome) != 0) exit(1);
  std::unique_lock<std::mutex> lock(outcome->mutex);
  if (!outcome->heard.wait_until(lock, deadline, [&] { return outcome->event != 0; })) exit(1);
}

void LaunchInOne() {
  static const nuv::LaunchOptions options = {bench::kPayload, bench::kCallerId};
  static const std::string app_id = bench::kAppWithResult;
  if (!nuv::launch(app_id, options, kLimit)) exit(1);
}

size_t ListPlainly() {
  const nuv_app_filter_s everything = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
  nuv_app_info_s* list = nullptr;
  int length = 0;
  if (GetAppList(everything, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &length, &list, nullptr) != 0) exit(1);
  size_t sum = 0;
  for (int i = 0; i < length; ++i) sum += strlen(list[i].app_id);
  free(list);
  return sum;
}

size_t ListAsRange() {
  size_t sum = 0;
  nuv::AppList list;
  for (const nuv_app_info_s& app : list) sum += strlen(app.app_id);
  if (list.error() != nuv::LookupError::none) exit(1);
  return sum;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 5) return 2;
  const bool plain = strcmp(argv[1], "plain") == 0;
  const bool list = argc == 5;
  const int count = atoi(argv[list ? 3 : 2]);
  size_t sum = 0;
  for (int i = 0; i < count; ++i) {
    if (list) {
      sum += plain ? ListPlainly() : ListAsRange();
    } else if (plain) {
      LaunchPlainly();
    } else {
      LaunchInOne();
    }
  }
  if (list && count > 0 && sum == 0) return 1;
  return 0;
}
