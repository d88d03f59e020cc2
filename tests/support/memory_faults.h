// The memory that the code under test asks for, watched and let run out. Of malloc() and free() only calls from the
// test program itself, to which the library's objects belong, are seen: those of other libraries are not. SQLite's
// are seen where the program has support/sqlite_memory.cpp.
#pragma once

#include <cstddef>

namespace memory_faults {

// From now on every malloc() of that many bytes gives null; 0: none.
void FailMalloc(size_t bytes);
// From now on every new of that many bytes throws (or gives null where it must not throw); 0: none.
void FailNew(size_t bytes);

// Blocks of that many bytes that malloc() gave and free() did not take back.
int LiveBlocks(size_t bytes);

// The greatest number of bytes that was asked for, by malloc() or new, since it was last called.
size_t TakeLargestRequest();

// While this lives, the calling thread's nth request for memory, counted from 1, fails, or that one and all later ones.
// Requests within an Undisturbed are neither counted nor failed.
class FailNth {
 public:
  enum Extent { kOnlyThat, kThatAndAllLater };

  FailNth(long nth, Extent extent);
  ~FailNth();
  FailNth(const FailNth&) = delete;
  FailNth& operator=(const FailNth&) = delete;

  // Whether there were as many requests.
  static bool Reached();
};

// Asked for each request: whether it fails.
bool NextFails();
bool NextOfSqliteFails();

// Counts only every number-th request of SQLite, for a test of calls of which another test lets each request fail.
void CountOfSqliteEach(long number);

}  // namespace memory_faults
