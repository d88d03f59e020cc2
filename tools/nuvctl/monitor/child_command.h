// A command of the user's that runs while something else goes on.
#pragma once

#include <sys/types.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class ChildCommand {
 public:
  static constexpr int kOwnFailure = 125;
  static constexpr int kCannotRun = 126;
  static constexpr int kNotFound = 127;

  // The function is called once, from another thread, when it has ended.
  explicit ChildCommand(std::function<void()> on_end) : on_end_(std::move(on_end)) {}
  ~ChildCommand();  // waits for it
  ChildCommand(const ChildCommand&) = delete;
  ChildCommand& operator=(const ChildCommand&) = delete;

  // 0, or the number of the error.
  int Start(const std::vector<std::string>& arguments);
  void Send(int signal);
  int Wait();  // its exit status, as a shell has it

 private:
  void WaitForEnd();

  const std::function<void()> on_end_;
  std::thread waiter_;
  std::mutex mutex_;
  pid_t pid_ = -1;  // while there is such a process
  int status_ = kOwnFailure;
};
