#include "faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <gio/gio.h>
#include <pthread.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "real_call.h"

namespace faults {

bool pthread_create_fails = false;
bool threads_of_glib_fail = false;
bool bus_get_fails_without_error = false;
void (*before_bus_get)() = nullptr;
void (*after_bus_get)() = nullptr;
bool main_context_new_fails = false;
bool register_object_returns_zero = false;
void (*before_registration)(GDBusConnection*) = nullptr;
std::atomic<void (*)()> before_closing_is_told{nullptr};
void (*before_unowning)() = nullptr;
void (*before_join)() = nullptr;
void (*at_start_of_thread)() = nullptr;
const char* link_target = nullptr;
std::atomic<time_t> fixed_time{0};
bool condition_waits_are_short = false;
const char* hurried_method = nullptr;
void (*after_hurried_call)() = nullptr;

}  // namespace faults

namespace {

struct Planned {
  std::mutex mutex;
  faults::Fault fault{};  // without a function: none
  bool happened = false;
  std::vector<faults::ConditionWait> waits;
  std::vector<faults::BusCall> calls;
};

// The library's listener may still call while the test process exits.
Planned& Get() {
  static Planned& planned = *new Planned;
  return planned;
}

// Whether this call is the one that fails, and how.
bool Fails(const char* function, faults::Fault* fault) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  faults::Fault& planned = Get().fault;
  if (planned.function == nullptr || strcmp(planned.function, function) != 0 || --planned.nth != 0) return false;
  *fault = planned;
  Get().happened = true;
  return true;
}

bool FailsWithError(const char* function, GError** error) {
  faults::Fault fault{};
  if (!Fails(function, &fault)) return false;
  if (fault.domain != 0) g_set_error_literal(error, fault.domain, fault.code, "planned by the test");
  return true;
}

// Whether a caller's code is GLib's.
bool IsGlib(const void* code) {
  Dl_info info{};
  return dladdr(code, &info) != 0 && info.dli_fname != nullptr && strstr(info.dli_fname, "libglib-2.0") != nullptr;
}

struct ThreadStart {
  void* (*body)(void*);
  void* data;
  void (*before)();  // as it was when the thread was made
};

void* StartThread(void* data) {
  const ThreadStart start = *std::unique_ptr<ThreadStart>(static_cast<ThreadStart*>(data));
  start.before();
  return start.body(start.data);
}

}  // namespace

namespace faults {

void Plan(const Fault& fault) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().fault = fault;
  Get().happened = false;
}

bool TakePlanned() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().fault = {};
  return Get().happened;
}

std::vector<ConditionWait> TakeConditionWaits() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return std::exchange(Get().waits, {});
}

std::vector<BusCall> TakeBusCalls() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return std::exchange(Get().calls, {});
}

void PrintTo(const BusCall& call, std::ostream* out) {
  *out << call.method << " within " << call.limit_ms << " ms";
}

}  // namespace faults

extern "C" {

// A sanitizer that is linked into the program has its own pthread_create(), which RTLD_NEXT does not find. It has to be
// called: a thread that the sanitizer does not know of has no name in its reports.
__attribute__((weak)) decltype(pthread_create) __interceptor_pthread_create;

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* data) {
  if (faults::pthread_create_fails) return EAGAIN;
  if (faults::threads_of_glib_fail && IsGlib(__builtin_return_address(0))) return EAGAIN;
  static auto* const real =
      __interceptor_pthread_create != nullptr ? __interceptor_pthread_create : Real(pthread_create, "pthread_create");
  faults::Fault fault{};
  if (Fails("pthread_create", &fault)) return fault.code;
  if (faults::at_start_of_thread != nullptr) {
    return real(thread, attributes, StartThread, new ThreadStart{body, data, faults::at_start_of_thread});
  }
  return real(thread, attributes, body, data);
}

GDBusConnection* g_bus_get_sync(GBusType type, GCancellable* cancellable, GError** error) {
  if (faults::bus_get_fails_without_error || FailsWithError("g_bus_get_sync", error)) return nullptr;
  static auto* const real = Real(g_bus_get_sync, "g_bus_get_sync");
  if (faults::before_bus_get != nullptr) faults::before_bus_get();
  GDBusConnection* const connection = real(type, cancellable, error);
  if (faults::after_bus_get != nullptr) faults::after_bus_get();
  return connection;
}

GMainContext* g_main_context_new() {
  if (faults::main_context_new_fails) return nullptr;
  static auto* const real = Real(g_main_context_new, "g_main_context_new");
  return real();
}

guint g_dbus_connection_register_object(GDBusConnection* connection, const gchar* path, GDBusInterfaceInfo* info,
                                        const GDBusInterfaceVTable* vtable, gpointer data, GDestroyNotify release,
                                        GError** error) {
  if (faults::before_registration != nullptr) faults::before_registration(connection);
  if (faults::register_object_returns_zero || FailsWithError("g_dbus_connection_register_object", error)) return 0;
  static auto* const real = Real(g_dbus_connection_register_object, "g_dbus_connection_register_object");
  return real(connection, path, info, vtable, data, release, error);
}

