// What a verb ended in, the word for it and the exit status: one table for the program, its help and its JSON.
#pragma once

#include <string>

enum class Outcome {
  kDone,
  kAccepted,
  kLaunched,
  kFailed,
  kUsage,
  kNotFound,
  kTimedOut,
  kServiceGone,
  kBusGone,
  kInterrupted
};

int ExitStatusOf(Outcome outcome);
const char* WordOf(Outcome outcome);

// The exit statuses and their meanings, a line each.
std::string ExitStatusHelp();
