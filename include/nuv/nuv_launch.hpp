/*
 * Launching with an outcome that always comes, and lists and lookups that own what they return. C++17.
 *
 * All of it is inline over the functions of nuv/nuv_launcher_api.h, nuv/nuv_app_database.h and
 * nuv/nuv_inner_database.h, for which everything holds that is said there; the library exports nothing of it. No
 * exception is needed, and none is thrown but std::bad_alloc; before C library 2.34 threads have to be linked
 * (-pthread).
 *
 * What holds for every launch of this header
 *
 *   Outcome    Exactly one, at the latest when the time is over. What the service reports after it, reports twice or
 *              reports of other launches is harmless, and what never comes costs nothing: the library gets a number to
 *              call back with, not an address. A launch takes memory until its outcome has been told, and none after.
 *   Time       Is counted from the call, on the monotonic clock, and needs no main loop. launch() asks the service on
 *              the calling thread, which can take longer than the time that it was given (25 s, see
 *              nuv/nuv_launcher_api.h). The other ones ask on a thread of their own and keep their time.
 *   Threads    Any thread may call, and each of the functions from each callback of this header; but launch() waits,
 *              and holds up the thread that it is called on. On the library's listener thread, in a callback that was
 *              given to a C function, launch() would wait for what only that thread can bring, and runs out of time;
 *              so would a future that is waited for there.
 *   Helpers    launch_async(), launch_in() and launch_future() start helper threads with the first call, which stay as
 *              long as the process: one asks the service, one launch after the other, one keeps the time, and for
 *              launch_async() one calls the callbacks. All signals are blocked on them.
 *   Fork       A child of fork() starts with no launch under way and helpers of its own; what its parent launched is
 *              told to the parent only.
 *   Exit       Once exit() destroys what the host made before its first such call, no callback is entered any more.
 *              One that runs gets a quarter of a second to return.
 *   Unloading  Code that has launched is not to be unloaded, as for the C functions.
 */
#ifndef NUV_LAUNCH_HPP
#define NUV_LAUNCH_HPP

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launch_names.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <future>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>

/** 1 where the compiler finds GLib's headers: launch_in() is there then, else 0. */
#if __has_include(<glib.h>) && __has_include(<glibconfig.h>)
#include <glib.h>
#define NUV_LAUNCH_HAS_GLIB 1
#else
#define NUV_LAUNCH_HAS_GLIB 0
#endif

