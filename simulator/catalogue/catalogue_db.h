// The application database: created, migrated, looked up and kept up to date.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>

#include <optional>
#include <string>

#include "catalogue/catalogue_file.h"

namespace simulator {

using DatabaseError = SQLite::Exception;

// What a launch has to know about an application.
struct AppRecord {
  std::string id;
  std::string platform_id;  // what the platform calls it: the hybrid application, else the kelvo id, else the id
  std::string install_path;
  int app_type = 0;
  bool launchable = false;  // installed, available and not awaiting a reset
  bool locked = false;
};

enum AppType { kWebApp = 2, kNativeApp = 4, kAndroidApp = 8, kHbbtvApp = 16 };

class CatalogueDb {
 public:
  // Every error names the file. Opens the database, creates it when missing, and adds the columns
  // and indexes that an older one lacks.
  explicit CatalogueDb(const std::string& path);

  // No application was there when the database was opened.
  bool was_empty() const { return was_empty_; }
  std::size_t Count();
  // Adds the applications, in place of those with the same id, and the settings.
  void Load(const Catalogue& catalogue);

  // By id, kelvo id, package name or hybrid application, in this order.
  std::optional<AppRecord> Find(const std::string& name);
  std::optional<AppRecord> FindByRunTitle(const std::string& run_title);

  // Whether a call may name it: also by its run title.
  bool Knows(const std::string& name) { return Find(name) || FindByRunTitle(name); }

  // Each is false when the application is unknown.
  bool CountLaunch(const std::string& id);  // one launch more, and now the last
  bool SetVersion(const std::string& id, const std::string& version);
  bool ClearUpdated(const std::string& id);

 private:
  template <typename Work>
  auto Named(const Work& work);  // with the file's name on each error
  template <typename... Texts>
  bool ChangesOne(const char* sql, const Texts&... texts);  // an application, and not none
  void SetUp();
  void CreateTables();
  void AddMissingColumns();

  std::string path_;
  SQLite::Database database_;
  bool was_empty_ = false;
};

}  // namespace simulator
