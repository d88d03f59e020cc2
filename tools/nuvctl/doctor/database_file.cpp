#include "doctor/database_file.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "command/guard.h"
#include "glib_handles.h"
#include "report/text.h"

namespace {

constexpr size_t kHeader = 20;  // as much of it as says how the file is written to
constexpr size_t kWriteVersion = 18;
constexpr size_t kReadVersion = 19;
constexpr char kWriteAheadLog = 2;

bool IsThere(const std::string& path) {
  struct stat file = {};
  return stat(path.c_str(), &file) == 0;
}

bool HasWriteAheadLog(const std::string& path) {
  char header[kHeader] = {};
  std::ifstream(path, std::ios::binary).read(header, sizeof header);
  return header[kWriteVersion] == kWriteAheadLog || header[kReadVersion] == kWriteAheadLog;
}

std::string UriOf(const std::string& path, bool immutable) {
  const TextOwner uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
  return std::string(uri != nullptr ? uri.get() : path.c_str()) + "?mode=ro" + (immutable ? "&immutable=1" : "");
}

}  // namespace

DatabaseFile::DatabaseFile(const std::string& directory, unsigned limit_ms)
    : directory_(directory), path_(directory + "/.corvane.db"), finding_(Open(limit_ms)) {}

// Whoever opens a database with a write-ahead log makes the files of the log where they are missing, even to read. It
// is opened as one that nobody writes to then, which without these files nobody does.
Finding DatabaseFile::Open(unsigned limit_ms) {
  if (directory_.empty()) return Failure("the platform names no directory for the database", "NUV_HOST_DIR");
  const std::string where = Printable(path_);
  const std::string fresh = "nuv-simulator --dir " + ShellWord(directory_);
  struct stat file = {};
  if (stat(path_.c_str(), &file) != 0) {
    const bool closed = errno == EACCES;
    return Failure(where + ": " + std::strerror(errno), closed ? "chmod go+rx " + ShellWord(directory_) : fresh);
  }
  if (!S_ISREG(file.st_mode)) return Failure(where + " is no file", "mv " + ShellWord(path_) + " elsewhere");
  if (faccessat(AT_FDCWD, path_.c_str(), R_OK, AT_EACCESS) != 0) {
    return Failure(where + ": " + std::strerror(errno), "chmod a+r " + ShellWord(path_));
  }
  const bool log_is_used = IsThere(path_ + "-wal") && IsThere(path_ + "-shm");
  const bool immutable = HasWriteAheadLog(path_) && !log_is_used;
  log_left_behind_ = immutable && IsThere(path_ + "-wal");
  try {
    database_ = std::make_unique<SQLite::Database>(UriOf(path_, immutable), SQLite::OPEN_READONLY | SQLite::OPEN_URI,
                                                   static_cast<int>(limit_ms));
    database_->exec("PRAGMA temp_store = MEMORY");
    return Count();
  } catch (const SQLite::Exception& error) {
    // Of one with a damage somewhere the rest can still be looked at.
    if (error.getErrorCode() != SQLITE_CORRUPT) database_.reset();
    return WhyUnreadable(error, limit_ms);
  }
}

Finding DatabaseFile::WhyUnreadable(const SQLite::Exception& error, unsigned limit_ms) const {
  const std::string where = Printable(path_);
  const std::string fresh = "nuv-simulator --dir " + ShellWord(directory_);
  switch (error.getErrorCode()) {
    case SQLITE_BUSY:
      return Failure(where + " stayed busy for " + InSeconds(limit_ms), "fuser " + ShellWord(path_));
    case SQLITE_READONLY:
      return Failure(where + ": a change of it was cut off, and is undone by the first one who writes", fresh);
    default:
      return Failure(where + ": " + Printable(error.what()), "mv " + ShellWord(path_) + " elsewhere, then " + fresh);
  }
}

Finding DatabaseFile::Count() {
  const std::string where = Printable(path_);
  const std::string fresh = "nuv-simulator --dir " + ShellWord(directory_);
  if (!database_->tableExists("widgetinfo")) {
    database_.reset();
    return Failure(where + " has no table of applications (widgetinfo)", fresh);
  }
  const int count = database_->execAndGet("SELECT count(*) FROM widgetinfo").getInt();
  if (log_left_behind_) {
    return Warning(where + " has a write-ahead log that nobody uses, which is not looked at", fresh);
  }
  return Fine(where + " has " + std::to_string(count) + (count == 1 ? " application" : " applications"));
}
