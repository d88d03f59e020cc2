// Linked into programs with tests that need several users or a file system of their own. Where the user is not root,
// the program starts again as root of a user namespace, in which the subordinate users (/etc/subuid, newuidmap) are the
// others. Where there are none, it goes on as it is, and these tests say what they need.
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// The loader calls this in front of everything that may start a thread or a process.
__attribute__((constructor)) void BecomeRootOfNamespace(int, char** argv, char**) {
  constexpr const char* kTried = "NUV_TRIED_NAMESPACE";
  if (geteuid() == 0 || getenv(kTried) != nullptr) return;
  setenv(kTried, "1", 1);
  if (system("unshare --user --map-root-user --map-auto true 2>/dev/null") != 0) return;
  char program[PATH_MAX] = {};
  if (readlink("/proc/self/exe", program, sizeof program - 1) < 0) return;
  std::vector<const char*> command = {"unshare", "--user", "--map-root-user", "--map-auto", "--", program};
  for (char** argument = argv + 1; *argument != nullptr; ++argument) command.push_back(*argument);
  command.push_back(nullptr);
  execvp(command[0], const_cast<char**>(command.data()));
}

}  // namespace
