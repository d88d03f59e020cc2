#include "private_bus.h"

#include <gio/gio.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "private_connection.h"

namespace {

std::string DaemonConfig(const std::string& address, const std::string& policy, const std::string& service_dir) {
  std::string text =
      "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
      " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
      "<busconfig><type>" +
      std::string(service_dir.empty() ? "system" : "session") + "</type><listen>" + address +
      "</listen><auth>EXTERNAL</auth>\n";
  if (!service_dir.empty()) text += "<servicedir>" + service_dir + "</servicedir>\n";
  text += policy +
          "<limit name=\"max_replies_per_connection\">50000</limit>"
          "<limit name=\"max_match_rules_per_connection\">50000</limit>"
          "<limit name=\"max_connections_per_user\">1000</limit></busconfig>\n";
  return text;
}

}  // namespace

PrivateBus::PrivateBus(const std::string& policy, const std::string& service_dir, const std::string& base)
    : config_(directory_ / "bus.conf"), address_("unix:path=" + (directory_ / "bus")) {
  WriteFile(config_, DaemonConfig(address_, base + policy, service_dir));
  setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
  Start();
}

void PrivateBus::Kill() {
  daemon_.reset();
}

void PrivateBus::Start() {
  const std::string ready = directory_ / "ready";
  unlink((directory_ / "bus").c_str());
  unlink(ready.c_str());
  // The daemon prints its address once it listens.
  daemon_ = std::make_unique<Process>(std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile",
                                                               "--print-address=1", "--config-file=" + config_},
                                      directory_.path());
  if (!WaitUntil([this] { return daemon_->Output().find('\n') != std::string::npos || !daemon_->Running(); }) ||
      !daemon_->Running()) {
    throw std::runtime_error("dbus-daemon did not start: " + daemon_->Errors());
  }
}

void PrivateBus::Pause() const {
  daemon_->Signal(SIGSTOP);
}
void PrivateBus::Resume() const {
  daemon_->Signal(SIGCONT);
}

bool PrivateBus::NameHasOwner(const std::string& name) const {
  const PrivateConnection own(address_);
  GDBusConnection* connection = own.get();
  if (connection == nullptr) return false;
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
      g_variant_new("(s)", name.c_str()), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
  gboolean owned = FALSE;
  if (reply != nullptr) {
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
  }
  return owned != FALSE;
}

bool PrivateBus::WaitForName(const std::string& name) const {
  return WaitUntil([&] { return NameHasOwner(name); });
}