namespace nuv {
inline namespace v1 {

/** How a launch ended. */
enum class LaunchEnd {
  launched,     ///< the application was started, came to the front, runs in the background or is preloaded
  delivered,    ///< the application got its deep link
  failed,       ///< the launch failed; the status says why
  timed_out,    ///< nothing was heard within the time, or the service did not answer the request in its time
  refused,      ///< the service is there and did not accept the request, or there was no thread or memory to ask it
  service_gone  ///< the request could not be made: there is no bus, or no service on it. A service that ends after it
                ///< has accepted the request is not noticed: that is timed_out.
};

/** The outcome of a launch. */
struct LaunchOutcome {
  LaunchEnd end = LaunchEnd::timed_out;  ///< how it ended
  int event = 0;                         ///< what happened (nuv_notify_event_e); 0 where nothing was heard
  int status = 0;  ///< why (nuv_launch_status_e, or a number that has no name); 0 where nothing is said

  /** Whether the application was launched or got its deep link. */
  bool ok() const noexcept { return end == LaunchEnd::launched || end == LaunchEnd::delivered; }
  /** What ok() says. */
  explicit operator bool() const noexcept { return ok(); }

  /** In words, for a log. */
  const char* text() const noexcept {
    if (end == LaunchEnd::timed_out) return "no result within the time";
    if (end == LaunchEnd::refused) return "the request was not accepted";
    if (end == LaunchEnd::service_gone) return "the service cannot be reached";
    if (end == LaunchEnd::failed && status != 0) return nuv_launch_status_text(status);
    const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_EVENT, event);
    return row != nullptr ? row->text : "unknown event";
  }
};

/** Which of the C functions launches. */
enum class LaunchMode {
  normal,                ///< nuv_launch_webapp()
  forced,                ///< nuv_force_launch_webapp()
  background,            ///< nuv_background_launch_webapp()
  deep_link,             ///< nuv_launch_webapp_for_deeplink()
  background_deep_link,  ///< nuv_background_launch_webapp_for_deeplink()
  preload                ///< nuv_launch_webapp_for_preload(), which ignores the caller
};

/** How to launch. */
struct LaunchOptions {
  std::string payload;                   ///< "&"-separated parameters for the application
  std::optional<std::string> caller_id;  ///< without it a "&callerid=" parameter of the payload names the caller
  LaunchMode mode = LaunchMode::normal;  ///< how, beside payload and caller
};

/** The time of a launch that is given none. */
constexpr std::chrono::milliseconds default_launch_time{30000};

namespace detail {

using Clock = std::chrono::steady_clock;

/* Between none and a year, so that the sum is a time. */
inline Clock::time_point deadline_after(std::chrono::milliseconds time) {
  constexpr std::chrono::milliseconds least{0};
  constexpr std::chrono::milliseconds most = std::chrono::hours(24 * 365);
  return Clock::now() + (time < least ? least : time < most ? time : most);
}

/* What an event says; nothing where the launch is still undecided after it. */
inline std::optional<LaunchOutcome> judge(int event, int status) {
  const nuv_number_s* const row = nuv_find_number(NUV_NUMBER_EVENT, event);
  if (row == nullptr) return std::nullopt;
  if (event == NUV_NOTIFY_DEEPLINK_DELIVERED) return LaunchOutcome{LaunchEnd::delivered, event, status};
  if (row->sense == NUV_NUMBER_SUCCESS) return LaunchOutcome{LaunchEnd::launched, event, status};
  if (status == NUV_LAUNCH_STATUS_PENDING) return std::nullopt;
  return LaunchOutcome{status == NUV_LAUNCH_STATUS_TIMED_OUT ? LaunchEnd::timed_out : LaunchEnd::failed, event, status};
}

/* A launch under way. Its number is what the library has of it. */
class Pending {
 public:
  Pending() = default;
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;
  virtual ~Pending() = default;
  /* Called once, under the desk's mutex. */
  virtual void end(const LaunchOutcome& outcome) = 0;

  std::uintptr_t number = 0;
};

/* A launch that helpers look after. */
struct Errand final : public Pending {
  using Told = std::function<void(const LaunchOutcome&)>;

  void end(const LaunchOutcome& result) override {
    outcome = result;
    ended = true;
    if (at_once) told(outcome);
  }

