#include "json.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>

#include "file.h"

namespace simulator {
namespace {

using nlohmann::json;

[[noreturn]] void Throw(const std::string& path, const std::string& reason) {
  throw JsonError(path + ": " + reason);
}

const char* KindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISFIFO(mode)) return "a pipe";
  return S_ISSOCK(mode) ? "a socket" : "a device";
}

void CheckKind(const std::string& path, const struct stat& file) {
  if (!S_ISREG(file.st_mode)) Throw(path, std::string("is ") + KindOf(file.st_mode) + ", not a file");
}

// Looks before it opens: opening a pipe may never return, opening a device may do anything. What takes the file's place
// in between is looked at again.
std::string ContentOf(const std::string& path) {
  struct stat named {};
  if (stat(path.c_str(), &named) != 0) Throw(path, std::strerror(errno));
  CheckKind(path, named);
  const File file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat opened {};
  if (!file || fstat(file.get(), &opened) != 0) Throw(path, std::strerror(errno));
  CheckKind(path, opened);
  std::string text;
  if (!ReadToEnd(file, text)) Throw(path, std::strerror(errno));
  return text;
}

// The parser's messages begin with a name of its own in brackets.
std::string WithoutParserName(const std::string& message) {
  const std::size_t end = message.find("] ");
  return message.front() == '[' && end != std::string::npos ? message.substr(end + 2) : message;
}

// A text with a NUL would be another text for everybody who gets it as a C string: the database, the bus, a program.
json::parser_callback_t RefuseNul() {
  return [key = std::string()](int, json::parse_event_t event, json& parsed) mutable {
    if (!parsed.is_string()) return true;
    const auto& text = parsed.get_ref<const std::string&>();
    const bool is_key = event == json::parse_event_t::key;
    if (const std::size_t end = text.find('\0'); end != std::string::npos) {
      const std::string named = key.empty() ? "a text" : "\"" + key + "\"";
      throw std::runtime_error((is_key ? "a key" : named) + " has \\u0000 in it, after \"" + text.substr(0, end) +
                               "\"");
    }
    if (is_key) key = text;
    return true;
  };
}

}  // namespace

Json::Json(std::shared_ptr<const json> document, const json& value, std::string place)
    : document_(std::move(document)), value_(&value), place_(std::move(place)) {}

Json Json::Parse(const std::string& text, const std::string& source, const std::string& place) {
  try {
    const auto document = std::make_shared<const json>(json::parse(text, RefuseNul()));
    return {document, *document, place};
  } catch (const json::exception& error) {
    Throw(source, WithoutParserName(error.what()));
  } catch (const std::exception& error) {
    Throw(source, error.what());  // the parser found a NUL, or no memory
  }
}

Json Json::ReadFile(const std::string& path, const std::string& name) {
  return Parse(ContentOf(path), path, path + (name.empty() ? ":" : ": " + name));
}

Json Json::ReadText(const std::string& text, const std::string& name) {
  return Parse(text, name, name);
}

void Json::Refuse(const std::string& reason) const {
  throw JsonError(place_ + " " + reason);
}

void Json::Require(bool holds, const char* reason) const {
  if (!holds) Refuse(reason);
}

bool Json::IsFlag() const {
  return value_->is_boolean();
}

bool Json::IsText() const {
  return value_->is_string();
}

bool Json::IsInteger() const {
  return value_->is_number_integer();
}

std::optional<std::int64_t> Json::Integer() const {
  if (!IsInteger() || (value_->is_number_unsigned() && value_->get<std::uint64_t>() > INT64_MAX)) return std::nullopt;
  return value_->get<std::int64_t>();
}

bool Json::Flag() const {
  Require(IsFlag(), "has to be true or false");
  return value_->get<bool>();
}

std::string Json::Text() const {
  Require(IsText(), "has to be a text");
  return value_->get<std::string>();
}

std::vector<Json> Json::Elements() const {
  Require(value_->is_array(), "has to be a list");
  std::vector<Json> elements;
  elements.reserve(value_->size());
  for (const json& element : *value_) {
    elements.push_back({document_, element, place_ + "[" + std::to_string(elements.size()) + "]"});
  }
  return elements;
}

std::map<std::string, Json> Json::Members() const {
  Require(value_->is_object(), "has to be an object");
  const std::string prefix = place_ + (value_ == document_.get() ? " " : ".");
  std::map<std::string, Json> members;
  for (const auto& [key, member] : value_->items()) members.emplace(key, Json(document_, member, prefix + key));
  return members;
}

std::string ToJson(const std::vector<std::pair<std::string, std::string>>& members) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (const auto& [key, value] : members) object[key] = value;
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace simulator
