// What became of each launch and of each other call of a client that is soaked.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// Microseconds since 1970: the clock that the conductor writes its notes with.
int64_t Now();

// When the service or the bus was not there, as the conductor notes it: lines "down MICROSECONDS service" (or bus, or
// both) and "up MICROSECONDS service".
class Outages {
 public:
  explicit Outages(std::string path) : path_(std::move(path)) {}
  // Whether one began, or lasted, between begin and end.
  bool Met(int64_t begin, int64_t end) const { return Any(begin, end, false); }
  // The same, and for as long after its end as a closed connection may go unnoticed.
  bool Explain(int64_t begin, int64_t end) const;
  bool OfTheBusExplain(int64_t begin, int64_t end) const;

 private:
  bool Any(int64_t begin, int64_t end, bool of_the_bus) const;

  std::string path_;
};

// How a launch finds its application before the service is asked.
enum class Lookup { kNone, kTitle, kCatalogue };

// What, besides the absence of service or bus, may make a call fail: nothing; the read side, or the inner side, finding
// the database busy for too long; the service that could not write it, and then says so on its standard error; or
// another thread that switches the inner connection to read-only, for the one change that is not serialised with that.
enum class Excuse { kNone, kBusy, kInnerBusy, kServiceCannotWrite, kSwitched };

// A kind of call that is no launch.
struct CallKind {
  const char* group;
  Excuse excuse;
};

class Ledger {
 public:
  explicit Ledger(const std::string& outages);

  // A launch begins; its number.
  uintptr_t Begin(const std::string& app, Lookup lookup);
  void Returned(uintptr_t number, int result);
  // The callback of an accepted launch, and the one of a launch that failed, on the thread that asked for it.
  void Heard(uintptr_t number, const char* app, bool expected);
  void Told(uintptr_t number, const char* app, int status);
  bool WasHeard(uintptr_t number) const;
  // No launch is under way, and each accepted one has its result, unless that went with the service or the bus.
  bool AllHeard() const;

  // A call of another kind has ended, begun at the given time.
  void Called(const CallKind& kind, int result, int64_t begin);
  void Wrong(const std::string& what);

  // Passes judgement on what is still open. Nothing may be under way.
  void Close();
  int64_t Accepted() const;
  // One line each: "ledger COUNT ENDING", "wrong WHAT". True when nothing went wrong.
  bool Print() const;

 private:
  struct Slot {
    uintptr_t number = 0;  // 0: free
    char app[48] = {};
    Lookup lookup = Lookup::kNone;
    int64_t begin = 0;
    int64_t end = 0;  // 0: under way
    int result = 0;
    int heard = 0;
    int told = 0;
    int status = 0;
  };

  Slot* Find(uintptr_t number, const char* app);
  void Judge(const Slot& slot);
  std::string CallEnding(const CallKind& kind, int result, int64_t begin, int64_t end) const;
  std::string Ending(const Slot& slot) const;
  std::string RefusedEnding(const Slot& slot) const;
  void Count(const std::string& ending);
  void NoteWrong(const std::string& what);

  const Outages outages_;
  mutable std::mutex mutex_;
  std::vector<Slot> slots_;  // a launch is judged when its slot is needed again
  uintptr_t last_ = 0;
  int64_t accepted_ = 0;
  std::map<std::string, int64_t> endings_;
  std::vector<std::string> wrong_;
  int64_t wrong_count_ = 0;
};
