#include "nuv_db_api/nuv_app_queries.h"

#include <nuv_common/nuv_log.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "nuv_db_api/nuv_app_columns.h"
#include "nuv_db_api/nuv_app_row.h"
#include "nuv_db_api/nuv_db_guards.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

constexpr const char* kConfigTableName = "NUVConfigTable";

std::string FullRowStatement(const std::string& clause) {
  return std::string(AppColumns::Select()).append(clause);
}

std::string ColumnStatement(const char* key, const std::string& clause) {
  return std::string("  select ") + key + "  from widgetinfo" + clause;
}

void SkipRows(StatementCycle& cycle) NUV_REQUIRES(readSide.turn) {
  while (cycle.NextRow()) {
  }
}

}  // namespace

int GetAppsTableInfo(nuv_app_info_s* info, const std::string& clause, std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start:strParam:%s ", clause.c_str());
  StatementCycle cycle;
  const int prepared = cycle.Begin(FullRowStatement(clause), binds);
  if (prepared != 0) return prepared;
  const bool found = cycle.NextRow();
  if (found) {
    m_GetWidgetInfo(info);
    NUV_INFO("set app_info success");
    LogAppInfo(*info);
    SkipRows(cycle);
  }
  const int result = cycle.Result(found);
  NUV_INFO("Get DB finish");
  return result;
}

int m_GetAppsTableInnerInfo(_APPS_INNER_INFO_T* info, const std::string& clause, std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start:strParam:%s ", clause.c_str());
  StatementCycle cycle;
  const int prepared = cycle.Begin(FullRowStatement(clause), binds);
  if (prepared != 0) return prepared;
  const bool found = cycle.NextRow();
  if (found) {
    GetInnerInfo(*info);
    NUV_INFO("set app_info success");
    SkipRows(cycle);
  }
  const int result = cycle.Result(found);
  NUV_INFO("Get DB finish");
  return result;
}

int m_GetAppsTableInnerList(std::vector<_APPS_INNER_INFO_T>& list, const std::string& clause,
                            std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start:strParam:%s ", clause.c_str());
  StatementCycle cycle;
  const int prepared = cycle.Begin(FullRowStatement(clause), binds);
  if (prepared != 0) return prepared;
  while (cycle.NextRow()) {
    _APPS_INNER_INFO_T info;
    GetInnerInfo(info);
    list.push_back(std::move(info));
    NUV_INFO("set app %s", list.back().id.c_str());
  }
  cycle.Result(true);  // a busy end is only logged
  return 0;
}

int GetIntValueByKey(int* value, char* key, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start: strkey:[%s],strParam:[%s],tableType:[%d] ", key, clause.c_str(), tableType);
  StatementCycle cycle;
  const int prepared = cycle.Begin(ColumnStatement(key, clause), binds);
  if (prepared != 0) return prepared;
  const bool found = cycle.NextRow();
  if (found) {
    *value = GetIntegerFromResult(0);
    NUV_INFO("iValue =%d", *value);
    SkipRows(cycle);
  }
  const int result = cycle.Result(found);
  NUV_INFO("Get DB info finish:iValue:[%d]", *value);
  return result;
}

int GetStrValueByKey(char* value, char* key, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds) {
  NUV_INFO("Start : strkey:[%s],strParam:[%s],tableType:[%d] ", key, clause.c_str(), tableType);
  const std::string statement = tableType == kConfigTable
                                    ? std::string("  select value from ") + kConfigTableName + clause
                                    : ColumnStatement(key, clause);
  StatementCycle cycle;
  const int prepared = cycle.Begin(statement, binds);
  if (prepared != 0) return prepared;
  const bool found = cycle.NextRow();
  if (found) {
    snprintf(value, kValueSize, "%s", GetStringFromResult(0));
    NUV_INFO("strValue =%s", value);
    SkipRows(cycle);
  }
  const int result = cycle.Result(found);
  NUV_INFO("Get DB finish:strValue:[%s]", value);
  return result;
}

int GetConfigTableValue(const char* name, char** value) {
  NUV_INFO("Start : table:[%s] strkey:[%s]", kConfigTableName, name);
  std::vector<_NUVDB_BIND_T> binds;
  save_db_bind(binds, std::string(name));
  StatementCycle cycle;
  const int prepared = cycle.Begin(std::string("select value from ") + kConfigTableName + " where name = ?", binds);
  if (prepared != 0) return prepared;
  const char* found = nullptr;
  if (cycle.NextRow()) {
    char* copy = strdup(GetStringFromResult(0));
    if (copy == nullptr) return OutOfMemory();
    *value = copy;
    found = copy;
    NUV_INFO("strValue =%s", found);
    SkipRows(cycle);
  }
  const int result = cycle.Result(found != nullptr);
  NUV_INFO("Get DB finish:strName:[%s],strValue:[%s]", name, found == nullptr ? "" : found);
  return result;
}
