// A dbus-daemon of the test's own, which stands in for the system bus.
#pragma once

#include <memory>
#include <string>

#include "process.h"
#include "temp_dir.h"

class PrivateBus {
 public:
  static constexpr const char* kEverythingAllowed =
      "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
      "<allow own=\"*\"/><allow user=\"*\"/></policy>\n";

  // Starts the daemon and points DBUS_SYSTEM_BUS_ADDRESS at it. The policy, in the daemon's own XML, is added to the
  // base; service_dir, where given, holds activation files, and the daemon starts their programs by itself, as a
  // session bus does.
  explicit PrivateBus(const std::string& policy = "", const std::string& service_dir = "",
                      const std::string& base = kEverythingAllowed);

  const std::string& address() const { return address_; }
  const std::string& directory() const { return directory_.path(); }

  pid_t pid() const { return daemon_->pid(); }

  void Kill();   // SIGKILL: every connection breaks
  void Start();  // again, on the same address
  void Restart() {
    Kill();
    Start();
  }
  void Pause() const;   // SIGSTOP
  void Resume() const;  // SIGCONT

  // Whether the name has an owner, asked over a connection of its own.
  bool NameHasOwner(const std::string& name) const;
  bool WaitForName(const std::string& name) const;

 private:
  TempDir directory_;
  std::string config_;
  std::string address_;
  std::unique_ptr<Process> daemon_;
};
