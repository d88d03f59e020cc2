// Threads whose id, cut to 32 bits, is negative.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

// Fills the address space where thread stacks are put until the next ones lie where a thread's id, cut to 32 bits, is
// negative. GLib's threads may take some of them first.
class StacksOfNegativeThreads {
 public:
  StacksOfNegativeThreads() {
    pthread_attr_t attributes;
    pthread_getattr_default_np(&attributes);
    pthread_attr_getstacksize(&attributes, &size_);
    pthread_attr_destroy(&attributes);
    do {
      taken_.push_back(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    } while (taken_.size() < 4096 && !LastIsNegative());
    munmap(taken_.back(), size_);
    taken_.pop_back();
  }
  ~StacksOfNegativeThreads() {
    for (void* place : taken_) munmap(place, size_);
  }
  StacksOfNegativeThreads(const StacksOfNegativeThreads&) = delete;
  StacksOfNegativeThreads& operator=(const StacksOfNegativeThreads&) = delete;

 private:
  bool LastIsNegative() const {
    const auto start = reinterpret_cast<uintptr_t>(taken_.back());
    const bool negative = static_cast<int32_t>(start) < 0 && static_cast<int32_t>(start + size_ - 1) < 0;
    return negative && (sizeof(void*) == sizeof(int32_t) || static_cast<int32_t>(start) >= -kRoomBelow);
  }
  static constexpr int32_t kRoomBelow = 1 << 30;  // stacks are put one below the other
  size_t size_ = 0;
  std::vector<void*> taken_;
};

// A thread that takes the stack of one that has ended, and keeps it.
inline void KeepFreeStack() {
  pthread_t keeper{};
  const auto wait = [](void*) -> void* {
    pause();
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&keeper, nullptr, wait, nullptr));
  pthread_detach(keeper);
}