  std::string app_id;
  LaunchOptions options;
  Clock::time_point deadline;
  Told told;
  bool at_once = false; /* told is ours and calls nobody, so that it needs no thread */
  bool asked = false;
  bool ended = false;
  LaunchOutcome outcome;
};

/* The launches of the process that are under way. Everything of it is used under its mutex. */
struct Desk {
  std::mutex mutex;
  std::condition_variable to_ask;  /* for the helper that asks the service */
  std::condition_variable to_time; /* for the helper that keeps the time */
  std::condition_variable to_tell; /* for the helper that calls back */
  std::condition_variable told;    /* for exit() */
  std::map<std::uintptr_t, Pending*> pending;
  std::list<Errand> errands; /* not ended, in the order of their calls */
  std::list<Errand> ended;   /* to be told */
  std::uintptr_t last_number = 0;
  bool asks = false, keeps_time = false, tells = false; /* which helpers run */
  bool telling = false;
  bool closed = false;
  Desk* of_parent = nullptr; /* before fork(): never used, but not lost either */
};

/* Never destroyed: the library may call back as long as the process lives. A child of fork() gets another one. */
inline std::atomic<Desk*>& desk_of_process() {
  static std::atomic<Desk*> desk{nullptr};
  return desk;
}

/* A helper that forks in a callback goes on in the child with what it had, and finds nothing to do. */
inline void leave_desk_to_parent() {
  Desk& parents = *desk_of_process().load();
  parents.closed = true;
  parents.mutex.unlock();
  Desk* const own = new Desk;
  own->of_parent = &parents;
  desk_of_process().store(own);
}

inline Desk& desk() {
  Desk* const made = desk_of_process().load();
  if (made != nullptr) return *made;
  desk_of_process().store(new Desk);
  pthread_atfork([] { desk_of_process().load()->mutex.lock(); }, [] { desk_of_process().load()->mutex.unlock(); },
                 leave_desk_to_parent);
  return *desk_of_process().load();
}

/* When the program is loaded: a child forked while another thread was making it would wait for that thread for ever. */
inline Desk& desk_is_made = desk();

/* Under the mutex. 0 is nobody's number. */
inline void enter(Desk& desk, Pending& launch) {
  if (++desk.last_number == 0) ++desk.last_number;
  launch.number = desk.last_number;
  desk.pending.emplace(launch.number, &launch);
}

/* Under the mutex. Whoever ended already, or is another's, hears nothing. */
inline void end(Desk& desk, std::uintptr_t number, const LaunchOutcome& outcome) {
  const auto found = desk.pending.find(number);
  if (found == desk.pending.end()) return;
  Pending& launch = *found->second;
  desk.pending.erase(found);
  launch.end(outcome);
}

/* The request that this thread is making, to tell its failure, which the library reports before it returns, from a
 * result. */
struct Request {
  std::uintptr_t number = 0;
  int status = 0;
};

inline Request& request_of_thread() {
  static thread_local Request request;
  return request;
}

inline void settle(std::uintptr_t number, const LaunchOutcome& outcome) {
  Desk& shared = desk();
  const std::lock_guard<std::mutex> lock(shared.mutex);
  end(shared, number, outcome);
  shared.to_time.notify_one();
}

inline void hear(const char*, nuv_notify_event_e event, int, int status, void* data) {
  const auto number = reinterpret_cast<std::uintptr_t>(data);
  Request& request = request_of_thread();
  if (request.number == number) {
    request.status = status;
  } else if (const std::optional<LaunchOutcome> outcome = judge(event, status)) {
    settle(number, *outcome);
  }
}

using LaunchFunction = int (*)(const char*, const char*, const char*, nuv_launch_notify_cb, void*);

inline LaunchFunction function_for(LaunchMode mode) {
  switch (mode) {
    case LaunchMode::forced:
      return nuv_force_launch_webapp;
    case LaunchMode::background:
      return nuv_background_launch_webapp;
    case LaunchMode::deep_link:
      return nuv_launch_webapp_for_deeplink;
    case LaunchMode::background_deep_link:
      return nuv_background_launch_webapp_for_deeplink;
    case LaunchMode::preload:
      return nuv_launch_webapp_for_preload;
    case LaunchMode::normal:
      break;
  }
  return nuv_launch_webapp;
}

/* What a request that failed says. The library has the same status for a service that refuses and for one that is not
 * there: a question that changes nothing tells them apart. */
inline LaunchOutcome judge_request(int status) {
  std::string extra_app;
  switch (status) {
    case 0:
      return {LaunchEnd::service_gone, 0, 0};
    case NUV_LAUNCH_STATUS_TIMED_OUT:
      return {LaunchEnd::timed_out, NUV_NOTIFY_LAUNCH_FAILED, status};
    case NUV_LAUNCH_STATUS_FAILED:
      return {nuv_get_extra_app(extra_app) == 0 ? LaunchEnd::refused : LaunchEnd::service_gone,
              NUV_NOTIFY_LAUNCH_FAILED, status};
    default:
      return {LaunchEnd::failed, NUV_NOTIFY_LAUNCH_FAILED, status};
  }
}

/* Nothing where the request was accepted. */
inline std::optional<LaunchOutcome> ask(std::uintptr_t number, const std::string& app_id,
                                        const LaunchOptions& options) {
  Request& request = request_of_thread();
  struct Made {
    Request& request;
    ~Made() { request = Request(); }
  } const made = {request};
  request = {number, 0};
  const char* const caller = options.caller_id ? options.caller_id->c_str() : nullptr;
  const int accepted = function_for(options.mode)(app_id.c_str(), options.payload.c_str(), caller, hear,
                                                  reinterpret_cast<void*>(number));
  if (accepted == 0) return std::nullopt;
  return judge_request(request.status);
}

/* The launch of a thread that waits for it. */
class Waiter final : public Pending {
 public:
  Waiter() {
    const std::lock_guard<std::mutex> lock(desk_.mutex);
    enter(desk_, *this);
  }
  ~Waiter() override {
    const std::lock_guard<std::mutex> lock(desk_.mutex);
    desk_.pending.erase(number);
  }
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;

