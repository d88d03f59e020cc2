// A client object served by plain GIO: a thread with a main context of its own, a bus name, a registered object.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <future>
#include <string>

namespace bench {

class PlainListener {
 public:
  using Callback = void (*)(int32_t result);

  // Returns when the object is registered and its name asked for. The listener lives until the process ends.
  PlainListener(std::string object, Callback callback);
  ~PlainListener() = delete;

  const std::string& object() const { return object_; }

 private:
  void Run();
  static void OnBusAcquired(GDBusConnection* connection, const char* name, gpointer self);
  static void OnMethodCall(GDBusConnection* connection, const char* sender, const char* path, const char* interface,
                           const char* method, GVariant* parameters, GDBusMethodInvocation* invocation, gpointer self);

  std::string object_;
  Callback callback_;
  GDBusNodeInfo* node_ = nullptr;
  std::promise<void> registered_;
};

}  // namespace bench
