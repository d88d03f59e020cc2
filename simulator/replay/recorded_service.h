// What a recorded service did: for each call its answer and the results that followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "glib_ptr.h"
#include "replay/recorded_call.h"

namespace simulator {

class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A message that the service sent because of a call: its reply, an error in place of it, or a result.
struct RecordedAct {
  std::int64_t delay_us = 0;  // since the call
  std::vector<unsigned char> message;
  bool reached_nobody = false;  // a result for a client that was not there
};

// A call and what followed; all but the bytes of what the service sent is small.
struct RecordedExchange {
  std::string method;
  ResultAddress address;  // empty where no results are asked for
  std::int64_t t_us = 0;
  std::vector<RecordedAct> acts;  // in their order
};

class RecordedService {
 public:
  // Reads the whole recording. Throws RecordingError, with file and line, where it cannot be replayed.
  explicit RecordedService(const std::string& path);

  // Takes the next exchange of such a call, or null.
  std::shared_ptr<const RecordedExchange> Take(const std::string& key);
  bool Knows(const std::string& key) const { return exchanges_.count(key) != 0; }

  std::size_t count() const { return count_; }
  std::map<std::string, std::size_t> Unused() const;  // by method

  // What a user should know before he relies on it.
  const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  // By key, in the order of the recording.
  std::map<std::string, std::deque<std::shared_ptr<const RecordedExchange>>> exchanges_;
  std::size_t count_ = 0;
  std::vector<std::string> warnings_;
};

}  // namespace simulator
