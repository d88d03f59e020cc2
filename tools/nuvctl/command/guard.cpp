#include "command/guard.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include "descriptor.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Limit {
  unsigned milliseconds;
  Clock::time_point end;
};

// What the system call has made; where it made none, its reason is thrown.
int Made(int descriptor) {
  if (descriptor < 0) throw std::system_error(errno, std::generic_category());
  return descriptor;
}

// What the guard and the work tell each other.
struct Desk {
  std::mutex mutex;
  std::optional<Limit> limit;
  std::function<void(const Interrupt&)> on_interrupt;
  std::optional<Report> report;
  std::exception_ptr failure;
  Descriptor news{Made(eventfd(0, EFD_CLOEXEC))};  // the limit or the report is another one

  void Tell() const {
    const eventfd_t one = 1;
    eventfd_write(news.number(), one);
  }
};

// The desk of the work that runs. An abandoned one keeps it.
std::shared_ptr<Desk>& CurrentDesk() {
  static auto& desk = *new std::shared_ptr<Desk>;
  return desk;
}

std::atomic<bool> g_abandoned{false};

// Those that would end the process. One that it was started to ignore stays ignored.
sigset_t EndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM}) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&signals, number);
  }
  return signals;
}

void DoWork(const std::function<Report()>& work, const std::shared_ptr<Desk>& desk) {
  std::optional<Report> report;
  std::exception_ptr failure;
  try {
    report = work();
  } catch (const std::exception&) {
    failure = std::current_exception();
  }
  const std::lock_guard<std::mutex> lock(desk->mutex);
  desk->report = std::move(report);
  desk->failure = failure;
  desk->Tell();
}

Report EndOf(Outcome outcome, const std::string& why) {
  Report report;
  report.outcome = outcome;
  report.error = why;
  g_abandoned = true;
  return report;
}

// What the work came to, or the end of its time.
std::optional<Report> Look(const Desk& desk) {
  if (desk.failure != nullptr) std::rethrow_exception(desk.failure);
  if (desk.report) return desk.report;
  if (!desk.limit || Clock::now() < desk.limit->end) return std::nullopt;
  return EndOf(Outcome::kTimedOut, "timed out: " + NoAnswerWithin(desk.limit->milliseconds));
}

int MillisecondsTo(const std::optional<Limit>& limit) {
  if (!limit) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit->end - Clock::now()).count();
  return left > 0 ? static_cast<int>(left) : 0;
}

// False where the work ends itself on an interrupt.
bool InterruptEnds(Desk& desk, const signalfd_siginfo& signal) {
  const std::lock_guard<std::mutex> lock(desk.mutex);
  if (!desk.on_interrupt) return true;
  desk.on_interrupt({static_cast<int>(signal.ssi_signo), signal.ssi_code > 0});
  return false;
}

Report Watch(Desk& desk, int signals) {
  for (;;) {
    int left = 0;
    {
      const std::lock_guard<std::mutex> lock(desk.mutex);
      if (auto end = Look(desk)) return *end;
      left = MillisecondsTo(desk.limit);
    }
    pollfd sources[] = {{desk.news.number(), POLLIN, 0}, {signals, POLLIN, 0}};
    if (poll(sources, 2, left) <= 0) continue;
    eventfd_t ignored = 0;
    if (sources[0].revents != 0) eventfd_read(desk.news.number(), &ignored);
    signalfd_siginfo signal = {};
    const bool ended = sources[1].revents != 0 && read(signals, &signal, sizeof signal) == sizeof signal;
    if (ended && InterruptEnds(desk, signal)) return EndOf(Outcome::kInterrupted, "interrupted");
  }
}

void SetLimit(std::optional<Limit> limit) {
  const std::shared_ptr<Desk> desk = CurrentDesk();
  if (desk == nullptr) return;
  const std::lock_guard<std::mutex> lock(desk->mutex);
  desk->limit = limit;
  desk->Tell();
}

void SetInterruptHandler(std::function<void(const Interrupt&)> on_interrupt) {
  const std::shared_ptr<Desk> desk = CurrentDesk();
  if (desk == nullptr) return;
  const std::lock_guard<std::mutex> lock(desk->mutex);
  desk->on_interrupt = std::move(on_interrupt);
}

}  // namespace

// The signals are blocked for every thread, and read here.
Report RunGuarded(const std::function<Report()>& work) {
  const sigset_t signals = EndSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  const Descriptor signal_reader(Made(signalfd(-1, &signals, SFD_CLOEXEC)));
  const auto desk = std::make_shared<Desk>();
  CurrentDesk() = desk;
  std::thread([work, desk] { DoWork(work, desk); }).detach();
  return Watch(*desk, signal_reader.number());
}

bool WorkIsAbandoned() {
  return g_abandoned;
}

AnswerLimit::AnswerLimit(std::optional<unsigned> milliseconds) {
  if (milliseconds) SetLimit(Limit{*milliseconds, Clock::now() + std::chrono::milliseconds(*milliseconds)});
}

AnswerLimit::~AnswerLimit() {
  SetLimit(std::nullopt);
}

InterruptHandler::InterruptHandler(std::function<void(const Interrupt&)> on_interrupt) {
  SetInterruptHandler(std::move(on_interrupt));
}

InterruptHandler::InterruptHandler(const std::function<void()>& on_interrupt)
    : InterruptHandler([on_interrupt](const Interrupt&) { on_interrupt(); }) {}

InterruptHandler::~InterruptHandler() {
  SetInterruptHandler(nullptr);
}

std::string InSeconds(unsigned milliseconds) {
  std::ostringstream text;
  text << milliseconds / 1000.0 << " s";
  return text.str();
}

std::string NoAnswerWithin(unsigned milliseconds) {
  return "the service did not answer within " + InSeconds(milliseconds);
}
