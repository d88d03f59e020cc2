// The list of all installed applications.
#include <nuv_common/nuv_lock.h>

#include <memory>
#include <new>

#include "nuv_db_common/nuv_app_state.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"
#include "nuv_inner_db_api/nuv_inner_app_record.h"
#include "nuv_inner_db_api/nuv_inner_db.h"

namespace {

constexpr const char* kCountRows = "select count(id) from widgetinfo";
constexpr const char* kInstalledApps = " where is_need_reset = ? and is_app_available = ? and install_state = ? ";

// A statement over the applications that the list holds.
InnerStatement OverInstalledApps(std::string_view head) {
  InnerStatement statement;
  statement.text = head;
  statement.Add(kInstalledApps, kNoResetNeeded, kAvailable, kInstalled);
  return statement;
}

int ReadCount(int& total, const LogOrigin& origin) {
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(OverInstalledApps(kCountRows), origin);
  if (prepared != 0) return prepared;
  bool counted = false;
  while (cycle.NextRow()) {
    GetValueByPosition(0, total);
    counted = true;
  }
  return cycle.Result(counted, origin);
}

// Counts the applications; logs a number below 1.
int CountApps(int* count, const LogOrigin& origin = Here()) {
  int total = 0;
  const int result = ReadCount(total, origin);
  if (result != 0) {
    *count = 0;
    NUV_ERROR_FROM(origin, NUV_RED "[inner db] get DB fail " NUV_PLAIN);
    return result;
  }
  NUV_INFO_FROM(origin, NUV_YELLOW "[inner db] num: %d end" NUV_PLAIN, total);
  *count = total;
  if (total == 0) NUV_INFO_FROM(origin, "[inner db]real_count is 0 ");
  if (total >= 0) return 0;
  NUV_ERROR_FROM(origin, NUV_RED "[inner db] real_count<0,it's wrong " NUV_PLAIN);
  return -1;
}

int FillList(_APPSINFO_T* list, int total, const LogOrigin& origin = Here()) {
  InnerStatement statement = OverInstalledApps(InnerAppColumns::Select());
  statement.Add(" order by app_index asc ");
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(statement, origin);
  if (prepared != 0) return prepared;
  int stored = 0;
  bool hasRow = true;
  while (hasRow) {
    hasRow = cycle.NextRow();
    NUV_INFO_FROM(origin, NUV_GREEN "iResult:[%d]" NUV_PLAIN, cycle.LastStep());
    if (!hasRow || stored >= total) continue;
    NUV_INFO_FROM(origin, NUV_GREEN "begin to set app_info" NUV_PLAIN);
    m_GetAppInfoFromRow(list[stored]);
    NUV_INFO_FROM(origin, NUV_GREEN "set app_info success!" NUV_PLAIN);
    ++stored;
  }
  const int result = cycle.Result(stored > 0, origin);
  if (result != 0) NUV_ERROR_FROM(origin, NUV_RED "failed to get app list" NUV_PLAIN);
  return result;
}

void LogList(const _APPSINFO_T* list, int total, const LogOrigin& origin = Here()) {
  for (int i = 0; i < total; ++i) NUV_INFO_FROM(origin, NUV_GREEN "app_id =%s" NUV_PLAIN, list[i].id.c_str());
  NUV_INFO_FROM(origin, NUV_GREEN "[inner db]Finish,real_count:[%d]" NUV_PLAIN, total);
}

}  // namespace

int nuv_inner_get_all_app_list(_APPSINFO_T** list, int* count) try {
  NUV_INFO(NUV_GREEN "[inner db] Start" NUV_PLAIN);
  if (RefusedWhileRecovering()) return -1;
  if (list == nullptr || count == nullptr) {
    NUV_ERROR(NUV_RED "[inner db] in param is NULL " NUV_PLAIN);
    return -1;
  }
  const CNUVClientAutoLock lock(g_inner_Mute);
  const int counted = CountApps(count);
  if (counted != 0 || *count == 0) return counted;
  *list = nullptr;  // so that a failure leaves no stale pointer for the caller to free
  std::unique_ptr<_APPSINFO_T[]> apps(new _APPSINFO_T[static_cast<size_t>(*count)]);
  const int filled = FillList(apps.get(), *count);
  if (filled != 0) {
    *count = 0;
    return filled;
  }
  LogList(apps.get(), *count);
  *list = apps.release();
  return 0;
} catch (const std::bad_alloc&) {
  if (count != nullptr) *count = 0;
  return OutOfMemory();
}
