#include "directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

namespace simulator {
namespace {

constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kReadableDirectory = 0755;
constexpr mode_t kReadableFile = 0644;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr const char* kLock = ".nuv-simulator.lock";
constexpr int kOpenLock = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::string NameOf(uid_t user) {
  const passwd* entry = getpwuid(user);
  const std::string number = "user " + std::to_string(user);
  return entry == nullptr ? number : number + " (" + entry->pw_name + ")";
}

[[noreturn]] void Throw(const std::string& path, int error) {
  throw DirectoryError(path + ": " + std::strerror(error));
}

// "mine/" names what a link leads to, not the link.
std::string WithoutSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

// A link that somebody else has put there would lead to a directory of his choice. The administrator's may.
void CheckLink(const std::string& path) {
  struct stat link {};
  if (lstat(path.c_str(), &link) != 0 || !S_ISLNK(link.st_mode)) return;
  if (link.st_uid == geteuid() || link.st_uid == 0) return;
  throw DirectoryError(path + " is a link of the " + NameOf(link.st_uid) +
                       " and is not followed: name the directory itself, or another");
}

void MakeMissing(const std::string& path) {
  if (mkdir(path.c_str(), kOwnerOnly) == 0 || errno == EEXIST) return;
  const std::string above = WithoutSlashes(std::filesystem::path(path).parent_path().string());
  if (errno != ENOENT || above.empty() || above == path) Throw(path, errno);
  MakeMissing(above);
  if (mkdir(path.c_str(), kOwnerOnly) != 0 && errno != EEXIST) Throw(path, errno);
}

std::string OctalMode(mode_t mode) {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode) & 07777U);
  return text;
}

struct flock WholeFile() {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  return range;
}

std::string Canonical(const std::string& path) {
  std::error_code error;
  const std::filesystem::path canonical = std::filesystem::canonical(path, error);
  if (error) Throw(path, error.value());
  return canonical.string();
}

File Open(const std::string& path) {
  if (path.empty()) throw DirectoryError("the state directory has no name");
  CheckLink(path);
  MakeMissing(path);
  File file(open(path.c_str(), kOpenDirectory));
  if (!file) Throw(path, errno);
  return file;
}

}  // namespace

Directory::Directory(const std::string& path) : Directory(Open(WithoutSlashes(path)), WithoutSlashes(path)) {
  Check();
  path_ = Canonical(path_);
}

Directory::Directory(File file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

Directory Directory::Make(const std::string& name) const {
  const std::string path = PathOf(name);
  if (mkdirat(file_.get(), name.c_str(), kReadableDirectory) != 0 && errno != EEXIST) Throw(path, errno);
  Directory made(File(openat(file_.get(), name.c_str(), kOpenDirectory | O_NOFOLLOW)), path);
  if (!made.file_) {
    const bool other = errno == ELOOP || errno == ENOTDIR;
    throw DirectoryError(path + (other ? " is in the way: a directory has to be there, and no link; move it away"
                                       : std::string(": ") + std::strerror(errno)));
  }
  made.Check();
  return made;
}

// The lock on the directory decides, because nobody can put something else in the directory's place. It does not tell
// who holds it, so the holder locks a file in it as well, with a record lock, which names the process. Without that
// file only the process id is missing. On a file system without locks the simulator works without one.
bool Directory::Lock() {
  if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
  struct flock range = WholeFile();
  lock_ = File(openat(file_.get(), kLock, kOpenLock | O_CREAT, kReadableFile));
  if (lock_) fcntl(lock_.get(), F_SETLK, &range);
  return true;
}

pid_t Directory::Holder() const {
  const File file(openat(file_.get(), kLock, kOpenLock));
  struct flock range = WholeFile();
  if (!file || fcntl(file.get(), F_GETLK, &range) != 0 || range.l_type == F_UNLCK) return 0;
  return range.l_pid > 0 ? range.l_pid : 0;
}

// Looks at the open directory: another one may have its name by now.
void Directory::Check() const {
  struct stat self {};
  if (fstat(file_.get(), &self) != 0) Throw(path_, errno);
  if (self.st_uid != geteuid()) {
    throw DirectoryError(path_ + " belongs to the " + NameOf(self.st_uid) + ", and this is the " + NameOf(geteuid()) +
                         ": run this as its owner, or choose another directory with --dir");
  }
  if ((self.st_mode & kOthersWrite) == 0) return;
  // The advice to take the right away from everybody would spoil a shared place like /tmp.
  const bool shared = (self.st_mode & S_ISVTX) != 0;
  throw DirectoryError(
      path_ + " can be written to by other users (mode " + OctalMode(self.st_mode) + "): " +
      (shared ? "choose a directory of your own in it" : "chmod go-w " + path_ + ", or choose another directory") +
      " with --dir");
}

std::vector<std::string> Directory::Names() const {
  std::vector<std::string> names;
  const int again = openat(file_.get(), ".", kOpenDirectory);
  const DirectoryPtr entries(again < 0 ? nullptr : fdopendir(again));
  if (entries == nullptr) Throw(path_, errno);
  while (const dirent* entry = readdir(entries.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

bool Directory::Has(const std::string& name) const {
  struct stat entry {};
  return fstatat(file_.get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) == 0;
}

bool Directory::IsFile(const std::string& name) const {
  struct stat entry {};
  return fstatat(file_.get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(entry.st_mode);
}

std::optional<std::string> Directory::Read(const std::string& name, std::size_t longest) const {
  if (!IsFile(name)) return std::nullopt;
  const File file(openat(file_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  std::string content(longest + 1, '\0');
  const ssize_t size = file ? read(file.get(), content.data(), content.size()) : -1;
  if (size < 0 || static_cast<std::size_t>(size) > longest) return std::nullopt;
  content.resize(static_cast<std::size_t>(size));
  return content;
}

int Directory::Create(const std::string& name, const std::string& content) const {
  const File file(
      openat(file_.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kReadableFile));
  if (!file) return errno;
  errno = EIO;  // of a write that is cut short
  if (write(file.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size())) return 0;
  const int error = errno;
  Remove(name);
  return error;
}

int Directory::Remove(const std::string& name) const {
  return unlinkat(file_.get(), name.c_str(), 0) == 0 ? 0 : errno;
}

int Directory::MoveTo(const Directory& other, const std::string& from, const std::string& to) const {
  return renameat(file_.get(), from.c_str(), other.file_.get(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace simulator
