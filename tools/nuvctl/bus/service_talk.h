// What the service and the bus answer to the library's calls. The library's results only say that a call failed, so
// nuvctl reads the messages of the library's connection as they pass.
#pragma once

#include <optional>
#include <string>

// Begins to read. Makes the process's shared connection, on which the library calls, and may block for as long as the
// bus does not answer.
void ListenToServiceTalk();

struct CallError {
  std::string name;  // of the D-Bus error
  std::string text;
};

// The error with which the last call was answered; nothing where it was no error.
std::optional<CallError> LastCallError();

// The unique name on the bus of who sent the last answer; empty where none was seen.
std::string LastAnswerer();

// Whether a call was made that has no answer.
bool CallIsUnanswered();

// Waits until the answers that this process owes, which GLib's thread writes, have left it.
void FlushServiceTalk();
