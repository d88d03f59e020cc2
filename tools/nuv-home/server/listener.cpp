#include "server/listener.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "glib_handles.h"

namespace home {
namespace {

constexpr unsigned kMostConnections = 128;
constexpr unsigned kHighestPort = 65535;
// After so many seconds without a byte a connection is closed. That of a page's socket outlives it: libsoup pings.
constexpr unsigned kIdleS = 60;

struct ReleaseObject {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using ObjectOwner = std::unique_ptr<T, ReleaseObject>;

unsigned PortOf(const std::string& text, const std::string& whole) {
  const bool digits = !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos;
  const unsigned long port = digits ? std::strtoul(text.c_str(), nullptr, 10) : kHighestPort + 1;
  if (port > kHighestPort) throw ListenError("--listen " + whole + ": no port from 0 to 65535 behind the last colon");
  return static_cast<unsigned>(port);
}

}  // namespace

Endpoint ParseEndpoint(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) throw ListenError("--listen " + text + ": not ADDRESS:PORT");
  Endpoint endpoint;
  endpoint.port = PortOf(text.substr(colon + 1), text);
  endpoint.address = text.substr(0, colon);
  const bool brackets =
      endpoint.address.size() > 2 && endpoint.address.front() == '[' && endpoint.address.back() == ']';
  if (brackets) endpoint.address = endpoint.address.substr(1, endpoint.address.size() - 2);
  if (endpoint.address == "localhost") endpoint.address = "127.0.0.1";
  const ObjectOwner<GInetAddress> address(g_inet_address_new_from_string(endpoint.address.c_str()));
  if (address == nullptr || brackets != (g_inet_address_get_family(address.get()) == G_SOCKET_FAMILY_IPV6)) {
    throw ListenError("--listen " + text + ": the address is none in numbers, such as 127.0.0.1 or [::1]");
  }
  const TextOwner canonical(g_inet_address_to_string(address.get()));
  endpoint.address = canonical.get();
  endpoint.loopback = g_inet_address_get_is_loopback(address.get()) != FALSE;
  endpoint.any = g_inet_address_get_is_any(address.get()) != FALSE;
  return endpoint;
}

Listener::Listener(const Endpoint& endpoint, bool allow_remote) : service_(g_socket_service_new()) {
  g_socket_service_stop(service_);
  if (!endpoint.loopback && !allow_remote) {
    g_object_unref(service_);
    throw ListenError(endpoint.address +
                      " can be reached from other machines, and nothing is encrypted; --allow-remote permits it");
  }
  const ObjectOwner<GInetAddress> address(g_inet_address_new_from_string(endpoint.address.c_str()));
  const ObjectOwner<GSocketAddress> wanted(
      g_inet_socket_address_new(address.get(), static_cast<guint16>(endpoint.port)));
  GSocketAddress* got = nullptr;
  GError* failed = nullptr;
  g_socket_listener_add_address(G_SOCKET_LISTENER(service_), wanted.get(), G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP,
                                nullptr, &got, &failed);
  const ErrorOwner error(failed);
  if (error != nullptr) {
    g_object_unref(service_);
    throw ListenError("cannot serve at " + endpoint.address + ":" + std::to_string(endpoint.port) + ": " +
                      error->message);
  }
  const ObjectOwner<GSocketAddress> effective(got);
  port_ = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(effective.get()));
}

Listener::~Listener() {
  g_socket_service_stop(service_);
  g_socket_listener_close(G_SOCKET_LISTENER(service_));
  g_object_unref(service_);
}

void Listener::Start(Accept accept) {
  accept_ = std::move(accept);
  g_signal_connect(service_, "incoming", G_CALLBACK(OnIncoming), this);
  g_socket_service_start(service_);
}

// One too many is closed at once: whoever holds all others open keeps others out, and fills nothing.
gboolean Listener::OnIncoming(GSocketService*, GSocketConnection* connection, GObject*, gpointer self) {
  auto* listener = static_cast<Listener*>(self);
  if (listener->open_ >= kMostConnections) return TRUE;
  ++listener->open_;
  g_object_weak_ref(G_OBJECT(connection), OnGone, listener);
  g_socket_set_timeout(g_socket_connection_get_socket(connection), kIdleS);
  listener->accept_(connection);
  return TRUE;
}

void Listener::OnGone(gpointer self, GObject*) {
  --static_cast<Listener*>(self)->open_;
}

}  // namespace home
