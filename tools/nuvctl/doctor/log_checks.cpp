// Where the log of the library goes, in programs that have nuvctl's environment.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "command/log_choice.h"
#include "doctor/examination.h"
#include "report/text.h"

namespace {

constexpr char kJournal[] = "/run/systemd/journal/socket";
constexpr char kFile[] = "file:";
constexpr char kChoice[] = "NUV_LOG, set to off, stderr, journal or file:PATH";

bool JournalIsThere() {
  struct stat socket = {};
  return stat(kJournal, &socket) == 0 && S_ISSOCK(socket.st_mode);
}

bool Allows(const std::string& path, int mode) {
  return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

// The file need not be there, its directory has to.
Finding LookAtFile(const std::string& path) {
  const std::string where = Printable(path);
  struct stat file = {};
  if (path.empty()) return Failure("NUV_LOG names no file, and the log is off", kChoice);
  if (stat(path.c_str(), &file) == 0) {
    if (S_ISDIR(file.st_mode)) return Failure(where + " is a directory, and the log is off", kChoice);
    if (Allows(path, W_OK)) return Fine("goes to " + where);
    return Failure(where + ": " + std::strerror(errno), "chmod u+w " + ShellWord(path));
  }
  const std::string above = std::filesystem::absolute(path).parent_path().string();
  if (Allows(above, W_OK | X_OK)) return Fine("goes to " + where + ", which the first line makes");
  return Failure(where + ": " + std::strerror(errno), "mkdir -p " + ShellWord(above));
}

Finding LookAtLog(Examination&) {
  const std::string wish = LogWish();
  if (wish == "off") return Fine("is off, as NUV_LOG says");
  if (wish == "stderr") return Fine("goes to the standard error stream");
  if (wish.rfind(kFile, 0) == 0) return LookAtFile(wish.substr(sizeof kFile - 1));
  if (!wish.empty() && wish != "journal") {
    return Failure("NUV_LOG is " + Printable(wish) + ", which is no sink, and the log is off", kChoice);
  }
  if (JournalIsThere()) return Fine("goes to the journal");
  if (wish == "journal") return Failure(std::string("there is no journal (") + kJournal + ")", kChoice);
  return Warning("NUV_LOG is not set, and there is no journal: the log is off", kChoice);
}

}  // namespace

std::vector<Check> LogChecks() {
  return {{"log", LookAtLog}};
}
