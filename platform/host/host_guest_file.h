// A file that is open in a process which does not know about it.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>

namespace nuv::host {

// A program may close every descriptor it does not know (daemons do) and get the number again for a file of its own.
// Each write therefore makes sure first that the descriptor still is this file, and opens the file anew where it is
// not. Takes no lock, so a forked child may go on writing; what one write hands over arrives in one piece. No write
// raises a signal, and none waits: the description is our own and does not block.
class GuestFile {
 public:
  // flags as for open(), for instance O_APPEND | O_CREAT.
  GuestFile(std::string path, int flags) : path_(std::move(path)), flags_(flags) {}
  ~GuestFile();
  GuestFile(const GuestFile&) = delete;
  GuestFile& operator=(const GuestFile&) = delete;

  // Opens the file. Refuses all but regular files and character devices: a write to anything else may raise a signal or
  // block.
  bool Open() { return Reopen(current_.load(std::memory_order_acquire)) != nullptr; }
  bool IsTerminal() const;

  // Bytes written, or -1.
  ssize_t Write(const char* data, size_t size);

 private:
  struct Opened {
    int fd;
    dev_t device;
    ino_t inode;
    bool regular;
    const Opened* previous;  // kept: another thread may be about to look at it
  };

  static bool StillOurs(const Opened& file);
  const Opened* Reopen(const Opened* stale);

  const std::string path_;
  const int flags_;
  std::atomic<const Opened*> current_{nullptr};
};

}  // namespace nuv::host
