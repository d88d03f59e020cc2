// Decides what a launch ends in from what happens around it. Knows no bus, no thread and no clock: who feeds it tells
// it of those, and runs the two timers that it asks for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/meanings.h"

struct Conclusion {
  Outcome outcome;
  std::optional<int> code;  // number of the library or the service that says why
  std::string reason;       // in words, where there is no number
};

class LaunchWait {
 public:
  // Not waiting for the result, acceptance is the end.
  explicit LaunchWait(bool for_result) : for_result_(for_result) {}

  void OnReport(const LaunchReport& report);
  // By the service with this unique name on the bus; empty where nobody saw who answered.
  void OnAccepted(const std::string& by);
  void OnNotAccepted(const Conclusion& why);
  // The unique name of the service that is there now; empty where there is none.
  void OnServiceOwner(const std::string& owner);
  void OnClientName(bool owned);  // whether the name that receives the results has an owner
  void OnBusClosed();
  void OnDeadline();
  void OnAnswerDeadline();  // the end of the time for the acceptance
  void OnInterrupt();

  // A result may be under way when its sender is gone already: the time to let it arrive runs.
  bool InGrace() const { return grace_for_.has_value(); }
  void OnGraceOver();

  // The name that receives the results may take a moment: the time to let it appear runs.
  bool AwaitsClientName() const { return accepted_ && for_result_ && !name_time_over_; }
  void OnClientNameTimeOver() { name_time_over_ = true; }

  // Why the wait is in vain, once that is known; empty otherwise.
  std::string Hopeless() const;

  const std::optional<Conclusion>& conclusion() const { return conclusion_; }
  const std::vector<LaunchReport>& reports() const { return reports_; }

 private:
  void Conclude(const Conclusion& conclusion);
  void LookForService();
  bool ResultsCannotArrive() const { return accepted_ && client_name_owned_ == false; }

  const bool for_result_;
  bool accepted_ = false;
  bool name_time_over_ = false;
  std::string accepted_by_;
  std::optional<std::string> service_owner_;
  std::optional<bool> client_name_owned_;
  std::optional<Conclusion> grace_for_;
  std::optional<Conclusion> conclusion_;
  std::vector<LaunchReport> reports_;
};
