// The memory that the code under test asks for, watched and let run out. Of malloc() and free() only calls from the
// test program itself, to which the library's objects belong, are seen: those of other libraries are not.
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

}  // namespace memory_faults
