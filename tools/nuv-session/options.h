// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "completion/candidates.h"

namespace session {

struct Options {
  std::string seed;
  std::string scenario;
  std::string pin_answer;
  std::string state;  // empty: a private directory
  std::string name;   // empty: the first number that is free
  std::string attach;
  bool keep = false;
  bool home = false;
  bool policy = true;
  int start_limit_s = 30;
  std::vector<std::string> command;  // empty: the user's shell
};

// What may come next on a command line that is not finished: the words behind "nuv-session", the last one at the
// cursor.
completion::Candidates CompleteLine(const std::vector<std::string>& words);

// Nothing when all is said and done, with the exit status for it.
std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status);

}  // namespace session
