// What a fuzzer sets and sees of the platform calls.
#pragma once

#include <string>

namespace fuzz {

extern std::string database_directory;  // path variable 24
extern int launch_requests;             // app-control requests sent

}  // namespace fuzz
