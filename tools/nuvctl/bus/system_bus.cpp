#include "bus/system_bus.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "bus/bus_daemon.h"

namespace {

constexpr GDBusConnectionFlags kBusConnection = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

// A main context that is the calling thread's own while it lives.
class ThreadContext {
 public:
  explicit ThreadContext(GMainContext* given)
      : context_(given != nullptr ? g_main_context_ref(given) : g_main_context_new()) {
    g_main_context_push_thread_default(context_.get());
  }
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
  GlibOwner<GError> error;
};

void OnConnected(GObject*, GAsyncResult* result, gpointer data) {
  auto* attempt = static_cast<Attempt*>(data);
  GError* error = nullptr;
  attempt->connection.reset(g_dbus_connection_new_for_address_finish(result, &error));
  attempt->error.reset(error);
  attempt->over = true;
}

gboolean OnLimit(gpointer cancellable) {
  g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
  return G_SOURCE_REMOVE;
}

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

TextOwner SystemBusAddress() {
  return TextOwner(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
}

ConnectionOwner ConnectToSystemBus(unsigned limit_ms, GlibOwner<GError>* why, GMainContext* given) {
  const TextOwner address = SystemBusAddress();
  if (address == nullptr) return nullptr;
  const ThreadContext context(given);
  const CancellableOwner cancellable(g_cancellable_new());
  const GlibOwner<GSource> limit(g_timeout_source_new(limit_ms));
  g_source_set_callback(limit.get(), OnLimit, cancellable.get(), nullptr);
  g_source_attach(limit.get(), context.get());
  Attempt attempt;
  g_dbus_connection_new_for_address(address.get(), kBusConnection, nullptr, cancellable.get(), OnConnected, &attempt);
  while (!attempt.over) g_main_context_iteration(context.get(), TRUE);
  g_source_destroy(limit.get());
  if (why != nullptr) *why = std::move(attempt.error);
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

LiveBus::LiveBus(Listener listener) : listener_(std::move(listener)), connecting_(g_cancellable_new()) {
  if (const TextOwner address = SystemBusAddress()) {
    g_dbus_connection_new_for_address(address.get(), kBusConnection, nullptr, connecting_.get(), OnConnected, this);
  } else {
    no_address_.Start(0, listener_.on_unreachable);
  }
}

LiveBus::~LiveBus() {
  g_cancellable_cancel(connecting_.get());
  if (closed_handler_ != 0) g_signal_handler_disconnect(connection_.get(), closed_handler_);
}

// Where the attempt was cancelled, its owner no longer exists.
void LiveBus::OnConnected(GObject*, GAsyncResult* result, gpointer bus) {
  GError* error = nullptr;
  ConnectionOwner connection(g_dbus_connection_new_for_address_finish(result, &error));
  const GlibOwner<GError> owned(error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  auto* self = static_cast<LiveBus*>(bus);
  if (connection == nullptr) return self->listener_.on_unreachable();
  self->Keep(std::move(connection));
}

void LiveBus::Keep(ConnectionOwner connection) {
  connection_ = std::move(connection);
  closed_handler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(OnClosed), this);
  // A connection that is gone already tells nothing any more.
  if (g_dbus_connection_is_closed(connection_.get())) return listener_.on_closed();
  listener_.on_connected(connection_.get());
}

void LiveBus::OnClosed(GDBusConnection*, gboolean, GError*, gpointer bus) {
  static_cast<LiveBus*>(bus)->listener_.on_closed();
}

// The watch adds its match rule itself, because GLib logs a critical when it adds one to a connection that has closed.
// GLib would add another rule to follow the owner of a sender that it is told, so it is told none: the bus applies the
// rule.
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

NameWatch::NameWatch(GDBusConnection* bus, const std::string& name, OwnerFunction on_owner)
    : on_owner_(std::move(on_owner)),
      asking_(g_cancellable_new()),
      changes_(bus, {kBusName, kBusPath, kBusName, "NameOwnerChanged", name},
               [this](const char*, GVariant* arguments) { OnOwnerChanged(arguments); }) {
  g_dbus_connection_call(bus, kBusName, kBusPath, kBusName, "GetNameOwner", g_variant_new("(s)", name.c_str()),
                         G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, -1, asking_.get(), OnFirstAnswer, this);
}

NameWatch::~NameWatch() {
  g_cancellable_cancel(asking_.get());
}

void NameWatch::OnFirstAnswer(GObject* bus, GAsyncResult* result, gpointer watch) {
  GError* failure = nullptr;
  const VariantOwner reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &failure));
  const ErrorOwner error(failure);
  const char* owner = "";
  if (reply != nullptr) g_variant_get(reply.get(), "(&s)", &owner);
  const bool nobody = g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) != FALSE;
  if (reply == nullptr && !nobody) return;  // cancelled, when there is no watch any more, or no bus
  static_cast<NameWatch*>(watch)->on_owner_(owner);
}

void NameWatch::OnOwnerChanged(GVariant* arguments) const {
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sss)"))) return;
  const char* before = nullptr;
  const char* after = nullptr;
  g_variant_get(arguments, "(&s&s&s)", nullptr, &before, &after);
  if (*before != '\0') on_owner_("");
  if (*after != '\0') on_owner_(after);
}
