#include "tv/lane.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace home {

struct Lane::Queue {
  explicit Queue(std::size_t most) : most_waiting(most) {}

  [[noreturn]] void Work() {
    for (;;) {
      std::function<void()> work;
      {
        std::unique_lock<std::mutex> lock(mutex);
        filled.wait(lock, [this] { return !waiting.empty(); });
        work = std::move(waiting.front());
        waiting.pop_front();
      }
      work();
    }
  }

  const std::size_t most_waiting;
  std::mutex mutex;
  std::condition_variable filled;
  std::deque<std::function<void()>> waiting;
};

Lane::Lane(std::size_t most_waiting) : queue_(std::make_shared<Queue>(most_waiting)) {
  std::thread([queue = queue_] { queue->Work(); }).detach();
}

bool Lane::Do(std::function<void()> work) {
  {
    const std::lock_guard<std::mutex> lock(queue_->mutex);
    if (queue_->waiting.size() >= queue_->most_waiting) return false;
    queue_->waiting.push_back(std::move(work));
  }
  queue_->filled.notify_one();
  return true;
}

}  // namespace home
