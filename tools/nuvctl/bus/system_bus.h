// The system bus as nuvctl sees it, on connections of its own: the library's stay untouched.
#pragma once

#include <functional>
#include <string>

#include "glib_handles.h"

// Null where the platform names no system bus.
TextOwner SystemBusAddress();

// A new connection, or null when there is none within the limit, also where the bus takes the call and says nothing:
// "why" then has GLib's error, which is a cancellation where the time was over, and nothing where there is no address.
// The connection tells of its end on the context, where one is given, and is released when that has been heard.
ConnectionOwner ConnectToSystemBus(unsigned limit_ms, GlibOwner<GError>* why = nullptr,
                                   GMainContext* context = nullptr);

// The bus name to which this process's requests go.
std::string ServiceName();

// The bus name under which the library receives this process's launch results.
std::string ClientName();

// A connection to the system bus for as long as it lives. Connects without holding up the default main context, on
// which it also tells what becomes of the connection: a bus that hangs must not stop the timers and signals of the
// program.
class LiveBus {
 public:
  struct Listener {
    std::function<void(GDBusConnection*)> on_connected;
    std::function<void()> on_unreachable;
    std::function<void()> on_closed;
  };

  explicit LiveBus(Listener listener);
  ~LiveBus();
  LiveBus(const LiveBus&) = delete;
  LiveBus& operator=(const LiveBus&) = delete;

 private:
  static void OnConnected(GObject* source, GAsyncResult* result, gpointer bus);
  static void OnClosed(GDBusConnection* connection, gboolean, GError*, gpointer bus);
  void Keep(ConnectionOwner connection);

  const Listener listener_;
  Timer no_address_;
  CancellableOwner connecting_;
  ConnectionOwner connection_;
  gulong closed_handler_ = 0;
};

struct SignalSource {
  std::string name;  // its owner sends them
  std::string path;
  std::string interface;
  std::string member = {};          // empty: any
  std::string first_argument = {};  // empty: any
};

// The signals of a source, as they come. Says nothing about a closed connection.
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

// Who owns a bus name, from the beginning and at each change: in place of g_bus_watch_name_on_connection(),
// which complains aloud about a connection that closes just then. Says nothing about a closed connection.
class NameWatch {
 public:
  using OwnerFunction = std::function<void(const std::string& owner)>;  // its unique name; empty where there is none

  // Calls on_owner from the default main context. When another owner takes the name over, it is called twice: with
  // false, then with true.
  NameWatch(GDBusConnection* bus, const std::string& name, OwnerFunction on_owner);
  ~NameWatch();
  NameWatch(const NameWatch&) = delete;
  NameWatch& operator=(const NameWatch&) = delete;

 private:
  static void OnFirstAnswer(GObject* bus, GAsyncResult* result, gpointer watch);
  void OnOwnerChanged(GVariant* arguments) const;

  const OwnerFunction on_owner_;
  const CancellableOwner asking_;
  const SignalWatch changes_;  // from before the first answer on
};
