// nuvctl ping
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "bus/system_bus.h"
#include "command/guard.h"
#include "command/verb.h"
#include "obstacles/obstacles.h"
#include "report/text.h"
#include "service/heartbeat.h"
#include "service/round_trips.h"

namespace ping_verb {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kConnectLimitMs = 3000;
constexpr unsigned kDefaultIntervalMs = 1000;
constexpr unsigned kDefaultTimeoutMs = 2000;

constexpr char kCount[] = "-c,--count";
constexpr char kInterval[] = "-i,--interval";

// What the user's interrupt ends: the pause and the call.
class Stop {
 public:
  void Set() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      set_ = true;
    }
    changed_.notify_all();
    g_cancellable_cancel(cancellable_.get());
  }
  bool IsSet() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return set_;
  }
  void WaitUntil(Clock::time_point time) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, time, [this] { return set_; });
  }
  GCancellable* cancellable() const { return cancellable_.get(); }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = false;
  const CancellableOwner cancellable_{g_cancellable_new()};
};

struct Plan {
  int count;  // 0: until the user ends it
  unsigned interval_ms;
  unsigned timeout_ms;
  bool quiet;
};

struct Course {
  int sent = 0;
  RoundTrips times;
  Diagnosis last_failure = {Outcome::kInterrupted, "no heartbeat was answered"};
};

void Show(int number, const Heartbeat& heartbeat) {
  const std::string what =
      heartbeat.microseconds ? "time=" + Milliseconds(*heartbeat.microseconds) + " ms" : heartbeat.failure.message;
  PrintLine("heartbeat " + std::to_string(number) + ": " + what);
}

// A call that the user ended is none.
Course Run(GDBusConnection* bus, const Plan& plan, Stop& stop) {
  Course course;
  Clock::time_point next = Clock::now();
  while (!stop.IsSet() && (plan.count == 0 || course.sent < plan.count)) {
    const Heartbeat heartbeat = SendHeartbeat(bus, plan.timeout_ms, stop.cancellable());
    if (stop.IsSet() && !heartbeat.microseconds) break;
    ++course.sent;
    if (!plan.quiet) Show(course.sent, heartbeat);
    if (heartbeat.microseconds) course.times.Add(*heartbeat.microseconds);
    if (!heartbeat.microseconds) course.last_failure = heartbeat.failure;
    if (course.last_failure.outcome == Outcome::kBusGone) break;
    next = std::max(next + std::chrono::milliseconds(plan.interval_ms), Clock::now());
    if (course.sent != plan.count) stop.WaitUntil(next);
  }
  return course;
}

std::string Summary(const Course& course) {
  const std::string lost = std::to_string(course.sent - course.times.count());
  const std::string figures = course.times.InWords();
  return "--- " + ServiceName() + " ---\n" + std::to_string(course.sent) + " sent, " +
         std::to_string(course.times.count()) + " answered, " + lost + " lost" +
         (figures.empty() ? "" : "\n" + figures);
}

Fields FieldsOf(const Course& course) {
  Fields fields = {{"service", ServiceName()}, {"sent", course.sent}, {"answered", course.times.count()}};
  fields.Update(course.times.ToFields());
  return fields;
}

Report Ping(const Values& values) {
  Stop stop;
  const InterruptHandler handler([&stop] { stop.Set(); });
  const ConnectionOwner bus = ConnectToSystemBus(kConnectLimitMs);
  if (bus == nullptr) return ReportOf(BusUnreachable(), FieldsOf(Course()));
  const Plan plan = {values.Number(kCount), values.Milliseconds(kInterval).value_or(kDefaultIntervalMs),
                     values.Milliseconds("--timeout").value_or(kDefaultTimeoutMs), values.Flag("--json")};
  const Course course = Run(bus.get(), plan, stop);
  if (!plan.quiet) PrintLine(Summary(course));
  Report report;
  if (course.times.empty() || course.last_failure.outcome == Outcome::kBusGone) report = ReportOf(course.last_failure);
  report.details = FieldsOf(course);
  return report;
}

const RegisteredVerb kPing(
    {"ping",
     Group::kDiagnosis,
     "Measure how fast the service answers",
     {Option(kCount, "N", "Heartbeats to send (default: until interrupted)").NumberFrom(1),
      Option(kInterval, "SECONDS", "From one to the next (default 1)").Seconds(),
      Option("--timeout", "SECONDS", "Give the service so long for each answer (default 2)").Seconds()},
     Ping});

}  // namespace
}  // namespace ping_verb
