// How the clauses of queries are put together.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_log.h>

#include <string>
#include <vector>

#include "nuv_db_common/nuv_app_state.h"
#include "nuv_db_common/nuv_bound_text.h"

// What the filters compare with, beside the state of an application that can be used.
enum AppFlag { kLocked = 1, kMarkedForUninstall = 0 };

// The clause of a query, with its parameters.
using AppCondition = BoundText<_NUVDB_BIND_T>;

// Appends one mark and one value for each of the given bits that the set holds: "? ,? ".
template <size_t Count>
std::string MarksOf(int set, const int (&bits)[Count], std::vector<_NUVDB_BIND_T>& binds) {
  std::string marks;
  for (const int bit : bits) {
    if ((set & bit) == 0) continue;
    marks += "? ,";
    AppendBind(binds, bit);
  }
  if (!marks.empty()) marks.pop_back();
  return marks;
}

// 3 stands for the categories 1, 2 and 8.
int FeaturedCategories(int featured);

// Limits the condition to the given categories: 0, or -1, logged for the caller, where none is given.
int AddFeatured(AppCondition& condition, int categories, const LogOrigin& origin = Here());
