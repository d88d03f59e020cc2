// Records what passes on the bus of a test.
#pragma once

#include <gio/gio.h>

#include <condition_variable>
#include <mutex>
#include <string>

#include "private_bus.h"
#include "recording/writer.h"

class BusRecorder {
 public:
  // Everything from now on.
  BusRecorder(const PrivateBus& bus, const std::string& path);
  ~BusRecorder();
  BusRecorder(const BusRecorder&) = delete;
  BusRecorder& operator=(const BusRecorder&) = delete;

  // Everything until now is in the file, which ends here.
  void End();

 private:
  static GDBusMessage* Filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self);
  void Take(GDBusMessage* message);
  void TakeOwner(const std::string& name, const std::string& owner);
  std::int64_t Time() const { return g_get_monotonic_time() - start_; }

  const PrivateBus& bus_;
  const std::int64_t start_ = g_get_monotonic_time();
  GDBusConnection* monitor_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  recording::Writer writer_;
  bool marked_ = false;
  bool ended_ = false;
};
