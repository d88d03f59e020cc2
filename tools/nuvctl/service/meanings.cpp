#include "service/meanings.h"

namespace {

// The reason of a failed event says more than the event, where there is one.
std::optional<Verdict> JudgeFailedEvent(const LaunchReport& report) {
  switch (report.result) {
    case NUV_LAUNCH_STATUS_PENDING:
      return std::nullopt;
    case NUV_LAUNCH_STATUS_TIMED_OUT:
      return Verdict{Outcome::kTimedOut, report.result};
    case 0:
      return Verdict{Outcome::kFailed, report.event};
    default:
      return Verdict{Outcome::kFailed, report.result};
  }
}

}  // namespace

const Meaning* FindMeaning(int number) {
  for (const nuv_number_kind_e kind : {NUV_NUMBER_EVENT, NUV_NUMBER_STATUS, NUV_NUMBER_RESULT}) {
    if (const Meaning* meaning = nuv_find_number(kind, number); meaning != nullptr) return meaning;
  }
  return nullptr;
}

std::optional<Verdict> Judge(const LaunchReport& report) {
  const bool plain = report.shape == CallbackShape::kPlain;
  const int number = plain ? report.result : report.event;
  const Meaning* meaning = nuv_find_number(plain ? NUV_NUMBER_RESULT : NUV_NUMBER_EVENT, number);
  if (meaning == nullptr) return std::nullopt;
  if (meaning->sense == NUV_NUMBER_SUCCESS) return Verdict{Outcome::kLaunched, number};
  return plain ? Verdict{Outcome::kFailed, number} : JudgeFailedEvent(report);
}

const std::map<std::string, int>& PopupKinds() {
  static const std::map<std::string, int> kinds = [] {
    std::map<std::string, int> result;
    for (const Meaning* meaning = nuv_numbers(); meaning->name != nullptr; ++meaning) {
      if (meaning->kind == NUV_NUMBER_POPUP) result.emplace(meaning->name, meaning->number);
    }
    return result;
  }();
  return kinds;
}
