// nuvctl timeline
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "command/verb.h"
#include "recording/reader.h"
#include "report/text.h"
#include "timeline/drawing.h"
#include "timeline/gather.h"
#include "timeline/trace_events.h"

namespace timeline_verb {
namespace {

using recording::Entry;
using recording::Reader;
using timeline::Heading;
using timeline::Timeline;

constexpr char kFile[] = "FILE";
constexpr char kOutput[] = "-o,--output";
constexpr char kFrom[] = "--from";
constexpr char kTo[] = "--to";
constexpr char kCompress[] = "--compress-gaps";
constexpr char kStandardOutput[] = "-";

// A picture of more is none that anybody can read.
constexpr size_t kMostDrawn = 10000;

struct Form {
  const char* suffix;
  size_t most;
  std::string (*draw)(const Timeline& timeline, const Heading& heading, const timeline::Picture& picture);
};

std::string DrawEvents(const Timeline& timeline, const Heading& heading, const timeline::Picture& /*picture*/) {
  return timeline::TraceEvents(timeline, heading);
}

constexpr Form kForms[] = {
    {".svg", kMostDrawn, timeline::DrawSvg},
    {".html", kMostDrawn, timeline::DrawHtml},
    {".json", std::numeric_limits<size_t>::max(), DrawEvents},
};

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Null where the name tells none.
const Form* FormOf(const std::string& output) {
  if (output == kStandardOutput) return &kForms[0];
  const auto form = std::find_if(std::begin(kForms), std::end(kForms),
                                 [&output](const Form& known) { return EndsWith(output, known.suffix); });
  return form != std::end(kForms) ? form : nullptr;
}

std::string Check(const Values& values) {
  const std::string output = values.Text(kOutput, kStandardOutput);
  if (FormOf(output) == nullptr) return "--output: not a name that ends with .svg, .html or .json: " + output;
  const auto from = values.Milliseconds(kFrom);
  const auto to = values.Milliseconds(kTo);
  return from && to && *to <= *from ? "--to: not after --from" : "";
}

timeline::Cut CutOf(const Values& values, const Form& form) {
  timeline::Cut cut;
  cut.most = form.most;
  if (const auto from = values.Milliseconds(kFrom)) cut.from = timeline::Micros{*from} * 1000;
  if (const auto to = values.Milliseconds(kTo)) cut.to = timeline::Micros{*to} * 1000;
  return cut;
}

// What there is, and what stopped it: nothing where that is the recording's end.
struct Gathered {
  Timeline timeline;
  Heading heading;
  std::vector<std::string> warnings;
  std::string problem;
};

Heading HeadingOf(const recording::Header& header) {
  Heading heading;
  heading.started = header.started;
  heading.library = header.library;
  heading.service = header.service.value_or("");
  heading.monotonic_start = header.monotonic_start_us;
  if (header.redacted) heading.remarks.emplace_back("the recording was redacted");
  return heading;
}

Gathered Gather(Reader& reader, const recording::Header& header, const timeline::Cut& cut) {
  timeline::Gatherer gatherer(cut);
  Gathered gathered;
  gathered.heading = HeadingOf(header);
  Entry entry;
  Reader::What what = reader.Next(entry);
  for (; what == Reader::What::kEntry; what = reader.Next(entry)) gatherer.Add(entry);
  if (what == Reader::What::kEnd) gatherer.Add(entry);
  if (what == Reader::What::kBroken) gathered.problem = reader.Problem();
  if (what != Reader::What::kEnd) gathered.heading.remarks.emplace_back("the recording stops without an end");
  if (what == Reader::What::kCut) gathered.warnings.emplace_back("the recording was cut: it stops without an end");
  gathered.timeline = gatherer.Finish();
  return gathered;
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Says why it failed, or nothing.
std::string WriteFile(const std::string& path, const std::string& content) {
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wbe"));
  if (file == nullptr) return path + ": " + std::strerror(errno);
  const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
  if (std::fclose(file.release()) == 0 && written) return "";
  return path + ": " + std::strerror(errno);
}

Report Failed(const std::string& why) {
  Report report;
  report.outcome = Outcome::kFailed;
  report.error = Printable(why);
  return report;
}

Value Number(size_t number) {
  return static_cast<std::int64_t>(number);
}

Fields FieldsOf(const Timeline& timeline) {
  return {{"messages", Number(timeline.messages)},
          {"left_out", Number(timeline.left_out)},
          {"lanes", Number(timeline.lanes.size())}};
}

// With --json the answer is the one object on the standard output, and has the picture that would be there.
Report Timelines(const Values& values) {
  const std::string output = values.Text(kOutput, kStandardOutput);
  const Form& form = *FormOf(output);
  Reader reader(values.Text(kFile));
  recording::Header header;
  if (!reader.Open(header)) return Failed(reader.Problem());
  const Gathered gathered = Gather(reader, header, CutOf(values, form));
  const std::string drawn = form.draw(gathered.timeline, gathered.heading, timeline::Picture{values.Flag(kCompress)});
  const bool to_file = output != kStandardOutput;
  const std::string unwritten = to_file ? WriteFile(output, drawn) : "";
  Report report = unwritten.empty() && gathered.problem.empty()
                      ? Report()
                      : Failed(unwritten.empty() ? gathered.problem : unwritten);
  report.warnings = gathered.warnings;
  report.details = FieldsOf(gathered.timeline);
  if (to_file) report.details["output"] = output;
  if (!to_file && values.Flag("--json")) report.details["picture"] = drawn;
  if (!to_file && !values.Flag("--json")) std::fwrite(drawn.data(), 1, drawn.size(), stdout);
  return report;
}

const RegisteredVerb kTimeline(
    {"timeline",
     Group::kDiagnosis,
     "Draw a recording: who called what, when, and what became of it",
     {Position(kFile, "Recording to draw; - is the standard input").From(Live::kFiles).Required(),
      Option(kOutput, "FILE",
             "Write there: a picture (.svg), a page (.html) or events for a trace viewer (.json); - is a picture on "
             "the standard output (default)")
          .From(Live::kFiles),
      Option(kFrom, "SECONDS", "Leave out what was before (default: the start)").Seconds(),
      Option(kTo, "SECONDS", "Leave out what came later (default: the end)").Seconds(),
      Flag(kCompress, "Draw stretches without a message shorter than they were")},
     Timelines,
     {},
     Check});

}  // namespace
}  // namespace timeline_verb
