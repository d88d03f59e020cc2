// The library's calls of SQLite, watched and let fail. The library opens its connections with sqlite3_open_v2(), by
// which they are told from a test's own.
#pragma once

#include <sqlite3.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace sqlite_faults {

// While one of these holds codes, a call takes the first and returns it without reaching SQLite; 0 means "reach it".
extern std::deque<int> open_codes;  // such an opening leaves no connection
extern std::deque<int> prepare_codes;
extern std::deque<int> step_codes;

// Called with each of the library's statement texts before it is prepared; empty: nothing.
extern std::function<void(const std::string&)> before_prepare;

struct Opening {
  std::string path;
  int flags;
  bool with_vfs;
};
std::vector<Opening> Openings();

// What the library has open. Not to be asked while it is at work.
int LiveStatements();
int LiveConnections();

// The library's statement texts in the order in which they were prepared (each try once).
std::vector<std::string> Prepared();
// The statements whose first step reached SQLite, each with its parameters in their places.
std::vector<std::string> Executed();
void Forget();

}  // namespace sqlite_faults
