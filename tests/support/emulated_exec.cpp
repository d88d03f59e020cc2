// Lets an emulated program start programs of its own architecture, which the kernel cannot: they are started with the
// emulator. To be preloaded; NUV_EMULATOR is the emulator's command line, words separated by blanks, and preloads this.
#include <elf.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

bool NeedsEmulator(const char* path) {
  Elf32_Ehdr header{};
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool whole = read(fd, &header, sizeof header) == static_cast<ssize_t>(sizeof header);
  close(fd);
  return whole && memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_machine == EM_ARM;
}

// Resolves /proc/self/exe here, where it names the emulated program: once the emulator is started, it names the
// emulator.
std::string Resolve(const char* path) {
  char real[PATH_MAX] = {};
  return strcmp(path, "/proc/self/exe") == 0 && readlink(path, real, sizeof real - 1) > 0 ? real : path;
}

std::string Find(const char* file) {
  if (strchr(file, '/') != nullptr) return file;
  const char* search = getenv("PATH");
  std::istringstream directories(search == nullptr ? "/usr/bin:/bin" : search);
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string path = directory + "/" + file;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  return file;
}

int Execute(const std::string& path, char* const argv[], char* const envp[]) {
  // What is preloaded is for the emulated program alone.
  std::vector<char*> environment;
  for (char* const* variable = envp; *variable != nullptr; ++variable) {
    if (strncmp(*variable, "LD_PRELOAD=", 11) != 0) environment.push_back(*variable);
  }
  environment.push_back(nullptr);
  std::vector<std::string> words;
  const char* emulator = getenv("NUV_EMULATOR");
  if (emulator != nullptr && NeedsEmulator(path.c_str())) {
    std::istringstream line(emulator);
    for (std::string word; line >> word;) words.push_back(word);
  }
  if (words.empty()) return static_cast<int>(syscall(SYS_execve, path.c_str(), argv, environment.data()));
  const std::string program = Resolve(path.c_str());
  words[0] = Find(words[0].c_str());
  words.insert(words.end(), {"-0", argv[0], program});
  std::vector<char*> all;
  for (std::string& word : words) all.push_back(word.data());
  for (char* const* argument = argv + 1; *argument != nullptr; ++argument) all.push_back(*argument);
  all.push_back(nullptr);
  return static_cast<int>(syscall(SYS_execve, words[0].c_str(), all.data(), environment.data()));
}

}  // namespace

extern "C" {

int execve(const char* path, char* const argv[], char* const envp[]) noexcept {
  return Execute(path, argv, envp);
}
int execv(const char* path, char* const argv[]) noexcept {
  return Execute(path, argv, environ);
}
int execvp(const char* file, char* const argv[]) noexcept {
  return Execute(Find(file), argv, environ);
}

}  // extern "C"
