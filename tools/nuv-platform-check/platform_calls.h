// The calls of the seam, as the platform library under check has them.
#pragma once

#include <nuv_platform/platform_app_control.h>
#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_resource.h>
#include <nuv_platform/platform_settings.h>
#include <nuv_platform/platform_trace.h>

#include <string>
#include <vector>

namespace platform_check {

#define NUV_PLATFORM_CALLS(CALL)        \
  CALL(__dlog_print)                    \
  CALL(vconf_get_int)                   \
  CALL(vconf_set_str)                   \
  CALL(aul_app_is_running)              \
  CALL(aul_app_get_running_app_info)    \
  CALL(app_control_create)              \
  CALL(app_control_destroy)             \
  CALL(app_control_set_app_id)          \
  CALL(app_control_set_operation)       \
  CALL(app_control_set_uri)             \
  CALL(app_control_get_app_id)          \
  CALL(app_control_get_operation)       \
  CALL(app_control_get_uri)             \
  CALL(app_control_add_extra_data)      \
  CALL(app_control_get_extra_data)      \
  CALL(app_control_foreach_extra_data)  \
  CALL(app_control_send_launch_request) \
  CALL(GetRunningHbbtvApp)              \
  CALL(trace_begin)                     \
  CALL(trace_end)                       \
  CALL(resource_set_cpu_inheritance)    \
  CALL(resource_clear_cpu_inheritance)  \
  CALL(nuv_platform_get_path)

struct PlatformCalls {
#define NUV_DECLARE_CALL(name) decltype(&::name) name = nullptr;
  NUV_PLATFORM_CALLS(NUV_DECLARE_CALL)
#undef NUV_DECLARE_CALL
};

extern PlatformCalls calls;

// Opens the libraries, in this order, and takes each call from the first that has it. Why a library cannot be opened;
// empty where all can. Names of calls that none of them has go to `missing`.
std::string Load(const std::vector<std::string>& libraries, std::vector<std::string>& missing);

}  // namespace platform_check
