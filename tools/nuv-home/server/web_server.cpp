#include "server/web_server.h"

#include <cstring>
#include <utility>

#include "server/assets.h"

namespace home {
namespace {

constexpr char kSocket[] = "/socket";
constexpr char kIcon[] = "/icon";

// Nothing but what comes from here, and nothing of it in a frame. What a page may not do is said with every answer,
// because a browser may show any of them as a page.
constexpr const char* kHeaders[][2] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; base-uri 'none'; "
     "form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
};

constexpr char kStrange[] = "Open the address that nuv-home has printed: this browser has not shown its token.\n";
constexpr char kOtherHost[] = "This server does not go by the name in the address.\n";
constexpr char kOtherSite[] = "A page of another site asks.\n";
constexpr char kOnlyReads[] = "There is nothing to write to here.\n";
constexpr char kNoBody[] = "A request has no body here.\n";
constexpr char kNoFile[] = "There is no such file.\n";
constexpr char kTooMany[] = "Too many pages are open.\n";

std::string Header(SoupMessageHeaders* headers, const char* name) {
  const char* value = soup_message_headers_get_one(headers, name);
  return value != nullptr ? value : "";
}

std::string HeaderList(SoupMessageHeaders* headers, const char* name) {
  const char* value = soup_message_headers_get_list(headers, name);
  return value != nullptr ? value : "";
}

const char* QueryText(GHashTable* query, const char* key) {
  return query != nullptr ? static_cast<const char*>(g_hash_table_lookup(query, key)) : nullptr;
}

void Refuse(SoupServerMessage* message, unsigned status, const char* why) {
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, "text/plain; charset=utf-8", SOUP_MEMORY_STATIC, why, std::strlen(why));
}

bool HasBody(SoupMessageHeaders* headers) {
  return soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED ||
         soup_message_headers_get_content_length(headers) > 0;
}

// Another site may link to here, but for the reader's own click: to the first address and with its token. A browser
// says from where a request comes; programs that are none do not.
bool IsFromOtherSite(SoupMessageHeaders* headers) {
  const std::string site = Header(headers, "Sec-Fetch-Site");
  return !site.empty() && site != "same-origin" && site != "none";
}

}  // namespace

WebServer::WebServer(const Endpoint& endpoint, bool allow_remote, Browsers& browsers, FindIcon find_icon)
    : listener_(endpoint, allow_remote),
      access_(endpoint.address, endpoint.any, listener_.port()),
      browsers_(browsers),
      find_icon_(std::move(find_icon)),
      server_(soup_server_new("server-header", nullptr, nullptr)) {
  for (const char* path : {"/", kIcon, kSocket}) soup_server_add_early_handler(server_, path, OnEarly, this, nullptr);
  soup_server_add_handler(server_, "/", OnFile, this, nullptr);
  soup_server_add_handler(server_, kIcon, OnIcon, this, nullptr);
  soup_server_add_websocket_handler(server_, kSocket, nullptr, nullptr, OnSocket, this, nullptr);
  listener_.Start([this](GSocketConnection* connection) { Accept(connection); });
}

WebServer::~WebServer() {
  soup_server_disconnect(server_);
  g_object_unref(server_);
}

void WebServer::Accept(GSocketConnection* connection) {
  GSocketAddress* local = g_socket_connection_get_local_address(connection, nullptr);
  GSocketAddress* remote = g_socket_connection_get_remote_address(connection, nullptr);
  if (local != nullptr && remote != nullptr) {
    soup_server_accept_iostream(server_, G_IO_STREAM(connection), local, remote, nullptr);
  }
  g_clear_object(&local);
  g_clear_object(&remote);
}

WebServer::Refusal WebServer::JudgeSocket(SoupMessageHeaders* headers) const {
  if (!access_.IsOrigin(Header(headers, "Origin"), Header(headers, "Host"))) {
    return {SOUP_STATUS_FORBIDDEN, kOtherSite};
  }
  if (browsers_.Full()) return {SOUP_STATUS_SERVICE_UNAVAILABLE, kTooMany};
  return {};
}

