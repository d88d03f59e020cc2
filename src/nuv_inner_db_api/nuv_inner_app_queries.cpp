// Looking one application up on the inner side.
#include <nuv_common/nuv_lock.h>

#include <new>

#include "nuv_db_common/nuv_app_state.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"
#include "nuv_inner_db_api/nuv_inner_app_record.h"
#include "nuv_inner_db_api/nuv_inner_db.h"

namespace {

constexpr int kNeverUsed = 0;
constexpr int kMostRows = 3;
constexpr const char* kAppIdIsEmpty = "[inner db] app id is empty";

// A lookup as its log lines name it.
struct Lookup {
  const char* what;
  const std::string& key;
  LogOrigin origin;
};

bool MayRun(const Lookup& lookup, const char* complaint = kAppIdIsEmpty) {
  NUV_INFO_FROM(lookup.origin, "[inner db] %s [%s]", lookup.what, lookup.key.c_str());
  return !RefusedWhileRecovering(lookup.origin) && RequireKey(lookup.key, complaint, lookup.origin);
}

// The end of a lookup that read to the last row. The log calls it a success whether or not anything was found, which
// its readers know.
int Finish(const InnerStatementCycle& cycle, bool found, const Lookup& lookup) {
  if (cycle.ReportBusy(kLookupBusy, lookup.origin)) return kDatabaseBusy;
  NUV_INFO_FROM(lookup.origin, "[inner db] %s [%s] success", lookup.what, lookup.key.c_str());
  return found ? 0 : -1;
}

// The last row that matches.
int FindRecord(const InnerStatement& statement, _APPSINFO_T& info, const Lookup& lookup,
               const char* rowNotice = nullptr) {
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(statement, lookup.origin);
  if (prepared != 0) return prepared;
  bool found = false;
  while (cycle.NextRow()) {
    if (rowNotice != nullptr) NUV_INFO_FROM(lookup.origin, "%s", rowNotice);
    m_GetAppInfoFromRow(info);
    found = true;
  }
  return Finish(cycle, found, lookup);
}

int FindId(const InnerStatement& statement, std::string& app_id, const Lookup& lookup) {
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(statement, lookup.origin);
  if (prepared != 0) return prepared;
  bool found = false;
  while (cycle.NextRow()) {
    GetValueByPosition(0, app_id);
    found = true;
  }
  return Finish(cycle, found, lookup);
}

InnerStatement FullRow() {
  InnerStatement statement;
  statement.text = InnerAppColumns::Select();
  return statement;
}

// What differs between the two questions about an application's use.
struct UsageCheck {
  const char* what;  // in the first line
  const char* order;
  const char* matchText;  // behind the id
  const char* endText;    // behind the id
};

constexpr UsageCheck kMostUsed = {"most used", "use_count", "is most used app or not", "get db finish"};
constexpr UsageCheck kRecentlyUsed = {"recently used", "launch_date", "is recently used app", "check db finish"};

int CheckUsage(const UsageCheck& check, const std::string& app_id, const LogOrigin& origin = Here()) {
  NUV_INFO_FROM(origin, "[inner db] check [%s] is %s app or not", app_id.c_str(), check.what);
  if (RefusedWhileRecovering(origin) || !RequireKey(app_id, kAppIdIsEmpty, origin)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement;
  statement.Add(
      "select id from widgetinfo where is_need_reset = ? and is_app_available = ? and install_state = ? "
      "and is_hidden = ? and use_count > ?  order by ",
      kNoResetNeeded, kAvailable, kInstalled, kVisible, kNeverUsed);
  statement.Add(check.order).Add(" desc limit ?", kMostRows);
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(statement, origin);
  if (prepared != 0) return prepared;
  const bool found = HasRowOf(cycle, app_id, "[inner db] ", check.matchText, origin);
  if (cycle.ReportBusy(kLookupBusy, origin)) return kDatabaseBusy;
  NUV_INFO_FROM(origin, NUV_YELLOW "[inner db] [%s] %s, result [%d]" NUV_PLAIN, app_id.c_str(), check.endText,
                found ? 1 : 0);
  return found ? 1 : 0;
}

}  // namespace

int nuv_inner_get_app_info_by_id(const std::string& app_id, _APPSINFO_T& info, bool installed_only) try {
  const Lookup lookup = {"get app info by app id", app_id, Here()};
  if (!MayRun(lookup)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement = FullRow();
  statement.Add(" where (id = ? or kelvo_id = ? or run_title = ?)", app_id, app_id, app_id);
  if (installed_only) {
    statement.Add(" and install_state = ? and is_need_reset = ? and is_app_available = ?", kInstalled, kNoResetNeeded,
                  kAvailable);
  }
  return FindRecord(statement, info, lookup, NUV_YELLOW "[inner db] SQLITE_ROW" NUV_PLAIN);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_get_app_info_by_kelvoid(const std::string& kelvo_id, _APPSINFO_T& info, bool installed_only) try {
  const Lookup lookup = {"get app info by kelvo id", kelvo_id, Here()};
  if (!MayRun(lookup)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement = FullRow();
  statement.Add(" where kelvo_id = ?", kelvo_id);
  if (installed_only) {
    statement.Add(" and install_state = ? and is_need_reset = ? and is_app_available = ? ", kInstalled, kNoResetNeeded,
                  kAvailable);
  }
  return FindRecord(statement, info, lookup);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_get_app_info_by_runtitle(const std::string& run_title, _APPSINFO_T& info, bool installed_only) try {
  // The log's name for this lookup; no kelvo id is involved.
  const Lookup lookup = {"get app info by kelvo runtitle", run_title, Here()};
  if (!MayRun(lookup)) return -1;  // takes no mutex, unlike its neighbours: callers rely on that
  InnerStatement statement = FullRow();
  statement.Add(" where run_title = ?", run_title);
  if (installed_only) {
    statement.Add(" and install_state = ? and is_need_reset = ? and is_app_available = ? and is_hidden = ?", kInstalled,
                  kNoResetNeeded, kAvailable, kVisible);
  }
  return FindRecord(statement, info, lookup);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_get_appid_by_title(const std::string& title, std::string& app_id) try {
  const Lookup lookup = {"get app id by title", title, Here()};
  if (!MayRun(lookup)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement;
  statement.Add("select id from widgetinfo where title = ?", title);
  return FindId(statement, app_id, lookup);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_get_appid_by_kelvoid_or_nativeid(const std::string& id, std::string& app_id) try {
  const Lookup lookup = {"get app id by kelvo id or native id", id, Here()};
  if (!MayRun(lookup, "[inner db] id is empty")) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement;
  statement.Add("select id from widgetinfo where (kelvo_id = ? or hybrid_app = ?)", id, id);
  return FindId(statement, app_id, lookup);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_check_most_used_app(const std::string& app_id) try {
  return CheckUsage(kMostUsed, app_id);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_check_recently_used_app(const std::string& app_id) try {
  return CheckUsage(kRecentlyUsed, app_id);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
