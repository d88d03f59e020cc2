// The verbs of nuvctl. A new one is a row in the table.
#pragma once

#include <vector>

#include "command_line.h"

namespace CLI {
class App;
}

struct Verb {
  const char* name;
  const char* summary;
  void (*add_arguments)(CLI::App& command, Options& options);
  Report (*run)(const Options& options);  // sets all of the report but the verb
};

const std::vector<Verb>& Verbs();
