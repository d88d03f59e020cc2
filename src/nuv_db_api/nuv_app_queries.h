// Single queries over the catalogue: 0 found, -1 not found, -2 the database stayed busy. They hold no named mutex and
// ask no guard. Outputs must not be null.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>

#include <string>
#include <vector>

enum TableType { kAppsTable = 0, kConfigTable = 2 };

constexpr size_t kValueSize = 128;

// The first row that matches; further rows are skipped.
int GetAppsTableInfo(nuv_app_info_s* info, const std::string& clause, std::vector<_NUVDB_BIND_T>& binds);
int m_GetAppsTableInnerInfo(_APPS_INNER_INFO_T* info, const std::string& clause, std::vector<_NUVDB_BIND_T>& binds);

// Appends every row. The result of Prepare(), whatever happens later.
int m_GetAppsTableInnerList(std::vector<_APPS_INNER_INFO_T>& list, const std::string& clause,
                            std::vector<_NUVDB_BIND_T>& binds);

// One column of the first row that matches. A text takes kValueSize bytes and is always terminated. In the
// configuration table the key counts for nothing.
int GetIntValueByKey(int* value, char* key, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds);
int GetStrValueByKey(char* value, char* key, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds);

// A value of the configuration table, from malloc(). Untouched when there is none.
int GetConfigTableValue(const char* name, char** value);
