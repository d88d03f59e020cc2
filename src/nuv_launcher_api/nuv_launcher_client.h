// The launcher link and the launch request over it.
#pragma once

#include <nuv/nuv_service_api.h>

#include "nuv_common/nuv_proxy.h"
#include "nuv_common/nuv_service_call.h"
#include "nuv_launcher_api/nuv_launcher_data.h"

// The client object that the service delivers results on, and its methods.
extern const char* const launcher_introspection_xml;
extern const GDBusInterfaceVTable launcher_vtable;

// The link that all launch, terminate and query calls share. It lives until the process ends.
CNUVGdbus* get_launcher_proxy();

// The launcher link, usable; null when it is not. Blocks as CNUVGdbus::GetProxy() does.
CNUVGdbus* UsableLauncherProxy();

// The launcher link for AskService(), with the two log lines in which callers report that it is not usable.
inline constexpr ServiceLink kLauncherService = {UsableLauncherProxy, "get_launcher_proxy() error"};
inline constexpr ServiceLink kLauncherServiceInRed = {UsableLauncherProxy,
                                                      NUV_RED "get_launcher_proxy() error." NUV_PLAIN};

// Logs for the caller, under the given name, how a call that terminates applications went, and returns the caller's
// result.
int ReportTerminate(const ServiceReply& answer, const char* name, const LogOrigin& origin = Here());

// Sends one launch to the service and keeps its callback for the result: 0 when the service accepted it, -1 when not. A
// failed call is told to the callback at once, on the calling thread, in the nuv_launch_notify_cb order whatever cbType
// says. Takes no named lock.
int nuv_launch_app_client(_NUV_LAUNCHER_DATA& data);
