// Where the host platform keeps its files.
#pragma once

#include <string>

namespace nuv::host {

// Absolute path of the state directory: $NUV_HOST_DIR, else $XDG_STATE_HOME/nuv, else ~/.local/state/nuv. Read once;
// valid for the life of the process. Empty when the user has no home either. It need not exist yet.
const std::string& StateDirectory();

// Path of an entry of the state directory; empty where there is no state directory.
std::string StatePath(const std::string& entry);

}  // namespace nuv::host
