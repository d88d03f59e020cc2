// The platform calls, put in front of the real ones: they record what reaches them, in order.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fake_platform {

struct LogLine {
  int buffer;
  int priority;
  std::string text;  // without the "file: function(line) > " in front
  std::string prefix;
};

// Everything but log lines, as short texts: "cpu set", "marker ...", "trace_begin ...", "vconf key=value" ...
std::vector<std::string> Effects();
void AddEffect(const std::string& effect);
std::vector<LogLine> Log();
bool Logged(const std::string& text);
int LogPriority(const std::string& text);  // of the last line with that text; -1 when there is none
void Clear();
// Waits until a link has its name. The listener says so by itself, at any time after the call that made the link.
bool WaitForOwnName();

// Log lines become effects, too ("log E text", as log_notation.h has it).
void LogAsEffects(bool on);
void LetSettingsFail(bool fail);
// Path variable 24; nothing: it has no value.
void SetDatabaseDirectory(const std::optional<std::string>& directory);
// "db/nuv/factory_reset"; nothing: it cannot be read, as at the start.
void SetFactoryReset(std::optional<int> state);
// Whether "/opt/dbspace/pkgreinstall" exists.
void SetRepairMarker(bool exists);
// usleep() and sleep() of the library are effects ("usleep 10000"). They take no time, at the start; or wait as they
// are told; or are interrupted by a signal at once.
enum class Sleeps { kPass, kWait, kInterrupted };
void LetSleeps(Sleeps how);
// Called by the thread that logs, after each line; the hook may end that thread.
void OnLogLine(std::function<void()> hook);
// Called by each platform call that is not a log line, with its effect.
void OnEffect(std::function<void(const std::string&)> hook);

}  // namespace fake_platform
