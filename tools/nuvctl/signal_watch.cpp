#include "signal_watch.h"

#include <utility>

namespace {

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

std::string MatchRule(const SignalSource& source) {
  std::string rule = "type='signal'";
  const std::pair<const char*, const std::string&> parts[] = {{"sender", source.name},
                                                              {"path", source.path},
                                                              {"interface", source.interface},
                                                              {"member", source.member},
                                                              {"arg0", source.first_argument}};
  for (const auto& [key, value] : parts) {
    if (!value.empty()) rule += std::string(",") + key + "='" + value + "'";
  }
  return rule;
}

// The bus's own signals carry its name.
const char* CheckedSender(const std::string& name) {
  return name == kBusName ? kBusName : nullptr;
}

const char* TextOrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

}  // namespace

// The match rule is this watch's own: GLib's way to add one takes a closed connection for a programming error. For that
// reason GLib is not told either of a sender whose owner it would have to follow: the bus keeps to the rule.
SignalWatch::SignalWatch(GDBusConnection* bus, const SignalSource& source, SignalFunction on_signal)
    : bus_(bus), on_signal_(std::move(on_signal)) {
  subscription_ = g_dbus_connection_signal_subscribe(
      bus_, CheckedSender(source.name), source.interface.c_str(), TextOrNull(source.member), source.path.c_str(),
      TextOrNull(source.first_argument), G_DBUS_SIGNAL_FLAGS_NO_MATCH_RULE, OnSignal, this, nullptr);
  g_dbus_connection_call(bus_, kBusName, kBusPath, kBusName, "AddMatch",
                         g_variant_new("(s)", MatchRule(source).c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                         nullptr, nullptr);
}

SignalWatch::~SignalWatch() {
  g_dbus_connection_signal_unsubscribe(bus_, subscription_);
}

void SignalWatch::OnSignal(GDBusConnection*, const char*, const char*, const char*, const char* member,
                           GVariant* arguments, gpointer watch) {
  static_cast<SignalWatch*>(watch)->on_signal_(member, arguments);
}
