// Looking one application up: the functions that callers see. Each asks the guards, checks its arguments and leaves the
// query to a worker.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>

#include <new>

#include "nuv_db_api/nuv_app_condition.h"
#include "nuv_db_api/nuv_app_queries.h"
#include "nuv_db_api/nuv_db_guards.h"
#include "nuv_db_common/nuv_statement.h"

namespace {

constexpr const char* kByAnyId =
    " where (id = ?  or kelvo_id = ? or pkgname = ?)  and install_state = ? and is_app_available = ? and is_need_reset "
    "= ? ";
constexpr const char* kByAnyIdOrHybridApp =
    " where (id = ?  or kelvo_id = ? or pkgname = ? or hybrid_app = ?)  and install_state = ? and is_app_available = ? "
    "and is_need_reset = ? ";
constexpr const char* kByRunTitleSerialised =
    " where run_title = ?  and install_state = ? and is_app_available = ? and is_need_reset = ? ";
constexpr const char* kByRunTitle =
    " where run_title = ? and install_state = ? and is_app_available = ? and is_need_reset = ? ";

// The parameters of a lookup: the key, once for each comparison of the clause, then the state of a usable application.
template <typename... Keys>
AppCondition UsableApp(const char* clause, const Keys&... keys) {
  AppCondition condition;
  condition.binds.reserve(sizeof...(keys) + 3);
  condition.Add(clause, keys..., kInstalled, kAvailable, kNoResetNeeded);
  return condition;
}

constexpr const char* kAppIdIsEmpty = NUV_RED "app_id is empty " NUV_PLAIN;

bool RequireText(const char* text, const char* complaint, const LogOrigin& origin = Here()) {
  if (*text != '\0') return true;
  NUV_ERROR_FROM(origin, "%s", complaint);
  return false;
}

bool RequireRunTitle(const char* runtitle, const nuv_app_info_s* info, const LogOrigin& origin = Here()) {
  return RequireParameters(runtitle != nullptr && info != nullptr, origin) &&
         RequireText(runtitle, NUV_RED "runtitile is empty " NUV_PLAIN, origin);
}

int QueryByRunTitle(const char* clause, const char* runtitle, nuv_app_info_s* info) {
  AppCondition condition = UsableApp(clause, std::string(runtitle));
  return GetAppsTableInfo(info, condition.text, condition.binds);
}

// Whether one of the listed applications is usable and in the given state. The list becomes part of the statement as it
// is; the rest of the clause asks for the state in its second parameter.
int CheckAnyId(const char* app_id, const char* rest, AppFlag state, const LogOrigin& origin = Here()) {
  NUV_INFO_FROM(origin, "Start, app_id:[%s] ", app_id);
  if (ReadingIsRefused(kFactoryResetNotice, origin)) return -1;
  if (!RequireParameters(app_id != nullptr, origin)) return -1;
  if (!RequireText(app_id, kAppIdIsEmpty, origin)) return -1;
  AppCondition condition;
  condition.text = std::string(" where id in(") + app_id;
  condition.Add(rest, kInstalled, state, kNoResetNeeded, kAvailable);
  NUV_INFO_FROM(origin, "param:%s", condition.text.c_str());
  char key[] = "id";
  char value[kValueSize] = {};
  const int result = GetStrValueByKey(value, key, condition.text, kAppsTable, condition.binds);
  NUV_INFO_FROM(origin, "finish,app_id:[%s],result:[%d]", app_id, result);
  return result;
}

}  // namespace

int m_nuv_get_app_info(const char* app_id, nuv_app_info_s* info) try {  // takes no mutex: callers rely on that
  NUV_INFO(NUV_GREEN "Start, app_id:[%s]" NUV_PLAIN, app_id);
  if (ReadingIsRefused()) return -1;
  if (!RequireParameters(app_id != nullptr && info != nullptr)) return -1;
  if (!RequireText(app_id, kAppIdIsEmpty)) return -1;
  const std::string key = app_id;
  AppCondition condition = UsableApp(kByAnyId, key, key, key);
  const int result = GetAppsTableInfo(info, condition.text, condition.binds);
  NUV_INFO(NUV_GREEN "Finish app_id:[%s],ret[%d]" NUV_PLAIN, app_id, result);
  return result;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_get_app_info_by_runtitle(const char* runtitle, nuv_app_info_s* info) try {
  const CNUVClientAutoLock lock(g_Mute);
  NUV_INFO(NUV_GREEN "Start, runtitile:[%s]" NUV_PLAIN, runtitle);  // misspelt in all lines; readers know it
  if (ReadingIsRefused()) return -1;
  if (!RequireRunTitle(runtitle, info)) return -1;
  const int result = QueryByRunTitle(kByRunTitleSerialised, runtitle, info);
  NUV_INFO(NUV_GREEN "Finish runtitile:[%s]" NUV_PLAIN, runtitle);
  return result;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int GetAppInfoByRuntitle(nuv_app_info_s* info, const char* runtitle) try {  // takes no mutex, unlike its neighbours
  NUV_INFO(NUV_GREEN "Start" NUV_PLAIN);
  if (ReadingIsRefused(kFactoryResetMilestone)) return -1;
  if (!RequireRunTitle(runtitle, info)) return -1;
  NUV_INFO(NUV_GREEN "runtitile:[%s]" NUV_PLAIN, runtitle);
  const int result = QueryByRunTitle(kByRunTitle, runtitle, info);
  NUV_INFO(NUV_GREEN "Get app info by run_title:[%s] finish, ret [%d]" NUV_PLAIN, runtitle, result);
  return result;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int GetAppInnerInfo(std::string app_id, _APPS_INNER_INFO_T* info) try {
  const CNUVClientAutoLock lock(g_Mute);
  NUV_INFO(NUV_GREEN "Start, app_id:[%s]" NUV_PLAIN, app_id.c_str());
  if (ReadingIsRefused()) return -1;
  if (!RequireParameters(info != nullptr)) return -1;
  if (!RequireText(app_id.c_str(), NUV_RED "strAppID is empty " NUV_PLAIN)) return -1;
  AppCondition condition = UsableApp(kByAnyIdOrHybridApp, app_id, app_id, app_id, app_id);
  const int result = m_GetAppsTableInnerInfo(info, condition.text, condition.binds);
  NUV_INFO(NUV_GREEN "Finish app_id:[%s],ret[%d]" NUV_PLAIN, app_id.c_str(), result);
  return result;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_check_app_is_locked(const char* app_id) try {
  const CNUVClientAutoLock lock(g_Mute);
  return CheckAnyId(app_id, ") and install_state = ? and is_lock = ? and is_need_reset = ? and is_app_available = ? ",
                    kLocked);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_check_app_is_need_uninstall(const char* app_id) try {
  const CNUVClientAutoLock lock(g_Mute);
  return CheckAnyId(
      app_id, ") and install_state = ? and reserved_tinyint_1 = ? and is_need_reset = ? and is_app_available = ? ",
      kMarkedForUninstall);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
