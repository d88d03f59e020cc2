#include "completion/bash_line.h"

#include <cstring>

namespace completion {
namespace {

constexpr char kBlanks[] = " \t\n";
constexpr char kOperators[] = "<>|&;()";

bool IsOneOf(char c, const char* set) {
  return std::strchr(set, c) != nullptr;
}

class Reader {
 public:
  explicit Reader(const std::string& line) : line_(line) {}

  BashLine Read() {
    for (; at_ < line_.size(); ++at_) Take(line_[at_]);
    if (!in_word_) Begin(line_.size());
    return std::move(read_);
  }

 private:
  void Take(char c) {
    if (read_.open_quote != '\0') {
      TakeQuoted(c);
    } else if (IsOneOf(c, kBlanks)) {
      End();
    } else if (IsOneOf(c, kOperators)) {
      End();
      redirected_ = redirected_ || c == '<' || c == '>';
    } else {
      Begin(at_);
      if (c == '\'' || c == '"')
        read_.open_quote = c;
      else if (c == '\\')
        TakeEscaped();
      else
        Append(c);
    }
  }

  void TakeQuoted(char c) {
    constexpr char kEscapedInDoubleQuotes[] = "\\\"$`";
    const bool escapes = read_.open_quote == '"' && c == '\\' && at_ + 1 < line_.size();
    if (c == read_.open_quote)
      read_.open_quote = '\0';
    else if (escapes && IsOneOf(line_[at_ + 1], kEscapedInDoubleQuotes))
      TakeEscaped();
    else
      Append(c);
  }

  // A backslash at the end of the line is about to quote what comes next.
  void TakeEscaped() {
    if (++at_ < line_.size()) Append(line_[at_]);
  }

  void Append(char c) { read_.words.back().text += c; }

  void Begin(std::size_t place) {
    if (in_word_) return;
    in_word_ = true;
    read_.words.push_back({place, ""});
  }

  void End() {
    if (in_word_ && redirected_) read_.words.pop_back();
    redirected_ = redirected_ && !in_word_;
    in_word_ = false;
  }

  const std::string& line_;
  std::size_t at_ = 0;
  bool in_word_ = false;
  bool redirected_ = false;
  BashLine read_;
};

}  // namespace

BashLine ReadBashLine(const std::string& line) {
  return Reader(line).Read();
}

std::string QuotedForBash(const std::string& text, char open_quote) {
  constexpr char kSpecial[] = " \t\n\\\"'`$&|;<>()[]{}*?!#~^";
  constexpr char kSpecialInDoubleQuotes[] = "\\\"$`";
  std::string quoted;
  for (const char c : text) {
    if (open_quote == '\'') {
      quoted += c == '\'' ? "'\\''" : std::string(1, c);
    } else {
      if (IsOneOf(c, open_quote == '"' ? kSpecialInDoubleQuotes : kSpecial)) quoted += '\\';
      quoted += c;
    }
  }
  return quoted;
}

std::size_t CutAt(const std::string& line, const std::vector<std::string>& cuts, std::size_t place) {
  std::size_t end = 0;
  for (std::size_t i = 0; i < cuts.size(); ++i) {
    const std::size_t begin = line.find(cuts[i], end);
    if (begin == std::string::npos || begin >= place) return i;
    end = begin + cuts[i].size();
  }
  return cuts.empty() ? 0 : cuts.size() - 1;
}

}  // namespace completion
