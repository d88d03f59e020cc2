// The body that the launch entry points share.
#pragma once

#include <cstdint>

#include "nuv_launcher_api/nuv_launcher_data.h"

// Launches an application. callback is a function pointer of the shape that options.cbType names, or 0. Holds g_Mute
// from beginning to end, also while a failure is told to the callback.
int nuv_launch_app_internal_(const char* appId, const char* payload, const char* callerId, uintptr_t callback,
                             void* userData, const _NUV_LAUNCHER_OPS& options);
