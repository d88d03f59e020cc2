// The end of a log, for a message.
#pragma once

#include <string>

namespace session {

// Its last lines, each on a line of its own behind a mark, fit for a terminal; or that, and why, there are none.
std::string TailOf(const std::string& path);

}  // namespace session
