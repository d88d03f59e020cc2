#include "sessions.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

#include "failure.h"

namespace session {
namespace {

constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t kLongestName = 32;
constexpr auto kLockLimit = std::chrono::milliseconds(10000);
constexpr auto kShortLockLimit = std::chrono::milliseconds(200);
constexpr auto kLockPause = std::chrono::milliseconds(10);

// XDG_RUNTIME_DIR, where it belongs to this user: su and sudo often leave the variable of the user before.
std::string PathOfSessions() {
  const char* runtime = getenv("XDG_RUNTIME_DIR");
  struct stat entry {};
  const bool good = runtime != nullptr && runtime[0] == '/' && stat(runtime, &entry) == 0 && S_ISDIR(entry.st_mode) &&
                    entry.st_uid == geteuid() && (entry.st_mode & kOthersWrite) == 0;
  return good ? std::string(runtime) + "/nuv-session" : "/tmp/nuv-session-" + std::to_string(geteuid());
}

bool SameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Taken for moments only, by programs like this one.
void LockWithLimit(const File& directory, const std::string& path, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (flock(directory.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) throw SystemFailure("cannot lock " + path);
    if (std::chrono::steady_clock::now() > deadline) {
      throw Failure("another nuv-session holds the lock of " + path + " and does not go on");
    }
    std::this_thread::sleep_for(kLockPause);
  }
}

// The directory of all sessions, while this lives nobody else's to change.
class AllSessions {
 public:
  static AllSessions OpenOrMake() {
    for (;;) {
      const std::string path = PathOfSessions();
      if (mkdir(path.c_str(), kOwnerOnly) != 0 && errno != EEXIST) throw SystemFailure("cannot make " + path);
      if (auto sessions = Open()) return std::move(*sessions);
    }
  }

  // Nothing when it is not there.
  static std::optional<AllSessions> Open(std::chrono::milliseconds lock_limit = kLockLimit) {
    const std::string path = PathOfSessions();
    File directory(open(path.c_str(), kOpenDirectory));
    if (!directory && errno == ENOENT) return std::nullopt;
    if (!directory) throw SystemFailure("cannot open " + path);
    struct stat opened {};
    struct stat named {};
    fstat(directory.get(), &opened);
    if (opened.st_uid != geteuid() || (opened.st_mode & kOthers) != 0) {
      throw Failure(path + " is not this user's alone: it belongs to user " + std::to_string(opened.st_uid) +
                    "; set XDG_RUNTIME_DIR to a directory of your own");
    }
    LockWithLimit(directory, path, lock_limit);
    // The last session may have taken it away meanwhile.
    if (lstat(path.c_str(), &named) != 0 || !SameFile(opened, named)) return std::nullopt;
    return AllSessions(std::move(directory), path);
  }

  const std::string& path() const { return path_; }
  int get() const { return directory_.get(); }
  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path_, error)) {
      if (IsSessionName(entry.path().filename().string())) names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // The lock of a session, where it could be had.
  File LockOf(const std::string& name) const {
    File directory(openat(get(), name.c_str(), kOpenDirectory));
    if (!directory || flock(directory.get(), LOCK_EX | LOCK_NB) != 0) return File();
    return directory;
  }
  bool Runs(const std::string& name) const {
    const File directory(openat(get(), name.c_str(), kOpenDirectory));
    return directory && flock(directory.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  }
  std::vector<std::string> Running() const {
    std::vector<std::string> names = Names();
    names.erase(std::remove_if(names.begin(), names.end(), [this](const auto& name) { return !Runs(name); }),
                names.end());
    return names;
  }

  void Remove(const std::string& name) const {
    std::error_code ignored;
    std::filesystem::remove_all(PathOf(name), ignored);
  }
  void RemoveLeftovers() const {
    for (const std::string& name : Names()) {
      if (LockOf(name)) Remove(name);
    }
  }
  // Where no session is left.
  void RemoveIfEmpty() const { rmdir(path_.c_str()); }

 private:
  AllSessions(File directory, std::string path) : directory_(std::move(directory)), path_(std::move(path)) {}
  File directory_;
  std::string path_;
};

Failure InUse(const AllSessions& sessions, const std::string& name) {
  if (!sessions.Runs(name)) {
    return Failure(sessions.PathOf(name) + " is in the way: move it away, or choose another --name");
  }
  return Failure("a session with the name " + name + " runs already: nuv-session --attach " + name +
                 " joins it, another --name makes another");
}

std::string Make(const AllSessions& sessions, const std::string& wanted) {
  for (int number = 1;; ++number) {
    std::string name = wanted.empty() ? std::to_string(number) : wanted;
    if (mkdirat(sessions.get(), name.c_str(), kOwnerOnly) == 0) return name;
    if (errno != EEXIST) throw SystemFailure("cannot make " + sessions.PathOf(name));
    if (!wanted.empty()) throw InUse(sessions, name);
  }
}

}  // namespace

bool IsSessionName(const std::string& name) {
  constexpr const char* kLettersAndDigits = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  return !name.empty() && name.size() <= kLongestName &&
         name.find_first_not_of(std::string(kLettersAndDigits) + "_.-") == std::string::npos &&
         std::string(kLettersAndDigits).find(name[0]) != std::string::npos;
}

Claim::Claim(const std::string& name) {
  const AllSessions sessions = AllSessions::OpenOrMake();
  try {
    sessions.RemoveLeftovers();
    name_ = Make(sessions, name);
  } catch (...) {
    sessions.RemoveIfEmpty();
    throw;
  }
  path_ = sessions.PathOf(name_);
  lock_ = sessions.LockOf(name_);
  if (!lock_) throw SystemFailure("cannot lock " + path_);
}

Claim::~Claim() {
  try {
    if (lock_) Remove();
  } catch (const Failure&) {  // the next session takes it away
  }
}

void Claim::Remove() {
  const auto sessions = AllSessions::Open();
  if (!sessions) return;
  sessions->Remove(name_);
  lock_.Close();
  sessions->RemoveIfEmpty();
}

std::string FindSession(const std::string& name) {
  const auto sessions = AllSessions::Open();
  if (sessions && sessions->Runs(name)) return sessions->PathOf(name);
  std::string running;
  for (const std::string& other : sessions ? sessions->Running() : std::vector<std::string>()) running += " " + other;
  throw Failure("no session with the name " + name + " runs" + (running.empty() ? "" : "; there are:" + running));
}

std::vector<std::string> RunningSessions() {
  try {
    const auto sessions = AllSessions::Open(kShortLockLimit);
    return sessions ? sessions->Running() : std::vector<std::string>();
  } catch (const Failure&) {
    return {};
  }
}

void RemoveLeftoverSessions() {
  const auto sessions = AllSessions::Open();
  if (!sessions) return;
  sessions->RemoveLeftovers();
  sessions->RemoveIfEmpty();
}

void WriteFile(const std::string& path, const std::string& content) {
  const std::string part = path + ".new";
  {
    const File file(open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file) throw SystemFailure("cannot make " + part);
    errno = ENOSPC;  // of a write that is cut short
    if (write(file.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
      throw SystemFailure("cannot write " + part);
    }
  }
  if (rename(part.c_str(), path.c_str()) != 0) throw SystemFailure("cannot make " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace session
