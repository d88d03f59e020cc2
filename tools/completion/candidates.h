// What a shell may put in place of the word at the cursor.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace completion {

struct Candidate {
  std::string text;
  std::string meaning = {};  // may be empty; for shells that show one
};

struct Candidates {
  enum class Kind { kWords, kFiles, kDirectories, kCommand };

  Kind kind = Kind::kWords;
  std::vector<Candidate> words = {};
  std::size_t command = 0;  // of kCommand: which of the words of the line is the name of another program
};

// From the words behind the program's name, as the program would get them; the last one is at the cursor. They need not
// be chosen by what that word begins with: the shell does that, in its user's way.
using Complete = std::function<Candidates(const std::vector<std::string>& words)>;

}  // namespace completion
