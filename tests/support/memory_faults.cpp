#include "memory_faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <new>

#include "undisturbed.h"

extern "C" {
void* __real_malloc(size_t bytes);
void* __real_calloc(size_t count, size_t bytes);
char* __real_strdup(const char* text);
void __real_free(void* block);
}

namespace {

struct Watched {
  std::mutex mutex;
  std::map<void*, size_t> blocks;
};

Watched& Get() {
  static Watched& watched = *new Watched;
  return watched;
}

std::atomic<size_t> failing_malloc{0};
std::atomic<size_t> failing_new{0};
std::atomic<size_t> largest_request{0};

struct Countdown {
  bool active;
  long requests;  // so far
  long nth;
  memory_faults::FailNth::Extent extent;
  long of_sqlite;  // so far, whether counted or not
};
thread_local Countdown countdown = {};
long of_sqlite_each = 1;

// Whether a request is one of those that fail.
bool Fails(size_t bytes, const std::atomic<size_t>& failing) {
  largest_request = std::max<size_t>(largest_request, bytes);
  return (bytes == failing && bytes != 0) || memory_faults::NextFails();
}

template <typename Block>
Block* OutOfMemory() {
  errno = ENOMEM;
  return nullptr;
}

}  // namespace

namespace memory_faults {

void FailMalloc(size_t bytes) {
  failing_malloc = bytes;
}

void FailNew(size_t bytes) {
  failing_new = bytes;
}

int LiveBlocks(size_t bytes) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return static_cast<int>(std::count_if(Get().blocks.begin(), Get().blocks.end(),
                                        [bytes](const auto& block) { return block.second == bytes; }));
}

size_t TakeLargestRequest() {
  return largest_request.exchange(0);
}

FailNth::FailNth(long nth, Extent extent) {
  countdown = {true, 0, nth, extent, 0};
}

FailNth::~FailNth() {
  countdown.active = false;
}

bool FailNth::Reached() {
  return countdown.requests >= countdown.nth;
}

bool NextFails() {
  if (!countdown.active || Undisturbed::Now()) return false;
  const long request = ++countdown.requests;
  return request == countdown.nth || (countdown.extent == FailNth::kThatAndAllLater && request > countdown.nth);
}

bool NextOfSqliteFails() {
  const bool all_fail = countdown.extent == FailNth::kThatAndAllLater && FailNth::Reached();
  return (++countdown.of_sqlite % of_sqlite_each == 0 || all_fail) && NextFails();
}

void CountOfSqliteEach(long number) {
  of_sqlite_each = number;
}

}  // namespace memory_faults

extern "C" {

void* __wrap_malloc(size_t bytes) {
  if (Fails(bytes, failing_malloc)) return OutOfMemory<void>();
  void* block = __real_malloc(bytes);
  const Undisturbed undisturbed;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().blocks[block] = bytes;
  return block;
}

void* __wrap_calloc(size_t count, size_t bytes) {
  return memory_faults::NextFails() ? OutOfMemory<void>() : __real_calloc(count, bytes);
}

char* __wrap_strdup(const char* text) {
  return memory_faults::NextFails() ? OutOfMemory<char>() : __real_strdup(text);
}

void __wrap_free(void* block) {
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().blocks.erase(block);
  }
  __real_free(block);
}

}  // extern "C"

void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
  return Fails(bytes, failing_new) ? nullptr : __real_malloc(bytes == 0 ? 1 : bytes);
}

void* operator new(size_t bytes) {
  void* block = operator new(bytes, std::nothrow);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  __real_free(block);
}

void operator delete(void* block, size_t) noexcept {
  __real_free(block);
}
