// Launches for which memory runs out in the library.
#include <new>

#include "launch_desk_test.h"

namespace {

std::atomic<bool> runs_out{false};

// For a thread that is asking the service, and for no other.
void* Allocate(size_t size) {
  void* block = runs_out && nuv::detail::request_of_thread().number != 0 ? nullptr : malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(size_t size) {
  return Allocate(size);
}
void* operator new[](size_t size) {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  free(block);
}
void operator delete[](void* block) noexcept {
  free(block);
}
void operator delete(void* block, size_t) noexcept {
  free(block);
}
void operator delete[](void* block, size_t) noexcept {
  free(block);
}

namespace {

using nuv::LaunchEnd;

class LaunchWithoutMemory : public LaunchDeskTest {};

TEST_F(LaunchWithoutMemory, LetsBadAllocPassToWhoeverWaitsAndLeavesNothingBehind) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
  runs_out = true;
  EXPECT_THROW(nuv::launch("app", {}, kLong), std::bad_alloc);
  runs_out = false;
  EXPECT_TRUE(nuv::detail::desk().pending.empty());
  EXPECT_EQ(nuv::detail::request_of_thread().number, 0u);
  EXPECT_TRUE(nuv::launch("app", {}, kLong).ok());
}

TEST_F(LaunchWithoutMemory, IsRefusedWhereAHelperAsks) {
  AnswerWith({Result(900)});
  EXPECT_TRUE(nuv::launch_future("app", {}, kLong).get().ok());
  runs_out = true;
  EXPECT_EQ(nuv::launch_future("app", {}, kLong).get().end, LaunchEnd::refused);
  runs_out = false;
  EXPECT_TRUE(nuv::launch_future("app", {}, kLong).get().ok());
}

}  // namespace
