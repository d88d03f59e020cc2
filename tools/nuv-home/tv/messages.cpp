#include "tv/messages.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "monitor/monitor.h"
#include "service/watch_lines.h"
#include "timeline/gather.h"

namespace home {
namespace {

using recording::Entry;
using recording::Kind;

constexpr std::size_t kMostLines = 20000;
constexpr std::size_t kMostAtOnce = 200;
constexpr std::size_t kMostWaiting = 50000;
constexpr std::size_t kLongestLine = 2000;
constexpr std::size_t kMostKnown = 2000;
constexpr std::size_t kMostOfTimeline = 600;
constexpr std::size_t kMostTimelineBytes = std::size_t{4} << 20;
constexpr std::int64_t kLargestNumber = std::int64_t{1} << 52;
constexpr auto kRetry = std::chrono::seconds(1);

// What the monitor's thread hands to the main loop.
class Desk {
 public:
  // True where the main loop has to be told.
  bool Put(const Entry& entry) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_.size() >= kMostWaiting) {
      ++lost_;
      return false;
    }
    waiting_.push_back(entry);
    return waiting_.size() == 1;
  }
  std::vector<Entry> TakeAll(std::uint64_t* lost) {
    const std::lock_guard<std::mutex> lock(mutex_);
    *lost = std::exchange(lost_, 0);
    return std::exchange(waiting_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Entry> waiting_;
  std::uint64_t lost_ = 0;
};

std::string Cut(std::string line) {
  if (line.size() <= kLongestLine) return line;
  return line.substr(0, kLongestLine) + " ... (" + std::to_string(line.size()) + " bytes)";
}

const char* EndingOf(timeline::Bar::Ending ending) {
  constexpr const char* kWords[] = {"answered", "answered with an error", "unanswered", "wants no answer"};
  return kWords[static_cast<int>(ending)];
}

const char* KindOf(timeline::Mark::Kind kind) {
  constexpr const char* kWords[] = {"success", "failure", "started", "stopped", "signal", "owner", "no-owner", "lost"};
  return kWords[static_cast<int>(kind)];
}

const char* KindOf(timeline::Lane::Kind kind) {
  constexpr const char* kWords[] = {"bus", "service", "client"};
  return kWords[static_cast<int>(kind)];
}

Json JsonOf(const timeline::Timeline& all) {
  Json lanes = Json::array();
  Json bars = Json::array();
  Json marks = Json::array();
  for (const timeline::Lane& lane : all.lanes) {
    lanes.push_back({{"kind", KindOf(lane.kind)}, {"name", lane.name}, {"pid", lane.pid}});
  }
  for (const timeline::Bar& bar : all.bars) {
    bars.push_back({{"lane", bar.lane},
                    {"begin", bar.begin},
                    {"end", bar.end},
                    {"name", bar.name},
                    {"detail", bar.detail},
                    {"ending", EndingOf(bar.ending)},
                    {"error", bar.error}});
  }
  for (const timeline::Mark& mark : all.marks) {
    marks.push_back({{"lane", mark.lane},
                     {"time", mark.time},
                     {"kind", KindOf(mark.kind)},
                     {"name", mark.name},
                     {"detail", mark.detail}});
  }
  return {{"ok", true}, {"begin", all.begin}, {"end", all.end}, {"lanes", lanes}, {"bars", bars}, {"marks", marks}};
}

}  // namespace

Messages::Messages(News news) : news_(std::move(news)) {}

// The times of a monitor count from its own start.
void Messages::BeginAnew(const std::string& started) {
  lines_ = std::make_unique<MessageLines>(started, LineFilter(), MessageLines::Form::kText);
  known_.clear();
  last_.clear();
  last_bytes_ = 0;
}

void Messages::Listen() {
  if (std::exchange(listening_, true)) return;
  const auto desk = std::make_shared<Desk>();
  const auto take = [this, desk] {
    std::uint64_t lost = 0;
    for (Entry& entry : desk->TakeAll(&lost)) Take(std::move(entry));
    if (lost != 0) Add("lost " + std::to_string(lost) + " messages");
  };
  const Monitor::Sink sink = [desk, take](const Entry& entry) {
    if (desk->Put(entry)) InMainLoop(take);
    return true;
  };
  std::thread([this, sink] { Follow(sink); }).detach();
}

// On its thread, until the bus refuses to show its messages.
void Messages::Follow(const std::function<bool(const Entry&)>& sink) {
  const Stop never;
  for (;;) {
    InMainLoop([this, started = recording::Now()] { BeginAnew(started); });
    Monitor monitor(never, {std::nullopt, true}, sink);
    const auto failed = monitor.Start();
    if ((failed ? *failed : monitor.Run()) == Monitor::End::kRefused) {
      return InMainLoop([this, why = monitor.Problem()] { OnRefused(why); });
    }
    std::this_thread::sleep_for(kRetry);
  }
}

void Messages::OnRefused(const std::string& why) {
  problem_ = "the bus does not show its messages (" + why + "): only what a simulator tells of itself follows";
  news_();
}

void Messages::OnSignal(const std::string& signal, GVariant* arguments) {
  if (problem_.empty()) return;
  if (const auto line = LineOfSignal(signal, arguments)) Add(line->text);
}

void Messages::Take(Entry entry) {
  if (const auto line = lines_->LineOf(entry)) Add(*line);
  KeepForTimeline(std::move(entry));
}

void Messages::Add(std::string line) {
  while (!line.empty() && line.back() == '\n') line.pop_back();
  kept_.push_back(Cut(std::move(line)));
  if (kept_.size() > kMostLines) {
    kept_.pop_front();
    ++first_;
  }
  if (!std::exchange(told_, true)) {
    InMainLoop([this] {
      told_ = false;
      news_();
    });
  }
}

// A connection that was made anew has nothing to do with those from before.
void Messages::KeepForTimeline(Entry entry) {
  if (entry.kind == Kind::kClient || entry.kind == Kind::kOwner) {
    if (known_.size() >= kMostKnown) known_.clear();
    const std::string name = entry.name;
    known_[name] = entry;
  }
  if (entry.kind == Kind::kCall && entry.member == "heartbeat") return;
  last_bytes_ += entry.bytes.size();
  last_.push_back(std::move(entry));
  while (last_.size() > kMostOfTimeline || last_bytes_ > kMostTimelineBytes) {
    last_bytes_ -= last_.front().bytes.size();
    last_.pop_front();
  }
}

void Messages::Ask(const RequestFields& fields, const Requests::Answer& answer) const {
  const std::int64_t wanted = fields.Number("after", 0, kLargestNumber);
  const std::int64_t end = first_ + static_cast<std::int64_t>(kept_.size());
  const std::int64_t begin = std::min(std::max(wanted, first_), end);
  const std::int64_t until = std::min(end, begin + static_cast<std::int64_t>(kMostAtOnce));
  Json lines = Json::array();
  for (std::int64_t i = begin; i < until; ++i) lines.push_back(kept_[static_cast<std::size_t>(i - first_)]);
  answer({{"ok", true},
          {"lines", lines},
          {"next", until},
          {"missed", std::max<std::int64_t>(0, begin - wanted)},
          {"more", until < end},
          {"problem", problem_}});
}

void Messages::AskTimeline(const Requests::Answer& answer) {
  std::vector<Entry> entries;
  const std::int64_t from = last_.empty() ? 0 : last_.front().t_us;
  for (const auto& [name, entry] : known_) {
    entries.push_back(entry);
    entries.back().t_us = from;
  }
  entries.insert(entries.end(), last_.begin(), last_.end());
  const bool taken = drawing_.Do([answer, entries = std::move(entries)] {
    timeline::Gatherer gatherer{timeline::Cut{}};
    for (const Entry& entry : entries) gatherer.Add(entry);
    InMainLoop([answer, message = JsonOf(gatherer.Finish())] { answer(message); });
  });
  if (!taken) answer(Refused("too many time lines are drawn at once"));
}

}  // namespace home
