#include "service/app_program.h"

#include <filesystem>

bool HasProgram(const std::string& install_path, const std::string& app_id) {
  if (install_path.empty()) return false;
  std::error_code ignored;
  const std::filesystem::path root(install_path);
  const bool plain_id = app_id.find('/') == std::string::npos;
  for (const auto& path : {root, plain_id ? root / "bin" / app_id : root, root / "bin" / "run"}) {
    if (std::filesystem::is_regular_file(path, ignored)) return true;
  }
  return false;
}
