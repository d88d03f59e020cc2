// How the current row of the inner side becomes a record.
#pragma once

#include <nuv/nuv_inner_database.h>

#include "nuv_inner_db_api/nuv_db_connection.h"

// From a row of all InnerColumn. Every member is overwritten.
void m_GetAppInfoFromRow(_APPSINFO_T& info) NUV_REQUIRES(innerSide.turn);
