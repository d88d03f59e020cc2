// Lines that the log's sink did not take.
#pragma once

#include <atomic>

namespace nuv::host {

// Counts lost lines until a line gets through that reports them. Takes no lock, and costs an ordinary line one load.
class LostLines {
 public:
  struct Count {
    unsigned lines = 0;
    bool cut = false;  // a part of the last one is there, without its end
  };

  // Takes the count of what has been lost up to now, which the caller has to report.
  Count Take() {
    if (state_.load(std::memory_order_relaxed) == 0) return {};
    const unsigned state = state_.exchange(0, std::memory_order_relaxed);
    return {state / kLine, (state & kCut) != 0};
  }

  // Adds one more lost line, together with the count that it was to report.
  void Add(const Count& before, bool cut) {
    state_.fetch_add((before.lines + 1) * kLine, std::memory_order_relaxed);
    if (cut || before.cut) state_.fetch_or(kCut, std::memory_order_relaxed);
  }

 private:
  static constexpr unsigned kCut = 1;
  static constexpr unsigned kLine = 2;

  std::atomic<unsigned> state_{0};
};

}  // namespace nuv::host
