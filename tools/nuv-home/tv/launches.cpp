#include "tv/launches.h"

#include <nuv/nuv_launch_codes.h>

#include <chrono>
#include <utility>
#include <vector>

#include "command/guard.h"
#include "obstacles/explain.h"
#include "tv/mending.h"

namespace home {
namespace {

constexpr std::size_t kMostKept = 200;

// The only one: the library's callbacks name a launch by its number, so that a late one finds nothing that was freed.
Launches* g_launches = nullptr;

// The launch that the calling thread has in the library. A callback on this thread is no result: it says that the
// request failed, as the function's result will.
struct InFlight {
  bool active = false;
  int status = 0;
};
thread_local InFlight t_in_flight;

std::int64_t NowMs() {
  return g_get_real_time() / 1000;
}

const char* HowOf(const LaunchWish& wish) {
  if (wish.deep_link) return wish.background ? "deep link, in the background" : "deep link";
  if (wish.background) return "in the background";
  return wish.force ? "forced" : "plain";
}

struct Described {
  std::string name;
  std::string words;
};

Described Describe(int code) {
  const Meaning* meaning = FindMeaning(code);
  if (code == 0) return {};
  if (meaning == nullptr) return {"", "the service sent the number " + std::to_string(code) + ", which has no name"};
  return {meaning->name, meaning->text};
}

}  // namespace

Launches::Launches(unsigned wait_ms, Changed changed) : wait_ms_(wait_ms), changed_(std::move(changed)) {
  g_launches = this;
}

Launches::Begun Launches::Begin(const LaunchWish& wish) {
  LaunchChoice choice;
  choice.force = wish.force;
  choice.background = wish.background;
  choice.deep_link = wish.deep_link;
  const LaunchFunction* function = FindLaunchFunction(choice, false);
  if (function == nullptr) return {0, "the library has no launch that is both forced and in the background"};
  const Number number = ++last_;
  Launch launch;
  launch.number = number;
  launch.wish = wish;
  launch.asked_ms = NowMs();
  launch.ends_before = ends_;
  if (launches_.size() == kMostKept) launches_.pop_front();
  launches_.push_back(launch);
  if (!requests_.Do([function, wish, number] { Run(*function, wish, number); })) {
    launches_.pop_back();
    return {0, "too many launches wait for the service"};
  }
  TellOf(launches_.back());
  return {number, ""};
}

void Launches::Run(const LaunchFunction& function, const LaunchWish& wish, Number number) {
  LaunchArguments arguments;
  arguments.app = wish.app;
  if (!wish.payload.empty()) arguments.payload = wish.payload;
  arguments.on_event = OnEvent;
  arguments.user_data = reinterpret_cast<void*>(number);
  t_in_flight = {true, 0};
  const int result = function.call(arguments);
  t_in_flight.active = false;
  if (result == 0) return InMainLoop([number] { g_launches->OnAccepted(number); });
  Diagnosis why = {Outcome::kTimedOut, ""};
  if (t_in_flight.status != NUV_LAUNCH_STATUS_TIMED_OUT) why = DiagnoseFailure();
  const int code = why.outcome == Outcome::kTimedOut ? NUV_LAUNCH_STATUS_TIMED_OUT : 0;
  InMainLoop([number, why, code] { g_launches->OnNotAccepted(number, why.outcome, code, why.message); });
}

void Launches::OnEvent(const char* app_id, nuv_notify_event_e event, int, int result, void* data) {
  if (t_in_flight.active) {
    t_in_flight.status = result;
    return;
  }
  const LaunchReport report{CallbackShape::kWebApp, app_id != nullptr ? app_id : "", event, result};
  InMainLoop([number = reinterpret_cast<Number>(data), report] { g_launches->OnReport(number, report); });
}

Launches::Launch* Launches::Find(Number number) {
  if (launches_.empty() || number < launches_.front().number || number > launches_.back().number) return nullptr;
  for (Launch& launch : launches_) {
    if (launch.number == number) return &launch;
  }
  return nullptr;
}

// The outcome may have been quicker, and so may the end of the service that accepted it.
void Launches::OnAccepted(Number number) {
  Launch* launch = Find(number);
  if (launch == nullptr || !launch->IsOpen()) return;
  if (launch->ends_before != ends_) return End(*launch, last_end_, 0, last_end_words_);
  launch->state = "accepted";
  launch->words = "the service has accepted it";
  TellOf(*launch);
  Wait(number);
}

void Launches::Wait(Number number) {
  auto* waiting = new Number(number);
  g_timeout_add_full(
      G_PRIORITY_DEFAULT, wait_ms_,
      [](gpointer data) -> gboolean {
        g_launches->OnLate(*static_cast<Number*>(data));
        return G_SOURCE_REMOVE;
      },
      waiting, [](gpointer data) { delete static_cast<Number*>(data); });
}

void Launches::OnLate(Number number) {
  Launch* launch = Find(number);
  if (launch == nullptr || !launch->IsOpen()) return;
  if (launch->asks_pin) return Wait(number);
  End(*launch, Outcome::kTimedOut, 0, "no outcome came within " + InSeconds(wait_ms_));
}

void Launches::OnNotAccepted(Number number, Outcome outcome, int code, const std::string& why) {
  Launch* launch = Find(number);
  if (launch != nullptr) End(*launch, outcome, code, why);
}

// Also of a launch that counts as ended: the last word is the service's.
void Launches::OnReport(Number number, const LaunchReport& report) {
  Launch* launch = Find(number);
  if (launch == nullptr) return;
  if (const auto verdict = Judge(report)) return End(*launch, verdict->outcome, verdict->code, "");
  const Described described = Describe(report.result != 0 ? report.result : report.event);
  launch->words = described.words;
  TellOf(*launch);
}

void Launches::End(Launch& launch, Outcome outcome, int code, const std::string& why) {
  launch.state = WordOf(outcome);
  launch.ended_ms = NowMs();
  launch.asks_pin = false;
  launch.code = code;
  launch.words = why.empty() ? Describe(code).words : why;
  launch.reasons.clear();
  launch.mending = outcome == Outcome::kServiceGone ? MendingOfObstacle("service-gone")
                   : outcome == Outcome::kBusGone   ? MendingOfObstacle("bus-gone")
                   : outcome == Outcome::kTimedOut  ? MendingOfCode(NUV_LAUNCH_STATUS_TIMED_OUT)
                   : outcome == Outcome::kLaunched  ? ""
                                                    : MendingOfCode(code != 0 ? code : NUV_LAUNCH_STATUS_FAILED);
  TellOf(launch);
  if (outcome == Outcome::kFailed) ExplainFailure(launch);
}

// Where nobody can explain it any more, the outcome stands as it is.
void Launches::ExplainFailure(const Launch& launch) {
  explanations_.Do([number = launch.number, app = launch.wish.app] {
    const Explanation explanation = Explain(app);
    if (explanation.reasons.empty()) return;
    InMainLoop([number, reasons = explanation.reasons] {
      Launch* failed = g_launches->Find(number);
      if (failed == nullptr) return;
      for (const Reason& reason : reasons) {
        failed->reasons.push_back(reason.obstacle.why.message);
        const std::string mending = MendingOfObstacle(reason.obstacle.key);
        if (!mending.empty() && reason.stops_launch) failed->mending = mending;
      }
      g_launches->TellOf(*failed);
    });
  });
}

void Launches::EndAllAccepted(Outcome outcome, const std::string& why) {
  for (Launch& launch : launches_) {
    if (launch.state == "accepted") End(launch, outcome, 0, why);
  }
}

void Launches::OnEnd(Outcome outcome, const std::string& why) {
  ++ends_;
  last_end_ = outcome;
  last_end_words_ = why;
  EndAllAccepted(outcome, why);
}

void Launches::OnServiceGone() {
  OnEnd(Outcome::kServiceGone, "the service ended before it sent the outcome");
}

void Launches::OnBusGone() {
  OnEnd(Outcome::kBusGone, "the system bus went before the outcome came");
}

void Launches::OnPinAsked(const std::string& app, bool asked) {
  for (Launch& launch : launches_) {
    if (launch.wish.app == app && launch.IsOpen()) launch.asks_pin = asked;
  }
}

Json Launches::JsonOf(const Launch& launch) {
  const Described described = Describe(launch.code);
  return {
      {"launch", launch.number},    {"app", launch.wish.app},
      {"title", launch.wish.title}, {"how", HowOf(launch.wish)},
      {"state", launch.state},      {"code", launch.code},
      {"name", described.name},     {"words", launch.words},
      {"mending", launch.mending},  {"reasons", launch.reasons},
      {"asked", launch.asked_ms},   {"took", launch.ended_ms != 0 ? Json(launch.ended_ms - launch.asked_ms) : Json()}};
}

Json Launches::All() const {
  Json all = Json::array();
  for (const Launch& launch : launches_) all.push_back(JsonOf(launch));
  return all;
}

}  // namespace home
