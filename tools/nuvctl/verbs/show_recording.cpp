// nuvctl show-recording
#include <cmath>
#include <cstdint>
#include <optional>

#include "command/verb.h"
#include "glib_handles.h"
#include "monitor/line_options.h"
#include "obstacles/obstacles.h"
#include "recording/reader.h"
#include "report/text.h"

namespace show_recording_verb {
namespace {

constexpr double kMicroseconds = 1e6;

using TimeOwner = std::unique_ptr<GDateTime, void (*)(GDateTime*)>;

TimeOwner TimeOf(const std::string& text) {
  return {g_date_time_new_from_iso8601(text.c_str(), nullptr), g_date_time_unref};
}

// From the start on; nothing for what is neither a number of seconds nor a time.
std::optional<std::int64_t> SinceOf(const std::string& text, const std::string& started) {
  char* end = nullptr;
  const double seconds = g_ascii_strtod(text.c_str(), &end);
  if (!text.empty() && *end == '\0' && std::isfinite(seconds) && seconds >= 0 &&
      seconds < kMicroseconds * kMicroseconds) {
    return static_cast<std::int64_t>(seconds * kMicroseconds);
  }
  const TimeOwner since = TimeOf(text);
  const TimeOwner start = TimeOf(started);
  if (since == nullptr || start == nullptr) return std::nullopt;
  return g_date_time_difference(since.get(), start.get());
}

Report Show(const Values& values) {
  recording::Reader reader(values.Text("FILE"));
  recording::Header header;
  if (!reader.Open(header)) return ReportOf(Diagnosis{Outcome::kFailed, Printable(reader.Problem())});
  LineFilter filter = FilterOf(values);
  if (values.Given("--since")) filter.since_us = SinceOf(values.Text("--since"), header.started).value_or(0);
  MessageLines lines(header.started, filter, FormOf(values));
  recording::Entry entry;
  for (;;) {
    switch (reader.Next(entry)) {
      case recording::Reader::What::kEntry:
        if (!PrintLineOf(lines, entry)) return {};
        break;
      case recording::Reader::What::kEnd:
        PrintLineOf(lines, entry);
        return {};
      case recording::Reader::What::kCut: {
        Report report;
        report.warnings.push_back(Printable(values.Text("FILE")) + " was cut: it has no end");
        return report;
      }
      case recording::Reader::What::kBroken:
        return ReportOf(Diagnosis{Outcome::kFailed, Printable(reader.Problem())});
    }
  }
}

std::string Check(const Values& values) {
  const std::string since = values.Text("--since");
  if (values.Given("--since") && !SinceOf(since, recording::Now())) {
    return "neither seconds from the start nor a time such as 2024-02-29T12:00:00Z: " + since;
  }
  return CheckLineOptions(values);
}

const RegisteredVerb kShowRecording(
    {"show-recording",
     Group::kDiagnosis,
     "Show what was recorded as watch would have",
     WithLineOptions({Position("FILE", "The recording, or - for the standard input").From(Live::kFiles).Required(),
                      Option("--since", "TIME", "Only what came so many seconds after the start, or after this time")}),
     Show,
     {},
     Check});

}  // namespace
}  // namespace show_recording_verb
