// The log of a call as a list of texts, and the lines that every query of the catalogue writes.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "log_notation.h"

using LogLines = std::vector<std::string>;

// The lines that the call logs. What was logged before is forgotten.
LogLines LogOf(const std::function<void()>& call);

LogLines Join(std::initializer_list<LogLines> parts);
LogLines Times(int count, const LogLines& lines);

// Both guards let the call through; the settings key can be read.
LogLines GuardLines();
// A connection is opened, or there is one.
LogLines OpenedLines(const std::string& path);
LogLines ConnectedLines(const std::string& path);
// The end of Prepare().
LogLines PreparedLine(int result);
// A statement is prepared over a connection that is there.
LogLines PrepareLines(const std::string& path);
LogLines RowLines();
LogLines DoneLines();
// All tries find the database busy.
LogLines BusyPrepareLines();
LogLines BusyStepLines();
// An answer of SQLite that is neither a row nor the end nor busy.
LogLines FailedStepLines(int code, const std::string& message);
