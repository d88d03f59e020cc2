#include "host_log_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using nuv::host::kMessageLimit;
using nuv::host::LogLine;
using nuv::host::LogMessage;

std::string Shown(const std::string& text, bool keep_colours = false, size_t missing = 0) {
  const LogMessage message{0, 4, "t", text.data(), text.size(), missing};
  LogLine line(message);
  line.AppendMessage(message, keep_colours);
  return {line.data(), line.size()};
}

TEST(HostLogLine, ShowsControlCharactersButTheTabAsEscapes) {
  using std::string_literals::operator""s;
  EXPECT_EQ(Shown("a\tb\nc\rd\x07"s + "e\x1b["s + "z\0y"s), R"(a	b\nc\rd\x07e\x1b[z\x00y)");
}

TEST(HostLogLine, FindsAControlCharacterAtEveryPlace) {
  for (size_t length = 1; length < 40; ++length) {
    for (size_t place = 0; place < length; ++place) {
      std::string text(length, '\t');  // tabs look like control characters at first sight
      text[place] = '\n';
      const std::string expected = std::string(place, '\t') + "\\n" + std::string(length - place - 1, '\t');
      ASSERT_EQ(Shown(text), expected) << length << " " << place;
    }
  }
}

TEST(HostLogLine, LeavesTextOfOtherLanguagesAlone) {
  EXPECT_EQ(Shown("Größe \xe6\x97\xa5\xe6\x9c\xac \xff\x80 end of it"),
            "Größe \xe6\x97\xa5\xe6\x9c\xac \xff\x80 end of it");
}

TEST(HostLogLine, TakesColoursOutAndKeepsTheTextBetween) {
  EXPECT_EQ(Shown("\e[0;31mred\e[0;m\e[mplain\e[1;2;3m"), "redplain");
  EXPECT_EQ(Shown("\e[0;31mred\e[0;m", true), "\e[0;31mred\e[0;m");
}

TEST(HostLogLine, DoesNotTakeAnUnfinishedColourForOne) {
  EXPECT_EQ(Shown("a\e[0;31"), "a\\x1b[0;31");
  EXPECT_EQ(Shown("a\e[2J", true), "a\\x1b[2J");
  EXPECT_EQ(Shown("a\e", true), "a\\x1b");
}

TEST(HostLogLine, CutsAtTheLimitBetweenCharacters) {
  std::string text(kMessageLimit - 1, 'x');
  EXPECT_EQ(Shown(text + "y"), text + "y");
  EXPECT_EQ(Shown(text + "yz"), text + "y [... 1 more bytes]");
  EXPECT_EQ(Shown(text + "\xe6\x97\xa5"), text + " [... 3 more bytes]");
}

TEST(HostLogLine, CountsWhatEscapesPushOut) {
  const std::string shown = Shown(std::string(kMessageLimit, '\n'));
  const std::string note = " [... " + std::to_string(kMessageLimit / 2 + 1) + " more bytes]";
  EXPECT_LE(shown.size(), kMessageLimit + note.size());
  EXPECT_EQ(shown.substr(shown.size() - note.size()), note);
}

TEST(HostLogLine, TellsWhatWasMissingFromTheStart) {
  EXPECT_EQ(Shown("abc", false, 7), "abc [... 7 more bytes]");
}

TEST(HostLogLine, IsWholeWhateverEscapesItNeeds) {
  for (size_t length = 1; length < 4000; length += 7) {
    std::string expected;
    for (size_t i = 0; i < length; ++i) expected += "\\x07";
    ASSERT_EQ(Shown(std::string(length, '\a')), expected) << length;
  }
}

TEST(HostLogLine, LeavesOutWhatDoesNotFit) {
  const std::string text(5000, 'x');
  LogLine line({0, 4, "", "", 0, 0});
  line.Append(text.data(), text.size());
  EXPECT_EQ(std::string(line.data(), line.size()), text.substr(0, 2048));
  line.Append('y');
  EXPECT_EQ(line.size(), 2048u);
}

TEST(HostLogLine, CountsDroppedLines) {
  LogLine line({0, 4, "", "", 0, 0});
  line.AppendDropped(0);
  line.AppendDropped(1);
  line.AppendDropped(12);
  EXPECT_EQ(std::string(line.data(), line.size()), "[1 line dropped] [12 lines dropped] ");
}

TEST(HostLogLine, ATagCannotBreakTheLine) {
  LogLine line({0, 4, "", "", 0, 0});
  line.AppendTag("a\nMESSAGE=b");
  EXPECT_EQ(std::string(line.data(), line.size()), "a?MESSAGE=b");
}

}  // namespace
