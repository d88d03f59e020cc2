// The command line as bash reads it, for its completion.
#include <gmock/gmock.h>

#include "completion/bash_line.h"
#include "process.h"
#include "temp_dir.h"

using completion::BashLine;
using completion::CutAt;
using completion::QuotedForBash;
using completion::ReadBashLine;
using testing::ElementsAre;

namespace {

std::vector<std::string> WordsOf(const std::string& line) {
  std::vector<std::string> words;
  for (const BashLine::Word& word : ReadBashLine(line).words) words.push_back(word.text);
  return words;
}

// The one argument that bash passes on for this text.
std::string ReadByBash(const std::string& text) {
  TempDir directory;
  Process bash({"bash", "-c", "printf %s " + text}, directory.path());
  EXPECT_EQ(bash.Wait(), 0) << text;
  return bash.Output();
}

}  // namespace

TEST(BashLineTest, EndsInAnEmptyWordBehindABlank) {
  EXPECT_THAT(WordsOf(""), ElementsAre(""));
  EXPECT_THAT(WordsOf("a"), ElementsAre("a"));
  EXPECT_THAT(WordsOf("a  "), ElementsAre("a", ""));
}

TEST(BashLineTest, HasItsWordsWithoutQuotes) {
  EXPECT_THAT(WordsOf("a b\\ c 'd \"\\e' \"f 'g\" h"), ElementsAre("a", "b c", "d \"\\e", "f 'g", "h"));
  EXPECT_THAT(WordsOf("a \"\\\\ \\\" \\x\" ''"), ElementsAre("a", "\\ \" \\x", ""));
  EXPECT_THAT(WordsOf("a --b=c:d e'f'g"), ElementsAre("a", "--b=c:d", "efg"));
}

TEST(BashLineTest, KnowsTheQuoteInWhichItEnds) {
  EXPECT_EQ(ReadBashLine("a 'b").open_quote, '\'');
  EXPECT_EQ(ReadBashLine("a \"b'").open_quote, '"');
  EXPECT_EQ(ReadBashLine("a 'b'").open_quote, '\0');
  EXPECT_THAT(WordsOf("a 'b c"), ElementsAre("a", "b c"));
  EXPECT_THAT(WordsOf("a b\\"), ElementsAre("a", "b"));
}

TEST(BashLineTest, LeavesOutWhatRedirectionsName) {
  EXPECT_THAT(WordsOf("a >out b"), ElementsAre("a", "b"));
  EXPECT_THAT(WordsOf("a > out <in b "), ElementsAre("a", "b", ""));
}

TEST(BashLineTest, KnowsWhereItsWordsBegin) {
  const BashLine line = ReadBashLine("ab  'c d' e");
  ASSERT_EQ(line.words.size(), 3u);
  EXPECT_EQ(line.words[1].begin, 4u);
  EXPECT_EQ(line.words[2].begin, 10u);
}

TEST(BashLineTest, FindsTheCutOfAPlace) {
  const std::string line = "session --name=a -- nuvctl a";
  const std::vector<std::string> cuts = {"session", "--name", "=", "a", "--", "nuvctl", "a"};
  EXPECT_EQ(CutAt(line, cuts, line.find("nuvctl")), 5u);
  EXPECT_EQ(CutAt(line, cuts, line.size() - 1), 6u);
  EXPECT_EQ(CutAt(line, {}, 3), 0u);
}

TEST(BashLineTest, QuotesEachCharacterSoThatBashReadsItAgain) {
  std::string text = "날씨 \xF0\x9F\x93\xBA";
  for (char c = 0x20; c < 0x7f; ++c) text += c;
  EXPECT_EQ(ReadByBash(QuotedForBash(text, '\0')), text);
  EXPECT_EQ(ReadByBash("'" + QuotedForBash(text, '\'') + "'"), text);
  EXPECT_EQ(ReadByBash("\"" + QuotedForBash(text, '"') + "\""), text);
  EXPECT_EQ(ReadByBash(QuotedForBash("~root", '\0')), "~root");
}
