// A client that is soaked: soak_client DIRECTORY SEED. Its threads do everything that the library offers, at random,
// while a conductor ends and restarts the service and the bus. The conductor asks by files in the directory: "measure"
// and, at the end, "stop". Either time the client comes to rest, makes sure that everything works, and prints its
// footprint; at the end, its ledger.
#include <malloc.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "soak_actions.h"

namespace {

using std::chrono::milliseconds;

constexpr int kThreads = 3;
constexpr int kPauseMs = 100;  // at most, between two actions: eight clients have to fit on a machine
constexpr milliseconds kDrainLimit{10000};
constexpr milliseconds kRestLimit{110000};  // two calls that wait for a busy database

bool WaitFor(const std::function<bool()>& condition, milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(10));
  }
  return true;
}

bool Exists(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0;
}

// Threads that act until they are told to rest.
class Crew {
 public:
  explicit Crew(unsigned seed) {
    for (unsigned i = 0; i < kThreads; ++i) threads_.emplace_back([this, seed, i] { Work(seed * kThreads + i); });
  }
  ~Crew() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      ended_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  bool Rest() {
    rest_ = true;
    return WaitFor([this] { return resting_ == kThreads; }, kRestLimit);
  }
  void GoOn() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      rest_ = false;
    }
    changed_.notify_all();
  }

 private:
  void Work(unsigned seed) {
    Random random(seed);
    while (!ended_) {
      Act(random);
      std::this_thread::sleep_for(milliseconds(random() % kPauseMs));
      std::unique_lock<std::mutex> lock(mutex_);
      if (!rest_) continue;
      ++resting_;
      changed_.wait(lock, [this] { return !rest_ || ended_; });
      --resting_;
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> rest_{false};
  std::atomic<bool> ended_{false};
  std::atomic<int> resting_{0};
  std::vector<std::thread> threads_;
};

long Entries(const char* directory) {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator(directory), Iterator());
}

long ResidentKiB() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    if (word == "VmRSS:" && status >> word) return atol(word.c_str());
  }
  return 0;
}

void PrintFootprint() {
  malloc_trim(0);  // what the allocator keeps for later is not held
  const struct mallinfo2 heap = mallinfo2();
  printf("footprint threads %ld descriptors %ld heap %zu rss %ld accepted %lld\n", Entries("/proc/self/task"),
         Entries("/proc/self/fd"), heap.uordblks + heap.hblkhd, ResidentKiB(),
         static_cast<long long>(ledger->Accepted()));
  fflush(stdout);
}

// Whatever happened before, the next launch has to be heard of, and both links have to answer.
void MakeSureAllWorks() {
  const uintptr_t launch = LaunchOne();
  if (!WaitFor([&] { return ledger->WasHeard(launch); }, kDrainLimit)) ledger->Wrong("the next launch is not heard of");
  if (AskBothLinks() != 0) ledger->Wrong("the next calls of the service fail");
}

void ComeToRest(Crew& crew) {
  if (!crew.Rest()) ledger->Wrong("a call does not end");
  WaitFor([] { return ledger->AllHeard(); }, kDrainLimit);
  MakeSureAllWorks();
  WaitFor([] { return ledger->AllHeard(); }, kDrainLimit);  // its callback may have launched again
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const std::string directory = arguments[1];
  ledger = new Ledger(directory + "/outages");  // for callbacks that are later than main()
  MakeSureAllWorks();
  puts("ready");
  fflush(stdout);
  Crew crew(static_cast<unsigned>(atoi(arguments[2])));
  WaitFor([&] { return Exists(directory + "/measure"); }, std::chrono::hours(1000));
  ComeToRest(crew);
  PrintFootprint();
  crew.GoOn();
  WaitFor([&] { return Exists(directory + "/stop"); }, std::chrono::hours(1000));
  ComeToRest(crew);
  PrintFootprint();
  ledger->Close();
  const bool balanced = ledger->Print();
  puts("done");
  fflush(stdout);
  return balanced ? 0 : 1;
}
