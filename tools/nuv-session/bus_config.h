// Configuration of the session's bus.
#pragma once

#include <sys/types.h>

#include <string>

namespace session {

// Address of a bus with this socket; a path may hold whatever a path may.
std::string BusAddress(const std::string& socket);

// A bus that lets through what a system bus does on which the policy of the Nuv service is installed, with this user as
// the service's; or, without the policy, everything.
std::string BusConfig(const std::string& socket, bool policy, uid_t user);

}  // namespace session
