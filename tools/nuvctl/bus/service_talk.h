// What the service and the bus answer to the library's calls. The library's results only say that a call failed, so its
// messages are read as they pass.
#pragma once

#include <optional>
#include <string>

// From now on. Makes the process's shared connection, on which the library calls, and may block for as long as the bus
// does not answer.
void ListenToServiceTalk();

struct CallError {
  std::string name;  // of the D-Bus error
  std::string text;
};

// The error that the last answer was.
std::optional<CallError> LastCallError();

// The unique name on the bus of who sent the last answer; empty where none was seen.
std::string LastAnswerer();

// Whether a call was made that has no answer.
bool CallIsUnanswered();

// Until what was answered to the bus has left this process; it was written by another thread.
void FlushServiceTalk();
