// The signals of a bus name, as they come.
#pragma once

#include <functional>
#include <string>

#include "glib_handles.h"

struct SignalSource {
  std::string name;  // its owner sends them
  std::string path;
  std::string interface;
  std::string member = {};          // empty: any
  std::string first_argument = {};  // empty: any
};

// Says nothing about a closed connection.
class SignalWatch {
 public:
  using SignalFunction = std::function<void(const char* member, GVariant* arguments)>;

  // Calls on_signal from the default main context.
  SignalWatch(GDBusConnection* bus, const SignalSource& source, SignalFunction on_signal);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

 private:
  static void OnSignal(GDBusConnection*, const char* sender, const char* path, const char* interface,
                       const char* member, GVariant* arguments, gpointer watch);

  GDBusConnection* const bus_;
  const SignalFunction on_signal_;
  guint subscription_ = 0;
};
