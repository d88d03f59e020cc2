// The parser's help, made to fit any terminal.
#pragma once

#include <string>

// No line is wider than 80 columns: a longer one goes on below its description.
std::string FittedHelp(const std::string& help);
