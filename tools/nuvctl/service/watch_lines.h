// What the service tells about itself, as lines.
#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>
#include <vector>

#include "report/report.h"

extern const char kSimulatorName[];
extern const char kSimulatorPath[];
extern const char kSimulatorInterface[];

struct WatchLine {
  std::string text;
  Fields fields;
};

// Nothing for a signal that has no line, or that carries something else than it should.
std::optional<WatchLine> LineOfSignal(const std::string& signal, GVariant* arguments);

// Which arguments of a signal say what somebody watches or says: all of one that has no line.
std::vector<bool> SecretsOfSignal(const std::string& signal, const std::string& signature, size_t arguments);

WatchLine LineOfService(bool present);

// As the user wants it.
std::string Print(const WatchLine& line, bool as_json);