  void end(const LaunchOutcome& outcome) override {
    outcome_ = outcome;
    ended_.notify_one();
  }
  LaunchOutcome wait(Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(desk_.mutex);
    ended_.wait_until(lock, deadline, [this] { return outcome_.has_value(); });
    return outcome_.value_or(LaunchOutcome());
  }
  /* Unless it has an outcome already: a result may be faster than the failure of its request. */
  void settle(const LaunchOutcome& outcome) {
    const std::lock_guard<std::mutex> lock(desk_.mutex);
    detail::end(desk_, number, outcome);
  }

 private:
  Desk& desk_ = desk();
  std::condition_variable ended_;
  std::optional<LaunchOutcome> outcome_;
};

/* Memory that runs out on a helper has nobody to be told to but whoever waits for the launch. */
inline std::optional<LaunchOutcome> ask_for(const Errand& errand) {
#ifdef __cpp_exceptions
  try {
    return ask(errand.number, errand.app_id, errand.options);
  } catch (const std::bad_alloc&) {
    return LaunchOutcome{LaunchEnd::refused, 0, 0};
  }
#else
  return ask(errand.number, errand.app_id, errand.options);
#endif
}

/* Under the mutex: those that have ended go on to be told, or are over. */
inline void sort_out(Desk& desk, std::list<Errand>& over) {
  for (auto errand = desk.errands.begin(); errand != desk.errands.end();) {
    const auto next = std::next(errand);
    if (errand->ended) {
      std::list<Errand>& to = errand->at_once ? over : desk.ended;
      to.splice(to.end(), desk.errands, errand);
    }
    errand = next;
  }
  if (!desk.ended.empty()) desk.to_tell.notify_one();
}

/* The helpers. Each one looks for what is to be done until there is nothing, and waits. */
inline void ask_service(Desk& desk) {
  std::unique_lock<std::mutex> lock(desk.mutex);
  for (;;) {
    auto next = desk.errands.begin();
    while (next != desk.errands.end() && (next->asked || next->ended)) ++next;
    if (next == desk.errands.end()) {
      desk.to_ask.wait(lock);
      continue;
    }
    next->asked = true;
    Errand request; /* the errand may be over, and gone, before its request is */
    request.number = next->number;
    request.app_id = std::move(next->app_id);
    request.options = std::move(next->options);
    lock.unlock();
    const std::optional<LaunchOutcome> refused = ask_for(request);
    lock.lock();
    if (refused) {
      end(desk, request.number, *refused);
      desk.to_time.notify_one();
    }
  }
}

inline void keep_time(Desk& desk) {
  std::unique_lock<std::mutex> lock(desk.mutex);
  for (;;) {
    const Clock::time_point now = Clock::now();
    Clock::time_point next = Clock::time_point::max();
    for (Errand& errand : desk.errands) {
      if (!errand.ended && errand.deadline <= now) end(desk, errand.number, LaunchOutcome());
      if (!errand.ended && errand.deadline < next) next = errand.deadline;
    }
    std::list<Errand> over;
    sort_out(desk, over);
    if (!over.empty()) {
      lock.unlock();
      over.clear(); /* with what callers gave: their code may run */
      lock.lock();
    } else if (next == Clock::time_point::max()) {
      desk.to_time.wait(lock);
    } else {
      desk.to_time.wait_until(lock, next);
    }
  }
}

inline void tell(Desk& desk) {
  std::unique_lock<std::mutex> lock(desk.mutex);
  for (;;) {
    if (desk.closed || desk.ended.empty()) {
      desk.to_tell.wait(lock);
      continue;
    }
    std::list<Errand> one;
    one.splice(one.begin(), desk.ended, desk.ended.begin());
    desk.telling = true;
    lock.unlock();
    one.front().told(one.front().outcome);
    one.clear();
    lock.lock();
    desk.telling = false;
    desk.told.notify_all();
  }
}

/* Ends the calling back. */
inline void close_desk() {
  Desk& shared = desk();
  std::unique_lock<std::mutex> lock(shared.mutex);
  shared.closed = true;
  shared.told.wait_for(lock, std::chrono::milliseconds(250), [&shared] { return !shared.telling; });
}

/* From the first call on exit() ends the calling back before it takes apart what was made earlier. */
inline void close_desk_at_exit() {
  static std::atomic<bool> known{false};
  if (!known.exchange(true)) std::atexit(close_desk);
}

template <void (*work)(Desk&)>
void* helper(void* shared) {
  work(*static_cast<Desk*>(shared));
  return nullptr;
}

/* Under the mutex. Whether the helper runs. */
inline bool start(bool& runs, void* (*work)(void*), Desk& desk) {
  if (runs) return true;
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t thread;
  runs = pthread_create(&thread, nullptr, work, &desk) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (runs) pthread_detach(thread);
  return runs;
}

inline bool start_helpers(Desk& desk, bool at_once) {
  return start(desk.asks, helper<ask_service>, desk) && start(desk.keeps_time, helper<keep_time>, desk) &&
         (at_once || start(desk.tells, helper<tell>, desk));
}

inline void give(const std::string& app_id, const LaunchOptions& options, std::chrono::milliseconds time,
                 Errand::Told told, bool at_once) {
  Desk& shared = desk();
  close_desk_at_exit();
  std::list<Errand> one(1);
  Errand& errand = one.front();
  errand.app_id = app_id;
  errand.options = options;
  errand.deadline = deadline_after(time);
  errand.told = std::move(told);
  errand.at_once = at_once;
  {
    const std::lock_guard<std::mutex> lock(shared.mutex);
    if (start_helpers(shared, at_once)) {
      enter(shared, errand);
      shared.errands.splice(shared.errands.end(), one);
      shared.to_ask.notify_one();
      shared.to_time.notify_one();
      return;
    }
  }
  errand.told({LaunchEnd::refused, 0, 0});
}

}  // namespace detail

/**
 * Launches an application and waits for the outcome. Serialised like the C function that the mode names.
 *
 * @param app_id id of the application, as for nuv_launch_webapp(); for a preload its kelvo id or package name as well
 * @param time   how long to wait, from the call on
 */
inline LaunchOutcome launch(const std::string& app_id, const LaunchOptions& options = {},
                            std::chrono::milliseconds time = default_launch_time) {
  const detail::Clock::time_point deadline = detail::deadline_after(time);
  detail::Waiter waiter;
  if (const auto refused = detail::ask(waiter.number, app_id, options)) waiter.settle(*refused);
  return waiter.wait(deadline);
}

/** Hears the outcome of a launch. It must not throw: an exception that leaves it ends the process. */
using LaunchCallback = std::function<void(const LaunchOutcome&)>;

/**
 * Launches an application without waiting for anything. A launch whose time is over before it is its turn is not made.
 *
 * @param callback called once with the outcome, on a thread of this header's, one callback at a time. One that blocks
 *                 holds up the other callbacks and nothing else. Where no thread can be started it is called at once,
 *                 on the calling thread, with LaunchEnd::refused.
 */
inline void launch_async(const std::string& app_id, const LaunchOptions& options, std::chrono::milliseconds time,
                         LaunchCallback callback) {
  detail::give(app_id, options, time, std::move(callback), false);
}

/** Like launch_async(), with a future that becomes ready with the outcome, whatever callbacks do meanwhile. */
inline std::future<LaunchOutcome> launch_future(const std::string& app_id, const LaunchOptions& options = {},
                                                std::chrono::milliseconds time = default_launch_time) {
  const auto promise = std::make_shared<std::promise<LaunchOutcome>>();
  std::future<LaunchOutcome> future = promise->get_future();
  detail::give(
      app_id, options, time, [promise](const LaunchOutcome& outcome) { promise->set_value(outcome); }, true);
  return future;
}

#if NUV_LAUNCH_HAS_GLIB

namespace detail {

struct Delivery {
  LaunchCallback callback;
  LaunchOutcome outcome;

