// The picture that the catalogue names for an application.
#pragma once

#include <optional>
#include <string>

#include "server/web_server.h"

namespace home {

// Nothing where the file is no regular one, is too large, or is no picture by what is in it, whatever its name. A
// drawing that may have a program in it counts as none.
std::optional<Image> ReadImage(const std::string& path);

// Whether there may be one: the file is there, and of a size that is shown.
bool MayBeImage(const std::string& path);

}  // namespace home
