// A real database file that the library under test reads, and a check that no statement stays behind.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "app_database.h"
#include "database_lock.h"
#include "fake_platform.h"
#include "sqlite_faults.h"

class DatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override { fake_platform::SetDatabaseDirectory(database_.directory()); }

  // The test's own statements are gone as well: each lives only for one call of AppDatabase.
  void TearDown() override { EXPECT_EQ(0, sqlite_faults::LiveStatements()); }

  std::unique_ptr<Process> LockDatabase() { return LockedDatabase(database_, directory_.path()); }

  AppDatabase database_;
  TempDir directory_;
};
