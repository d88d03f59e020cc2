// Whether the service can be called.
#pragma once

#include <string>

namespace session {

// Waits for its answer on a bus of this address; empty, or why there is none. A call of the service may be what a
// scenario counts, so with one the service is only asked whether it is there.
std::string ProbeService(const std::string& address, bool scenario, int limit_s);

}  // namespace session
