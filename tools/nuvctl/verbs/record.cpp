// nuvctl record
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>

#include "bus/system_bus.h"
#include "command/guard.h"
#include "command/verb.h"
#include "monitor/child_command.h"
#include "monitor/monitor.h"
#include "monitor/monitor_end.h"
#include "monitor/recorder.h"
#include "report/text.h"
#include "service/simulator_state.h"

namespace record_verb {
namespace {

recording::Header HeaderOf(bool redacted) {
  recording::Header header;
  header.library = NUVCTL_VERSION;
  const std::optional<SimulatorState> state = AskSimulator();
  if (state && !state->version.empty()) header.service = state->version;
  const TextOwner address = SystemBusAddress();
  if (address != nullptr) header.bus = address.get();
  header.started = recording::Now();
  header.redacted = redacted;
  return header;
}

struct Course {
  Diagnosis end;
  std::optional<int> status;  // of the command
  bool of_command = false;    // the end is the command's own
};

// The recording has begun, and the command may.
Course RecordDuring(const std::vector<std::string>& arguments, const Stop& stop, Monitor& monitor, Recorder& recorder) {
  ChildCommand command([&stop] { stop.Set(); });
  const InterruptHandler handler([&command](const Interrupt& interrupt) {
    if (!interrupt.from_terminal) command.Send(interrupt.signal);
  });
  if (const int error = command.Start(arguments); error != 0) {
    recorder.End(monitor.Elapsed(), "the command did not start");
    return {{Outcome::kFailed, "cannot run " + arguments.front() + ": " + std::strerror(error)},
            error == ENOENT ? ChildCommand::kNotFound : ChildCommand::kCannotRun};
  }
  const Monitor::End end = monitor.Run();
  const bool with_command = end == Monitor::End::kStopped;
  if (end != Monitor::End::kSinkEnded) {
    recorder.End(monitor.Elapsed(), with_command ? "command ended" : ReasonOf(end));
  }
  Diagnosis diagnosis = DiagnosisOf(end, monitor.Problem());
  if (!recorder.Problem().empty()) diagnosis = {Outcome::kFailed, recorder.Problem()};
  if (diagnosis.outcome != Outcome::kDone) PrintError(diagnosis.message + "; the command goes on");
  const int status = command.Wait();
  if (diagnosis.outcome != Outcome::kDone) return {diagnosis, ChildCommand::kOwnFailure};
  return {{status == 0 ? Outcome::kDone : Outcome::kFailed,
           status == 0 ? "" : "the command ended with status " + std::to_string(status)},
          status,
          true};
}

Course RecordUntilStopped(const Stop& stop, Monitor& monitor, Recorder& recorder) {
  const InterruptHandler handler([&stop] { stop.Set(); });
  const Monitor::End end = monitor.Run();
  if (end != Monitor::End::kSinkEnded) recorder.End(monitor.Elapsed(), ReasonOf(end));
  if (!recorder.Problem().empty()) return {{Outcome::kFailed, recorder.Problem()}, std::nullopt};
  return {DiagnosisOf(end, monitor.Problem()), std::nullopt};
}

// A command says itself why it failed.
Report ReportOf(const Course& course, const std::string& path, const Recorder& recorder, bool as_json) {
  Report report = course.end.outcome == Outcome::kDone ? Report() : ReportOf(course.end);
  report.status = course.status;
  report.details = {{"file", path}, {"messages", static_cast<std::int64_t>(recorder.messages())}};
  if (report.outcome == Outcome::kDone && !course.status) {
    report.text = std::to_string(recorder.messages()) + " messages in " + Printable(path);
  }
  if (course.of_command && !as_json) report.error.clear();
  return report;
}

Report Record(const Values& values) {
  const Stop stop;
  const std::string path = values.Text("FILE");
  const std::vector<std::string> command = values.Texts("COMMAND");
  const Monitor::Plan plan = {std::nullopt, values.Flag("--reconnect")};
  auto interrupted = std::make_unique<InterruptHandler>([&stop] { stop.Set(); });
  recording::Header header = HeaderOf(values.Flag("--redact"));
  Recorder recorder;
  Monitor monitor(stop, plan, [&recorder](const recording::Entry& entry) { return recorder.Take(entry); });
  header.monotonic_start_us = recording::MonotonicNow() - monitor.Elapsed();
  if (const auto failed = monitor.Start()) {
    const Diagnosis why = DiagnosisOf(*failed, monitor.Problem());
    Report report = ReportOf(why.outcome == Outcome::kDone ? Diagnosis{Outcome::kInterrupted, "interrupted"} : why);
    if (!command.empty()) report.status = ChildCommand::kOwnFailure;
    return report;
  }
  const Recorder::Form form = values.Flag("--pcap") ? Recorder::Form::kPcap : Recorder::Form::kRecording;
  if (!recorder.Open(path, form, values.Flag("--force"), header)) {
    Report report = ReportOf(Diagnosis{Outcome::kFailed, recorder.Problem()});
    if (!command.empty()) report.status = ChildCommand::kOwnFailure;
    return report;
  }
  if (const auto limit = values.Milliseconds("--for")) {
    monitor.EndAt(std::chrono::steady_clock::now() + std::chrono::milliseconds(*limit));
  }
  if (command.empty())
    return ReportOf(RecordUntilStopped(stop, monitor, recorder), path, recorder, values.Flag("--json"));
  interrupted.reset();
  return ReportOf(RecordDuring(command, stop, monitor, recorder), path, recorder, values.Flag("--json"));
}

std::string Check(const Values& values) {
  if (values.Flag("--pcap") && !Recorder::HasPcap()) return "--pcap is not built in: libpcap was missing";
  if (values.Given("--for") && values.Given("COMMAND")) return "--for and COMMAND do not go together";
  return "";
}

const RegisteredVerb kRecord({"record",
                              Group::kDiagnosis,
                              "Write what passes between programs and the service into a file",
                              {Position("FILE", "The file, which is not there yet").From(Live::kFiles).Required(),
                               Position("COMMAND", "Record for as long as this command runs").Many(),
                               Flag("--pcap", "Write a packet capture in place of a recording"),
                               Option("--for", "SECONDS", "End after so long (default: when interrupted)").Seconds(),
                               Flag("--force", "Overwrite a file that is there"),
                               Flag("--redact", "Replace payloads, extra data, URIs and titles by marks"),
                               Flag("--reconnect", "Go on when the bus was gone and is back")},
                              Record,
                              {},
                              Check});

}  // namespace
}  // namespace record_verb