  static gboolean deliver(gpointer delivery) {
    auto* const self = static_cast<Delivery*>(delivery);
    self->callback(self->outcome);
    return FALSE;
  }
  static void destroy(gpointer delivery) { delete static_cast<Delivery*>(delivery); }
};

/* Everything that a delivery takes is made beforehand. */
inline std::shared_ptr<GSource> make_source(std::unique_ptr<Delivery> delivery) {
  std::shared_ptr<GSource> source(g_idle_source_new(), [](GSource* made) { g_source_unref(made); });
  g_source_set_priority(source.get(), G_PRIORITY_DEFAULT);
  g_source_set_callback(source.get(), Delivery::deliver, delivery.release(), Delivery::destroy);
  return source;
}

}  // namespace detail

/**
 * Like launch_async(), with the callback called by whoever runs the main context.
 *
 * @param context null: the global default one. It is kept until the outcome has come. Where it is never run again,
 *                nothing is called, and what the callback holds goes with the context.
 */
inline void launch_in(GMainContext* context, const std::string& app_id, const LaunchOptions& options,
                      std::chrono::milliseconds time, LaunchCallback callback) {
  auto delivery = std::make_unique<detail::Delivery>();
  delivery->callback = std::move(callback);
  detail::Delivery* const filled = delivery.get();
  const std::shared_ptr<GSource> source = detail::make_source(std::move(delivery));
  const std::shared_ptr<GMainContext> kept(g_main_context_ref(context != nullptr ? context : g_main_context_default()),
                                           [](GMainContext* unused) { g_main_context_unref(unused); });
  detail::give(
      app_id, options, time,
      [source, kept, filled](const LaunchOutcome& outcome) {
        filled->outcome = outcome;
        g_source_attach(source.get(), kept.get());
      },
      true);
}

#endif

/** Why a lookup or a list has nothing. */
enum class LookupError {
  none,       ///< it has something
  not_found,  ///< not found, or the database cannot be read: the log says which
  busy        ///< the database stayed busy: the next try may succeed
};

/** What a lookup found, or why it found nothing. */
template <class Record>
class Found {
 public:
  /** Whether something was found. */
  explicit operator bool() const noexcept { return error_ == LookupError::none; }
  /** Whether the database stayed busy. */
  bool busy() const noexcept { return error_ == LookupError::busy; }
  /** Why nothing was found. */
  LookupError error() const noexcept { return error_; }
  /** What was found; a cleared record otherwise. */
  const Record& operator*() const noexcept { return record_; }
  /** A member of what was found. */
  const Record* operator->() const noexcept { return &record_; }

