// A verb under guard: it may be blocked in the library, in a file or on the bus, and still a signal of the user, or the
// end of the time that it has for the service, ends it with an answer.
#pragma once

#include <functional>
#include <mutex>
#include <optional>

#include "report/report.h"

// Does the work on a thread of its own, and returns its report, or the one that says why it was not waited for.
Report RunGuarded(const std::function<Report()>& work);

// Whether such a thread is still at work: the process then has to end without taking its statics from under it.
bool WorkIsAbandoned();

// As long as it lives, the work that runs under guard has so long until the service has answered.
class AnswerLimit {
 public:
  explicit AnswerLimit(std::optional<unsigned> milliseconds);
  ~AnswerLimit();
  AnswerLimit(const AnswerLimit&) = delete;
  AnswerLimit& operator=(const AnswerLimit&) = delete;
};

struct Interrupt {
  int signal;
  bool from_terminal;  // which sends it to all of its foreground
};

// As long as it lives, an interrupt calls the function, from another thread, in place of ending the work.
class InterruptHandler {
 public:
  explicit InterruptHandler(std::function<void(const Interrupt&)> on_interrupt);
  explicit InterruptHandler(const std::function<void()>& on_interrupt);
  ~InterruptHandler();
  InterruptHandler(const InterruptHandler&) = delete;
  InterruptHandler& operator=(const InterruptHandler&) = delete;
};

// "2.5 s"
std::string InSeconds(unsigned milliseconds);

// "the service did not answer within 2.5 s"
std::string NoAnswerWithin(unsigned milliseconds);
