// What is asked of the inner side of the database, and what is to be changed there.
#pragma once

#include <optional>
#include <string>

struct InnerChoice {
  bool list = false;                       // all applications; otherwise one
  std::optional<std::string> platform_id;  // in place of the id
  bool any_state = false;                  // not only what is installed

  std::optional<std::string> check;  // application whose use is asked about

  std::string field;
  std::string value;
  std::string version;
  int command = 0;
  std::string package_path;
  std::string data;
};
