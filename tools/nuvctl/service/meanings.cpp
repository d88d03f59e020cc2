#include "service/meanings.h"

#include <nuv/nuv_launch_codes.h>

namespace {

using Source = Meaning::Source;
using Sense = Meaning::Sense;

#define NUMBER(source, sense, symbol, words) \
  { symbol, Source::source, Sense::sense, #symbol, words }

constexpr Meaning kMeanings[] = {
    NUMBER(kEvent, kSuccess, NUV_NOTIFY_LAUNCHED, "the application was started"),
    NUMBER(kEvent, kSuccess, NUV_NOTIFY_BROUGHT_TO_FRONT, "the application ran already and came to the front"),
    NUMBER(kEvent, kSuccess, NUV_NOTIFY_STARTED_IN_BACKGROUND, "the application runs behind the current one"),
    NUMBER(kEvent, kFailure, NUV_NOTIFY_LAUNCH_FAILED, "the launch failed"),
    NUMBER(kEvent, kSuccess, NUV_NOTIFY_PRELOADED, "the application was started without being shown"),
    NUMBER(kEvent, kFailure, NUV_NOTIFY_PRELOAD_FAILED, "the preload failed"),
    NUMBER(kEvent, kSuccess, NUV_NOTIFY_DEEPLINK_DELIVERED, "the application got its deep link"),
    NUMBER(kEvent, kFailure, NUV_NOTIFY_DEEPLINK_FAILED, "the deep link was not delivered"),

    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_UNKNOWN_APP, "the catalogue does not know the application"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_NOT_INSTALLED, "the application is not installed or not available"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_PENDING, "the launch is not decided yet"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_REFUSED, "the application is locked and the PIN was not given"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_FAILED, "the request could not be carried out"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_CANCELLED, "the user cancelled"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_CRASHED, "the application ended while it was starting"),
    NUMBER(kStatus, kReason, NUV_LAUNCH_STATUS_TIMED_OUT, "the service did not answer in time"),

    NUMBER(kResult, kSuccess, NUV_LAUNCH_RESULT_LAUNCHED, "the application was started"),
    NUMBER(kResult, kSuccess, NUV_LAUNCH_RESULT_BROUGHT_TO_FRONT, "the application ran already and came to the front"),
    NUMBER(kResult, kSuccess, NUV_LAUNCH_RESULT_STARTED_IN_BACKGROUND, "the application runs behind the current one"),
    NUMBER(kResult, kSuccess, NUV_LAUNCH_RESULT_PRELOADED, "the application was started without being shown"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_UNKNOWN_APP, "the catalogue does not know the application"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_NOT_INSTALLED, "the application is not installed or not available"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_RESERVED_606, "reserved"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_RESERVED_607, "reserved"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_RESERVED_608, "reserved"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_REFUSED, "the application is locked and the PIN was not given"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_FAILED, "the application could not be started"),
    NUMBER(kResult, kFailure, NUV_LAUNCH_RESULT_CANCELLED, "the user cancelled"),
    NUMBER(kResult, kSuccess, NUV_LAUNCH_RESULT_DEEPLINK_DELIVERED, "the application got its deep link"),
};

#undef NUMBER

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
  for (const Meaning& meaning : kMeanings) {
    if (meaning.number == number) return &meaning;
  }
  return nullptr;
}

std::optional<Verdict> Judge(const LaunchReport& report) {
  const bool plain = report.shape == CallbackShape::kPlain;
  const int number = plain ? report.result : report.event;
  const Meaning* meaning = FindMeaning(number);
  if (meaning == nullptr || meaning->source != (plain ? Source::kResult : Source::kEvent)) return std::nullopt;
  if (meaning->sense == Sense::kSuccess) return Verdict{Outcome::kLaunched, number};
  return plain ? Verdict{Outcome::kFailed, number} : JudgeFailedEvent(report);
}

const std::map<std::string, int>& PopupKinds() {
  static const std::map<std::string, int> kinds = {
      {"unknown-title", LAUNCH_ERROR_POPUP_UNKNOWN_TITLE},
      {"type-1", LAUNCH_ERROR_POPUP_TYPE_1},
      {"type-2", LAUNCH_ERROR_POPUP_TYPE_2},
      {"type-3", LAUNCH_ERROR_POPUP_TYPE_3},
      {"no-app-id", LAUNCH_ERROR_POPUP_NO_APP_ID},
  };
  return kinds;
}
