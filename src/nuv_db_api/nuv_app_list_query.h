// Lists of records, read into arrays of the caller. They hold no named mutex and ask no guard.
//
// The array is cleared once the statement is prepared. Rows beyond its end are skipped. 0 when a row was stored, -1
// when there was none, -2 when the database stayed busy; the result of Prepare() where that failed.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>

#include <string>
#include <vector>

// last_download: orders the array by sort_applist_lastdownload() afterwards, whatever the result.
int GetAppsTableList(nuv_app_info_s* list, int real_count, const std::string& clause, int tableType,
                     const std::vector<_NUVDB_BIND_T>& binds, bool last_download);

int GetAppsMSList(nuv_app_ms_s* list, int real_count, const std::string& clause,
                  const std::vector<_NUVDB_BIND_T>& binds);

// Moves the records with an app_index of 300 and above from the end of the array to its front, in reverse order. In
// place.
void sort_applist_lastdownload(nuv_app_info_s* list, int count);
