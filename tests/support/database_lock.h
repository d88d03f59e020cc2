// A database that another process keeps locked.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app_database.h"
#include "process.h"

// Holds an exclusive lock from a second process until the result is destroyed.
inline std::unique_ptr<Process> LockedDatabase(AppDatabase& database, const std::string& directory) {
  database.Close();
  auto locker =
      std::make_unique<Process>(std::vector<std::string>{NUV_TEST_DIR "/database_locker", database.path()}, directory);
  EXPECT_TRUE(WaitUntil([&] { return locker->Output() == "locked\n"; }));
  return locker;
}
