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

// Closes the gate for good when it is destroyed, which exit() does. A static object that is made in the library's first
// call is destroyed before everything that the host made earlier. It waits at most a quarter of a second for the
// callbacks that run, because a thread that has just passed the gate may not have entered its callback yet.
class GateClosedAtExit {
 public:
  GateClosedAtExit() = default;
  ~GateClosedAtExit();
  GateClosedAtExit(const GateClosedAtExit&) = delete;
  GateClosedAtExit& operator=(const GateClosedAtExit&) = delete;
};