// GLib names the source that emits "closed" just before it is attached to the connection's context.
void g_source_set_static_name(GSource* source, const char* name) {
  void (*const hook)() = faults::before_closing_is_told;
  if (hook != nullptr && strcmp(name, "[gio] emit_closed_in_idle") == 0) hook();
  static auto* const real = Real(g_source_set_static_name, "g_source_set_static_name");
  real(source, name);
}

void g_bus_unown_name(guint id) {
  if (faults::before_unowning != nullptr) faults::before_unowning();
  static auto* const real = Real(g_bus_unown_name, "g_bus_unown_name");
  real(id);
}

gchar* g_dbus_address_get_for_bus_sync(GBusType type, GCancellable* cancellable, GError** error) {
  if (FailsWithError("g_dbus_address_get_for_bus_sync", error)) return nullptr;
  static auto* const real = Real(g_dbus_address_get_for_bus_sync, "g_dbus_address_get_for_bus_sync");
  return real(type, cancellable, error);
}

GDBusConnection* g_dbus_connection_new_for_address_sync(const gchar* address, GDBusConnectionFlags flags,
                                                        GDBusAuthObserver* observer, GCancellable* cancellable,
                                                        GError** error) {
  if (FailsWithError("g_dbus_connection_new_for_address_sync", error)) return nullptr;
  static auto* const real = Real(g_dbus_connection_new_for_address_sync, "g_dbus_connection_new_for_address_sync");
  return real(address, flags, observer, cancellable, error);
}

GDBusNodeInfo* g_dbus_node_info_new_for_xml(const gchar* xml, GError** error) {
  if (FailsWithError("g_dbus_node_info_new_for_xml", error)) return nullptr;
  static auto* const real = Real(g_dbus_node_info_new_for_xml, "g_dbus_node_info_new_for_xml");
  return real(xml, error);
}

GVariant* g_dbus_connection_call_sync(GDBusConnection* connection, const gchar* bus_name, const gchar* path,
                                      const gchar* interface, const gchar* method, GVariant* parameters,
                                      const GVariantType* reply_type, GDBusCallFlags flags, gint timeout_ms,
                                      GCancellable* cancellable, GError** error) {
  if (FailsWithError(strcmp(method, "heartbeat") == 0 ? "heartbeat" : "g_dbus_connection_call_sync", error)) {
    if (parameters != nullptr) g_variant_unref(g_variant_ref_sink(parameters));
    return nullptr;
  }
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().calls.push_back({method, timeout_ms});
  }
  constexpr int kAtOnceMs = 20;
  const bool hurried = faults::hurried_method != nullptr && strcmp(method, faults::hurried_method) == 0;
  static auto* const real = Real(g_dbus_connection_call_sync, "g_dbus_connection_call_sync");
  GVariant* const reply = real(connection, bus_name, path, interface, method, parameters, reply_type, flags,
                               hurried ? kAtOnceMs : timeout_ms, cancellable, error);
  if (hurried && faults::after_hurried_call != nullptr) faults::after_hurried_call();
  return reply;
}

time_t time(time_t* result) noexcept {
  static auto* const real = Real(time, "time");
  const time_t now = faults::fixed_time == 0 ? real(nullptr) : faults::fixed_time.load();
  if (result != nullptr) *result = now;
  return now;
}

ssize_t readlink(const char* path, char* buffer, size_t size) {
  faults::Fault fault{};
  if (Fails("readlink", &fault)) {
    errno = fault.code;
    return -1;
  }
  if (faults::link_target != nullptr) return static_cast<ssize_t>(std::string(faults::link_target).copy(buffer, size));
  static auto* const real = Real(readlink, "readlink");
  return real(path, buffer, size);
}

int pthread_join(pthread_t thread, void** result) {
  if (faults::before_join != nullptr) faults::before_join();
  static auto* const real = Real(pthread_join, "pthread_join");
  const int code = real(thread, result);
  faults::Fault fault{};
  return Fails("pthread_join", &fault) ? fault.code : code;
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* limit) {
  static auto* const real = Real(pthread_cond_clockwait, "pthread_cond_clockwait");
  timespec now{};
  clock_gettime(clock, &now);
  constexpr double kNs = 1e-9;
  const double seconds =
      static_cast<double>(limit->tv_sec - now.tv_sec) + static_cast<double>(limit->tv_nsec - now.tv_nsec) * kNs;
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().waits.push_back({clock, seconds});
  }
  return real(condition, mutex, clock, faults::condition_waits_are_short ? &now : limit);
}

}  // extern "C"