  /** Has `look` fill a cleared record, with a result of 0, -1 or -2. */
  template <class Lookup>
  static Found with(Lookup look) {
    Found found;
    const int result = look(found.record_);
    found.error_ = result == 0 ? LookupError::none : result == -2 ? LookupError::busy : LookupError::not_found;
    if (result != 0) found.record_ = Record();
    return found;
  }

 private:
  Record record_{};
  LookupError error_ = LookupError::not_found;
};

/** By id, kelvo id or package name: m_nuv_get_app_info(). */
inline Found<nuv_app_info_s> find_app(const std::string& app_id) {
  return Found<nuv_app_info_s>::with(
      [&](nuv_app_info_s& record) { return m_nuv_get_app_info(app_id.c_str(), &record); });
}

/** By run title: GetAppInfoByRuntitle(). */
inline Found<nuv_app_info_s> find_app_by_runtitle(const std::string& runtitle) {
  return Found<nuv_app_info_s>::with(
      [&](nuv_app_info_s& record) { return GetAppInfoByRuntitle(&record, runtitle.c_str()); });
}

/** In full, by id, kelvo id or run title: nuv_inner_get_app_info_by_id(). */
inline Found<_APPSINFO_T> find_inner_app(const std::string& app_id, bool installed_only = true) {
  return Found<_APPSINFO_T>::with(
      [&](_APPSINFO_T& record) { return nuv_inner_get_app_info_by_id(app_id, record, installed_only); });
}

/** In full, by kelvo id: nuv_inner_get_app_info_by_kelvoid(). */
inline Found<_APPSINFO_T> find_inner_app_by_kelvo_id(const std::string& kelvo_id, bool installed_only = true) {
  return Found<_APPSINFO_T>::with(
      [&](_APPSINFO_T& record) { return nuv_inner_get_app_info_by_kelvoid(kelvo_id, record, installed_only); });
}

/** Which applications a list holds, in which order, and how many of them are read at a time. */
struct AppListOptions {
  nuv_app_filter_s filter = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};  ///< which
  nuv_app_viewmode_e order = NUV_APP_VIEWMODE_INDEX;                      ///< in which order
  int page_size = 0;                                                      ///< below 1: all at once
};

