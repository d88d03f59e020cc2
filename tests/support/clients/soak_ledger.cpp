#include "soak_ledger.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace {

constexpr size_t kSlots = 1 << 14;
constexpr size_t kWrongShown = 20;
// How long a result may be on its way, and how long a closed connection may go unnoticed, on a busy machine.
constexpr int64_t kResultUnderway = 1500000;
constexpr int64_t kUnnoticed = 2000000;
// The read side gives up a busy database after 50 tries of 10 ms, the inner side after 50 of a second.
constexpr int64_t kBusyTakes = 490000;
constexpr int64_t kInnerBusyTakes = 49000000;

constexpr int kUnknownApp = 400;
constexpr int kFailed = 404;

}  // namespace

int64_t Now() {
  using std::chrono::microseconds;
  return std::chrono::duration_cast<microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

bool Outages::Any(int64_t begin, int64_t end, bool of_the_bus) const {
  std::ifstream notes(path_);
  std::string what;
  std::string victim;
  int64_t when = 0;
  int64_t down = 0;
  while (notes >> what >> when >> victim) {
    if (of_the_bus && victim == "service") continue;
    if (what == "up" && begin <= when && end >= down) return true;
    down = what == "down" ? when : 0;
  }
  return down != 0 && end >= down;
}

bool Outages::Explain(int64_t begin, int64_t end) const {
  return Any(begin - kUnnoticed, end, false);
}

bool Outages::OfTheBusExplain(int64_t begin, int64_t end) const {
  return Any(begin - kUnnoticed, end, true);
}

Ledger::Ledger(const std::string& outages) : outages_(outages), slots_(kSlots) {}

uintptr_t Ledger::Begin(const std::string& app, Lookup lookup) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Slot& slot = slots_[++last_ % kSlots];
  if (slot.number != 0) Judge(slot);
  slot = Slot();
  slot.number = last_;
  snprintf(slot.app, sizeof slot.app, "%s", app.c_str());
  slot.lookup = lookup;
  slot.begin = Now();
  return last_;
}

void Ledger::Returned(uintptr_t number, int result) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Slot& slot = slots_[number % kSlots];
  slot.end = Now();
  slot.result = result;
  accepted_ += result == 0 ? 1 : 0;
}

Ledger::Slot* Ledger::Find(uintptr_t number, const char* app) {
  Slot& slot = slots_[number % kSlots];
  if (number == 0 || slot.number != number) {
    NoteWrong("a callback for launch " + std::to_string(number) + ", which is not open");
    return nullptr;
  }
  if (app == nullptr || strcmp(app, slot.app) != 0) {
    NoteWrong("foreign: " + std::string(slot.app) + " heard of " + (app == nullptr ? "nothing" : app));
  }
  return &slot;
}

void Ledger::Heard(uintptr_t number, const char* app, bool expected) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Slot* slot = Find(number, app);
  if (slot == nullptr) return;
  ++slot->heard;
  if (!expected) NoteWrong("an outcome that " + std::string(slot->app) + " cannot have");
}

void Ledger::Told(uintptr_t number, const char* app, int status) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Slot* slot = Find(number, app);
  if (slot == nullptr) return;
  ++slot->told;
  slot->status = status;
}

bool Ledger::WasHeard(uintptr_t number) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return slots_[number % kSlots].heard > 0;
}

bool Ledger::AllHeard() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const Slot& slot : slots_) {
    if (slot.number == 0) continue;
    if (slot.end == 0 || (slot.result == 0 && slot.heard == 0 && Ending(slot).empty())) return false;
  }
  return true;
}

std::string Ledger::RefusedEnding(const Slot& slot) const {
  const bool gone = outages_.Explain(slot.begin, slot.end);
  const bool busy = slot.end - slot.begin >= kBusyTakes;
  if (slot.heard > 0 || slot.told > 1) return "";
  if (slot.told == 0 && slot.lookup == Lookup::kTitle && busy && !gone) return "not made: the database was busy";
  if (slot.told == 1 && slot.status == kUnknownApp) {
    return slot.lookup == Lookup::kCatalogue && (busy || gone) ? "not made: the database was busy" : "";
  }
  if (!gone) return "";
  if (slot.told == 0) return outages_.OfTheBusExplain(slot.begin, slot.end) ? "refused: there was no link" : "";
  return slot.status == kFailed ? "refused: the call failed, told at once" : "refused: out of time, told at once";
}

std::string Ledger::Ending(const Slot& slot) const {
  if (slot.result != 0) return RefusedEnding(slot);
  if (slot.told > 0 || slot.heard > 1) return "";
  if (slot.heard == 1) return "accepted: the result heard once";
  return outages_.Met(slot.begin, slot.end + kResultUnderway) ? "accepted: the result went with service or bus" : "";
}

void Ledger::Judge(const Slot& slot) {
  const std::string ending = Ending(slot);
  if (!ending.empty()) return Count("launch " + ending);
  NoteWrong("launch " + std::to_string(slot.number) + " of " + slot.app + " at " + std::to_string(slot.begin) +
            " took " + std::to_string(slot.end - slot.begin) + " us: result " + std::to_string(slot.result) +
            ", heard " + std::to_string(slot.heard) + ", told " + std::to_string(slot.told) + " with " +
            std::to_string(slot.status));
}

std::string Ledger::CallEnding(const CallKind& kind, int result, int64_t begin, int64_t end) const {
  if (result >= 0) return "done";
  if (outages_.Explain(begin, end)) return "failed: service or bus was gone";
  switch (kind.excuse) {
    case Excuse::kNone:
      return "";
    case Excuse::kBusy:
      return end - begin >= kBusyTakes ? "failed: the database was busy" : "";
    case Excuse::kInnerBusy:
      return end - begin >= kInnerBusyTakes ? "failed: the database was busy" : "";
    case Excuse::kServiceCannotWrite:
      return "failed: the service could not write";
    case Excuse::kSwitched:
      return "failed: switched to read-only meanwhile";
  }
  return "";
}

void Ledger::Called(const CallKind& kind, int result, int64_t begin) {
  const int64_t end = Now();
  const std::string ending = CallEnding(kind, result, begin, end);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!ending.empty()) return Count(std::string(kind.group) + " " + ending);
  NoteWrong(std::string(kind.group) + ", excuse " + std::to_string(static_cast<int>(kind.excuse)) + ", at " +
            std::to_string(begin) + " took " + std::to_string(end - begin) + " us: result " + std::to_string(result));
}

void Ledger::Wrong(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  NoteWrong(what);
}

void Ledger::Close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (Slot& slot : slots_) {
    if (slot.number != 0) Judge(slot);
  }
}

int64_t Ledger::Accepted() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return accepted_;
}

void Ledger::Count(const std::string& ending) {
  ++endings_[ending];
}

void Ledger::NoteWrong(const std::string& what) {
  ++wrong_count_;
  if (wrong_.size() < kWrongShown) wrong_.push_back(what);
}

bool Ledger::Print() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& [ending, count] : endings_)
    printf("ledger %lld %s\n", static_cast<long long>(count), ending.c_str());
  for (const std::string& what : wrong_) printf("wrong %s\n", what.c_str());
  printf("ledger %lld WRONG\n", static_cast<long long>(wrong_count_));
  return wrong_count_ == 0;
}
