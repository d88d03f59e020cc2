#include "wall_time.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace bench {

namespace {

constexpr int kWarmUp = 50;

int64_t Median(std::vector<int64_t> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

int64_t Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

int64_t TimeOf(const std::function<void()>& call) {
  const int64_t start = Now();
  call();
  return Now() - start;
}

void CompareInTurns(int count, const std::function<int64_t()>& plain, const std::function<int64_t()>& library) {
  std::vector<int64_t> plain_times;
  std::vector<int64_t> library_times;
  for (int i = -std::min(kWarmUp, count); i < count; ++i) {
    const int64_t before = i % 2 == 0 ? plain() : 0;
    const int64_t library_time = library();
    const int64_t plain_time = i % 2 == 0 ? before : plain();
    if (i < 0) continue;
    plain_times.push_back(plain_time);
    library_times.push_back(library_time);
  }
  printf("%lld %lld\n", static_cast<long long>(Median(plain_times)), static_cast<long long>(Median(library_times)));
}

}  // namespace bench
