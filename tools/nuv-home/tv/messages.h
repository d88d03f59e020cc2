// What passes between programs and the service, line by line, and the last of it as a time line. The lines are kept, so
// many at most: a page asks for those behind the last one that it has, and so gets each of them once, in order, and as
// fast as it reads.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "glib_handles.h"
#include "monitor/message_lines.h"
#include "monitor/wire.h"
#include "recording/format.h"
#include "server/requests.h"
#include "tv/lane.h"

namespace home {

class Messages {
 public:
  // Called when lines have come, not for each of them.
  using News = std::function<void()>;

  // There is one for the life of the process.
  explicit Messages(News news);
  ~Messages() = delete;

  // Begins to listen, for good: the time line of a launch is wanted when it has failed already.
  void Listen();
  // In place of messages that the bus does not show: what a simulator tells of itself.
  void OnSignal(const std::string& signal, GVariant* arguments);

  void Ask(const RequestFields& fields, const Requests::Answer& answer) const;
  void AskTimeline(const Requests::Answer& answer);

 private:
  void Follow(const std::function<bool(const recording::Entry&)>& sink);
  void BeginAnew(const std::string& started);
  void Take(recording::Entry entry);
  void Add(std::string line);
  void KeepForTimeline(recording::Entry entry);
  void OnRefused(const std::string& why);

  const News news_;
  Lane drawing_{8};
  bool listening_ = false;
  bool told_ = false;
  std::string problem_;
  std::unique_ptr<MessageLines> lines_;
  std::int64_t first_ = 0;  // number of the first line that is kept
  std::deque<std::string> kept_;
  std::map<std::string, recording::Entry> known_;  // who is who
  std::deque<recording::Entry> last_;
  std::size_t last_bytes_ = 0;
};

}  // namespace home
