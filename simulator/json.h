// JSON: documents that are read, and texts that are written. Only json.cpp includes the parser, which takes seconds to
// compile.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

// Names the file and the place in it.
class JsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A value in a document, which lives as long as one of its values does.
class Json {
 public:
  // The whole document, under the name that errors are to use for it, if any. Throws JsonError when the file cannot be
  // read or is no JSON.
  static Json ReadFile(const std::string& path, const std::string& name);

  // The same of a text; the name stands for the file.
  static Json ReadText(const std::string& text, const std::string& name);

  bool IsFlag() const;
  bool IsText() const;
  bool IsInteger() const;
  std::optional<std::int64_t> Integer() const;  // nothing where it is none, or too large

  // Each throws JsonError where the value is of another kind.
  bool Flag() const;
  std::string Text() const;
  std::vector<Json> Elements() const;
  std::map<std::string, Json> Members() const;

  const std::string& place() const { return place_; }
  // Throws JsonError, which says so of this value.
  [[noreturn]] void Refuse(const std::string& reason) const;

 private:
  static Json Parse(const std::string& text, const std::string& source, const std::string& place);
  Json(std::shared_ptr<const nlohmann::json> document, const nlohmann::json& value, std::string place);
  void Require(bool holds, const char* reason) const;

  std::shared_ptr<const nlohmann::json> document_;
  const nlohmann::json* value_;
  std::string place_;  // such as PATH: rules[0].app
};

// The pairs as the text of an object; bytes that are no UTF-8 are replaced.
std::string ToJson(const std::vector<std::pair<std::string, std::string>>& members);

}  // namespace simulator
