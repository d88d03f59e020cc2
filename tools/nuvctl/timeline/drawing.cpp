#include "timeline/drawing.h"

#include <algorithm>
#include <string_view>

#include "report/text.h"
#include "timeline/layout.h"
#include "timeline/svg.h"
#include "timeline/time_scale.h"

namespace timeline {

namespace {

// Colours that stay apart in grey; what failed has a hatching or a shape of its own besides.
constexpr char kStyle[] = R"svg(<style>
text { font: 11px "DejaVu Sans Mono", Menlo, Consolas, "Liberation Mono", monospace; fill: #1f2933; }
.page { fill: #ffffff; }
.heading { font: 600 17px "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; }
.about, .remark, .kind { font: 12px "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; }
.about, .kind, .tick, .pid { fill: #52606d; }
.remark { font-weight: 600; }
.name { font-weight: 600; font-size: 12px; }
.tick { text-anchor: middle; }
.label { paint-order: stroke; stroke: #ffffff; stroke-width: 3px; stroke-linejoin: round; }
.inside { fill: #ffffff; }
.middle { text-anchor: middle; }
.lane { fill: #f4f6f8; }
.grid { stroke: #dde3e8; }
.edge { stroke: #b8c2cc; }
.gap { fill: #eef1f4; }
.call { fill: #3d6a97; }
.alone { fill: #829ab1; }
.failed { fill: url(#hatched); stroke: #a61b1b; stroke-width: 1.5; }
.open { fill: #ffffff; stroke: #3d6a97; stroke-width: 1.2; stroke-dasharray: 4 2; }
.delivery { stroke: #829ab1; fill: none; marker-end: url(#head); }
.wait { stroke: #52606d; stroke-dasharray: 3 3; fill: none; marker-end: url(#head); }
.near { marker-end: none; }
.head { fill: #52606d; }
.good { fill: #1b7f5c; stroke: #ffffff; }
.bad { fill: #a61b1b; stroke: #ffffff; }
.cross { stroke: #ffffff; stroke-width: 1.6; }
.app { fill: #1f2933; stroke: #ffffff; }
.other { fill: #ffffff; stroke: #52606d; stroke-width: 1.5; }
.loss { fill: #ffffff; stroke: #a61b1b; stroke-width: 1.6; }
.hatch { stroke: #a61b1b; stroke-width: 2; }
.pale { fill: #fdeaea; }
</style>
)svg";

constexpr char kShapes[] = R"svg(<defs>
<pattern id="hatched" width="5" height="5" patternUnits="userSpaceOnUse" patternTransform="rotate(45)"><rect class="pale" width="5" height="5"/><line class="hatch" x1="0" y1="0" x2="0" y2="5"/></pattern>
<marker id="head" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" orient="auto"><path class="head" d="M0 1 L7 4 L0 7 Z"/></marker>
<circle id="success" class="good" r="5"/>
<g id="failure"><path class="bad" d="M0 -7 L7 0 L0 7 L-7 0 Z"/><path class="cross" d="M-2.5 -2.5 L2.5 2.5 M-2.5 2.5 L2.5 -2.5"/></g>
<path id="started" class="app" d="M-4 -5.5 L6 0 L-4 5.5 Z"/>
<rect id="stopped" class="app" x="-5" y="-5" width="10" height="10"/>
<circle id="signal" class="other" r="4"/>
<path id="owner" class="app" d="M0 -6 L6 4.5 L-6 4.5 Z"/>
<path id="no-owner" class="other" d="M0 6 L6 -4.5 L-6 -4.5 Z"/>
<g id="lost"><path class="loss" d="M0 -7 L7 5 L-7 5 Z"/><path class="loss" d="M0 -2.5 L0 1.5 M0 3 L0 4"/></g>
</defs>
)svg";

constexpr char kPageBegin[] = R"svg(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<meta name="color-scheme" content="light dark">
)svg";

constexpr char kPageStyle[] = R"svg(<style>
body { margin: 0; background: #ffffff; }
main { overflow-x: auto; }
@media (prefers-color-scheme: dark) {
body { background: #15191e; }
body text { fill: #e4e7eb; }
body .page { fill: #15191e; }
body .about, body .kind, body .tick, body .pid { fill: #a3b0bd; }
body .label { stroke: #15191e; }
body .inside { fill: #10151a; }
body .lane { fill: #1c2229; }
body .grid { stroke: #2c343d; }
body .gap { fill: #1c2229; }
body .edge { stroke: #46525e; }
body .call { fill: #7fb0e0; }
body .alone { fill: #6b7f93; }
body .open { fill: #15191e; stroke: #7fb0e0; }
body .delivery { stroke: #6b7f93; }
body .wait { stroke: #a3b0bd; }
body .head { fill: #a3b0bd; }
body .failed, body .loss, body .hatch { stroke: #ff8a80; }
body .pale { fill: #3a1d1d; }
body .good { fill: #4cc38a; stroke: #15191e; }
body .bad { fill: #ff8a80; stroke: #15191e; }
body .cross { stroke: #15191e; }
body .app { fill: #e4e7eb; stroke: #15191e; }
body .other, body .loss { fill: #15191e; }
body .other { stroke: #a3b0bd; }
}
</style>
)svg";

constexpr double kMargin = 20;
constexpr double kRowHeight = 20;
constexpr double kLanePadding = 8;
constexpr double kLeastLaneHeight = 44;
constexpr double kBarHeight = 14;
constexpr double kBaseline = 4;  // of a text, below the middle of its row
constexpr double kLineHeight = 18;
constexpr double kAxisHeight = 26;
constexpr double kGapLabels = 14;  // below the ticks
constexpr double kTickRoom = 90;
constexpr double kWaitRim = 4;   // between a waiting line and the label on it
constexpr double kArrowGap = 7;  // between the end of an arrow and the middle of a mark

// The more there is to see, the wider.
constexpr double kLeastPlot = 960;
constexpr double kMostPlot = 8000;
constexpr double kPlotPerMessage = 6;

constexpr size_t kMostNameColumns = 28;

struct MarkLook {
  Mark::Kind kind;
  const char* shape;
  const char* meaning;
};

constexpr MarkLook kMarkLooks[] = {
    {Mark::Kind::kSuccess, "success", "result: success"},     {Mark::Kind::kFailure, "failure", "result: failure"},
    {Mark::Kind::kStarted, "started", "application started"}, {Mark::Kind::kStopped, "stopped", "application stopped"},
    {Mark::Kind::kSignal, "signal", "other signal"},          {Mark::Kind::kOwner, "owner", "name has an owner"},
    {Mark::Kind::kNoOwner, "no-owner", "name has no owner"},  {Mark::Kind::kLost, "lost", "messages lost"},
};

const MarkLook& LookOf(Mark::Kind kind) {
  return *std::find_if(std::begin(kMarkLooks), std::end(kMarkLooks),
                       [kind](const MarkLook& look) { return look.kind == kind; });
}

struct BarLook {
  Bar::Ending ending;
  const char* style;
  const char* meaning;
};

constexpr BarLook kBarLooks[] = {
    {Bar::Ending::kReply, "call", "call, to its reply"},
    {Bar::Ending::kError, "failed", "call, to its error"},
    {Bar::Ending::kUnanswered, "open", "call without an answer"},
    {Bar::Ending::kNoReplyWanted, "alone", "call that wants no answer"},
};

const BarLook& LookOf(Bar::Ending ending) {
  return *std::find_if(std::begin(kBarLooks), std::end(kBarLooks),
                       [ending](const BarLook& look) { return look.ending == ending; });
}

struct ArrowLook {
  Arrow::Kind kind;
  const char* style;
  const char* meaning;
};

constexpr ArrowLook kArrowLooks[] = {
    {Arrow::Kind::kDelivery, "delivery", "result, from the service"},
    {Arrow::Kind::kWait, "wait", "from a launch's reply to its result"},
};

// One of the three, and what it means.
struct LegendEntry {
  const char* bar;
  const char* mark;
  const char* arrow;
  const char* meaning;
};

constexpr double kLegendBar = 24;
constexpr double kLegendGlyph = 32;
constexpr double kLegendShare = 0.95;  // of a label's width: the legend has the narrower font

template <typename Item, typename Is>
bool Any(const std::vector<Item>& items, Is is) {
  return std::any_of(items.begin(), items.end(), is);
}

std::string NameOf(const Lane& lane) {
  return Shortened(lane.name, kMostNameColumns);
}

std::string PidOf(const Lane& lane) {
  std::string role = lane.kind == Lane::Kind::kService ? "service" : "";
  if (lane.pid == 0) return role;
  return (role.empty() ? "" : role + ", ") + "pid " + std::to_string(lane.pid);
}

// "2026-05-04 10:00:00 UTC": the fraction says nothing to a reader.
std::string Day(const std::string& started) {
  const size_t length = std::string_view("2026-05-04T10:00:00").size();
  if (started.size() < length) return started;
  std::string day = started.substr(0, length);
  day[10] = ' ';
  return day + " UTC";
}

std::string TitleOf(const Heading& heading) {
  return "Messages of " + Day(heading.started);
}

std::string Count(size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string About(const Timeline& timeline, const Heading& heading) {
  std::string about = "library " + heading.library;
  if (!heading.service.empty()) about += ", service " + heading.service;
  about += " · " + Count(timeline.messages, "message") + " in " + InWords(timeline.end - timeline.begin);
  if (timeline.begin > 0) about += ", from " + InWords(timeline.begin) + " after the start";
  return about;
}

std::vector<std::string> Remarks(const Timeline& timeline, const Heading& heading, const Layout& layout) {
  std::vector<std::string> remarks = heading.remarks;
  if (timeline.left_out > 0) {
    remarks.push_back(Count(timeline.left_out, "further message") + ", from " + InWords(*timeline.left_out_from) +
                      " on, left out");
  }
  if (layout.unlabelled > 0) remarks.push_back(Count(layout.unlabelled, "label") + " left out for want of room");
  if (timeline.bars.empty() && timeline.marks.empty()) remarks.emplace_back("nothing to show");
  return remarks;
}

std::string TooltipOf(const Bar& bar) {
  std::string tip = bar.name + (bar.detail.empty() ? "" : " " + bar.detail) + "\nfrom " + bar.from + " to " + bar.to +
                    "\nat " + InWords(bar.begin);
  switch (bar.ending) {
    case Bar::Ending::kReply:
      return tip + ", reply after " + InWords(bar.end - bar.begin);
    case Bar::Ending::kError:
      return tip + ", after " + InWords(bar.end - bar.begin) + " error " + bar.error;
    case Bar::Ending::kNoReplyWanted:
      return tip + ", no reply wanted";
    case Bar::Ending::kUnanswered:
      break;
  }
  return tip + ", without an answer";
}

std::string TooltipOf(const Mark& mark) {
  return mark.name + (mark.detail.empty() ? "" : " " + mark.detail) + "\nat " + InWords(mark.time);
}

class Drawing {
 public:
  Drawing(const Timeline& timeline, const Heading& heading, const Picture& picture)
      : timeline_(timeline),
        heading_(heading),
        scale_(timeline, PlotWidth(timeline), picture.compress_gaps),
        layout_(Arrange(timeline, scale_)),
        remarks_(Remarks(timeline, heading, layout_)) {
    Measure();
  }

  std::string Draw();

 private:
  static double PlotWidth(const Timeline& timeline);
  void Measure();
  double MiddleOf(size_t lane, size_t row) const;
  double X(double x) const { return left_ + x; }
  double MiddleOfMark(size_t mark) const { return MiddleOf(timeline_.marks[mark].lane, layout_.marks[mark].row); }

  void DrawHeading();
  void DrawLanes();
  void DrawAxis();
  void DrawDelivery(const Arrow& arrow);
  void DrawWait(size_t mark);
  void DrawBar(size_t number);
  void DrawMark(size_t number);
  std::vector<LegendEntry> Legend() const;
  void DrawLegend();
  void DrawLegendEntry(const LegendEntry& entry, double& x, double& y);

  const Timeline& timeline_;
  const Heading& heading_;
  const TimeScale scale_;
  const Layout layout_;
  const std::vector<std::string> remarks_;
  double left_ = 0;  // of the plot
  double width_ = 0;
  double height_ = 0;
  double axis_ = 0;           // where the axis is
  double bottom_ = 0;         // of the last lane
  std::vector<double> tops_;  // of the lanes
  std::vector<double> heights_;
  Svg svg_;
};

double Drawing::PlotWidth(const Timeline& timeline) {
  return std::clamp(kPlotPerMessage * static_cast<double>(timeline.messages), kLeastPlot, kMostPlot);
}

void Drawing::Measure() {
  double names = 0;
  for (const Lane& lane : timeline_.lanes) {
    names = std::max({names, WidthOfLabel(NameOf(lane)) * 1.1, WidthOfLabel(PidOf(lane))});
  }
  left_ = kMargin + names + 2 * kMargin;
  const double plot = scale_.At(std::numeric_limits<Micros>::max());
  width_ = left_ + std::max(layout_.right, plot + kTickRoom / 2) + kMargin;
  axis_ = kMargin + kLineHeight * (2 + static_cast<double>(remarks_.size())) + kAxisHeight +
          (scale_.gaps().empty() ? 0 : kGapLabels);
  double top = axis_;
  for (const size_t rows : layout_.rows) {
    const double height = std::max(kLeastLaneHeight, static_cast<double>(rows) * kRowHeight + 2 * kLanePadding);
    tops_.push_back(top);
    heights_.push_back(height);
    top += height;
  }
  bottom_ = top;
}

double Drawing::MiddleOf(size_t lane, size_t row) const {
  const double rows = static_cast<double>(layout_.rows[lane]) * kRowHeight;
  return tops_[lane] + (heights_[lane] - rows) / 2 + (static_cast<double>(row) + 0.5) * kRowHeight;
}

void Drawing::DrawHeading() {
  double y = kMargin + kLineHeight - 4;
  svg_.Text("heading", kMargin, y, TitleOf(heading_));
  y += kLineHeight + 2;
  svg_.Text("about", kMargin, y, About(timeline_, heading_));
  for (const std::string& remark : remarks_) {
    y += kLineHeight;
    svg_.Text("remark", kMargin, y, "! " + remark);
  }
}

void Drawing::DrawLanes() {
  svg_.Rect("lane", 0, axis_, left_ - kMargin, bottom_ - axis_);
  svg_.Line("edge", 0, axis_, width_, axis_);
  for (size_t i = 0; i < timeline_.lanes.size(); ++i) {
    svg_.Line("edge", 0, tops_[i] + heights_[i], width_, tops_[i] + heights_[i]);
    const double middle = tops_[i] + heights_[i] / 2;
    const std::string pid = PidOf(timeline_.lanes[i]);
    svg_.Text("name", kMargin, pid.empty() ? middle + kBaseline : middle - 3, NameOf(timeline_.lanes[i]));
    if (!pid.empty()) svg_.Text("pid", kMargin, middle + 12, pid);
  }
}

void Drawing::DrawAxis() {
  for (const Gap& gap : scale_.gaps()) {
    svg_.Rect("gap", X(gap.left), axis_, gap.right - gap.left, bottom_ - axis_);
    svg_.Text("tick", X((gap.left + gap.right) / 2), axis_ - 5, gap.label);
  }
  for (const Tick& tick : scale_.Ticks(kTickRoom)) {
    svg_.Line("grid", X(tick.x), axis_ - 6, X(tick.x), bottom_);
    svg_.Text("tick", X(tick.x), axis_ - (scale_.gaps().empty() ? 0 : kGapLabels) - 8, tick.label);
  }
}

// At the time of the message, from the service's lane to that of the receiver.
void Drawing::DrawDelivery(const Arrow& arrow) {
  const Bar& bar = timeline_.bars[arrow.bar];
  const double x = X(layout_.marks[arrow.mark].x);
  const double from = MiddleOf(bar.lane, layout_.bars[arrow.bar].row);
  const double to = MiddleOfMark(arrow.mark);
  if (bar.begin < timeline_.begin || from == to) return;
  const double sign = to > from ? 1 : -1;
  svg_.Line("delivery", x, from + sign * kBarHeight / 2, x, to - sign * kArrowGap);
}

void Drawing::DrawWait(size_t number) {
  const PlacedMark& mark = layout_.marks[number];
  const double x = X(mark.wait->x);
  const double from = MiddleOf(timeline_.marks[number].lane, layout_.bars[mark.wait->bar].row) + kBarHeight / 2;
  const double y = MiddleOfMark(number);
  const double to = X(mark.x) - kArrowGap;
  const bool near = to - x <= kArrowGap;  // no room for an arrow
  const std::string path = near ? " L" + Coordinate(X(mark.x)) + " " + Coordinate(y - kArrowGap)
                                : " V" + Coordinate(y) + " H" + Coordinate(to);
  svg_.Path(near ? "wait near" : "wait", "M" + Coordinate(x) + " " + Coordinate(from) + path);
  const std::string& label = mark.wait->label;
  if (label.empty()) return;
  const double width = WidthOfLabel(label) + 2 * kWaitRim;
  svg_.Rect("page", (x + to - width) / 2, y - kRowHeight / 2 + 2, width, kRowHeight - 4);
  svg_.Text("label middle", (x + to) / 2, y + kBaseline, label);
}

void Drawing::DrawBar(size_t number) {
  const Bar& bar = timeline_.bars[number];
  const PlacedBar& placed = layout_.bars[number];
  const double y = MiddleOf(bar.lane, placed.row);
  svg_.OpenGroup(TooltipOf(bar));
  svg_.Rect(LookOf(bar.ending).style, X(placed.x), y - kBarHeight / 2, placed.width, kBarHeight, 1.5);
  const bool light = placed.label.inside && bar.ending != Bar::Ending::kUnanswered;
  if (!placed.label.text.empty()) {
    svg_.Text(light ? "inside" : "label", X(placed.label.x), y + kBaseline, placed.label.text);
  }
  svg_.CloseGroup();
}

void Drawing::DrawMark(size_t number) {
  const Mark& mark = timeline_.marks[number];
  const PlacedMark& placed = layout_.marks[number];
  const double y = MiddleOfMark(number);
  svg_.OpenGroup(TooltipOf(mark));
  svg_.Use(LookOf(mark.kind).shape, X(placed.x), y);
  if (!placed.label.text.empty()) svg_.Text("label", X(placed.label.x), y + kBaseline, placed.label.text);
  svg_.CloseGroup();
}

// Returns where the next entry begins; what does not fit goes to the next line.
void Drawing::DrawLegendEntry(const LegendEntry& entry, double& x, double& y) {
  const double width = kLegendGlyph + WidthOfLabel(entry.meaning) * kLegendShare + kMargin;
  if (x > kMargin && x + width > width_) {
    x = kMargin;
    y += kRowHeight;
  }
  if (entry.bar != nullptr) svg_.Rect(entry.bar, x, y - kBarHeight / 2, kLegendBar, kBarHeight, 1.5);
  if (entry.mark != nullptr) svg_.Use(entry.mark, x + kLegendBar / 2, y);
  if (entry.arrow != nullptr) svg_.Line(entry.arrow, x, y, x + kLegendBar, y);
  svg_.Text("kind", x + kLegendGlyph, y + kBaseline, entry.meaning);
  x += width;
}

std::vector<LegendEntry> Drawing::Legend() const {
  std::vector<LegendEntry> entries;
  for (const BarLook& look : kBarLooks) {
    if (Any(timeline_.bars, [&look](const Bar& bar) { return LookOf(bar.ending).style == look.style; })) {
      entries.push_back({look.style, nullptr, nullptr, look.meaning});
    }
  }
  for (const MarkLook& look : kMarkLooks) {
    if (Any(timeline_.marks, [&look](const Mark& mark) { return mark.kind == look.kind; })) {
      entries.push_back({nullptr, look.shape, nullptr, look.meaning});
    }
  }
  for (const ArrowLook& look : kArrowLooks) {
    if (Any(timeline_.arrows, [&look](const Arrow& arrow) { return arrow.kind == look.kind; })) {
      entries.push_back({nullptr, nullptr, look.style, look.meaning});
    }
  }
  if (!scale_.gaps().empty()) entries.push_back({"gap", nullptr, nullptr, "no message: drawn shorter than it was"});
  return entries;
}

void Drawing::DrawLegend() {
  double x = kMargin;
  double y = bottom_ + kMargin + kRowHeight / 2;
  for (const LegendEntry& entry : Legend()) DrawLegendEntry(entry, x, y);
  height_ = y + kMargin;
}

std::string Drawing::Draw() {
  DrawHeading();
  DrawLanes();
  DrawAxis();
  for (const Arrow& arrow : timeline_.arrows) {
    if (arrow.kind == Arrow::Kind::kDelivery) DrawDelivery(arrow);
  }
  for (size_t i = 0; i < layout_.marks.size(); ++i) {
    if (layout_.marks[i].wait) DrawWait(i);
  }
  for (size_t i = 0; i < layout_.bars.size(); ++i) DrawBar(i);
  for (size_t i = 0; i < layout_.marks.size(); ++i) DrawMark(i);
  DrawLegend();
  Svg document;
  document.Begin(width_, height_, TitleOf(heading_));
  document.Raw(kStyle);
  document.Raw(kShapes);
  document.Rect("page", 0, 0, width_, height_);
  document.Raw(svg_.text().c_str());
  document.End();
  return document.text();
}

}  // namespace

std::string DrawSvg(const Timeline& timeline, const Heading& heading, const Picture& picture) {
  return Drawing(timeline, heading, picture).Draw();
}

std::string DrawHtml(const Timeline& timeline, const Heading& heading, const Picture& picture) {
  const std::string title = "<title>" + InXml(TitleOf(heading)) + "</title>\n";
  return kPageBegin + title + kPageStyle + "</head>\n<body>\n<main>\n" + DrawSvg(timeline, heading, picture) +
         "</main>\n</body>\n</html>\n";
}

}  // namespace timeline
