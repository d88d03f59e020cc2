// The command line.
#pragma once

#include <optional>
#include <string>

#include "pin/pin_script.h"

namespace simulator {

struct Options {
  std::string directory;  // state directory
  std::string seed;       // catalogue to load; empty for none
  std::string scenario;   // empty for none
  std::string replay;     // recording to answer from, in place of a service of its own; empty for none
  double speed = 1;       // of the replay; 0: without delays
  int settle_ms = 30;
  std::string pin = "0000";
  std::optional<PinAnswer> pin_answer;  // in place of the user's, where no scenario gives one
  bool reconnect = false;
  bool print_ready = false;
  int ready_fd = -1;
  bool stand_ins = true;
  bool quiet = false;
  bool verbose = false;
};

// The options, or nothing when the program is to end with *exit_status.
std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status);

}  // namespace simulator
