// One line of a recording, without its line end.
#pragma once

#include <string>

#include "recording/format.h"

namespace recording {

std::string LineOf(const Header& header);
std::string LineOf(const Entry& entry);

// Both say what is wrong with the line, or nothing.
std::string ReadLine(const std::string& line, Header& header);
std::string ReadLine(const std::string& line, Entry& entry);

}  // namespace recording
