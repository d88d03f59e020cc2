// Launches through the library, from the request to the outcome, and those of the last time with what became of each.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "glib_handles.h"
#include "launch/launch_functions.h"
#include "server/browsers.h"
#include "service/meanings.h"
#include "tv/lane.h"

namespace home {

struct LaunchWish {
  std::string app;
  std::string title;  // for people
  std::string payload;
  bool force = false;
  bool background = false;
  bool deep_link = false;
};

class Launches {
 public:
  using Number = std::uintptr_t;
  using Changed = std::function<void(const Json&)>;  // a launch as the pages show it

  // There is one for the life of the process: the library may tell of a launch at any time.
  Launches(unsigned wait_ms, Changed changed);
  ~Launches() = delete;

  // The number of the launch, or why there is none.
  struct Begun {
    Number number = 0;
    std::string why_not;
  };
  Begun Begin(const LaunchWish& wish);

  // The launches of the last time, the oldest one first.
  Json All() const;

  // What was accepted before is not to be heard of any more.
  void OnServiceGone();
  void OnBusGone();
  // Somebody is asked for the PIN: that takes as long as it takes.
  void OnPinAsked(const std::string& app, bool asked);

 private:
  struct Launch {
    Number number = 0;
    LaunchWish wish;
    std::int64_t asked_ms = 0;
    unsigned ends_before = 0;  // of services and buses
    std::int64_t ended_ms = 0;
    std::string state = "waiting";  // then accepted, then the word of an outcome
    bool asks_pin = false;
    int code = 0;
    std::string words;
    std::string mending;
    std::vector<std::string> reasons;

    bool IsOpen() const { return ended_ms == 0; }
  };

  static void OnEvent(const char* app_id, nuv_notify_event_e event, int, int result, void* number);
  static void Run(const LaunchFunction& function, const LaunchWish& wish, Number number);
  Launch* Find(Number number);
  void OnAccepted(Number number);
  void OnNotAccepted(Number number, Outcome outcome, int code, const std::string& why);
  void OnReport(Number number, const LaunchReport& report);
  void OnLate(Number number);
  void End(Launch& launch, Outcome outcome, int code, const std::string& why);
  void OnEnd(Outcome outcome, const std::string& why);
  void EndAllAccepted(Outcome outcome, const std::string& why);
  void ExplainFailure(const Launch& launch);
  void Wait(Number number);
  void TellOf(const Launch& launch) const { changed_(JsonOf(launch)); }
  static Json JsonOf(const Launch& launch);

  const unsigned wait_ms_;
  const Changed changed_;
  Lane requests_{256};
  Lane explanations_{64};
  Number last_ = 0;
  std::deque<Launch> launches_;
  // What ended last, a service or a bus, and how many did.
  unsigned ends_ = 0;
  Outcome last_end_ = Outcome::kServiceGone;
  std::string last_end_words_;
};

}  // namespace home
