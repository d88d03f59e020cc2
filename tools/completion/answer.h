// The answer of a program to a shell that completes its command line.
#pragma once

#include <optional>
#include <string>

#include "completion/candidates.h"

namespace completion {

// Nothing where the arguments are no question of a shell's. The questions:
//
//   PROGRAM --complete words WORD...             the words behind the program's name, the last one up to the cursor
//   PROGRAM --complete bash LINE TEXT WORD...    bash's line up to the cursor, what of it bash replaces, and its
//   COMP_WORDS
//
// The first line of the answer is "words", "files", "directories" or "command N". Behind "words" comes a line for each
// candidate: "TEXT<tab>MEANING", or for bash what is to stand in place of TEXT, quoted. N is the place of the command's
// name among the words behind the program's, from 0 on, or for bash its place in COMP_WORDS.
std::optional<std::string> AnswerShell(int argc, const char* const* argv, const Complete& complete);

}  // namespace completion
