#include "system_bus.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace {

// A main context that is the calling thread's own while it lives.
class ThreadContext {
 public:
  ThreadContext() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_.get()); }
  ~ThreadContext() { g_main_context_pop_thread_default(context_.get()); }
  ThreadContext(const ThreadContext&) = delete;
  ThreadContext& operator=(const ThreadContext&) = delete;

  GMainContext* get() const { return context_.get(); }

 private:
  GlibOwner<GMainContext> context_;
};

struct Attempt {
  bool over = false;
  ConnectionOwner connection;
};

void OnConnected(GObject*, GAsyncResult* result, gpointer data) {
  auto* attempt = static_cast<Attempt*>(data);
  attempt->connection.reset(g_dbus_connection_new_for_address_finish(result, nullptr));
  attempt->over = true;
}

gboolean OnLimit(gpointer cancellable) {
  g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
  return G_SOURCE_REMOVE;
}

}  // namespace

TextOwner SystemBusAddress() {
  return TextOwner(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
}

ConnectionOwner ConnectToSystemBus(unsigned limit_ms) {
  const TextOwner address = SystemBusAddress();
  if (address == nullptr) return nullptr;
  const ThreadContext context;
  const CancellableOwner cancellable(g_cancellable_new());
  const GlibOwner<GSource> limit(g_timeout_source_new(limit_ms));
  g_source_set_callback(limit.get(), OnLimit, cancellable.get(), nullptr);
  g_source_attach(limit.get(), context.get());
  Attempt attempt;
  g_dbus_connection_new_for_address(address.get(), kBusConnection, nullptr, cancellable.get(), OnConnected, &attempt);
  while (!attempt.over) g_main_context_iteration(context.get(), TRUE);
  g_source_destroy(limit.get());
  return std::move(attempt.connection);
}

// The library sends the requests of the lightweight service's own programs to the full service.
std::string ServiceName() {
  std::error_code unreadable;
  const std::string program = std::filesystem::read_symlink("/proc/self/exe", unreadable).string();
  const bool own_program = program.find("litecorvane") != std::string::npos;
  return own_program ? "org.kelvo.tv.corvane.server" : "org.kelvo.tv.litecorvane.server";
}

std::string ClientName() {
  return "org.kelvo.tv.corvane.launcherclient.obj" + std::to_string(getpid());
}
