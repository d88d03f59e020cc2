// Which place a log line names.
#include <gtest/gtest.h>
#include <nuv_common/nuv_log.h>

#include <stdexcept>
#include <string>

namespace {

std::string Named(const LogOrigin& origin = Here()) {
  return std::string(origin.file) + " " + origin.function;
}

std::string Handed(const LogOrigin& origin = Here()) {
  return Named(origin);
}

std::string OfAFunction() {
  return Named();
}

std::string OfTheCallOfAHelper() {
  return Handed();
}

std::string OfACatchOfTheWhole() try { throw std::runtime_error(""); } catch (const std::runtime_error&) {
  return Named();
}

struct Object {
  explicit Object(std::string* words) : end(words), start(Named()) {}
  ~Object() { *end = Named(); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  std::string Member() const { return Named() + (end == nullptr ? "?" : ""); }

  std::string* end;
  std::string start;
};

int LineOf(const LogOrigin& origin = Here()) {
  return origin.line;
}

}  // namespace

TEST(LogOrigin, IsTheFileAndTheFunctionOfTheCall) {
  EXPECT_EQ("nuv_log_test.cpp OfAFunction", OfAFunction());
  EXPECT_EQ("nuv_log_test.cpp OfACatchOfTheWhole", OfACatchOfTheWhole());
  std::string end;
  {
    const Object object(&end);
    EXPECT_EQ("nuv_log_test.cpp Object", object.start);
    EXPECT_EQ("nuv_log_test.cpp Member", object.Member());
  }
  EXPECT_EQ("nuv_log_test.cpp ~Object", end);
}

TEST(LogOrigin, IsThatOfTheCallerWhereAHelperHandsItOn) {
  EXPECT_EQ("nuv_log_test.cpp OfTheCallOfAHelper", OfTheCallOfAHelper());
}

TEST(LogOrigin, IsTheLineOfTheCall) {
  const int line = LineOf();
  EXPECT_EQ(__LINE__ - 1, line);
}

TEST(LogOrigin, MayNameAnotherFunction) {
  EXPECT_EQ("nuv_log_test.cpp another", Named(Here("another")));
}
