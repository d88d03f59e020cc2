#include "monitor/line_options.h"

#include <cstdio>

#include "report/text.h"

std::vector<Argument> WithLineOptions(std::vector<Argument> before) {
  const std::vector<Argument> own = {
      Option("--app", "ID", "Only what is about this application").From(Live::kAppIds),
      Option("--pid", "PID", "Only what this process sends or gets").NumberFrom(1),
      Option("--method", "NAME", "Only calls of this method, and their answers"),
      Flag("--all", "Heartbeats, too, and what any program on a bus can be asked"),
      Flag("--raw", "Behind each line the whole message, as the bus sees it"),
  };
  before.insert(before.end(), own.begin(), own.end());
  return before;
}

LineFilter FilterOf(const Values& values) {
  LineFilter filter;
  filter.app = values.MaybeText("--app");
  if (values.Given("--pid")) filter.pid = values.Number("--pid");
  filter.method = values.MaybeText("--method");
  filter.all = values.Flag("--all") || values.Flag("-v,--verbose");
  return filter;
}

MessageLines::Form FormOf(const Values& values) {
  if (values.Flag("--json")) return MessageLines::Form::kJson;
  return values.Flag("--raw") ? MessageLines::Form::kRaw : MessageLines::Form::kText;
}

std::string CheckLineOptions(const Values& values) {
  return values.Flag("--raw") && values.Flag("--json") ? "--raw and --json do not go together" : "";
}

bool PrintLineOf(MessageLines& lines, const recording::Entry& entry) {
  if (const auto line = lines.LineOf(entry)) PrintLine(*line);
  return std::ferror(stdout) == 0;
}
