// How the current row becomes a record. A row of the full-row statement, unless said otherwise.
#pragma once

#include <nuv/nuv_app_records.h>
#include <nuv/nuv_app_types.h>
#include <nuv_common/nuv_log.h>

#include "nuv_db_api/nuv_db_statement.h"

// Null does nothing.
void m_GetWidgetInfo(nuv_app_info_s* info) NUV_REQUIRES(readSide.turn);

// From a row of id and is_multi_screen2.
void GetMultiScreenInfo(nuv_app_ms_s& info) NUV_REQUIRES(readSide.turn);

// Every member is overwritten.
void GetInnerInfo(_APPS_INNER_INFO_T& info) NUV_REQUIRES(readSide.turn);

// Logs a record's main members in one line, as the caller's.
void LogAppInfo(const nuv_app_info_s& info, const LogOrigin& origin = Here());
