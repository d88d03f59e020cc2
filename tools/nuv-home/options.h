// The command line.
#pragma once

#include <optional>
#include <string>

namespace home {

struct Options {
  std::string listen = "127.0.0.1:0";  // port 0: any that is free
  bool allow_remote = false;
  int address_fd = 1;        // to print the address to
  unsigned wait_ms = 10000;  // for the outcome of a launch that was accepted
};

// Nothing when all is said and done, with the exit status for it.
std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status);

}  // namespace home
