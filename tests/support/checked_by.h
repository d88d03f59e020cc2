// A file under the eyes of a script of its test's folder.
#pragma once

#include <string>

#include "process.h"
#include "temp_dir.h"

// What the script has against the file; nothing where all is well.
inline std::string CheckedBy(const std::string& script, const std::string& path, const TempDir& directory) {
  Process check({NUV_SOURCE_DIR "/tests/nuvctl/" + script, path}, directory.path());
  const auto status = check.Wait(Milliseconds(100000));
  if (!status) return "the check did not end";
  if (*status == 0) return "";
  const std::string complaint = check.Output() + check.Errors();
  return complaint.empty() ? "status " + std::to_string(*status) : complaint;
}

inline std::string TextCheckedBy(const std::string& script, const std::string& text, const TempDir& directory) {
  WriteFile(directory / "checked", text);
  return CheckedBy(script, directory / "checked", directory);
}
