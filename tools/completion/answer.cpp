#include "completion/answer.h"

#include <cstring>
#include <utility>

#include "completion/bash_line.h"

namespace completion {
namespace {

constexpr char kQuestion[] = "--complete";

using Texts = std::vector<std::string>;

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string FirstLine(const Candidates& candidates) {
  switch (candidates.kind) {
    case Candidates::Kind::kFiles:
      return "files\n";
    case Candidates::Kind::kDirectories:
      return "directories\n";
    case Candidates::Kind::kCommand:
      return "command " + std::to_string(candidates.command) + "\n";
    default:
      return "words\n";
  }
}

std::string AnswerWords(const Texts& words, const Complete& complete) {
  const Candidates candidates = complete(words);
  std::string answer = FirstLine(candidates);
  for (const Candidate& word : candidates.words) answer += word.text + '\t' + word.meaning + '\n';
  return answer;
}

// The word at the cursor, up to what bash replaces of it.
std::string KeptOf(const std::string& word_as_typed, const std::string& replaced) {
  if (!EndsWith(word_as_typed, replaced)) return "";
  return ReadBashLine(word_as_typed.substr(0, word_as_typed.size() - replaced.size())).words.back().text;
}

std::string AnswerBash(const std::string& line, const std::string& replaced, const Texts& cuts,
                       const Complete& complete) {
  const BashLine read = ReadBashLine(line);
  Texts words;
  for (auto word = read.words.begin() + 1; word < read.words.end(); ++word) words.push_back(word->text);
  if (words.empty()) return FirstLine({});
  Candidates candidates = complete(words);
  const std::string typed = words.back();
  const std::string kept = KeptOf(line.substr(read.words.back().begin), replaced);
  if (candidates.kind == Candidates::Kind::kCommand) {
    candidates.command = CutAt(line, cuts, read.words[candidates.command + 1].begin);
  }
  std::string answer = FirstLine(candidates);
  for (const Candidate& word : candidates.words) {
    if (!BeginsWith(word.text, typed)) continue;
    answer += QuotedForBash(word.text.substr(kept.size()), read.open_quote) + '\n';
  }
  return answer;
}

}  // namespace

std::optional<std::string> AnswerShell(int argc, const char* const* argv, const Complete& complete) {
  if (argc < 2 || std::strcmp(argv[1], kQuestion) != 0) return std::nullopt;
  const Texts rest(argv + 2, argv + argc);
  if (rest.size() >= 2 && rest[0] == "words") return AnswerWords({rest.begin() + 1, rest.end()}, complete);
  if (rest.size() >= 3 && rest[0] == "bash")
    return AnswerBash(rest[1], rest[2], {rest.begin() + 3, rest.end()}, complete);
  return "";
}

}  // namespace completion
