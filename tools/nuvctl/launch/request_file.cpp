#include "launch/request_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "report/text.h"

namespace {

using Json = nlohmann::ordered_json;

// The bus takes no message that is longer than a few times this.
constexpr size_t kLongestFile = size_t{16} << 20;

struct CloseUnlessStandard {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};

class WrongRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

[[noreturn]] void Refuse(const std::string& place, const std::string& what) {
  throw WrongRequest((place.empty() ? "" : place + ": ") + what);
}

std::string ReadAll(const std::string& path) {
  const std::unique_ptr<std::FILE, CloseUnlessStandard> file(path == "-" ? stdin : std::fopen(path.c_str(), "rbe"));
  if (file == nullptr) Refuse("", std::strerror(errno));
  std::string content;
  char block[4096];
  while (const size_t count = std::fread(block, 1, sizeof block, file.get())) {
    content.append(block, count);
    if (content.size() > kLongestFile) Refuse("", "longer than " + std::to_string(kLongestFile >> 20) + " MiB");
  }
  if (std::ferror(file.get()) != 0) Refuse("", std::strerror(errno));
  return content;
}

// What the parser says begins with a number of its own for the kind of error, in brackets.
std::string WithoutPrefix(const std::string& message) {
  const size_t bracket = message.find("] ");
  return bracket == std::string::npos ? message : message.substr(bracket + 2);
}

// An object has each key once: of two values one would be lost without a word.
class KeysOnce {
 public:
  bool operator()(int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) open_.emplace_back();
    if (event == Json::parse_event_t::object_end) open_.pop_back();
    if (event == Json::parse_event_t::key && !open_.back().insert(parsed.get<std::string>()).second) {
      Refuse("", "the key \"" + parsed.get<std::string>() + "\" is there twice");
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> open_;
};

Json Parse(const std::string& content) {
  try {
    return Json::parse(content, KeysOnce());
  } catch (const Json::exception& error) {
    Refuse("", WithoutPrefix(error.what()));
  }
}

// The platform's texts end at the first null character.
std::string TextAt(const std::string& place, const Json& value) {
  if (!value.is_string()) Refuse(place, std::string("a text is needed, not a value of type ") + value.type_name());
  auto text = value.get<std::string>();
  if (text.find('\0') != std::string::npos) Refuse(place, "a text with a null character");
  return text;
}

using Extra = std::pair<std::string, std::string>;

Extra ExtraAt(const std::string& place, const std::string& key, const Json& value) {
  return {TextAt(place, key), TextAt(place + "." + key, value)};
}

Extra PairAt(const std::string& place, const Json& pair) {
  if (!pair.is_array() || pair.size() != 2) Refuse(place, "a pair of a key and a text is needed");
  return ExtraAt(place, TextAt(place + "[0]", pair[0]), pair[1]);
}

std::vector<Extra> ExtraDataAt(const std::string& place, const Json& value) {
  std::vector<Extra> extra;
  std::set<std::string> keys;
  if (value.is_object()) {
    for (const auto& [key, text] : value.items()) extra.push_back(ExtraAt(place, key, text));
  } else if (value.is_array()) {
    for (size_t i = 0; i < value.size(); ++i) extra.push_back(PairAt(place + "[" + std::to_string(i) + "]", value[i]));
  } else {
    Refuse(place, "an object or an array of pairs is needed");
  }
  for (const auto& [key, text] : extra) {
    if (!keys.insert(key).second) Refuse(place, "the key \"" + key + "\" is there twice");
  }
  return extra;
}

struct Key {
  const char* name;
  void (*read)(AppRequest& request, const std::string& place, const Json& value);
};

constexpr Key kKeys[] = {
    {"app", [](AppRequest& r, const std::string& place, const Json& value) { r.app_id = TextAt(place, value); }},
    {"operation",
     [](AppRequest& r, const std::string& place, const Json& value) { r.operation = TextAt(place, value); }},
    {"uri", [](AppRequest& r, const std::string& place, const Json& value) { r.uri = TextAt(place, value); }},
    {"extra",
     [](AppRequest& r, const std::string& place, const Json& value) { r.extra_data = ExtraDataAt(place, value); }},
};

const Key& KeyNamed(const std::string& name) {
  for (const Key& key : kKeys) {
    if (key.name == name) return key;
  }
  Refuse(name, "no such key; the keys are app, operation, uri and extra");
}

AppRequest RequestOf(const Json& document) {
  if (!document.is_object()) Refuse("", "an object is needed");
  if (!document.contains("app")) Refuse("app", "the application is missing");
  AppRequest request;
  for (const auto& [name, value] : document.items()) KeyNamed(name).read(request, name, value);
  return request;
}

}  // namespace

std::variant<AppRequest, RequestError> ReadRequestFile(const std::string& path) {
  try {
    return RequestOf(Parse(ReadAll(path)));
  } catch (const WrongRequest& wrong) {
    return RequestError{Printable((path == "-" ? "standard input" : path) + ": " + wrong.what())};
  }
}
