// Ten thousand damaged databases: whatever the bytes, each query ends with a documented result and changes nothing.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>

#include "database_test.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

// The seeds are tried in parts, so that the parts can run side by side.
constexpr unsigned kSeeds = 10000;
constexpr unsigned kParts = 8;

struct Free {
  void operator()(void* block) const { free(block); }
};

std::string Flip(std::string bytes, unsigned seed) {
  std::mt19937 random(seed);
  // Half of the files are damaged in the first page as well, where the header and the schema begin.
  const size_t count = 1 + random() % 24;
  if (random() % 2 == 0) bytes[random() % 512] ^= static_cast<char>(1 + random() % 255);
  for (size_t i = 0; i < count; ++i) bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
  return bytes;
}

using Info = std::unique_ptr<nuv_app_info_s, Free>;

// The results of several lookups, checks and lists.
std::vector<int> AskEverything() {
  std::vector<int> results;
  nuv_app_info_s info = {};
  results.push_back(m_nuv_get_app_info("app3", &info));
  results.push_back(m_nuv_get_app_info("none", &info));
  results.push_back(GetAppInfoByRuntitle(&info, "clock"));
  _APPS_INNER_INFO_T inner;
  results.push_back(GetAppInnerInfo("app2", &inner));
  results.push_back(nuv_check_app_is_locked("'app1','app4'"));
  results.push_back(nuv_check_app_is_need_uninstall("'app1'"));
  int count = 0;
  results.push_back(GetAppsTableCount(&count, "", 0, {}));
  nuv_app_info_s* list = nullptr;
  results.push_back(nuv_get_key_list("is_app_available", 0, &list, &count));
  Info(list).reset();
  list = nullptr;
  results.push_back(GetAppList({NUV_APP_FILTER_ANY, NUV_APP_FILTER_ANY, NUV_APP_FILTER_ANY}, NUV_APP_VIEWMODE_TITLE_ASC,
                               0, 3, false, &count, &list, nullptr));
  Info(list).reset();
  std::vector<_APPS_INNER_INFO_T> all;
  results.push_back(GetNUVAppList("65535", "1", true, all));
  return results;
}

class FlippedBytes : public DatabaseTest, public ::testing::WithParamInterface<unsigned> {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    database_.Run("pragma page_size = 512; vacuum");
    database_.AddMany(5);
    database_.Add("clock app", {{"run_title", "clock"}, {"title", std::string(700, 't')}});
    database_.AddConfig("RESERVED_27", "group:app1");
    database_.Close();
    good_ = ReadFile(database_.path());
  }

  // Without cutting the file first, which some file systems answer by writing it to the disk.
  void Overwrite(const std::string& bytes) const {
    std::fstream file(database_.path(), std::ios::in | std::ios::out | std::ios::binary);
    ASSERT_TRUE(file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush());
  }

  // At most so many bytes of the file.
  std::string Content(size_t limit) const {
    std::string bytes(limit, '\0');
    std::ifstream file(database_.path(), std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(limit));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
  }

  // The library itself never closes a healthy connection.
  void CloseConnection() {
    ASSERT_EQ(SQLITE_OK, sqlite3_close(g_pConnection));
    g_pConnection = nullptr;
    for (const char* suffix : {"-wal", "-shm", "-journal"}) unlink((database_.path() + suffix).c_str());
  }

  void TryOne(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::string bad = Flip(good_, seed);
    Overwrite(bad);
    for (const int result : AskEverything()) {
      ASSERT_TRUE(result == 0 || result == -1 || result == -2) << result;
      found_ = found_ || result == 0;
      failed_ = failed_ || result != 0;
    }
    ASSERT_EQ(nullptr, g_pStmt);
    ASSERT_EQ(bad, Content(bad.size() + 1));
    CloseConnection();
    fake_platform::Clear();
    sqlite_faults::Forget();
  }

  std::string good_;
  bool found_ = false;
  bool failed_ = false;
};

INSTANTIATE_TEST_SUITE_P(Part, FlippedBytes, ::testing::Range(0U, kParts));

TEST_P(FlippedBytes, NeitherCrashNorHangNorChangeTheFile) {
  for (unsigned seed = GetParam(); seed < kSeeds && !HasFatalFailure(); seed += kParts) TryOne(seed);
  EXPECT_TRUE(found_ && failed_);
}

}  // namespace
