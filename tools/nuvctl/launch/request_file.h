// An app-control request written down as JSON.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

struct AppRequest {
  std::string app_id;
  std::optional<std::string> operation;
  std::optional<std::string> uri;
  std::vector<std::pair<std::string, std::string>> extra_data;  // in the order in which it was written
};

// What is wrong, and where: the file, and the line or the key in it.
struct RequestError {
  std::string message;
};

// "-" is the standard input stream.
std::variant<AppRequest, RequestError> ReadRequestFile(const std::string& path);
