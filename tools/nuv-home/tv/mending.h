// What would help against a failure, in words.
#pragma once

#include <string>

namespace home {

// By the key of an obstacle; empty where nobody can tell.
std::string MendingOfObstacle(const std::string& key);

// By the number that a launch ended with.
std::string MendingOfCode(int code);

}  // namespace home
