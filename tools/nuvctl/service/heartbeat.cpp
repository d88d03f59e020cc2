#include "service/heartbeat.h"

#include <chrono>
#include <string>

#include "bus/system_bus.h"
#include "command/guard.h"
#include "report/text.h"

namespace {

using Clock = std::chrono::steady_clock;

// The service's names differ in one word only.
std::string ServicePath() {
  std::string path = "/" + ServiceName();
  for (char& c : path) c = c == '.' ? '/' : c;
  return path;
}

Diagnosis WhyNoAnswer(GDBusConnection* bus, const GError& error, unsigned timeout_ms) {
  if (g_dbus_connection_is_closed(bus) != FALSE) return {Outcome::kBusGone, "the connection to the system bus broke"};
  if (g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE) {
    return {Outcome::kTimedOut, NoAnswerWithin(timeout_ms)};
  }
  const TextOwner name(g_dbus_error_get_remote_error(&error));
  const GlibOwner<GError> stripped(g_error_copy(&error));
  g_dbus_error_strip_remote_error(stripped.get());
  const std::string text = (name != nullptr ? std::string(name.get()) + ": " : "") + stripped->message;
  const bool gone = name == nullptr || std::string(name.get()).rfind("org.freedesktop.DBus.Error.", 0) == 0;
  return {gone ? Outcome::kServiceGone : Outcome::kFailed, Printable(text)};
}

}  // namespace

Heartbeat SendHeartbeat(GDBusConnection* bus, unsigned timeout_ms, GCancellable* cancellable) {
  const std::string service = ServiceName();
  const auto begin = Clock::now();
  GError* failed = nullptr;
  const VariantOwner reply(g_dbus_connection_call_sync(
      bus, service.c_str(), ServicePath().c_str(), (service + ".interface").c_str(), "heartbeat", nullptr, nullptr,
      G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(timeout_ms), cancellable, &failed));
  const GlibOwner<GError> error(failed);
  if (error != nullptr) return {std::nullopt, WhyNoAnswer(bus, *error, timeout_ms)};
  const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
  return {static_cast<int>(time.count()), {}};
}