/**
 * Installed, visible applications: GetAppList(), page by page. A range for one walk at a time: an iterator that leaves
 * a page reads the next one into its place, so that no more than a page is in memory, and begin() starts anew. Pages
 * are queries of their own: what is installed or removed in between may be met twice, or not at all.
 */
class AppList {
 public:
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = nuv_app_info_s;
    using difference_type = std::ptrdiff_t;
    using pointer = const nuv_app_info_s*;
    using reference = const nuv_app_info_s&;

    iterator() = default;
    reference operator*() const { return *at_; }
    pointer operator->() const { return at_; }
    iterator& operator++() {
      if (++at_ == end_) *this = list_->next_page() ? iterator(*list_) : iterator();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const iterator& a, const iterator& b) { return a.at_ == b.at_; }
    friend bool operator!=(const iterator& a, const iterator& b) { return a.at_ != b.at_; }

   private:
    friend class AppList;
    explicit iterator(AppList& list) : list_(&list), at_(list.data()), end_(list.data() + list.size()) {}

    AppList* list_ = nullptr;
    pointer at_ = nullptr;
    pointer end_ = nullptr;
  };

  /** Reads the first page. */
  explicit AppList(const AppListOptions& options = {}) : options_(options) { read(0); }

  /** The first application of all; an iterator of an earlier walk is then no longer good. */
  iterator begin() {
    if (index_ != 0) read(0);
    return empty() ? iterator() : iterator(*this);
  }
  /** Behind the last one. */
  iterator end() const { return iterator(); }

  /** The page that is in memory: an array. */
  const nuv_app_info_s* data() const noexcept { return records_.get(); }
  /** How many applications the page has. */
  std::size_t size() const noexcept { return size_; }
  /** Whether the page has none. */
  bool empty() const noexcept { return size_ == 0; }
  /** An application of the page, from 0. */
  const nuv_app_info_s& operator[](std::size_t place) const { return records_[place]; }

  /** Reads the next page, and says whether there is one. The page before is then gone. */
  bool next_page() {
    if (!more_) return false;
    read(index_ + options_.page_size);
    // Beyond the end counts as failure: the applications may have become fewer since the page before.
    if (error_ == LookupError::not_found && size_ == 0 && readable()) error_ = LookupError::none;
    return size_ != 0;
  }

  /** Why the list, or a walk through it, ended early; LookupError::none where it did not, also for no application. */
  LookupError error() const noexcept { return error_; }

 private:
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  using Records = std::unique_ptr<nuv_app_info_s[], Free>;

  int query(int index, int count, Records& records, int& length) const {
    nuv_app_info_s* list = nullptr;
    const int result = GetAppList(options_.filter, options_.order, index, count, false, &length, &list, nullptr);
    records.reset(list);
    return result;
  }

  // One record more than the page, whose only purpose is to be there.
  void read(int index) {
    records_.reset();
    const int page = options_.page_size;
    int length = 0;
    const int result = query(index, page > 0 && page < 0x7fffffff ? page + 1 : page, records_, length);
    error_ = result == 0 ? LookupError::none : result == -2 ? LookupError::busy : LookupError::not_found;
    if (result != 0 || records_ == nullptr) length = 0;
    // An application that went between counting and reading leaves a record that was never written.
    while (length > 0 && records_[static_cast<std::size_t>(length - 1)].app_id[0] == '\0') --length;
    more_ = page > 0 && length > page;
    index_ = index;
    size_ = static_cast<std::size_t>(more_ ? page : length);
  }

  bool readable() const {
    Records first;
    int length = 0;
    return query(0, 1, first, length) == 0;
  }

  AppListOptions options_;
  Records records_;
  std::size_t size_ = 0;
  int index_ = 0;
  bool more_ = false;
  LookupError error_ = LookupError::none;
};

