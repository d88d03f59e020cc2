#include "service/round_trips.h"

#include <algorithm>
#include <cstdio>

namespace {

struct Figure {
  const char* name;
  int percent;
};

constexpr Figure kFigures[] = {{"min", 0}, {"median", 50}, {"p99", 99}, {"max", 100}};
constexpr size_t kPercents = 100;

}  // namespace

int RoundTrips::Percentile(int percent) const {
  std::vector<int> sorted = times_;
  std::sort(sorted.begin(), sorted.end());
  const size_t rank = (sorted.size() * static_cast<size_t>(percent) + kPercents - 1) / kPercents;
  return sorted[rank == 0 ? 0 : rank - 1];
}

Fields RoundTrips::ToFields() const {
  Fields fields;
  for (const Figure& figure : kFigures) {
    fields[std::string(figure.name) + "_us"] = empty() ? Value() : Value(Percentile(figure.percent));
  }
  return fields;
}

std::string RoundTrips::InWords() const {
  if (empty()) return "";
  std::string names;
  std::string times;
  for (const Figure& figure : kFigures) {
    names += (names.empty() ? "" : "/") + std::string(figure.name);
    times += (times.empty() ? "" : "/") + Milliseconds(Percentile(figure.percent));
  }
  return "round trip " + names + " = " + times + " ms";
}

std::string Milliseconds(int microseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%d.%03d", microseconds / 1000, microseconds % 1000);
  return text;
}
