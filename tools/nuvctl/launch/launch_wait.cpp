#include "launch/launch_wait.h"

namespace {

Conclusion ServiceGone() {
  return {Outcome::kServiceGone, std::nullopt, "the service went away before it reported a result"};
}

Conclusion BusGone() {
  return {Outcome::kBusGone, std::nullopt, "the connection to the system bus broke before a result arrived"};
}

constexpr char kNoResultPath[] =
    "no result can arrive: the bus does not let this process own the name that receives results";

}  // namespace

void LaunchWait::Conclude(const Conclusion& conclusion) {
  if (!conclusion_) conclusion_ = conclusion;
}

void LaunchWait::OnReport(const LaunchReport& report) {
  if (!for_result_ || conclusion_) return;
  reports_.push_back(report);
  if (const auto verdict = Judge(report)) Conclude({verdict->outcome, verdict->code, ""});
}

void LaunchWait::OnAccepted(const std::string& by) {
  if (!for_result_) return Conclude({Outcome::kAccepted, std::nullopt, ""});
  accepted_ = true;
  accepted_by_ = by;
  LookForService();
}

void LaunchWait::OnNotAccepted(const Conclusion& why) {
  // A broken bus explains the failure better than what a new connection, to a new bus perhaps, finds out.
  Conclude(grace_for_.value_or(why));
}

void LaunchWait::OnServiceOwner(const std::string& owner) {
  service_owner_ = owner;
  if (accepted_) LookForService();
}

// The news that a service was started for this launch may come later than its acceptance, so it gets the time of the
// grace. A bus gives a unique name only once: another service than the one that accepted knows nothing of the launch.
void LaunchWait::LookForService() {
  if (!service_owner_) return;
  if (accepted_by_.empty()) accepted_by_ = *service_owner_;
  const bool is_there = !service_owner_->empty() && *service_owner_ == accepted_by_;
  if (!is_there && !grace_for_) {
    grace_for_ = ServiceGone();
  } else if (is_there && grace_for_ && grace_for_->outcome == Outcome::kServiceGone) {
    grace_for_.reset();
  }
}

void LaunchWait::OnClientName(bool owned) {
  client_name_owned_ = owned;
}

void LaunchWait::OnBusClosed() {
  grace_for_ = BusGone();
}

void LaunchWait::OnGraceOver() {
  if (grace_for_) Conclude(*grace_for_);
}

void LaunchWait::OnDeadline() {
  if (grace_for_) return OnGraceOver();
  if (ResultsCannotArrive()) return Conclude({Outcome::kTimedOut, std::nullopt, kNoResultPath});
  Conclude({Outcome::kTimedOut, std::nullopt,
            accepted_ ? "the service accepted the launch and reported no result in time"
                      : "the service did not answer in time"});
}

void LaunchWait::OnAnswerDeadline() {
  if (!accepted_) OnDeadline();
}

void LaunchWait::OnInterrupt() {
  Conclude({Outcome::kInterrupted, std::nullopt, "interrupted"});
}

std::string LaunchWait::Hopeless() const {
  return name_time_over_ && ResultsCannotArrive() ? kNoResultPath : "";
}
