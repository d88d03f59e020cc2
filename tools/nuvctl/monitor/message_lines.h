// What passed on the bus, as lines for people and for programs: of messages as they come, and of recorded ones.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "monitor/recent.h"
#include "recording/format.h"
#include "recording/message.h"
#include "service/method_table.h"
#include "service/watch_lines.h"

// Nothing of it: each line.
struct LineFilter {
  std::optional<std::string> app;
  std::optional<int> pid;
  std::optional<std::string> method;
  std::int64_t since_us = 0;
  bool all = false;  // heartbeats, too, and what every program on a bus can be asked
};

class MessageLines {
 public:
  enum class Form { kText, kJson, kRaw };

  // The time is that of a header.
  MessageLines(const std::string& started, LineFilter filter, Form form);

  // The whole line, or nothing where none is wanted. Of every entry, because one explains another.
  std::optional<std::string> LineOf(const recording::Entry& entry);

 private:
  struct Client {
    std::int64_t pid = -1;
    std::string program;
  };
  struct Call {
    std::int64_t t_us = 0;
    std::string caller;
    std::string method;
    std::string interface;
    std::string app;
    const Method* known = nullptr;
  };
  using CallKey = std::pair<std::string, std::uint32_t>;  // caller and serial
  using LaunchKey = std::pair<std::string, int>;          // client object and event number
  // A line, and what filters ask for.
  struct Shown {
    WatchLine line;
    std::string app;
    std::string method;
    std::string interface;
    std::string to;  // who gets it, where the message names only an object of his
  };

  std::optional<Shown> ShownOf(const recording::Entry& entry);
  std::optional<Shown> ShownOfCall(const recording::Entry& entry, GVariant* body);
  std::optional<Shown> ShownOfAnswer(const recording::Entry& entry, GVariant* body);
  std::optional<Shown> ShownOfOwner(const recording::Entry& entry) const;
  void Keep(const recording::Entry& entry);
  void AddEnds(WatchLine& line, const recording::Entry& entry);
  void AddEnd(WatchLine& line, const char* key, const std::string& name);
  void AddAfter(WatchLine& line, std::int64_t since_us, std::int64_t t_us) const;
  bool IsWanted(const Shown& shown, const recording::Entry& entry);
  bool IsOfProcess(const std::string& name, int pid);
  std::string Whole(const Shown& shown, const recording::Entry& entry) const;

  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> started_;
  const LineFilter filter_;
  const Form form_;
  Recent<std::string, std::string> owners_;
  Recent<std::string, Client> clients_;
  Recent<CallKey, Call> calls_;
  Recent<LaunchKey, Call> launches_;
};
