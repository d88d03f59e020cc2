// The fixture of tests that look at the whole order of effects of calls that look an application up.
#pragma once

#include "catalogue_launch_test.h"

class LaunchDatabaseTest : public CatalogueLaunchTest {
 protected:
  // The link is up, and log lines are effects from here on.
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    WarmUp();
    fake_platform::LogAsEffects(true);
  }
};
