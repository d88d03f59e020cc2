// What a browser gets over HTTP: the page's files, the icons, and the socket; and who gets anything.
#pragma once

#include <libsoup/soup.h>

#include <functional>
#include <optional>
#include <string>

#include "server/access.h"
#include "server/browsers.h"
#include "server/listener.h"

namespace home {

struct Image {
  std::string bytes;
  const char* type = nullptr;
};

class WebServer {
 public:
  // Finds the icon of an application, and says so on the main loop, at once or later; nothing where there is none.
  using IconFound = std::function<void(const std::optional<Image>&)>;
  using FindIcon = std::function<void(const std::string& app_id, IconFound)>;

  // Throws ListenError.
  WebServer(const Endpoint& endpoint, bool allow_remote, Browsers& browsers, FindIcon find_icon);
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::string FirstAddress() const { return access_.FirstAddress(); }

 private:
  static void OnEarly(SoupServer*, SoupServerMessage* message, const char* path, GHashTable* query, gpointer self);
  static void OnFile(SoupServer*, SoupServerMessage* message, const char* path, GHashTable* query, gpointer self);
  static void OnIcon(SoupServer*, SoupServerMessage* message, const char* path, GHashTable* query, gpointer self);
  static void OnSocket(SoupServer*, SoupServerMessage* message, const char* path, SoupWebsocketConnection* connection,
                       gpointer self);
  void Accept(GSocketConnection* connection);
  // The status with which a request is refused, and why; 0: it is not.
  struct Refusal {
    unsigned status = 0;
    const char* why = "";
  };
  Refusal Judge(SoupServerMessage* message, const std::string& path, const char* token) const;
  Refusal JudgeSocket(SoupMessageHeaders* headers) const;

  Listener listener_;
  const Access access_;
  Browsers& browsers_;
  const FindIcon find_icon_;
  SoupServer* const server_;
};

}  // namespace home
