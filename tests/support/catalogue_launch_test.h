// A service on a private bus together with a catalogue: the fixture of the calls that look an application up first.
#pragma once

#include "app_database.h"
#include "launch_test.h"
#include "named_lock.h"
#include "sqlite_faults.h"

class CatalogueLaunchTest : public LaunchTest {
 protected:
  void SetUp() override { fake_platform::SetDatabaseDirectory(database_.directory()); }

  void TearDown() override {
    EXPECT_TRUE(LockIsFree());
    EXPECT_EQ(0, sqlite_faults::LiveStatements());
  }

  static void LetDatabaseBeBusy() { sqlite_faults::step_codes.assign(50, SQLITE_BUSY); }

  AppDatabase database_;
};
