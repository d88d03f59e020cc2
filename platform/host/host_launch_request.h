// A launch request on its way to nuv-simulator.
#pragma once

#include "host_app_control.h"

namespace nuv::host {

// Asks nuv-simulator over the system bus to start the application; true when it did. Waits for at most 5 seconds and
// leaves nothing behind: no connection, nothing in the caller's main context. What went wrong is in the log.
bool SendLaunchRequest(const app_control_s& request);

}  // namespace nuv::host
