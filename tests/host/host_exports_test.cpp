// The library shows the platform's functions and nothing else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "process.h"
#include "temp_dir.h"

namespace {

std::vector<std::string> ListedNames() {
  std::istringstream in(ReadFile(NUV_HOST_EXPORTS));
  std::vector<std::string> names;
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, 4, "    ") == 0 && line != "    *;") names.push_back(line.substr(4, line.size() - 5));
  }
  return names;
}

TEST(HostExports, AreTheListedOnes) {
  const TempDir directory;
  Process nm({"nm", "-D", "--defined-only", "--format=posix", NUV_HOST_LIBRARY}, directory.path());
  ASSERT_EQ(nm.Wait(), 0) << nm.Errors();
  std::istringstream in(nm.Output());
  std::vector<std::string> names;
  for (std::string line; std::getline(in, line);) names.push_back(line.substr(0, line.find(' ')));
  ASSERT_GT(names.size(), 20u);
  EXPECT_THAT(names, testing::UnorderedElementsAreArray(ListedNames()));
}

}  // namespace
