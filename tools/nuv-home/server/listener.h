// The socket that browsers connect to, and how many connections there are at once.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace home {

class ListenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An address as --listen names it: "127.0.0.1:80", "[::1]:80" or "localhost:80". Throws ListenError.
struct Endpoint {
  std::string address;  // of numbers
  unsigned port = 0;
  bool loopback = false;
  bool any = false;  // all addresses of this machine
};
Endpoint ParseEndpoint(const std::string& text);

class Listener {
 public:
  using Accept = std::function<void(GSocketConnection*)>;

  // Throws ListenError, also for an address that other machines reach, where that is not allowed.
  Listener(const Endpoint& endpoint, bool allow_remote);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  unsigned port() const { return port_; }
  void Start(Accept accept);

 private:
  static gboolean OnIncoming(GSocketService*, GSocketConnection* connection, GObject*, gpointer self);
  static void OnGone(gpointer self, GObject*);

  GSocketService* const service_;
  unsigned port_ = 0;
  unsigned open_ = 0;
  Accept accept_;
};

}  // namespace home
