// A connection to the system bus for one call.
#pragma once

#include <gio/gio.h>

#include <memory>

namespace nuv::host {

struct GlibDeleter {
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(gchar* text) const { g_free(text); }
  // GObject and its children
  void operator()(gpointer object) const { g_object_unref(object); }
};

template <typename Type>
using GlibPtr = std::unique_ptr<Type, GlibDeleter>;

// Every step is asynchronous, on a main context of its own, because only so can it have a limit: a bus that accepts
// connections and then says nothing would block a synchronous caller for ever. The limit also holds in a forked child,
// where the bus library's threads are missing.
class BusSession {
 public:
  // Whether descriptors and a thread are free for a session. Where there are none, the bus library would end the
  // process.
  static bool CanBeMade();

  explicit BusSession(guint limit_ms);
  ~BusSession();  // closes the connection
  BusSession(const BusSession&) = delete;
  BusSession& operator=(const BusSession&) = delete;

  struct Target {
    const char* bus_name;
    const char* object_path;
    const char* interface;
    const char* method;
  };

  // Both fill the error and return false or nothing on failure. Floating arguments are consumed.
  bool Connect(GlibPtr<GError>& error);
  GlibPtr<GVariant> Call(const Target& target, GVariant* arguments, const GVariantType* reply, GlibPtr<GError>& error);

 private:
  static void OnReady(GObject* source, GAsyncResult* result, gpointer data);
  static void OnClosed(GDBusConnection* connection, gboolean remote, GError* error, gpointer data);
  static gboolean OnTick(gpointer data);

  void StartTicking();
  bool WaitUntil(gint64 limit, const bool& condition);
  GlibPtr<GAsyncResult> Await(GlibPtr<GError>& error);
  void Close();

  const gint64 deadline_;  // monotonic, in microseconds
  GlibPtr<GMainContext> context_{g_main_context_new()};
  GlibPtr<GCancellable> cancellable_{g_cancellable_new()};
  GlibPtr<GDBusConnection> connection_;
  GlibPtr<GAsyncResult> result_;
  bool ready_ = false;
  bool closed_ = false;
  bool abandoned_ = false;  // a step that even its cancellation did not end
};

}  // namespace nuv::host
