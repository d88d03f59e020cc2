// The fixture of the tests of lists: what a list function hands out, in a form that compares.
#pragma once

#include <nuv/nuv_app_database.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "database_test.h"
#include "log_notation.h"
#include "memory_faults.h"
#include "named_lock.h"

// What became of the caller's pointer.
enum class Handed { kUntouched, kNull, kArray };

struct ListAnswer {
  int result = 0;
  int real_count = 0;
  Handed handed = Handed::kUntouched;
  std::vector<std::string> ids;  // of an array

  bool operator==(const ListAnswer& other) const {
    return result == other.result && real_count == other.real_count && handed == other.handed && ids == other.ids;
  }
};

inline void PrintTo(const ListAnswer& answer, std::ostream* out) {
  constexpr const char* kHanded[] = {"pointer untouched", "null", "array:"};
  *out << "result " << answer.result << ", real_count " << answer.real_count << ", "
       << kHanded[static_cast<int>(answer.handed)];
  for (const std::string& id : answer.ids) *out << " " << id;
}

inline ListAnswer Array(const std::vector<std::string>& ids) {
  return {0, static_cast<int>(ids.size()), Handed::kArray, ids};
}

// What the caller's variables hold before a call.
constexpr int kCountBefore = -77;

// Gives the array back after having read it.
template <typename Record>
ListAnswer ReadAnswer(int result, int real_count, Record* list, const Record* before) {
  ListAnswer answer{result, real_count, Handed::kUntouched, {}};
  if (list == before) return answer;
  answer.handed = list == nullptr ? Handed::kNull : Handed::kArray;
  if (list == nullptr) return answer;
  for (int i = 0; i < real_count; ++i) answer.ids.emplace_back(list[i].app_id);
  free(list);
  return answer;
}

// The arguments of GetAppList(), from "everything, by index, no paging" on.
struct ListCall {
  int featured = NUV_APP_FILTER_ANY;
  int type = NUV_APP_FILTER_ANY;
  int view_mode = NUV_APP_VIEWMODE_INDEX;
  int index = -1;
  int count = 0;
  bool ms = false;
};

inline void PrintTo(const ListCall& call, std::ostream* out) {
  *out << "featured " << call.featured << " type " << call.type << " view mode " << call.view_mode << " index "
       << call.index << " count " << call.count << (call.ms ? " ms" : "");
}

inline ListAnswer Get(const ListCall& call) {
  static nuv_app_info_s before = {};
  static nuv_app_ms_s before_ms = {};
  nuv_app_info_s* list = &before;
  nuv_app_ms_s* ms_list = &before_ms;
  int real_count = kCountBefore;
  const int result =
      GetAppList({call.featured, 0, call.type}, static_cast<nuv_app_viewmode_e>(call.view_mode), call.index, call.count,
                 call.ms, &real_count, call.ms ? nullptr : &list, call.ms ? &ms_list : nullptr);
  return call.ms ? ReadAnswer(result, real_count, ms_list, &before_ms) : ReadAnswer(result, real_count, list, &before);
}

class AppListTest : public DatabaseTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(LockIsFree());
    DatabaseTest::TearDown();
  }

  // The lines that a function logged, or that were logged on its behalf, as "E text".
  static std::vector<std::string> LogOf(const std::string& function) {
    std::vector<std::string> lines;
    for (const fake_platform::LogLine& line : fake_platform::Log()) {
      if (line.prefix.find(": " + function + "(") == std::string::npos) continue;
      lines.push_back(LogText(line));
    }
    return lines;
  }

  // The next statement runs as it is, and each step of the one after it finds the database busy until the tries are
  // used up; before that, the given number of its rows is read. The first statement answers with one row.
  static void LetSecondStatementBeBusy(int rows) {
    sqlite_faults::step_codes.assign(2 + rows, 0);
    sqlite_faults::step_codes.insert(sqlite_faults::step_codes.end(), 50, SQLITE_BUSY);
  }

  // Does something to the database between the first statement and the second one.
  template <typename Change>
  static void BeforeSecondStatement(Change change) {
    sqlite_faults::before_prepare = [change, statements = 0](const std::string&) mutable {
      if (++statements == 2) change();
    };
  }
};
