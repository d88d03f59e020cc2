// What a page can ask for, by name, and how its requests are read.
#pragma once

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include "server/browsers.h"

namespace home {

// The message is for whoever wrote the page.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The fields of a request. They throw BadRequest for what is missing, is of another type, or is out of bounds.
class RequestFields {
 public:
  explicit RequestFields(const Json& request) : request_(request) {}

  std::string Text(const char* name, std::size_t longest) const;
  std::string TextOr(const char* name, std::size_t longest, const char* otherwise) const;
  std::int64_t NumberOr(const char* name, std::int64_t least, std::int64_t most, std::int64_t otherwise) const;
  std::int64_t Number(const char* name, std::int64_t least, std::int64_t most) const;
  bool Flag(const char* name) const;  // false where it is missing

 private:
  const Json& request_;
};

class Requests {
 public:
  // For the main loop's thread, once; a browser that is gone hears nothing.
  using Answer = std::function<void(Json)>;
  using Handler = std::function<void(const RequestFields&, const Answer&)>;

  void Add(const std::string& name, Handler handler) { handlers_[name] = std::move(handler); }

  // Finds the request's handler; what is no request is answered with what is wrong with it.
  void Take(const Json& request, const std::function<void(Json)>& send) const;

 private:
  std::map<std::string, Handler> handlers_;
};

// Answers.
Json Refused(const std::string& why);

}  // namespace home
