// Which processes belong to a session's commands: what descends from them or has the session's mark.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "processes.h"

namespace session {

using Identity = std::pair<pid_t, unsigned long long>;

// Of a process that runs; {0, 0} of one that does not.
Identity IdentityOf(pid_t pid);

// The name of a process that keeps a session.
constexpr const char* kKeeperName = "nuv-keeper";

struct Belongings {
  Identity front;    // nuv-session, which is not one of them
  Identity command;  // what it runs
  std::string mark;  // variable of their environment

  // Those that run. Keepers and what they have started are left out: a keeper ends these itself.
  std::vector<ProcessEntry> Find() const;
};

}  // namespace session
