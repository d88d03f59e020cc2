// System and library calls that a test lets fail.
#pragma once

#include <gio/gio.h>

#include <atomic>
#include <ctime>
#include <ostream>
#include <string>
#include <vector>

namespace faults {

extern bool pthread_create_fails;
extern bool threads_of_glib_fail;  // pthread_create() where GLib calls it
extern bool bus_get_fails_without_error;
extern void (*before_bus_get)();  // called before the shared connection is asked for; null: nothing
extern void (*after_bus_get)();   // called with the connection just made; null: nothing
extern bool main_context_new_fails;
extern bool register_object_returns_zero;
extern void (*before_registration)(GDBusConnection*);   // called before an object is registered on it; null: nothing
extern std::atomic<void (*)()> before_closing_is_told;  // called by GLib's thread as a connection closes; null: nothing
extern void (*before_unowning)();                       // called before a name is given up; null: nothing
extern void (*before_join)();                           // called before a thread is waited for; null: nothing
extern void (*at_start_of_thread)();                    // called by each new thread; null: nothing
extern const char* link_target;         // what readlink() finds, cut to its buffer; null: the real target
extern std::atomic<time_t> fixed_time;  // what time() finds; 0: the real one
extern bool condition_waits_are_short;  // those with a limit on a clock run out at once

// The waits for a condition so far that had a limit, and that limit as it was asked for. Noted as they begin.
struct ConditionWait {
  int clock;
  double seconds;
};
std::vector<ConditionWait> TakeConditionWaits();

// The library's synchronous calls over the bus so far, with the time that each was given.
struct BusCall {
  std::string method;
  int limit_ms;

  bool operator==(const BusCall& other) const { return method == other.method && limit_ms == other.limit_ms; }
};
void PrintTo(const BusCall& call, std::ostream* out);
std::vector<BusCall> TakeBusCalls();
extern const char* hurried_method;    // its calls run out of time at once, whatever they are given; null: none
extern void (*after_hurried_call)();  // called when one has; null: nothing

// A call that fails once without having done anything.
struct Fault {
  const char* function;  // one of those that faults.cpp has; the probe of the service: "heartbeat"
  int nth;               // of its calls from now on, counted from 1
  unsigned domain;       // of the GError; 0: none is set
  int code;              // of the GError; errno, or the result, of a call that has none
};
void Plan(const Fault& fault);
// Whether the planned call was made. There is no plan any more.
bool TakePlanned();

}  // namespace faults
