#include "shell.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "sessions.h"

namespace session {
namespace {

std::string PathOfShell() {
  const char* variable = getenv("SHELL");
  if (variable != nullptr && variable[0] == '/' && access(variable, X_OK) == 0) return variable;
  const passwd* user = getpwuid(getuid());
  if (user != nullptr && user->pw_shell != nullptr && access(user->pw_shell, X_OK) == 0) return user->pw_shell;
  return "/bin/sh";
}

}  // namespace

Shell UserShell(const std::string& name, const std::string& directory) {
  const std::string mark = "(nuv " + name + ") ";
  Shell shell{{PathOfShell()}, {}};
  const std::string& path = shell.command[0];
  if (path.substr(path.rfind('/') + 1) != "bash") {
    shell.variables.push_back("PS1=" + mark + (geteuid() == 0 ? "# " : "$ "));
    return shell;
  }
  // The user's own file sets a prompt of its own, so the mark comes after it.
  const std::string file = directory + "/bashrc";
  WriteFile(file, "[ ! -r ~/.bashrc ] || . ~/.bashrc\nPS1='" + mark + "'\"$PS1\"\n");
  shell.command.insert(shell.command.end(), {"--rcfile", file});
  return shell;
}

void PrintHelp(const std::string& name) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return;
  std::fprintf(stderr,
               "A private TV until you exit: nuvctl list, nuvctl launch org.kelvo.app.clock --wait 5, nuvctl watch.\n"
               "The service's log: $NUV_SESSION_LOG. A second terminal: nuv-session --attach %s\n",
               name.c_str());
}

}  // namespace session
