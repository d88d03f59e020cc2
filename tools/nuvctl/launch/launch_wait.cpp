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

void LaunchWait::OnAccepted() {
  if (!for_result_) return Conclude({Outcome::kAccepted, std::nullopt, ""});
  accepted_ = true;
  if (service_present_ == false && !grace_for_) grace_for_ = ServiceGone();
}

void LaunchWait::OnNotAccepted(const Conclusion& why) {
  // A broken bus explains the failure better than what a new connection, to a new bus perhaps, finds out.
  Conclude(grace_for_.value_or(why));
}

void LaunchWait::OnServiceOwner(bool present) {
  service_present_ = present;
  if (!accepted_) return;
  if (!present) {
    lost_after_acceptance_ = true;
    if (!grace_for_) grace_for_ = ServiceGone();
  } else if (!lost_after_acceptance_ && grace_for_ && grace_for_->outcome == Outcome::kServiceGone) {
    // The service was started for this launch, and the news of it came later than its acceptance.
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
