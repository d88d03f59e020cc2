// A real database file that the library under test reads, and a check that no statement stays behind.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "app_database.h"
#include "fake_platform.h"
#include "process.h"
#include "sqlite_faults.h"

class DatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override { fake_platform::SetDatabaseDirectory(database_.directory()); }

  // The test's own statements are gone as well: each lives only for one call of AppDatabase.
  void TearDown() override { EXPECT_EQ(0, sqlite_faults::LiveStatements()); }

  // Holds an exclusive lock from a second process until the result is gone.
  std::unique_ptr<Process> LockDatabase() {
    database_.Close();
    auto locker = std::make_unique<Process>(std::vector<std::string>{NUV_TEST_DIR "/database_locker", database_.path()},
                                            directory_.path());
    EXPECT_TRUE(WaitUntil([&] { return locker->Output() == "locked\n"; }));
    return locker;
  }

  AppDatabase database_;
  TempDir directory_;
};
