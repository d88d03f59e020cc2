#include "host_guest_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <new>

#include "host_file.h"
#include "host_write.h"

namespace nuv::host {

GuestFile::~GuestFile() {
  const Opened* file = current_.load(std::memory_order_acquire);
  if (file != nullptr && StillOurs(*file)) close(file->fd);
  while (file != nullptr) {
    const Opened* const previous = file->previous;
    delete file;
    file = previous;
  }
}

bool GuestFile::IsTerminal() const {
  const Opened* const file = current_.load(std::memory_order_acquire);
  return file != nullptr && isatty(file->fd) == 1;
}

ssize_t GuestFile::Write(const char* data, size_t size) {
  const Opened* file = current_.load(std::memory_order_acquire);
  if (file == nullptr || !StillOurs(*file)) file = Reopen(file);
  if (file == nullptr) return -1;
  if (file->regular && !FileSizesAreLimited()) return WriteOnce(file->fd, data, size);
  return WriteWithoutSignal(file->fd, data, size);
}

bool GuestFile::StillOurs(const Opened& file) {
  struct stat now;
  return fstat(file.fd, &now) == 0 && now.st_dev == file.device && now.st_ino == file.inode;
}

const GuestFile::Opened* GuestFile::Reopen(const Opened* stale) {
  UniqueFd fd(open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | flags_, 0644));
  struct stat status;
  if (!fd.valid() || fstat(fd.get(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) return nullptr;
  auto* const fresh = new (std::nothrow) Opened{fd.get(), status.st_dev, status.st_ino, S_ISREG(status.st_mode), stale};
  if (fresh == nullptr) return nullptr;
  if (!current_.compare_exchange_strong(stale, fresh, std::memory_order_acq_rel)) {
    delete fresh;  // another thread was first; its file is as good
    return stale;
  }
  fd.Release();
  return fresh;
}

}  // namespace nuv::host
