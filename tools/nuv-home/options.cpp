#include "options.h"

#include <CLI/CLI.hpp>
#include <cmath>

namespace home {
namespace {

constexpr int kUsageError = 2;
constexpr double kLongestWait = 3600;

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int* exit_status) {
  Options options;
  double wait_s = options.wait_ms / 1000.0;
  CLI::App app("Shows the TV's home screen to a browser: prints the address to open, and serves until it is ended.",
               "nuv-home");
  app.add_option("--listen", options.listen,
                 "Address and port to serve at; default: 127.0.0.1:0, where 0 is any port that is free")
      ->option_text("ADDRESS:PORT");
  app.add_flag("--allow-remote", options.allow_remote,
               "Let --listen name an address that other machines reach; nothing is encrypted");
  app.add_option("--wait", wait_s, "Until a launch without an outcome counts as timed out; default: 10")
      ->check(CLI::Range(0.1, kLongestWait))
      ->option_text("SECONDS");
  app.add_option("--address-fd", options.address_fd, "Print the address to this open file, and close it")
      ->check(CLI::NonNegativeNumber)
      ->option_text("NUMBER");
  app.set_version_flag("--version", "nuv-home " NUV_VERSION, "Print the version");
  app.footer("Exit status: 0: ended by SIGINT or SIGTERM, 1: it cannot serve there, 2: wrong usage.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    *exit_status = app.exit(error) == 0 ? 0 : kUsageError;
    return std::nullopt;
  }
  options.wait_ms = static_cast<unsigned>(std::lround(wait_s * 1000));
  return options;
}

}  // namespace home
