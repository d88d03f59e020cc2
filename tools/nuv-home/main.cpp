// nuv-home: the TV's home screen, as a page for a browser.
#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>

#include "glib_handles.h"
#include "home.h"
#include "options.h"

namespace {

gboolean OnEnd(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

// A call may be within the library for as long as the service makes it wait: the process ends without it.
[[noreturn]] void EndNow(int status) {
  std::fflush(nullptr);
  _exit(status);
}

void PrintAddress(const std::string& address, int file) {
  const std::string line = address + "\n";
  if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::system_error(errno, std::generic_category(), "the address cannot be printed");
  }
  if (file > STDERR_FILENO) close(file);
}

int Run(const home::Options& options) {
  const GlibOwner<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
  g_unix_signal_add(SIGINT, OnEnd, loop.get());
  g_unix_signal_add(SIGTERM, OnEnd, loop.get());
  signal(SIGPIPE, SIG_IGN);
  const auto* home = new home::Home(options);
  PrintAddress(home->FirstAddress(), options.address_fd);
  g_main_loop_run(loop.get());
  EndNow(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
  int exit_status = EXIT_SUCCESS;
  try {
    const auto options = home::ParseOptions(argc, argv, &exit_status);
    return options ? Run(*options) : exit_status;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "nuv-home: %s\n", error.what());
    EndNow(EXIT_FAILURE);
  }
}