WebServer::Refusal WebServer::Judge(SoupServerMessage* message, const std::string& path, const char* token) const {
  SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
  const std::string method = soup_server_message_get_method(message);
  if (!access_.IsHost(Header(headers, "Host"))) return {SOUP_STATUS_MISDIRECTED_REQUEST, kOtherHost};
  if (method != "GET" && method != "HEAD") return {SOUP_STATUS_METHOD_NOT_ALLOWED, kOnlyReads};
  if (HasBody(headers)) return {SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, kNoBody};
  if (path == "/" && token != nullptr && access_.IsToken(token)) return {};
  if (IsFromOtherSite(headers)) return {SOUP_STATUS_FORBIDDEN, kOtherSite};
  if (!access_.HasCookie(HeaderList(headers, "Cookie"))) return {SOUP_STATUS_FORBIDDEN, kStrange};
  // libsoup gives a handler the paths below its own, too, and those that only begin with it.
  return path.rfind(kSocket, 0) == 0 ? JudgeSocket(headers) : Refusal();
}

// Before the body is read, so that none fills the memory. A message that has its status here gets to no other handler.
void WebServer::OnEarly(SoupServer*, SoupServerMessage* message, const char* path, GHashTable* query, gpointer data) {
  auto* self = static_cast<WebServer*>(data);
  SoupMessageHeaders* answer = soup_server_message_get_response_headers(message);
  for (const auto& [name, value] : kHeaders) soup_message_headers_replace(answer, name, value);
  soup_message_headers_replace(answer, "Cache-Control", "no-store");
  const char* token = QueryText(query, "token");
  const Refusal refusal = self->Judge(message, path, token);
  if (refusal.status != 0) {
    soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
    soup_message_headers_replace(answer, "Connection", "close");
    return Refuse(message, refusal.status, refusal.why);
  }
  if (token != nullptr) soup_message_headers_replace(answer, "Set-Cookie", self->access_.SetCookie().c_str());
}

void WebServer::OnFile(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer) {
  const std::optional<Asset> asset = FindAsset(path);
  if (!asset) return Refuse(message, SOUP_STATUS_NOT_FOUND, kNoFile);
  soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
  soup_message_headers_set_content_type(soup_server_message_get_response_headers(message), asset->type, nullptr);
  soup_message_body_append_bytes(soup_server_message_get_response_body(message), asset->bytes.get());
}

// The id says which: no path comes from a browser.
void WebServer::OnIcon(SoupServer*, SoupServerMessage* message, const char* path, GHashTable* query, gpointer data) {
  if (std::strcmp(path, kIcon) != 0) return Refuse(message, SOUP_STATUS_NOT_FOUND, kNoFile);
  const char* app_id = QueryText(query, "app");
  if (app_id == nullptr) return Refuse(message, SOUP_STATUS_BAD_REQUEST, "Which application?\n");
  soup_server_message_pause(message);
  g_object_ref(message);
  static_cast<WebServer*>(data)->find_icon_(app_id, [message](const std::optional<Image>& image) {
    if (image) {
      soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
      SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
      soup_message_headers_replace(headers, "Cache-Control", "private, max-age=300");
      soup_server_message_set_response(message, image->type, SOUP_MEMORY_COPY, image->bytes.data(),
                                       image->bytes.size());
    } else {
      Refuse(message, SOUP_STATUS_NOT_FOUND, "It has no icon.\n");
    }
    soup_server_message_unpause(message);
    g_object_unref(message);
  });
}

void WebServer::OnSocket(SoupServer*, SoupServerMessage*, const char*, SoupWebsocketConnection* connection,
                         gpointer data) {
  static_cast<WebServer*>(data)->browsers_.Add(connection);
}

}  // namespace home
