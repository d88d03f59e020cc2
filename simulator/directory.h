// A directory that is this user's alone to write, worked in by names: no link in it is followed, and no other takes its
// place under way.
#pragma once

#include <sys/types.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "file.h"

namespace simulator {

class DirectoryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Directory {
 public:
  // Makes it, and what is missing above it, for this user alone. Throws DirectoryError, which says what to do, when it
  // is somebody else's, when others can write to it, or when the way to it is another user's link.
  explicit Directory(const std::string& path);
  // One in it, which everybody may read who can read this one.
  Directory Make(const std::string& name) const;

  // For this process alone until it ends. False while another one has it.
  bool Lock();
  // The process that has it, as the kernel says; 0 where it does not say.
  pid_t Holder() const;

  const std::string& Path() const { return path_; }
  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }
  std::vector<std::string> Names() const;

  bool Has(const std::string& name) const;
  bool IsFile(const std::string& name) const;  // a regular one
  // What a regular file holds; nothing where there is none, or one that is longer.
  std::optional<std::string> Read(const std::string& name, std::size_t longest) const;

  // Makes a new file. 0, or the error number, such as EEXIST where the name is taken.
  int Create(const std::string& name, const std::string& content) const;
  int Remove(const std::string& name) const;
  int MoveTo(const Directory& other, const std::string& from, const std::string& to) const;

 private:
  Directory(File file, std::string path);
  void Check() const;

  File file_;
  File lock_{-1};
  std::string path_;
};

}  // namespace simulator
