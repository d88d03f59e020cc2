#include "command/log_choice.h"

#include <cstdlib>
#include <optional>

namespace {

std::string Wish() {
  const char* wish = getenv("NUV_LOG");
  return wish != nullptr ? wish : "";
}

std::optional<std::string>& KeptWish() {
  static auto& wish = *new std::optional<std::string>;
  return wish;
}

}  // namespace

void SetUpLog(bool verbose) {
  KeptWish() = Wish();
  setenv("NUV_LOG", verbose ? "stderr" : "off", verbose);
  if (verbose) setenv("NUV_LOG_LEVEL", "info", 1);
}

std::string LogWish() {
  return KeptWish().value_or(Wish());
}
