#include "host_bus_session.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>

namespace nuv::host {

namespace {

constexpr guint kTickMs = 100;
constexpr gint64 kGrace = G_USEC_PER_SEC;  // for a step to end once it was cancelled, and for closing
constexpr size_t kDescriptors = 12;        // those of a session, and a few to spare for the process's other threads

bool DescriptorsAreFree() {
  std::array<int, kDescriptors> taken{};
  size_t count = 0;
  for (int& descriptor : taken) {
    descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) break;
    ++count;
  }
  for (size_t i = 0; i < count; ++i) close(taken.at(i));
  return count == kDescriptors;
}

// Tries with a thread that has all signals blocked, so that it takes none of the process's.
bool AThreadCanBeStarted() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t thread{};
  const bool started = pthread_create(
                           &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (started) pthread_join(thread, nullptr);
  return started;
}

}  // namespace

bool BusSession::CanBeMade() {
  return DescriptorsAreFree() && AThreadCanBeStarted();
}

BusSession::BusSession(guint limit_ms) : deadline_(g_get_monotonic_time() + gint64{limit_ms} * 1000) {
  g_main_context_push_thread_default(context_.get());
  StartTicking();
}

BusSession::~BusSession() {
  Close();
  g_main_context_pop_thread_default(context_.get());
}

bool BusSession::Connect(GlibPtr<GError>& error) {
  GError* raw_error = nullptr;
  const GlibPtr<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &raw_error));
  error.reset(raw_error);
  if (address == nullptr) return false;
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(address.get(), kFlags, nullptr, cancellable_.get(), OnReady, this);
  const auto result = Await(error);
  if (result == nullptr) return false;
  raw_error = nullptr;
  connection_.reset(g_dbus_connection_new_for_address_finish(result.get(), &raw_error));
  error.reset(raw_error);
  if (connection_ == nullptr) return false;
  g_signal_connect(connection_.get(), "closed", G_CALLBACK(OnClosed), this);
  closed_ = g_dbus_connection_is_closed(connection_.get()) != FALSE;
  return true;
}

GlibPtr<GVariant> BusSession::Call(const Target& target, GVariant* arguments, const GVariantType* reply,
                                   GlibPtr<GError>& error) {
  g_dbus_connection_call(connection_.get(), target.bus_name, target.object_path, target.interface, target.method,
                         arguments, reply, G_DBUS_CALL_FLAGS_NO_AUTO_START, G_MAXINT, cancellable_.get(), OnReady,
                         this);
  const auto result = Await(error);
  if (result == nullptr) return nullptr;
  GError* raw_error = nullptr;
  GlibPtr<GVariant> answer(g_dbus_connection_call_finish(connection_.get(), result.get(), &raw_error));
  error.reset(raw_error);
  return answer;
}

void BusSession::OnReady(GObject*, GAsyncResult* result, gpointer data) {
  auto* const self = static_cast<BusSession*>(data);
  self->result_.reset(G_ASYNC_RESULT(g_object_ref(result)));
  self->ready_ = true;
}

void BusSession::OnClosed(GDBusConnection*, gboolean, GError*, gpointer data) {
  static_cast<BusSession*>(data)->closed_ = true;
}

gboolean BusSession::OnTick(gpointer data) {
  auto* const self = static_cast<BusSession*>(data);
  if (g_get_monotonic_time() >= self->deadline_) g_cancellable_cancel(self->cancellable_.get());
  return G_SOURCE_CONTINUE;
}

void BusSession::StartTicking() {
  GSource* const tick = g_timeout_source_new(kTickMs);
  g_source_set_callback(tick, OnTick, this, nullptr);
  g_source_attach(tick, context_.get());
  g_source_unref(tick);
}

// Runs the context until the condition holds. The tick wakes it, so that the limit is noticed.
bool BusSession::WaitUntil(gint64 limit, const bool& condition) {
  while (!condition) {
    if (g_get_monotonic_time() >= limit) return false;
    g_main_context_iteration(context_.get(), TRUE);
  }
  return true;
}

GlibPtr<GAsyncResult> BusSession::Await(GlibPtr<GError>& error) {
  if (!WaitUntil(deadline_ + kGrace, ready_)) {
    abandoned_ = true;
    error.reset(g_error_new_literal(G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "the bus library does not answer"));
  }
  ready_ = false;
  return std::move(result_);
}

// The connection's last idle source refers to the connection, and the connection to the context: unless the context
// runs here until the connection has closed, neither is ever freed. After an abandoned step the context is not run
// again, because that step may still end and would then write into a session that is gone.
void BusSession::Close() {
  if (connection_ == nullptr || abandoned_) return;
  const gint64 limit = g_get_monotonic_time() + kGrace;
  g_dbus_connection_close(connection_.get(), nullptr, OnReady, this);
  if (WaitUntil(limit, ready_)) WaitUntil(limit, closed_);
  g_signal_handlers_disconnect_by_data(connection_.get(), this);
}

}  // namespace nuv::host
