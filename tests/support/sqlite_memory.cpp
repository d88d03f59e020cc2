// SQLite's allocator, through which its requests of memory are counted and fail like the library's own. Its lookaside,
// from which it serves small requests without asking, is off, so that each of them can fail.
#include <sqlite3.h>

#include "memory_faults.h"

namespace {

sqlite3_mem_methods real;

// Before anything of the test uses SQLite, after which its allocator cannot be changed.
__attribute__((constructor(102))) void CountRequests() {
  sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real);
  sqlite3_mem_methods counting = real;
  counting.xMalloc = [](int bytes) { return memory_faults::NextOfSqliteFails() ? nullptr : real.xMalloc(bytes); };
  counting.xRealloc = [](void* block, int bytes) {
    return memory_faults::NextOfSqliteFails() ? nullptr : real.xRealloc(block, bytes);
  };
  sqlite3_config(SQLITE_CONFIG_MALLOC, &counting);
}

}  // namespace
