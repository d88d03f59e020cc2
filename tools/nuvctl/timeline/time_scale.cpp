#include "timeline/time_scale.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace timeline {

namespace {

constexpr Micros kMillisecond = 1000;
constexpr Micros kSecond = 1000 * kMillisecond;

constexpr Micros kShortestSpan = kMillisecond;
constexpr Micros kLeastGap = 200 * kMillisecond;
constexpr Micros kGapsPerSpan = 20;  // a gap is at least this part of the whole
constexpr double kGapWidth = 64;
constexpr Micros kMostSteps = 1000;  // of the axis, whatever the span

struct Unit {
  Micros micros;
  const char* name;
};

constexpr Unit kUnits[] = {{kSecond, " s"}, {kMillisecond, " ms"}, {1, " µs"}};

const Unit& UnitFor(Micros duration) {
  return *std::find_if(std::begin(kUnits), std::end(kUnits) - 1,
                       [duration](const Unit& unit) { return duration >= unit.micros; });
}

std::string Decimal(double value, int digits) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits);
  return {text.data(), end.ptr};
}

// Digits behind the point that a step of the axis needs.
int DigitsFor(Micros step, Micros unit) {
  int digits = 0;
  for (Micros part = unit; part > 1 && step % part != 0; part /= 10) ++digits;
  return digits;
}

// The least of 1, 2, 5, 10, 20, 50 ... that is no less.
Micros RoundStep(double least) {
  for (Micros power = 1;; power *= 10) {
    for (const Micros factor : {1, 2, 5}) {
      if (static_cast<double>(factor * power) >= least) return factor * power;
    }
  }
}

// When something is sent, in order. Bars count from begin to begin and end to end: a long wait for an answer is a gap.
std::vector<Micros> Moments(const Timeline& timeline) {
  std::vector<Micros> moments = {timeline.begin, timeline.end};
  moments.reserve(2 + 2 * timeline.bars.size() + timeline.marks.size());
  for (const Bar& bar : timeline.bars) {
    moments.push_back(std::clamp(bar.begin, timeline.begin, timeline.end));
    moments.push_back(std::clamp(bar.end, timeline.begin, timeline.end));
  }
  for (const Mark& mark : timeline.marks) moments.push_back(mark.time);
  std::sort(moments.begin(), moments.end());
  return moments;
}

}  // namespace

TimeScale::TimeScale(const Timeline& timeline, double width, bool compress_gaps) {
  if (compress_gaps) Divide(timeline);
  if (stretches_.empty()) {
    stretches_.push_back({timeline.begin, std::max(timeline.end, timeline.begin + kShortestSpan), 0, 0, false});
  }
  Spread(width);
}

// A gap keeps a little of its time on both sides, so that what stands beside it does not touch its edge.
void TimeScale::Divide(const Timeline& timeline) {
  const Micros least = std::max(kLeastGap, (timeline.end - timeline.begin) / kGapsPerSpan);
  const Micros rim = least / 20;
  Micros begin = timeline.begin;
  Micros before = timeline.begin;
  for (const Micros moment : Moments(timeline)) {
    if (moment - before > least) {
      stretches_.push_back({begin, before + rim, 0, 0, false});
      stretches_.push_back({before + rim, moment - rim, 0, 0, true});
      begin = moment - rim;
    }
    before = moment;
  }
  stretches_.push_back({begin, std::max(before, begin + kShortestSpan), 0, 0, false});
}

void TimeScale::Spread(double width) {
  Micros busy = 0;
  size_t gaps = 0;
  for (const Stretch& stretch : stretches_) {
    if (stretch.gap) {
      ++gaps;
    } else {
      busy += stretch.end - stretch.begin;
    }
  }
  const double rest = std::max(width / 4, width - kGapWidth * static_cast<double>(gaps));
  per_micro_ = rest / static_cast<double>(busy);
  double left = 0;
  for (Stretch& stretch : stretches_) {
    stretch.left = left;
    left += stretch.gap ? kGapWidth : per_micro_ * static_cast<double>(stretch.end - stretch.begin);
    stretch.right = left;
    if (stretch.gap) gaps_.push_back({stretch.left, stretch.right, InWords(stretch.end - stretch.begin)});
  }
}

double TimeScale::At(Micros time) const {
  if (time <= stretches_.front().begin) return 0;
  const auto stretch = std::find_if(stretches_.begin(), stretches_.end(),
                                    [time](const Stretch& candidate) { return time <= candidate.end; });
  if (stretch == stretches_.end()) return stretches_.back().right;
  const double share = static_cast<double>(time - stretch->begin) / static_cast<double>(stretch->end - stretch->begin);
  return stretch->left + share * (stretch->right - stretch->left);
}

std::vector<Tick> TimeScale::Ticks(double room) const {
  const Micros end = stretches_.back().end;
  const double least = std::max(room / per_micro_, static_cast<double>(end - stretches_.front().begin) / kMostSteps);
  const Micros step = RoundStep(least);
  const Unit& unit = UnitFor(end);
  const int digits = DigitsFor(step, unit.micros);
  std::vector<Tick> ticks;
  for (const Stretch& stretch : stretches_) {
    if (stretch.gap) continue;
    for (Micros time = (stretch.begin + step - 1) / step * step; time <= stretch.end; time += step) {
      const std::string number = Decimal(static_cast<double>(time) / static_cast<double>(unit.micros), digits);
      const double x = At(time);
      if (ticks.empty() || x - ticks.back().x >= room * 0.99) ticks.push_back({x, number + unit.name});
    }
  }
  return ticks;
}

std::string InWords(Micros duration) {
  const Unit& unit = UnitFor(duration);
  const double value = static_cast<double>(duration) / static_cast<double>(unit.micros);
  const int digits = unit.micros == 1 || value >= 100 ? 0 : value >= 10 ? 1 : 2;
  return Decimal(value, digits) + unit.name;
}

}  // namespace timeline
