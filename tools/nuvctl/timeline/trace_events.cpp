#include "timeline/trace_events.h"

#include <algorithm>

#include "report/report.h"

namespace timeline {

namespace {

constexpr char kCategory[] = "bus";

// Lanes without a process of their own get a number that no process has.
constexpr std::int64_t kFirstFreePid = 1 << 23;

// Threads of a process: its marks and results, and above them as many as its calls need so that none overlaps another.
constexpr int kMarksThread = 1;
constexpr int kFirstCallsThread = 2;

// A viewer binds the end of an arrow to a span, so a result has a short one.
constexpr Micros kLeastSpan = 1;

struct LaneTracks {
  std::int64_t pid;
  std::vector<Micros> free_from;  // of the threads of the calls
};

class Events {
 public:
  Events(const Timeline& timeline, const Heading& heading)
      : timeline_(timeline), start_(heading.monotonic_start.value_or(0)), threads_(timeline.bars.size()) {
    for (size_t i = 0; i < timeline.lanes.size(); ++i) {
      const std::int64_t pid = timeline.lanes[i].pid;
      tracks_.push_back({pid > 0 ? pid : kFirstFreePid + static_cast<std::int64_t>(i), {}});
    }
  }

  // Separated by commas, a line each.
  std::string All() {
    for (size_t i = 0; i < timeline_.bars.size(); ++i) AddBar(i);
    for (const Mark& mark : timeline_.marks) AddMark(mark);
    for (size_t i = 0; i < timeline_.arrows.size(); ++i) AddArrow(timeline_.arrows[i], static_cast<int>(i) + 1);
    for (size_t i = 0; i < timeline_.lanes.size(); ++i) AddNames(i);
    return std::move(text_);
  }

 private:
  Fields Event(const std::string& name, const char* phase, Micros time, size_t lane, int thread) const {
    return {{"name", name},        {"cat", kCategory},         {"ph", phase},
            {"ts", start_ + time}, {"pid", tracks_[lane].pid}, {"tid", thread}};
  }
  void Add(const Fields& event) { text_ += (text_.empty() ? "\n" : ",\n") + ToJson(event); }
  void AddBar(size_t number);
  void AddMark(const Mark& mark);
  void AddArrow(const Arrow& arrow, int id);
  void AddArrowEnd(const Arrow& arrow, int id, bool begin);
  void AddName(size_t lane, const char* what, int thread, const std::string& name);
  void AddNames(size_t lane);
  int ThreadFor(const Bar& bar);

  const Timeline& timeline_;
  const Micros start_;
  std::vector<LaneTracks> tracks_;
  std::vector<int> threads_;  // of the bars
  std::string text_;
};

Micros EndOf(const Bar& bar) {
  return std::max(bar.end, bar.begin + kLeastSpan);
}

int Events::ThreadFor(const Bar& bar) {
  std::vector<Micros>& threads = tracks_[bar.lane].free_from;
  auto thread = std::find_if(threads.begin(), threads.end(), [&bar](Micros free) { return free <= bar.begin; });
  if (thread == threads.end()) thread = threads.insert(threads.end(), 0);
  *thread = EndOf(bar);
  return kFirstCallsThread + static_cast<int>(thread - threads.begin());
}

const char* EndingOf(const Bar& bar) {
  switch (bar.ending) {
    case Bar::Ending::kReply:
      return "reply";
    case Bar::Ending::kError:
      return "error";
    case Bar::Ending::kNoReplyWanted:
      return "no reply wanted";
    case Bar::Ending::kUnanswered:
      break;
  }
  return "no answer";
}

void Events::AddBar(size_t number) {
  const Bar& bar = timeline_.bars[number];
  threads_[number] = ThreadFor(bar);
  Fields event = Event(bar.name, "X", bar.begin, bar.lane, threads_[number]);
  event["dur"] = EndOf(bar) - bar.begin;
  Fields details = {{"from", bar.from}, {"to", bar.to}, {"ended_by", EndingOf(bar)}};
  if (!bar.detail.empty()) details["about"] = bar.detail;
  if (!bar.error.empty()) details["error"] = bar.error;
  if (bar.ending == Bar::Ending::kError) event["cname"] = "terrible";
  event["args"] = details;
  Add(event);
}

bool IsResult(const Mark& mark) {
  return mark.kind == Mark::Kind::kSuccess || mark.kind == Mark::Kind::kFailure;
}

void Events::AddMark(const Mark& mark) {
  Fields event = Event(mark.name, "i", mark.time, mark.lane, kMarksThread);
  event["s"] = "p";
  event["args"] = Fields{{"about", mark.detail}};
  Add(event);
  if (!IsResult(mark)) return;
  Fields span = Event(mark.name, "X", mark.time, mark.lane, kMarksThread);
  span["dur"] = kLeastSpan;
  if (mark.kind == Mark::Kind::kFailure) span["cname"] = "terrible";
  Add(span);
}

void Events::AddArrowEnd(const Arrow& arrow, int id, bool begin) {
  const Bar& bar = timeline_.bars[arrow.bar];
  const Mark& mark = timeline_.marks[arrow.mark];
  const char* name = arrow.kind == Arrow::Kind::kWait ? "launch and result" : "result";
  Fields event = begin ? Event(name, "s", bar.begin, bar.lane, threads_[arrow.bar])
                       : Event(name, "f", mark.time, mark.lane, kMarksThread);
  if (!begin) event["bp"] = "e";
  event["id"] = id;
  Add(event);
}

void Events::AddArrow(const Arrow& arrow, int id) {
  AddArrowEnd(arrow, id, true);
  AddArrowEnd(arrow, id, false);
}

void Events::AddName(size_t lane, const char* what, int thread, const std::string& name) {
  Add({{"name", what}, {"ph", "M"}, {"pid", tracks_[lane].pid}, {"tid", thread}, {"args", Fields{{"name", name}}}});
}

void Events::AddNames(size_t lane) {
  const bool service = timeline_.lanes[lane].kind == Lane::Kind::kService;
  AddName(lane, "process_name", 0, timeline_.lanes[lane].name + (service ? " (service)" : ""));
  AddName(lane, "thread_name", kMarksThread, "results and signals");
  const int threads = static_cast<int>(tracks_[lane].free_from.size());
  for (int i = 0; i < threads; ++i) {
    AddName(lane, "thread_name", kFirstCallsThread + i, i == 0 ? "calls" : "calls " + std::to_string(i + 1));
  }
}

}  // namespace

std::string TraceEvents(const Timeline& timeline, const Heading& heading) {
  const char* clock = heading.monotonic_start ? "CLOCK_MONOTONIC" : "since the start of the recording";
  Fields about = {{"started", heading.started}, {"library", heading.library}, {"clock", clock}};
  if (!heading.service.empty()) about["service"] = heading.service;
  if (!heading.remarks.empty()) about["remarks"] = ListOf(heading.remarks);
  return "{\"displayTimeUnit\":\"ms\",\"otherData\":" + ToJson(about) + ",\"traceEvents\":[" +
         Events(timeline, heading).All() + "\n]}\n";
}

}  // namespace timeline
