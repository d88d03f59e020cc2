// The program that nuv-simulator runs for an application: its own words are in its manual.
#pragma once

#include <string>

// Whether there is one in the install path.
bool HasProgram(const std::string& install_path, const std::string& app_id);
