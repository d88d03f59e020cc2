// The signals that end a dialog, as something to wait for: none of them comes in between.
#pragma once

namespace simulator {

class SignalFile {
 public:
  // Blocks SIGTERM and SIGINT in this thread and those that it starts.
  SignalFile();
  ~SignalFile();
  SignalFile(const SignalFile&) = delete;
  SignalFile& operator=(const SignalFile&) = delete;

  // Whether a signal came within the time; -1 waits for ever.
  bool Wait(int milliseconds) { return WaitWith(-1, milliseconds) == kSignal; }
  // Waits for a signal or for something to read in the file.
  enum Event { kNothing, kSignal, kReadable };
  Event WaitWith(int file, int milliseconds);

  int last() const { return last_; }  // signal that came; 0 for none

 private:
  int file_;
  int last_ = 0;
};

}  // namespace simulator
