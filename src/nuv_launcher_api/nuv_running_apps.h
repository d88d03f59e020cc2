// The walk over the platform's running applications.
#pragma once

#include <nuv/nuv_export.h>
#include <nuv_platform/platform_aul.h>

// Takes the id of the first visible application that the database knows into the buffer of 255 bytes, and ends the walk
// then. A null buffer ends it at once.
NUV_API int nuv_get_running_appIter_func(const aul_app_info* info, void* buffer);
