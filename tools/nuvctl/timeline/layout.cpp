#include "timeline/layout.h"

#include <algorithm>
#include <map>

#include "report/text.h"

namespace timeline {

namespace {

constexpr size_t kMostRows = 24;  // of a lane
constexpr size_t kMostColumns = 88;
constexpr double kItemGap = 10;
constexpr double kWaitRims = 48;  // of the line on both sides of its label

struct Span {
  double left;
  double right;
};

// What is taken of a row, from the left end to the right one.
class Row {
 public:
  bool Free(const Span& span) const {
    auto next = taken_.lower_bound(span.left);
    if (next != taken_.end() && next->first < span.right + kItemGap) return false;
    return next == taken_.begin() || std::prev(next)->second + kItemGap <= span.left;
  }
  void Take(const Span& span) {
    double& right = taken_[span.left];
    right = std::max(right, span.right);
  }

 private:
  std::map<double, double> taken_;
};

class LaneRows {
 public:
  // The first row in which the first span has room, and the others in those below it.
  std::optional<size_t> Find(const std::vector<Span>& spans, size_t from = 0) {
    for (size_t row = from; row + spans.size() <= kMostRows; ++row) {
      if (rows_.size() < row + spans.size()) rows_.resize(row + spans.size());
      size_t fits = 0;
      while (fits < spans.size() && rows_[row + fits].Free(spans[fits])) ++fits;
      if (fits == spans.size()) return row;
    }
    return std::nullopt;
  }
  // What has found no row stands in the last one, over others, and takes nothing from labels.
  size_t Take(std::optional<size_t> found, const Span& span) {
    const size_t row = found.value_or(kMostRows - 1);
    if (found) rows_[row].Take(span);
    used_ = std::max(used_, row + 1);
    return row;
  }
  size_t used() const { return used_; }

 private:
  std::vector<Row> rows_;
  size_t used_ = 0;
};

struct Item {
  Micros time;
  bool bar;
  size_t number;
};

std::string Fitted(const std::string& text) {
  return Shortened(text, kMostColumns);
}

std::string WithDetail(const std::string& name, const std::string& detail) {
  return detail.empty() ? name : name + " " + detail;
}

std::string LabelOf(const Bar& bar) {
  std::string label = WithDetail(bar.name, bar.detail);
  if (bar.ending == Bar::Ending::kError) label += " ✕ " + bar.error.substr(bar.error.find_last_of('.') + 1);
  return Fitted(label);
}

class Arranger {
 public:
  Arranger(const Timeline& timeline, const TimeScale& scale)
      : timeline_(timeline), scale_(scale), lanes_(timeline.lanes.size()), waits_(timeline.bars.size()) {
    layout_.bars.resize(timeline.bars.size());
    layout_.marks.resize(timeline.marks.size());
    for (const Arrow& arrow : timeline.arrows) {
      if (arrow.kind == Arrow::Kind::kWait) AddWait(arrow);
    }
  }

  Layout Arrange() {
    for (const Item& item : InOrder()) {
      if (item.bar) {
        PlaceBar(item.number);
      } else if (!layout_.marks[item.number].wait) {
        PlaceMark(item.number, 0);
      }
    }
    for (const LaneRows& lane : lanes_) layout_.rows.push_back(std::max<size_t>(1, lane.used()));
    return std::move(layout_);
  }

 private:
  std::vector<Item> InOrder() const;
  void AddWait(const Arrow& arrow);
  void PlaceBar(size_t number);
  void PlaceMark(size_t number, size_t from);
  Span PrepareBar(size_t number);
  Span PrepareMark(size_t number);
  void Reach(const Label& label);

  const Timeline& timeline_;
  const TimeScale& scale_;
  Layout layout_;
  std::vector<LaneRows> lanes_;
  std::vector<std::vector<size_t>> waits_;  // of each bar, the marks that end them
};

std::vector<Item> Arranger::InOrder() const {
  std::vector<Item> items;
  items.reserve(timeline_.bars.size() + timeline_.marks.size());
  for (size_t i = 0; i < timeline_.bars.size(); ++i) items.push_back({timeline_.bars[i].begin, true, i});
  for (size_t i = 0; i < timeline_.marks.size(); ++i) items.push_back({timeline_.marks[i].time, false, i});
  std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.time < b.time; });
  return items;
}

