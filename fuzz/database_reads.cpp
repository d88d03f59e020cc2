// Databases of any shape and content through every lookup and list of the read side.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>

#include <cstring>

#include "nuv_db_api/nuv_app_queries.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "support/damaged_database.h"
#include "support/must.h"

namespace {

using Texts = const char (&)[24][NUV_APP_TEXT_SIZE];

bool IsResult(int result) {
  return result == 0 || result == -1 || result == -2;
}

// Every text of a record ends within its member.
void CheckRecord(const nuv_app_info_s& info) {
  static_assert(offsetof(nuv_app_info_s, size) == sizeof(char[24][NUV_APP_TEXT_SIZE]));
  const auto& texts = reinterpret_cast<Texts>(info);
  for (const auto& text : texts) MUST(memchr(text, '\0', NUV_APP_TEXT_SIZE) != nullptr);
}

void CheckRecord(const nuv_app_ms_s& info) {
  MUST(memchr(info.app_id, '\0', sizeof info.app_id) != nullptr);
}

template <typename Record>
void CheckList(int result, Record* list, int count) {
  MUST(IsResult(result));
  if (result == 0 && list != nullptr) {
    MUST(count > 0);
    for (int i = 0; i < count; ++i) CheckRecord(list[i]);
  }
  free(list);
}

template <typename Query>
void CheckLookup(Query query) {
  nuv_app_info_s info = {};
  MUST(IsResult(query(&info)));
  CheckRecord(info);
}

void LookUp(fuzz::Input& input) {
  const std::string key = fuzz::AnyKey(input);
  CheckLookup([&](nuv_app_info_s* info) { return m_nuv_get_app_info(key.c_str(), info); });
  CheckLookup([&](nuv_app_info_s* info) { return nuv_get_app_info_by_runtitle(key.c_str(), info); });
  CheckLookup([&](nuv_app_info_s* info) { return GetAppInfoByRuntitle(info, key.c_str()); });
  _APPS_INNER_INFO_T inner;
  MUST(IsResult(GetAppInnerInfo(key, &inner)));
  MUST(IsResult(nuv_check_app_is_locked(key.c_str())));
  MUST(IsResult(nuv_check_app_is_need_uninstall(key.c_str())));
  std::string app_id;
  int group = 12345;
  GetAppIDFromAppGroupList(input.Flag() ? "app" : key, app_id, group);
  MUST(group == 0 || group == 1 || group == 3);
}

void ListApps(fuzz::Input& input, bool ms) {
  const int featured = input.Flag() ? 1 : input.Number();
  const int type = input.Flag() ? NUV_APP_FILTER_ANY : input.Number(-1, 260);
  const auto order = static_cast<nuv_app_viewmode_e>(input.Number(-1, 5));
  const int index = input.Flag() ? -1 : input.Number(-3, 7);
  const int count = input.Flag() ? -1 : input.Number(-3, 7);
  int real_count = 0;
  nuv_app_info_s* list = nullptr;
  nuv_app_ms_s* ms_list = nullptr;
  const int result = GetAppList({featured, 0, type}, order, index, count, ms, &real_count, &list, &ms_list);
  CheckList(result, list, real_count);
  CheckList(result, ms_list, real_count);
}

void ListOthers(fuzz::Input& input) {
  int real_count = 0;
  nuv_app_info_s* list = nullptr;
  const std::string column = input.Flag() ? "is_ispbound" : fuzz::AnyKey(input);
  CheckList(nuv_get_key_list(column, input.Number(-2, 1000), &list, &real_count), list, real_count);
  for (const auto get : {nuv_get_isp_bound_widget_list, nuv_get_hybrid_widget_list}) {
    list = nullptr;
    real_count = 0;
    CheckList(get(&list, &real_count), list, real_count);
  }
  std::vector<_APPS_INNER_INFO_T> inner;
  MUST(IsResult(
      GetNUVAppList(std::to_string(input.Number(0, 16)), std::to_string(input.Number(0, 5)), input.Flag(), inner)));
}

void Count(fuzz::Input& input) {
  std::vector<_NUVDB_BIND_T> binds;
  binds.push_back({input.Number(0, 3), fuzz::AnyKey(input), input.Number()});
  int count = 0;
  MUST(IsResult(GetAppsTableCount(&count, " where id = ? or title = ?", 0, binds)));
  MUST(count >= 0);
  char column[] = "size";
  MUST(IsResult(GetIntValueByKey(&count, column, " where id = ?", kAppsTable, binds)));
  MUST(IsResult(CheckIsRecentlyOrMostUsedApp("app", "select id from widgetinfo where id = ? limit 3", binds)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const fuzz::DamagedDatabase database(input);
  const std::string before = fuzz::DamagedDatabase::Content();
  LookUp(input);
  ListApps(input, false);
  ListApps(input, true);
  ListOthers(input);
  Count(input);
  MUST(g_pStmt == nullptr);
  if (g_pConnection != nullptr) {
    MUST(sqlite3_next_stmt(g_pConnection, nullptr) == nullptr);
    MUST(sqlite3_close(g_pConnection) == SQLITE_OK);
    g_pConnection = nullptr;
  }
  MUST(fuzz::DamagedDatabase::Content() == before);
  return 0;
}
