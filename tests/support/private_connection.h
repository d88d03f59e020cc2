// A bus connection of a test's own that leaves nothing behind in the process, whether or not a main loop runs.
#pragma once

#include <gio/gio.h>

#include <string>

class PrivateConnection {
 public:
  explicit PrivateConnection(const std::string& address);
  ~PrivateConnection();
  PrivateConnection(const PrivateConnection&) = delete;
  PrivateConnection& operator=(const PrivateConnection&) = delete;

  GDBusConnection* get() const { return connection_; }  // null when there is no bus

 private:
  GMainContext* context_;
  GDBusConnection* connection_;
  bool closed_ = false;
};