// A result that is shown in another lane than its launch has no line to it.
void Arranger::AddWait(const Arrow& arrow) {
  const Bar& bar = timeline_.bars[arrow.bar];
  const Mark& mark = timeline_.marks[arrow.mark];
  if (bar.lane != mark.lane) return;
  const double end = scale_.At(mark.time);
  layout_.marks[arrow.mark].wait = PlacedWait{arrow.bar, std::min(scale_.At(bar.end), end), ""};
  waits_[arrow.bar].push_back(arrow.mark);
}

// Where the bar and its label stand; no row yet.
Span Arranger::PrepareBar(size_t number) {
  const Bar& bar = timeline_.bars[number];
  PlacedBar& placed = layout_.bars[number];
  placed.x = scale_.At(bar.begin);
  placed.width = std::max(kLeastBarWidth, scale_.At(bar.end) - placed.x);
  placed.label.text = LabelOf(bar);
  const double width = WidthOfLabel(placed.label.text);
  placed.label.inside = bar.ending != Bar::Ending::kError && width + 2 * kLabelGap <= placed.width;
  placed.label.x = placed.label.inside ? placed.x + kLabelGap : placed.x + placed.width + kLabelGap;
  return {placed.x, std::max(placed.x + placed.width, placed.label.x + width)};
}

Span Arranger::PrepareMark(size_t number) {
  const Mark& mark = timeline_.marks[number];
  PlacedMark& placed = layout_.marks[number];
  placed.x = scale_.At(mark.time);
  std::string label = placed.wait ? mark.name : WithDetail(mark.name, mark.detail);
  if (placed.wait) {
    const Micros waited = mark.time - timeline_.bars[placed.wait->bar].end;
    const std::string words = InWords(std::max<Micros>(0, waited));
    const bool fits = placed.x - placed.wait->x >= WidthOfLabel(words) + kWaitRims;
    placed.wait->label = fits ? words : "";
    if (!fits) label += waited < 0 ? " before the reply" : " after " + words;
  }
  placed.label.text = Fitted(label);
  placed.label.x = placed.x + kMarkRadius + kLabelGap;
  const double left = placed.wait ? placed.wait->x : placed.x;
  return {left - kMarkRadius, placed.label.x + WidthOfLabel(placed.label.text)};
}

void Arranger::Reach(const Label& label) {
  if (label.text.empty()) ++layout_.unlabelled;
  layout_.right = std::max(layout_.right, label.x + WidthOfLabel(label.text));
}

// A launch wants its first result in the row below it.
void Arranger::PlaceBar(size_t number) {
  PlacedBar& placed = layout_.bars[number];
  LaneRows& rows = lanes_[timeline_.bars[number].lane];
  std::vector<Span> spans = {PrepareBar(number)};
  if (!waits_[number].empty()) spans.push_back(PrepareMark(waits_[number].front()));
  std::optional<size_t> row = rows.Find(spans);
  spans.resize(1);
  if (!row) row = rows.Find(spans);
  if (!row) {
    if (!placed.label.inside) placed.label.text.clear();
    spans.front() = {placed.x, placed.x + placed.width};
    row = rows.Find(spans);
  }
  if (!row) placed.label.text.clear();
  placed.row = rows.Take(row, spans.front());
  Reach(placed.label);
  for (const size_t mark : waits_[number]) PlaceMark(mark, placed.row + 1);
}

void Arranger::PlaceMark(size_t number, size_t from) {
  PlacedMark& placed = layout_.marks[number];
  LaneRows& rows = lanes_[timeline_.marks[number].lane];
  Span span = PrepareMark(number);
  std::optional<size_t> row = rows.Find({span}, from);
  if (!row) {
    placed.label.text.clear();
    span = {placed.x - kMarkRadius, placed.x + kMarkRadius};
    row = rows.Find({span});
    if (placed.wait) placed.wait->label.clear();
  }
  placed.row = rows.Take(row, span);
  Reach(placed.label);
}

}  // namespace

double WidthOfLabel(const std::string& label) {
  return kColumnWidth * static_cast<double>(WidthOf(label));
}

Layout Arrange(const Timeline& timeline, const TimeScale& scale) {
  return Arranger(timeline, scale).Arrange();
}

}  // namespace timeline
