// Questions that a statement of the caller answers: how many rows, and is an application among them.
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_log.h>

#include <new>

#include "nuv_db_api/nuv_db_guards.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_db_common/nuv_statement.h"

int CheckIsRecentlyOrMostUsedApp(const std::string& app_id, const std::string& sql,
                                 std::vector<_NUVDB_BIND_T>& binds) try {
  NUV_INFO("app id:%s, strSql:%s", app_id.c_str(), sql.c_str());
  StatementCycle cycle;
  const int prepared = cycle.Begin(sql, binds);
  if (prepared != 0) {
    NUV_ERROR(NUV_RED "Failed to prepare" NUV_PLAIN);
    return prepared;
  }
  const bool found = HasRowOf(cycle, app_id, "", "is recently(or most) used app", Here());
  if (cycle.ReportBusy(kLookupBusy)) return kDatabaseBusy;
  NUV_INFO(NUV_YELLOW "[%s] check db finish, result [%d]" NUV_PLAIN, app_id.c_str(), found ? 1 : 0);
  return found ? 0 : -1;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int GetAppsTableCount(int* count, const std::string& clause, int tableType,
                      const std::vector<_NUVDB_BIND_T>& binds) try {
  NUV_INFO("Start:strParam:[%s],tableType:[%d]", clause.c_str(), tableType);
  if (!RequireParameters(count != nullptr)) return -1;
  StatementCycle cycle;
  const int prepared = cycle.Begin("select count(id) from widgetinfo" + clause, binds);
  if (prepared != 0) return prepared;
  bool counted = false;
  *count = 0;
  while (cycle.NextRow()) {
    *count = GetIntegerFromResult(0);
    counted = true;
  }
  return cycle.Result(counted || cycle.EndedInOrder());
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
