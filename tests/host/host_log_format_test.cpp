#include "host_log_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <optional>
#include <string>

namespace {

using Text = std::optional<std::string>;

__attribute__((format(printf, 2, 3))) Text Plain(size_t size, const char* format, ...) {
  std::string text(size, '#');
  va_list arguments;
  va_start(arguments, format);
  nuv::host::FormatBuffer buffer(text.data(), text.size(), text.size());
  const auto length = nuv::host::FormatPlain(buffer, format, arguments);
  va_end(arguments);
  if (!length) return std::nullopt;
  return text.substr(0, *length);
}

// In a buffer that may grow from one size to the other.
__attribute__((format(printf, 3, 4))) Text Grown(size_t size, size_t longer_size, const char* format, ...) {
  std::string text(size, '#');
  va_list arguments;
  va_start(arguments, format);
  nuv::host::FormatBuffer buffer(text.data(), text.size(), longer_size);
  const auto length = nuv::host::FormatPlain(buffer, format, arguments);
  va_end(arguments);
  if (!length) return std::nullopt;
  return std::string(buffer.text(), *length);
}

template <typename... Arguments>
std::string Standard(const char* format, Arguments... arguments) {
  char text[512];
  snprintf(text, sizeof text, format, arguments...);
  return text;
}

#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-zero-length"

TEST(HostLogFormat, AgreesWithTheStandardOnWhatItTakes) {
  const char* const kFormat = "%s: %s(%d) > \e[0;33m[%u] 100%%%d\e[0;m";
  EXPECT_EQ(Plain(512, "%s: %s(%d) > \e[0;33m[%u] 100%%%d\e[0;m", "a.cpp", "", INT_MIN, UINT_MAX, INT_MAX),
            Standard(kFormat, "a.cpp", "", INT_MIN, UINT_MAX, INT_MAX));
  EXPECT_EQ(Plain(512, "no directive"), "no directive");
  EXPECT_EQ(Plain(512, ""), "");
}

TEST(HostLogFormat, ShowsAMissingText) {
  const char* volatile const nothing = nullptr;  // volatile, or the compiler warns of it
  const char* const none = nothing;
  EXPECT_EQ(Plain(512, "[%s]", none), "[(null)]");
}

TEST(HostLogFormat, CutsATextWhereAPrecisionSaysSo) {
  const char unterminated[] = {'a', 'b', 'c'};
  EXPECT_EQ(Plain(512, "[%.3s]", unterminated), "[abc]");
  EXPECT_EQ(Plain(512, "[%.2s|%.0s|%.127s] %d", "abc", "abc", "abc", 7), "[ab||abc] 7");
  EXPECT_EQ(Plain(512, "%.1234s", "abc"), "abc");
}

TEST(HostLogFormat, ShowsAMissingTextWholeOrNotAtAll) {
  const char* volatile const nothing = nullptr;
  const char* const none = nothing;
  EXPECT_EQ(Plain(512, "[%.5s]", none), Standard("[%.5s]", none));
  EXPECT_EQ(Plain(512, "[%.6s]", none), Standard("[%.6s]", none));
  EXPECT_EQ(Plain(512, "[%.127s]", none), Standard("[%.127s]", none));
}

TEST(HostLogFormat, LeavesEveryOtherDirectiveToTheStandard) {
  EXPECT_EQ(Plain(512, "%5d", 1), std::nullopt);
  EXPECT_EQ(Plain(512, "%.12345s", "abcdef"), std::nullopt);
  EXPECT_EQ(Plain(512, "%.*s", 3, "abcdef"), std::nullopt);
  EXPECT_EQ(Plain(512, "%.s", "abcdef"), std::nullopt);
  EXPECT_EQ(Plain(512, "%3.3s", "abcdef"), std::nullopt);
  EXPECT_EQ(Plain(512, "%.3d", 1), std::nullopt);
  EXPECT_EQ(Plain(512, "%p", nullptr), std::nullopt);
  EXPECT_EQ(Plain(512, "%ld", 1L), std::nullopt);
  for (const char* volatile const unfinished : {"%", "%.", "%.12"}) EXPECT_EQ(Plain(512, unfinished), std::nullopt);
}

TEST(HostLogFormat, LeavesWhatDoesNotFitToTheStandard) {
  EXPECT_EQ(Plain(5, "%s", "12345"), "12345");
  EXPECT_EQ(Plain(5, "%s", "123456"), std::nullopt);
  EXPECT_EQ(Plain(5, "%.5s", "123456"), "12345");
  EXPECT_EQ(Plain(5, "%.6s", "123456"), std::nullopt);
  EXPECT_EQ(Plain(5, "%d", 123456), std::nullopt);
  EXPECT_EQ(Plain(5, "1234%%"), "1234%");
  EXPECT_EQ(Plain(5, "12345%%"), std::nullopt);
  EXPECT_EQ(Plain(5, "%d%s", 1234, "56"), std::nullopt);
}

TEST(HostLogFormat, MovesALongerTextToTheHeapOnce) {
  const std::string text(50, 'x');
  const std::string expected = "a 7 " + text + " -12345 4294967295 %";
  for (size_t size = 1; size <= expected.size() + 1; ++size) {
    EXPECT_EQ(Grown(size, 100, "a %d %s %d %u %%", 7, text.c_str(), -12345, UINT_MAX), expected) << size;
    EXPECT_EQ(Grown(size, expected.size() - 1, "a %d %s %d %u %%", 7, text.c_str(), -12345, UINT_MAX),
              size < expected.size() ? std::nullopt : Text(expected))
        << size;
  }
}

}  // namespace