/** All installed applications in full: nuv_inner_get_all_app_list(), which has no pages. A range. */
class InnerAppList {
 public:
  using iterator = const _APPSINFO_T*;  ///< goes through an array

  /** Reads all of them. */
  InnerAppList() {
    _APPSINFO_T* list = nullptr;
    int length = 0;
    const int result = nuv_inner_get_all_app_list(&list, &length);
    records_.reset(list);
    error_ = result == 0 ? LookupError::none : result == -2 ? LookupError::busy : LookupError::not_found;
    if (result == 0 && list != nullptr) size_ = static_cast<std::size_t>(length);
  }

  /** The first application. */
  iterator begin() const noexcept { return records_.get(); }
  /** Behind the last one. */
  iterator end() const noexcept { return records_.get() + size_; }
  /** All of them, an array. */
  const _APPSINFO_T* data() const noexcept { return records_.get(); }
  /** How many there are. */
  std::size_t size() const noexcept { return size_; }
  /** Whether there is none. */
  bool empty() const noexcept { return size_ == 0; }
  /** One of them, from 0. */
  const _APPSINFO_T& operator[](std::size_t place) const { return records_[place]; }
  /** Why there is none; LookupError::none where the database was read. */
  LookupError error() const noexcept { return error_; }

 private:
  std::unique_ptr<_APPSINFO_T[]> records_;
  std::size_t size_ = 0;
  LookupError error_ = LookupError::none;
};

}  // namespace v1
}  // namespace nuv

#endif  // NUV_LAUNCH_HPP
