// Where each bar, mark and label of a drawing stands, so that no text covers another one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "timeline/model.h"
#include "timeline/time_scale.h"

namespace timeline {

// Of the drawing's labels, which are in a font whose characters are equally wide.
constexpr double kColumnWidth = 6.7;
constexpr double kLabelGap = 5;
constexpr double kMarkRadius = 7;
constexpr double kLeastBarWidth = 3;

double WidthOfLabel(const std::string& label);

struct Label {
  std::string text;  // printable; empty where there was no room
  double x = 0;
  bool inside = false;  // of a bar
};

struct PlacedBar {
  double x = 0;
  double width = 0;
  size_t row = 0;  // of its lane
  Label label;
};

// From the end of a bar to the mark, in the mark's row.
struct PlacedWait {
  size_t bar;
  double x;
  std::string label;  // on the line; empty where the line is too short
};

struct PlacedMark {
  double x = 0;
  size_t row = 0;
  Label label;
  std::optional<PlacedWait> wait;
};

struct Layout {
  std::vector<size_t> rows = {};       // of each lane
  std::vector<PlacedBar> bars = {};    // as in the time line
  std::vector<PlacedMark> marks = {};  // as in the time line
  double right = 0;                    // where the last label ends
  size_t unlabelled = 0;               // bars and marks for whose label was no room
};

Layout Arrange(const Timeline& timeline, const TimeScale& scale);

}  // namespace timeline
