// The state directory: whose it is, who works in it, and what it says besides the database.
#include <fcntl.h>
#include <nuv_platform/platform_settings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "descriptor.h"
#include "doctor/examination.h"
#include "obstacles/obstacles.h"
#include "report/text.h"

namespace {

constexpr char kLock[] = ".nuv-simulator.lock";
constexpr char kResetSetting[] = "settings/db/nuv/factory_reset";
constexpr char kResetKey[] = "db/nuv/factory_reset";
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
// The inner side of the database keeps its path in so many characters.
constexpr size_t kLongestDatabasePath = 127;
constexpr char kOtherDirectory[] = "NUV_HOST_DIR, set to another directory";

std::string Octal(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode) & 07777U);
  return text;
}

Finding LookAtOwner(Examination& examination, const std::string& where, uid_t owner) {
  if (owner == geteuid()) return Fine(where + " is this user's");
  const ServiceFacts* service = examination.service();
  const std::string words = where + " belongs to " + UserInWords(owner);
  if (service != nullptr && service->user == owner) return Fine(words + ", as whom the service runs");
  return Warning(words + ": a nuv-simulator of this user does not work in it", kOtherDirectory);
}

Finding LookAtDirectory(Examination& examination) {
  const std::string& path = examination.directory();
  if (path.empty()) return Failure("the platform names no state directory", "NUV_HOST_DIR, set to a directory");
  const std::string where = Printable(path);
  struct stat self = {};
  if (stat(path.c_str(), &self) != 0) {
    return Failure(where + ": " + std::strerror(errno), "nuv-simulator --dir " + ShellWord(path));
  }
  if (!S_ISDIR(self.st_mode)) return Failure(where + " is no directory", kOtherDirectory);
  if (faccessat(AT_FDCWD, path.c_str(), R_OK | X_OK, AT_EACCESS) != 0) {
    return Failure(where + ": " + std::strerror(errno), "chmod go+rx " + ShellWord(path));
  }
  const size_t length = (path + "/.corvane.db").size();
  if (length > kLongestDatabasePath) {
    return Failure(where + ": the path of the database in it has " + std::to_string(length) +
                       " characters, of which the inner side reads " + std::to_string(kLongestDatabasePath),
                   "NUV_HOST_DIR, set to a shorter path");
  }
  if ((self.st_mode & kOthersWrite) != 0) {
    const bool shared = (self.st_mode & S_ISVTX) != 0;  // such as /tmp, which stays open to all
    return Failure(where + " can be written to by other users (mode " + Octal(self.st_mode) +
                       "), and nuv-simulator does not work in it",
                   shared ? kOtherDirectory : "chmod go-w " + ShellWord(path));
  }
  return LookAtOwner(examination, where, self.st_uid);
}

// Who holds the lock, as the kernel says: nothing where nobody does, 0 where it is a process that is not seen from
// here. To ask takes no lock.
std::optional<pid_t> LockHolder(const Descriptor& file) {
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  if (file.number() < 0 || fcntl(file.number(), F_GETLK, &range) != 0 || range.l_type == F_UNLCK) return std::nullopt;
  return range.l_pid > 0 ? range.l_pid : 0;
}

bool ServiceWorksHere(Examination& examination) {
  const SimulatorState* simulator = examination.simulator();
  return simulator != nullptr && !simulator->directory.empty() &&
         SameDirectory(examination.directory(), simulator->directory);
}

Finding LookAtLock(Examination& examination) {
  struct stat self = {};
  if (stat(examination.directory().c_str(), &self) != 0) return NotKnown("there is no state directory");
  const Descriptor file(
      open((examination.directory() + "/" + kLock).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file.number() < 0 && errno != ENOENT) {
    return NotKnown(std::string("the lock of the state directory cannot be read: ") + std::strerror(errno));
  }
  const std::optional<pid_t> holder = LockHolder(file);
  if (!holder) {
    if (!ServiceWorksHere(examination)) return Fine("no nuv-simulator holds the state directory");
    return Warning("the service works in the state directory without its lock: another one may do so, too",
                   "NUV_HOST_DIR, set to a directory on a file system with locks");
  }
  if (*holder == 0) return NotKnown("a process that is not seen from here holds the state directory");
  const std::string process = "process " + std::to_string(*holder);
  const ServiceFacts* service = examination.service();
  if (service == nullptr)
    return NotKnown(process +
                    " holds the state directory, and the bus does not say whether it is "
                    "the service");
  if (service->process == *holder) return Fine("the service holds the state directory (" + process + ")");
  return Failure(process + " holds the state directory, and is not the service on this bus",
                 "DBUS_SYSTEM_BUS_ADDRESS, set to the bus of that process, or kill " + std::to_string(*holder));
}

Finding LookAtServiceDirectory(Examination& examination) {
  if (const auto gone = examination.service_gone()) return *gone;
  const SimulatorState* simulator = examination.simulator();
  if (simulator == nullptr || simulator->directory.empty()) return NotKnown("the service does not say where it works");
  if (ServiceWorksHere(examination)) return Fine("the service works in nuvctl's directory");
  const std::string own = examination.directory().empty() ? "none" : Printable(examination.directory());
  return Failure("the service works in " + Printable(simulator->directory) + ", and nuvctl in " + own,
                 "export NUV_HOST_DIR=" + ShellWord(simulator->directory));
}

// A setting that the platform cannot read counts as none.
Finding LookAtReset(Examination& examination) {
  const std::string file = examination.directory() + "/" + kResetSetting;
  for (const Obstacle& guard : GuardObstacles()) {
    if (guard.key == std::string("factory-reset"))
      return Failure(guard.why.message + ": lookups fail", Printable(file));
  }
  struct stat setting = {};
  int state = 0;
  const bool is_there = stat(file.c_str(), &setting) == 0;
  if (!is_there && errno == EACCES) return NotKnown("this user may not read the settings", Printable(file));
  if (is_there && vconf_get_int(kResetKey, &state) != 0) {
    return Warning(std::string("the setting ") + kResetKey + " is no number, and counts as 0", Printable(file));
  }
  return Fine("no factory reset is running");
}

Finding LookAtRepair(Examination&) {
  const auto repair = RepairObstacle();
  if (!repair) return Fine("no packages are being repaired");
  return Failure(repair->why.message + ": lookups fail", std::string("rm ") + kRepairMarker + ", once no repair runs");
}

}  // namespace

std::vector<Check> DirectoryChecks() {
  return {{"directory", LookAtDirectory},
          {"lock", LookAtLock},
          {"service-directory", LookAtServiceDirectory},
          {"factory-reset", LookAtReset},
          {"repair", LookAtRepair}};
}
