// A command line as bash reads it. It hands a completion nothing but its own cuts, at every "=" and ":" and with the
// quotes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace completion {

struct BashLine {
  struct Word {
    std::size_t begin;  // in the line
    std::string text;   // without quotes
  };

  std::vector<Word> words;  // the last one is at the end of the line, and may be empty
  char open_quote = '\0';   // in which the line ends
};

// Of one simple command. What a redirection names is no word of it.
BashLine ReadBashLine(const std::string& line);

// The text as it has to be written behind such a quote, or behind none.
std::string QuotedForBash(const std::string& text, char open_quote);

// In which of bash's cuts the word begins that begins at this place of the line.
std::size_t CutAt(const std::string& line, const std::vector<std::string>& cuts, std::size_t place);

}  // namespace completion
