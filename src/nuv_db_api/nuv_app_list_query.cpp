#include "nuv_db_api/nuv_app_list_query.h"

#include <nuv_common/nuv_log.h>

#include <algorithm>
#include <cstring>

#include "nuv_db_api/nuv_app_columns.h"
#include "nuv_db_api/nuv_app_row.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

constexpr int kFirstDownloadIndex = 300;

// A list of more rows gains nothing from SQLite's two caches of two megabytes each: its pages are replaced before the
// next list reads them, and its rows do not fit into the one for sorting.
constexpr int kLongList = 2000;

template <typename Record>
void ClearRecords(Record* list, int count) {
  if (count > 0) memset(list, 0, static_cast<size_t>(count) * sizeof(Record));
}

void LogRecords(const nuv_app_info_s* list, int count, const LogOrigin& origin = Here()) {
  for (int i = 0; i < count; ++i) LogAppInfo(list[i], origin);
}

void LogRecords(const nuv_app_ms_s* list, int count, const LogOrigin& origin = Here()) {
  for (int i = 0; i < count; ++i) {
    NUV_INFO_FROM(origin, NUV_GREEN "appindex = %d, app_id =%.127s, is_multi_screen2 =%d" NUV_PLAIN, i, list[i].app_id,
                  list[i].is_multi_screen2);
  }
}

}  // namespace

int GetAppsTableList(nuv_app_info_s* list, int real_count, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds, bool last_download) {
  NUV_INFO("Start : real_count:[%d],strParam:[%s],tableType:[%d] ", real_count, clause.c_str(), tableType);
  // One column too few; readers of the log know the line.
  NUV_INFO(NUV_YELLOW "sizeof(Column)/30-1 = %zu" NUV_PLAIN, AppColumns::kCount - 1);
  StatementCycle cycle;
  const int prepared = cycle.Begin(std::string(AppColumns::Select()).append(clause), binds);
  if (prepared != 0) return prepared;
  const SmallCaches caches(real_count > kLongList);
  ClearRecords(list, real_count);
  int stored = 0;
  while (cycle.NextRow()) {
    if (stored >= real_count) continue;
    m_GetWidgetInfo(&list[stored]);
    NUV_INFO("set app_info success");
    ++stored;
  }
  const int result = cycle.Result(stored > 0);
  if (last_download) {
    NUV_INFO(NUV_GREEN "view mode : last download" NUV_PLAIN);
    sort_applist_lastdownload(list, real_count);
  }
  if (result == 0) LogRecords(list, real_count);
  NUV_INFO("Get DB finish");
  return result;
}

int GetAppsMSList(nuv_app_ms_s* list, int real_count, const std::string& clause,
                  const std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start : strParam:[%s],real_count:[%d] ", clause.c_str(), real_count);
  const std::string sql = "select id,is_multi_screen2 from widgetinfo" + clause;
  NUV_INFO("sql:%s", sql.c_str());
  StatementCycle cycle;
  const int prepared = cycle.Begin(sql, binds);
  if (prepared != 0) return prepared;
  const SmallCaches caches(real_count > kLongList);
  ClearRecords(list, real_count);
  int stored = 0;
  while (cycle.NextRow()) {
    if (stored >= real_count) continue;
    NUV_INFO("begin to set app_info ");
    GetMultiScreenInfo(list[stored]);
    NUV_INFO("set app_info success");
    ++stored;
  }
  const int result = cycle.Result(stored > 0);
  if (result == 0) LogRecords(list, real_count);
  NUV_INFO("Get DB finish");
  return result;
}

void sort_applist_lastdownload(nuv_app_info_s* list, int count) {
  nuv_app_info_s* end = list + std::max(count, 0);
  nuv_app_info_s* downloads = end;
  while (downloads != list && downloads[-1].app_index >= kFirstDownloadIndex) --downloads;
  std::reverse(downloads, end);
  std::rotate(list, downloads, end);
}
