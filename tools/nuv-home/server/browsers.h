// The pages that are open, each over a WebSocket: what they ask, and what all of them are told.
#pragma once

#include <libsoup/soup.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace home {

using Json = nlohmann::json;

class Browsers {
 public:
  using Id = std::uint64_t;
  // A request of a browser that may be gone by the time of the answer.
  using Asked = std::function<void(Id, const Json& request)>;

  explicit Browsers(Asked asked);
  ~Browsers();
  Browsers(const Browsers&) = delete;
  Browsers& operator=(const Browsers&) = delete;

  bool Full() const;
  bool Any() const { return !open_.empty(); }
  // Called when the first one comes, and when the last one has gone.
  void OnAny(std::function<void(bool)> changed) { on_any_ = std::move(changed); }

  void Add(SoupWebsocketConnection* connection);
  void Tell(Id browser, Json message);  // nothing where it is gone
  void TellAll(const Json& message);

 private:
  struct Browser;

  static void OnMessage(SoupWebsocketConnection*, gint type, GBytes* bytes, gpointer browser);
  static void OnClosed(SoupWebsocketConnection*, gpointer browser);
  void Hear(Browser& browser, const std::string& text);
  void Remove(Id browser);

  const Asked asked_;
  std::function<void(bool)> on_any_;
  Id last_ = 0;
  std::map<Id, std::unique_ptr<Browser>> open_;
};

}  // namespace home
