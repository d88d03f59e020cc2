// Why there is no session, or no command in it, and the exit status that says so.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace session {

// As env, timeout and the shells have them.
constexpr int kOwnFailure = 125;
constexpr int kCannotRun = 126;
constexpr int kNotFound = 127;
constexpr int kSignalled = 128;  // and the number of the signal

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, int exit_status = kOwnFailure)
      : std::runtime_error(text), exit_status_(exit_status) {}
  int exit_status() const { return exit_status_; }

 private:
  int exit_status_;
};

// "WHAT: the reason in errno".
inline Failure SystemFailure(const std::string& what, int error = errno) {
  return Failure(what + ": " + std::strerror(error));
}

}  // namespace session
