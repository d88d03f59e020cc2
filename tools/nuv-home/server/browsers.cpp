#include "server/browsers.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "glib_handles.h"

namespace home {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostBrowsers = 16;
constexpr guint64 kLongestRequest = std::size_t{16} << 10;
constexpr guint kPingEveryS = 20;
// A person is slower; a page that is shown anew asks for a few things at once.
constexpr double kMostAtOnce = 100;
constexpr double kPerSecond = 50;
// What was sent and not seen is in this process's memory.
constexpr std::size_t kMostUnseenBytes = std::size_t{8} << 20;
constexpr gushort kUnsupportedData = SOUP_WEBSOCKET_CLOSE_UNSUPPORTED_DATA;
constexpr gushort kAgainstPolicy = SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION;

// A text of the catalogue may be cut in the middle of a character.
std::string TextOf(const Json& message) {
  return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// So many requests may come, and so many more each second.
class Allowance {
 public:
  bool Take() {
    const Clock::time_point now = Clock::now();
    left_ = std::min(kMostAtOnce, left_ + std::chrono::duration<double>(now - last_).count() * kPerSecond);
    last_ = now;
    if (left_ < 1) return false;
    left_ -= 1;
    return true;
  }

 private:
  double left_ = kMostAtOnce;
  Clock::time_point last_ = Clock::now();
};

}  // namespace

struct Browsers::Browser {
  struct Unseen {
    std::uint64_t number;
    std::size_t bytes;
  };

  Browser(Browsers& all, Id its_id, SoupWebsocketConnection* its)
      : browsers(all), id(its_id), connection(SOUP_WEBSOCKET_CONNECTION(g_object_ref(its))) {}
  ~Browser() {
    g_signal_handlers_disconnect_by_data(connection, this);
    g_object_unref(connection);
  }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  void Close(gushort code, const char* why) {
    if (soup_websocket_connection_get_state(connection) != SOUP_WEBSOCKET_STATE_OPEN) return;
    soup_websocket_connection_close(connection, code, why);
  }

  void Send(Json& message) {
    if (soup_websocket_connection_get_state(connection) != SOUP_WEBSOCKET_STATE_OPEN) return;
    message["n"] = ++sent;
    const std::string text = TextOf(message);
    unseen.push_back({sent, text.size()});
    unseen_bytes += text.size();
    soup_websocket_connection_send_text(connection, text.c_str());
    if (unseen_bytes > kMostUnseenBytes) Close(kAgainstPolicy, "the page does not read what it is sent");
  }

  // False for what was never sent, or was seen before: that is a request like any other.
  bool Saw(std::uint64_t number) {
    if (unseen.empty() || number < unseen.front().number || number > sent) return false;
    while (!unseen.empty() && unseen.front().number <= number) {
      unseen_bytes -= unseen.front().bytes;
      unseen.pop_front();
    }
    return true;
  }

  Browsers& browsers;
  const Id id;
  SoupWebsocketConnection* const connection;
  Allowance allowance;
  std::uint64_t sent = 0;
  std::deque<Unseen> unseen;
  std::size_t unseen_bytes = 0;
};

Browsers::Browsers(Asked asked) : asked_(std::move(asked)) {}

Browsers::~Browsers() = default;

bool Browsers::Full() const {
  return open_.size() >= kMostBrowsers;
}

void Browsers::Add(SoupWebsocketConnection* connection) {
  auto browser = std::make_unique<Browser>(*this, ++last_, connection);
  soup_websocket_connection_set_max_incoming_payload_size(connection, kLongestRequest);
  soup_websocket_connection_set_keepalive_interval(connection, kPingEveryS);
  g_signal_connect(connection, "message", G_CALLBACK(OnMessage), browser.get());
  g_signal_connect(connection, "closed", G_CALLBACK(OnClosed), browser.get());
  open_[last_] = std::move(browser);
  if (open_.size() == 1 && on_any_) on_any_(true);
}

void Browsers::Tell(Id browser, Json message) {
  const auto found = open_.find(browser);
  if (found != open_.end()) found->second->Send(message);
}

void Browsers::TellAll(const Json& message) {
  for (const auto& [id, browser] : open_) {
    Json copy = message;
    browser->Send(copy);
  }
}

void Browsers::OnMessage(SoupWebsocketConnection*, gint type, GBytes* bytes, gpointer data) {
  auto* browser = static_cast<Browser*>(data);
  if (type != SOUP_WEBSOCKET_DATA_TEXT) return browser->Close(kUnsupportedData, "a request is a text");
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  browser->browsers.Hear(*browser, std::string(text, size));
}

void Browsers::Hear(Browser& browser, const std::string& text) {
  const Json request = Json::parse(text, nullptr, false);
  if (request.is_object() && request.size() == 1 && request.contains("seen") && request["seen"].is_number_unsigned() &&
      browser.Saw(request["seen"].get<std::uint64_t>())) {
    return;
  }
  if (!browser.allowance.Take()) return browser.Close(kAgainstPolicy, "too many requests");
  asked_(browser.id, request);
}

// libsoup is still within the connection: it goes a moment later.
void Browsers::OnClosed(SoupWebsocketConnection*, gpointer data) {
  auto* browser = static_cast<Browser*>(data);
  InMainLoop([browsers = &browser->browsers, id = browser->id] { browsers->Remove(id); });
}

void Browsers::Remove(Id browser) {
  if (open_.erase(browser) != 0 && open_.empty() && on_any_) on_any_(false);
}

}  // namespace home
