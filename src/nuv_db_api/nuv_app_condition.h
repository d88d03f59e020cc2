// The clause of a query together with its parameters.
#pragma once

#include <nuv_common/nuv_log.h>

#include <string>
#include <vector>

#include "nuv_db_api/nuv_db_statement.h"

// What the filters compare with.
enum AppState {
  kInstalled = 3,
  kAvailable = 1,
  kNoResetNeeded = 0,
  kVisible = 0,
  kLocked = 1,
  kMarkedForUninstall = 0
};

struct AppCondition {
  // Appends to the clause, with the values of its "?" in their order.
  AppCondition& Add(const char* text) {
    clause += text;
    return *this;
  }
  template <typename... Values>
  AppCondition& Add(const char* text, const Values&... values) {
    clause += text;
    (save_db_bind(binds, values), ...);
    return *this;
  }

  std::string clause;
  std::vector<_NUVDB_BIND_T> binds;
};

// Appends one mark and one value for each of the given bits that the set holds: "? ,? ".
template <size_t Count>
std::string MarksOf(int set, const int (&bits)[Count], std::vector<_NUVDB_BIND_T>& binds) {
  std::string marks;
  for (const int bit : bits) {
    if ((set & bit) == 0) continue;
    marks += "? ,";
    save_db_bind(binds, bit);
  }
  if (!marks.empty()) marks.pop_back();
  return marks;
}

// 3 stands for the categories 1, 2 and 8.
int FeaturedCategories(int featured);

// Limits the condition to the given categories: 0, or -1, logged for the caller, where none is given.
int AddFeatured(AppCondition& condition, int categories, const LogOrigin& origin);
