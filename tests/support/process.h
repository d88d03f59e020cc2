// A real child process: its output, its end, with a limit on every wait. It dies with the thread that started it, so
// processes are started on a test's main thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Milliseconds = std::chrono::milliseconds;

// Polls until the condition holds; false when the limit is over.
bool WaitUntil(const std::function<bool()>& condition, Milliseconds limit = Milliseconds(10000));

// Runs the body in a forked child; its exit status (128 + signal number when a signal ended it), or -1 when it does not
// end within the limit.
int InChild(const std::function<int()>& body, Milliseconds limit = Milliseconds(5000));

class Process {
 public:
  using Environment = std::map<std::string, std::string>;

  // Starts the program; its standard output and error go to files in a directory of the test.
  Process(const std::vector<std::string>& arguments, const std::string& directory, const Environment& extra = {});
  ~Process();  // kills it if it still runs
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  bool Running();
  // Exit status (128 + signal number when a signal ended it), or nothing when it still runs at the limit.
  std::optional<int> Wait(Milliseconds limit = Milliseconds(20000));
  void Signal(int number) const;
  void KillAndWait();

  std::string Output() const;
  std::string Errors() const;

 private:
  void Reap(int options);

  pid_t pid_ = -1;
  std::optional<int> status_;
  std::string output_path_;
  std::string errors_path_;
};
