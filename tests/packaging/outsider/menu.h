// A component: a menu that opens applications.
#pragma once

#include <chrono>
#include <string>

// "opened", "failed", or "no answer" where the service says nothing within the limit.
std::string Open(const char* app_id, std::chrono::milliseconds limit);
