// The gate before every callback of a caller's, which closes when the process exits.
#pragma once

// One passage of the calling thread through the gate, for as long as the callback runs.
class CallbackPassage {
 public:
  CallbackPassage();
  ~CallbackPassage();
  CallbackPassage(const CallbackPassage&) = delete;
  CallbackPassage& operator=(const CallbackPassage&) = delete;

  // False where the gate is closed: the callback must not be called.
  bool Open() const { return m_open; }

 private:
  bool m_open;
};

// Closes the gate for good, which exit() does before it takes apart what the host made before the library's first call.
// It waits at most a quarter of a second for the callbacks that run, because a thread that has just passed the gate may
// not have entered its callback yet.
void CloseGate();
