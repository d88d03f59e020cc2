#include "command/complete.h"

#include <algorithm>
#include <map>

#include "command/verb.h"
#include "records/live_values.h"

namespace {

using completion::Candidate;
using completion::Candidates;
using Texts = std::vector<std::string>;

constexpr char kDashes[] = "--";

bool BeginsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

// "-c" and "--count" of "-c,--count".
Texts NamesOf(const Argument& argument) {
  const std::string name = argument.name;
  const size_t comma = name.find(',');
  if (comma == std::string::npos) return {name};
  return {name.substr(0, comma), name.substr(comma + 1)};
}

const Verb* FindVerb(const std::vector<Verb>& verbs, const std::string& name) {
  const auto found = std::find_if(verbs.begin(), verbs.end(), [&](const Verb& verb) { return verb.name == name; });
  return found != verbs.end() ? &*found : nullptr;
}

bool Contains(const std::vector<const char*>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// What the words before the cursor say, read as far as that can be said of a line that may still become right.
class Line {
 public:
  explicit Line(const Texts& words) {
    for (auto word = words.begin(); word + 1 < words.end(); ++word) Take(*word);
  }

  Candidates Next(const std::string& current) const;

 private:
  void Take(const std::string& word);
  void TakeOption(const std::string& word);
  void TakeWord(const std::string& word);
  void Give(const Argument& argument, const std::string& value) { given_[argument.name].push_back(value); }

  const std::vector<Verb>& OwnVerbs() const { return verb_ != nullptr ? verb_->verbs : Verbs(); }
  std::vector<const Argument*> Arguments() const;
  const Argument* FindOption(const std::string& name) const;
  const Argument* NextPosition() const;
  bool IsExcluded(const Argument& argument) const;
  bool MayComeAgain(const Argument& argument) const;
  Values Given() const;

  Candidates VerbCandidates() const;
  Candidates OptionCandidates() const;
  Candidates ValueCandidates(const Argument& argument, const std::string& before, const std::string& typed) const;

  const Verb* verb_ = nullptr;  // the innermost
  bool is_help_ = false;
  bool is_wrong_ = false;
  bool only_positions_ = false;     // behind the dashes
  const Argument* open_ = nullptr;  // an option whose value comes next
  std::map<std::string, Texts> given_;
};

void Line::Take(const std::string& word) {
  if (open_ != nullptr) {
    Give(*open_, word);
    open_ = nullptr;
  } else if (!only_positions_ && word == kDashes) {
    only_positions_ = true;
  } else if (!only_positions_ && BeginsWith(word, "-") && word != "-") {
    TakeOption(word);
  } else {
    TakeWord(word);
  }
}

// "--wait 5", "--wait=5", "-c 5" or "-c5".
void Line::TakeOption(const std::string& word) {
  const bool is_long = BeginsWith(word, kDashes);
  const size_t end = is_long ? std::min(word.find('='), word.size()) : std::min<size_t>(2, word.size());
  const Argument* option = FindOption(word.substr(0, end));
  if (option == nullptr) return;
  if (option->kind == Argument::Kind::kFlag || end < word.size()) {
    Give(*option, word.substr(std::min(is_long ? end + 1 : end, word.size())));
  } else {
    open_ = option;
  }
}

void Line::TakeWord(const std::string& word) {
  if (!OwnVerbs().empty()) {
    if (verb_ == nullptr && !is_help_ && word == kHelpVerb) {
      is_help_ = true;
      return;
    }
    verb_ = FindVerb(OwnVerbs(), word);
    is_wrong_ = is_wrong_ || verb_ == nullptr;
  } else if (const Argument* position = NextPosition()) {
    Give(*position, word);
  }
}

std::vector<const Argument*> Line::Arguments() const {
  std::vector<const Argument*> arguments;
  if (verb_ != nullptr) {
    for (const Argument& argument : verb_->arguments) arguments.push_back(&argument);
  }
  for (const Argument& argument : CommonFlags()) arguments.push_back(&argument);
  return arguments;
}

const Argument* Line::FindOption(const std::string& name) const {
  for (const Argument* argument : Arguments()) {
    const Texts names = NamesOf(*argument);
    const bool named = std::find(names.begin(), names.end(), name) != names.end();
    if (argument->kind != Argument::Kind::kPosition && named) return argument;
  }
  return nullptr;
}

const Argument* Line::NextPosition() const {
  for (const Argument* argument : Arguments()) {
    if (argument->kind == Argument::Kind::kPosition && MayComeAgain(*argument) && !IsExcluded(*argument)) {
      return argument;
    }
  }
  return nullptr;
}

bool Line::IsExcluded(const Argument& argument) const {
  for (const Argument* other : Arguments()) {
    const bool excludes = Contains(other->excludes, argument.name) || Contains(argument.excludes, other->name);
    if (excludes && given_.count(other->name) != 0) return true;
  }
  return false;
}

bool Line::MayComeAgain(const Argument& argument) const {
  return argument.type == Argument::Type::kTexts || given_.count(argument.name) == 0;
}

Values Line::Given() const {
  Values values;
  for (const Argument* argument : Arguments()) {
    const auto given = given_.find(argument->name);
    const bool is_given = given != given_.end();
    if (argument->kind == Argument::Kind::kFlag) {
      values.Set(argument->name, is_given);
    } else {
      values.Set(argument->name, is_given ? Value(given->second.back()) : Value());
    }
  }
  return values;
}

Candidates Line::VerbCandidates() const {
  Candidates candidates;
  for (const Verb& verb : OwnVerbs()) candidates.words.push_back({verb.name, verb.summary});
  if (verb_ == nullptr && !is_help_)
    candidates.words.push_back({kHelpVerb, "Show the help, of a verb where one is named"});
  return candidates;
}

Candidates Line::OptionCandidates() const {
  Candidates candidates;
  for (const Argument* argument : Arguments()) {
    if (argument->kind == Argument::Kind::kPosition || !MayComeAgain(*argument) || IsExcluded(*argument)) continue;
    candidates.words.push_back({NamesOf(*argument).back(), argument->meaning});
  }
  candidates.words.push_back({"--help", kHelpMeaning});
  if (verb_ == nullptr) candidates.words.push_back({"--version", kVersionMeaning});
  return candidates;
}

// Behind what stands before the value in the same word, and of a list behind what it has already.
Candidates Line::ValueCandidates(const Argument& argument, const std::string& before, const std::string& typed) const {
  if (argument.live == Live::kFiles) return {Candidates::Kind::kFiles};
  std::vector<Candidate> values = LiveValues(argument.live);
  for (const std::string& word : argument.words) values.push_back({word});
  if (argument.suggest != nullptr) {
    for (const std::string& word : argument.suggest(Given())) values.push_back({word});
  }
  const size_t kept = argument.list ? typed.rfind(',') + 1 : 0;
  const std::string taken = "," + typed.substr(0, kept);
  Candidates candidates;
  for (const Candidate& value : values) {
    if (argument.list && taken.find("," + value.text + ",") != std::string::npos) continue;
    candidates.words.push_back({before + typed.substr(0, kept) + value.text, value.meaning});
  }
  return candidates;
}

Candidates Line::Next(const std::string& current) const {
  if (is_wrong_) return {};
  if (open_ != nullptr) return ValueCandidates(*open_, "", current);
  if (is_help_) return OwnVerbs().empty() ? Candidates() : VerbCandidates();
  if (!only_positions_ && BeginsWith(current, "-")) {
    const size_t equals = current.find('=');
    if (equals == std::string::npos) return OptionCandidates();
    const Argument* option = FindOption(current.substr(0, equals));
    if (option == nullptr || option->kind == Argument::Kind::kFlag) return {};
    return ValueCandidates(*option, current.substr(0, equals + 1), current.substr(equals + 1));
  }
  if (!OwnVerbs().empty()) return VerbCandidates();
  if (const Argument* position = NextPosition()) return ValueCandidates(*position, "", current);
  return only_positions_ ? Candidates() : OptionCandidates();
}

}  // namespace

Candidates CompleteLine(const Texts& words) {
  return Line(words).Next(words.back());
}
