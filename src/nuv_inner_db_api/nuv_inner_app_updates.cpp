// Changes of an application: asked of the service first, or written into the database here.
#include <nuv_common/nuv_lock.h>

#include <ctime>
#include <new>

#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_inner_db_api/nuv_inner_db.h"

namespace {

constexpr const char* kUpdate = "update widgetinfo";

// Fields that take one text.
struct TextField {
  APPSINFO_UPDATE_KEY_e key;
  const char* set;
};

constexpr TextField kTextFields[] = {
    {APPSINFO_UPDATE_CP_NAME, " set cp_name = ? "},         {APPSINFO_UPDATE_VERSION, " set version = ? "},
    {APPSINFO_UPDATE_IS_ISPBOUND, " set is_ispbound = ? "}, {APPSINFO_UPDATE_IS_HYBRID_TV, " set is_hybrid_tv = ? "},
    {APPSINFO_UPDATE_IS_LOCK, " set is_lock = ? "},         {APPSINFO_UPDATE_RUN_TITLE, " set run_title = ? "},
};

// Appends the assignment and its values. False where the key takes no value or is unknown.
bool AddField(InnerStatement& statement, APPSINFO_UPDATE_KEY_e key, const std::string& value) {
  if (key == APPSINFO_UPDATE_AIT_IDS) {
    const std::string ids = UpToZero(value);
    const size_t comma = ids.find(',');
    const size_t rest = comma == std::string::npos ? 0 : comma + 1;
    statement.Add(" set ait_appid = ? , ait_orgid = ? ", ids.substr(0, comma), ids.substr(rest));
    return true;
  }
  for (const TextField& field : kTextFields) {
    if (field.key != key) continue;
    statement.Add(field.set, value);
    return true;
  }
  return false;
}

int RefuseKey(APPSINFO_UPDATE_KEY_e key, const LogOrigin& origin = Here()) {
  NUV_ERROR_FROM(origin, NUV_RED "unknown key %d" NUV_PLAIN, static_cast<int>(key));
  return -1;
}

// A change has no rows: its first step is its last.
int Write(const InnerStatement& statement, const LogOrigin& origin = Here()) {
  InnerStatementCycle cycle;
  const int prepared = cycle.Begin(statement, origin);
  if (prepared != 0) return prepared;
  cycle.NextRow();
  if (cycle.EndedInOrder()) return 0;
  if (cycle.ReportBusy(NUV_RED "update app info fail:sql busy" NUV_PLAIN, origin)) return kDatabaseBusy;
  NUV_ERROR_FROM(origin, NUV_RED "update app info fail" NUV_PLAIN);
  return kDatabaseFailed;
}

constexpr const char* kWriteValueName = "nuv_db_update_app_by_key_value";

// Whether a value is written in the connection's present mode, or after a switch to read-write.
enum class Mode { kAsItIs, kReadWrite };

// Does what nuv_db_update_app_by_key_value() does, and logs under its name. The mode is settled in the same turn as the
// change, because another thread may switch the connection back while this one waits for the mutex.
int WriteValue(const std::string& app_id, APPSINFO_UPDATE_KEY_e key, const std::string& value, Mode mode) try {
  const LogOrigin origin = Here(kWriteValueName);
  NUV_INFO_FROM(origin, "Start");
  if (RefusedWhileRecovering(origin)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  InnerStatement statement;
  statement.Add(kUpdate);
  if (!AddField(statement, key, value)) return RefuseKey(key, origin);
  statement.Add(" where id = ? ", app_id);
  const DatabaseTurn turn(innerSide);
  if (mode == Mode::kReadWrite && g_db_type == kReadOnly) nuv_db_rw_exchange();
  return Write(statement, origin);
} catch (const std::bad_alloc&) {
  return OutOfMemory(Here(kWriteValueName));
}

std::string LocalTimeNow() {
  const time_t now = time(nullptr);
  tm local = {};
  localtime_r(&now, &local);
  char text[128] = {};
  snprintf(text, sizeof text, "%4d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
           local.tm_hour, local.tm_min, local.tm_sec);
  return text;
}

bool MayChange(const std::string& app_id, const char* complaint, const LogOrigin& origin = Here()) {
  return !RefusedWhileRecovering(origin) && RequireKey(app_id, complaint, origin);
}

bool ForwardingIsRefused(const LogOrigin& origin = Here()) {
  if (!InnerCheckPkgmgrRecovering()) return false;
  NUV_INFO_FROM(origin, NUV_YELLOW "Pkgmgr is recovering" NUV_PLAIN);
  return true;
}

constexpr int kNotForwarded = -1;
constexpr const char* kAppidIsEmpty = NUV_RED "Appid is empty" NUV_PLAIN;

}  // namespace

int nuv_db_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key) try {
  if (key != APPSINFO_UPDATE_IS_UPDATED) return RefuseKey(key);
  constexpr int kNotUpdated = 0;
  InnerStatement statement;
  statement.Add(kUpdate).Add(" set is_updated = ? ", kNotUpdated).Add(" where id = ?", app_id);
  return Write(statement);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_db_update_app_by_key_value(const std::string& app_id, APPSINFO_UPDATE_KEY_e key, const std::string& value) {
  return WriteValue(app_id, key, value, Mode::kAsItIs);
}

int nuv_db_update_app_count(const std::string& app_id) try {
  const std::string now = LocalTimeNow();
  NUV_INFO(NUV_YELLOW "time is %s" NUV_PLAIN, now.c_str());
  InnerStatement statement;
  statement.Add(kUpdate).Add(" set use_count =  use_count+1, launch_date = '");
  statement.text += now + "'";
  statement.Add(" where id = ?", app_id);
  return Write(statement);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_inner_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key) {
  NUV_INFO("[inner db] update app info [%s] by key %d", app_id.c_str(), static_cast<int>(key));
  if (!MayChange(app_id, kAppidIsEmpty)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  nuv_db_ro_exchange();
  int result = nuv_dbus_update_app_by_key(app_id, key);
  if (result == kNotForwarded) {
    const DatabaseTurn turn(innerSide);
    nuv_db_rw_exchange();
    result = nuv_db_update_app_by_key(app_id, key);
  }
  NUV_INFO("[inner db] update app key success");  // behind a failure, too: the result tells
  return result;
}

int nuv_inner_update_app_count(const std::string& app_id) {
  NUV_INFO("[inner db] [%s] update count", app_id.c_str());
  if (!MayChange(app_id, NUV_RED "App id is empty" NUV_PLAIN)) return -1;
  const CNUVClientAutoLock lock(g_inner_Mute);
  nuv_db_ro_exchange();
  int result = nuv_dbus_update_app_count(app_id);
  if (result == kNotForwarded) {
    const DatabaseTurn turn(innerSide);
    nuv_db_rw_exchange();
    result = nuv_db_update_app_count(app_id);
  }
  NUV_INFO("[inner db] get app count success");  // behind a failure, too: the result tells
  return result;
}

int nuv_inner_update_app_by_key_value(const std::string& app_id, APPSINFO_UPDATE_KEY_e key, const std::string& value) {
  NUV_INFO("[inner db] Update app [%s] by key %d,value [%s]", app_id.c_str(), static_cast<int>(key), value.c_str());
  if (!MayChange(app_id, kAppidIsEmpty)) return -1;
  {
    // Before the mutex is waited for, in the documented order; WriteValue() settles the mode again under it.
    const DatabaseTurn turn(innerSide);
    DisConnect_Inner();
    Connect_Inner(kReadWrite);
  }
  const int result = WriteValue(app_id, key, value, Mode::kReadWrite);
  NUV_INFO("[inner db] Update DB success, ret = %d", result);  // behind a failure, too
  return result;
}

int nuv_inner_update_app_version(const std::string& app_id, const std::string& version) {
  return ForwardingIsRefused() ? -1 : nuv_dbus_update_app_version(app_id, version);
}

int nuv_inner_nuv_command(int command, const std::string& app_id, const std::string& pkg_path,
                          const std::string& data) {
  return ForwardingIsRefused() ? -1 : nuv_dbus_nuv_command(command, app_id, pkg_path, data);
}

int nuv_inner_check_app_installing(const std::string& /*app_id*/) {
  NUV_WARNING(NUV_GREEN
              "DEPRECATION WARNING: nuv_inner_check_app_installing() is deprecated and will be removed from next "
              "release." NUV_PLAIN);
  return -1;
}
