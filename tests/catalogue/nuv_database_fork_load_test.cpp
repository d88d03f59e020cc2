// A host whose other threads use SQLite, for themselves and through the library, while it forks.
#include <gtest/gtest.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "app_database.h"
#include "process.h"
#include "temp_dir.h"

namespace {

constexpr int kChildren = 40;

int Find(const char* id) {
  nuv_app_info_s info = {};
  return m_nuv_get_app_info(id, &info);
}

// Opens, fills, reads and closes a database of the host's own.
void UseSqlite(const std::string& path) {
  sqlite3* connection = nullptr;
  sqlite3_open(path.c_str(), &connection);
  sqlite3_exec(connection,
               "pragma synchronous = off; create table if not exists t (x); insert into t values (randomblob(3000)); "
               "select * from t; delete from t",
               nullptr, nullptr, nullptr);
  sqlite3_close(connection);
}

class ForkUnderLoad : public ::testing::Test {
 protected:
  void SetUp() override {
    database_.AddMany(20);
    database_.Close();
    // Read by the platform call of the host edition.
    setenv("NUV_HOST_DIR", database_.directory().c_str(), 1);
    setenv("NUV_LOG", "off", 1);
  }

  // Forks while other threads do the work over and over. Counts the children that worked, those whose fork() had waited
  // its second in vain, as it may where the machine has too much to do, and those that did not end.
  void ForkWhile(int threads, const std::function<void(int)>& work) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
      workers.emplace_back([&, t] {
        while (!stop) work(t);
      });
    }
    for (int i = 0; i < kChildren && hung_ == 0; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      const auto use = [begin] {
        const bool waited = std::chrono::steady_clock::now() - begin >= std::chrono::seconds(1);
        return Find("app1") == 0 ? kWorked : waited ? kWaitedInVain : kFailed;
      };
      const int status = InChild(use, Milliseconds(20000));
      worked_ += status == kWorked ? 1 : 0;
      waited_ += status == kWaitedInVain ? 1 : 0;
      hung_ += status < kWorked || status > kFailed ? 1 : 0;
    }
    stop = true;
    for (std::thread& worker : workers) worker.join();
  }

  void ExpectChildrenThatWork() const {
    EXPECT_EQ(0, hung_);
    EXPECT_EQ(kChildren, worked_ + waited_);
    EXPECT_GT(worked_, kChildren / 2);
  }

  enum Status { kWorked, kWaitedInVain, kFailed };

  AppDatabase database_;
  TempDir own_;
  int worked_ = 0;
  int waited_ = 0;
  int hung_ = 0;
};

TEST_F(ForkUnderLoad, OfAHostThatUsesSqliteForItselfGivesChildrenThatWork) {
  ASSERT_EQ(0, Find("app1"));
  ForkWhile(4, [this](int thread) { UseSqlite(own_ / std::to_string(thread)); });
  ExpectChildrenThatWork();
}

TEST_F(ForkUnderLoad, OfAHostThatUsesSqliteBeforeTheLibraryDoesGivesChildrenThatWork) {
  ForkWhile(4, [this](int thread) { UseSqlite(own_ / std::to_string(thread)); });
  ExpectChildrenThatWork();
}

TEST_F(ForkUnderLoad, OfAHostThatReadsTheCatalogueGivesChildrenThatWork) {
  ForkWhile(2, [](int) {
    std::vector<_APPS_INNER_INFO_T> list;
    GetNUVAppList("65535", "1", true, list);
  });
  ExpectChildrenThatWork();
}

}  // namespace
