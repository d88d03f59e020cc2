// What the verbs that show messages are told alike.
#pragma once

#include <string>
#include <vector>

#include "command/verb.h"
#include "monitor/message_lines.h"

// "--app", "--pid", "--method", "--all", "--raw"
std::vector<Argument> WithLineOptions(std::vector<Argument> before);

LineFilter FilterOf(const Values& values);
MessageLines::Form FormOf(const Values& values);
std::string CheckLineOptions(const Values& values);

// Writes the line of the entry, where it has one; false where nothing can be written any more.
bool PrintLineOf(MessageLines& lines, const recording::Entry& entry);
