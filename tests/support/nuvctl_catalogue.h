// nuvctl over a real database file, on a bus of the test's own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "app_database.h"
#include "database_lock.h"
#include "nuvctl_run.h"

class NuvctlCatalogueTest : public NuvctlOnBusTest {
 protected:
  NuvctlRun Ask(const Arguments& arguments) const { return Run(arguments, {{"NUV_HOST_DIR", database_.directory()}}); }
  nlohmann::json AskJson(Arguments arguments) const {
    arguments.insert(arguments.begin(), "--json");
    const NuvctlRun run = Ask(arguments);
    EXPECT_EQ(run.errors, "");
    return run.Json();
  }

  void ExpectFailure(const Arguments& arguments, int status, const std::string& says) const {
    const NuvctlRun run = Ask(arguments);
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "nuvctl: " + says + "\n");
    EXPECT_EQ(AskJson(arguments)["error"]["message"], says);
  }

  void SetFactoryReset(const std::string& state) const {
    const std::string directory = database_.directory() + "/settings/db/nuv";
    std::filesystem::create_directories(directory);
    WriteFile(directory + "/factory_reset", state);
  }

  // In place of the database.
  void MakeDatabaseGarbage() {
    database_.Close();
    WriteFile(database_.path(), std::string(4096, 'x'));
  }
  void MakeDatabaseADirectory() {
    RemoveDatabase();
    std::filesystem::create_directory(database_.path());
  }
  void RemoveDatabase() {
    database_.Close();
    std::filesystem::remove(database_.path());
  }

  std::unique_ptr<Process> LockDatabase() { return LockedDatabase(database_, directory_.path()); }

  AppDatabase database_;
};
