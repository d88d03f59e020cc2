// What a recording shows, as data: a lane for each process, in it bars and marks, between them arrows.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace timeline {

using Micros = std::int64_t;  // since the start of the recording

struct Lane {
  enum class Kind { kBus, kService, kClient };

  Kind kind = Kind::kClient;
  std::string name;      // program, or the connection where it is not known
  std::int64_t pid = 0;  // 0: not known
};

// A call, from the request to what ended it.
struct Bar {
  enum class Ending { kReply, kError, kUnanswered, kNoReplyWanted };

  size_t lane = 0;
  Micros begin = 0;
  Micros end = 0;
  std::string name;    // of the method
  std::string detail;  // what it was about, mostly an application
  std::string from;    // connections
  std::string to;
  Ending ending = Ending::kUnanswered;
  std::string error = {};
};

// Something that takes no time.
struct Mark {
  enum class Kind { kSuccess, kFailure, kStarted, kStopped, kSignal, kOwner, kNoOwner, kLost };

  size_t lane = 0;
  Micros time = 0;
  Kind kind = Kind::kSignal;
  std::string name;
  std::string detail = {};
};

// From a bar to a mark.
struct Arrow {
  // How a result came to its receiver, and from the launch to its result.
  enum class Kind { kDelivery, kWait };

  Kind kind = Kind::kDelivery;
  size_t bar = 0;
  size_t mark = 0;
};

// What of a recording is wanted: a window of time, and so many messages of it at most.
struct Cut {
  Micros from = 0;
  Micros to = std::numeric_limits<Micros>::max();
  size_t most = std::numeric_limits<size_t>::max();
};

struct Timeline {
  Micros begin = 0;
  Micros end = 0;
  std::vector<Lane> lanes = {};
  std::vector<Bar> bars = {};  // these two in the order of their times
  std::vector<Mark> marks = {};
  std::vector<Arrow> arrows = {};
  size_t messages = 0;                       // that are shown
  size_t left_out = 0;                       // above the most
  std::optional<Micros> left_out_from = {};  // when the first of these came
};

// What is said about the recording as a whole.
struct Heading {
  std::string started;  // RFC 3339
  std::string library;
  std::string service = {};                    // empty: not known
  std::vector<std::string> remarks = {};       // what a reader has to know, such as that the recording was cut
  std::optional<Micros> monotonic_start = {};  // the clock of the kernel at the start
};

}  // namespace timeline
