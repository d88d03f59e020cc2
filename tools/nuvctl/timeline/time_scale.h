// Where a time stands on the axis of a drawing.
#pragma once

#include <string>
#include <vector>

#include "timeline/model.h"

namespace timeline {

struct Tick {
  double x;
  std::string label;
};

// A stretch of time in which nothing was sent, drawn shorter than it was.
struct Gap {
  double left;
  double right;
  std::string label;
};

class TimeScale {
 public:
  // From zero to the width. Gaps are shortened where that is wanted.
  TimeScale(const Timeline& timeline, double width, bool compress_gaps);

  double At(Micros time) const;  // times outside stand at the edges
  const std::vector<Gap>& gaps() const { return gaps_; }

  // At round numbers, so far apart that their labels have room.
  std::vector<Tick> Ticks(double room) const;

 private:
  struct Stretch {
    Micros begin;
    Micros end;
    double left;
    double right;
    bool gap;
  };

  void Divide(const Timeline& timeline);
  void Spread(double width);

  std::vector<Stretch> stretches_;
  std::vector<Gap> gaps_;
  double per_micro_ = 0;  // of what is no gap
};

// "350 µs", "12.5 ms", "3.25 s": three digits that count.
std::string InWords(Micros duration);

}  // namespace timeline
