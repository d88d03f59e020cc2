// The running sessions of this user: a directory with a directory for each, under its name. A session's directory is
// locked while it runs; one that is not was left by a session that was killed with its keeper, and is taken away.
#pragma once

#include <string>
#include <vector>

#include "file.h"

namespace session {

bool IsSessionName(const std::string& name);

// A session's directory, locked by whoever has it or a copy of it in another process.
class Claim {
 public:
  // Empty: the first number that is free. Throws Failure when the name is in use.
  explicit Claim(const std::string& name);
  // Removes the directory, unless it was handed over.
  ~Claim();
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

  const std::string& name() const { return name_; }
  const std::string& path() const { return path_; }
  int lock() const { return lock_.get(); }

  void HandOver() { lock_.Close(); }
  void Remove();

 private:
  std::string name_;
  std::string path_;
  File lock_;
};

// The directory of a running session; throws Failure when there is none of this name.
std::string FindSession(const std::string& name);

// The names of the sessions that run; none where they cannot be asked for at once.
std::vector<std::string> RunningSessions();

// Takes away what killed sessions have left.
void RemoveLeftoverSessions();

// A file of a session's directory, there as a whole or not at all. Throws Failure.
void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);

}  // namespace session
