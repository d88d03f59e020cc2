// How long the answers to heartbeats took.
#pragma once

#include <string>
#include <vector>

#include "report/report.h"

class RoundTrips {
 public:
  void Add(int microseconds) { times_.push_back(microseconds); }
  bool empty() const { return times_.empty(); }
  int count() const { return static_cast<int>(times_.size()); }

  // The least of them that so many percent do not exceed. Not of none.
  int Percentile(int percent) const;

  Fields ToFields() const;      // "min_us", "median_us", "p99_us", "max_us"; null where there are none
  std::string InWords() const;  // of all four; empty where there are none

 private:
  std::vector<int> times_;
};

// "0.312"
std::string Milliseconds(int microseconds);
