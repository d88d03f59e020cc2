#include "server/requests.h"

#include <utility>

namespace home {
namespace {

// A number that the page gave its request, or null.
Json IdOf(const Json& request) {
  if (!request.is_object()) return nullptr;
  const auto id = request.find("id");
  return id != request.end() && id->is_number_unsigned() ? *id : Json();
}

}  // namespace

std::string RequestFields::Text(const char* name, std::size_t longest) const {
  const auto field = request_.find(name);
  if (field == request_.end() || !field->is_string()) throw BadRequest(std::string(name) + " is no text");
  std::string text = field->get<std::string>();
  if (text.size() > longest) throw BadRequest(std::string(name) + " is too long");
  if (text.find('\0') != std::string::npos) throw BadRequest(std::string(name) + " has a zero byte");
  return text;
}

std::string RequestFields::TextOr(const char* name, std::size_t longest, const char* otherwise) const {
  return request_.contains(name) ? Text(name, longest) : otherwise;
}

std::int64_t RequestFields::Number(const char* name, std::int64_t least, std::int64_t most) const {
  const auto field = request_.find(name);
  if (field == request_.end() || !field->is_number_integer()) throw BadRequest(std::string(name) + " is no number");
  const auto number = field->get<std::int64_t>();
  if (number < least || number > most) throw BadRequest(std::string(name) + " is out of bounds");
  return number;
}

std::int64_t RequestFields::NumberOr(const char* name, std::int64_t least, std::int64_t most,
                                     std::int64_t otherwise) const {
  return request_.contains(name) ? Number(name, least, most) : otherwise;
}

bool RequestFields::Flag(const char* name) const {
  const auto field = request_.find(name);
  if (field == request_.end()) return false;
  if (!field->is_boolean()) throw BadRequest(std::string(name) + " is neither true nor false");
  return field->get<bool>();
}

Json Refused(const std::string& why) {
  return {{"ok", false}, {"error", why}};
}

void Requests::Take(const Json& request, const std::function<void(Json)>& send) const {
  const Answer answer = [send, id = IdOf(request)](Json message) {
    message["id"] = id;
    send(std::move(message));
  };
  try {
    if (!request.is_object()) throw BadRequest("a request is a JSON object");
    const RequestFields fields(request);
    const auto handler = handlers_.find(fields.Text("do", 32));
    if (handler == handlers_.end()) throw BadRequest("nothing goes by that name");
    handler->second(fields, answer);
  } catch (const BadRequest& error) {
    answer(Refused(std::string("not a request: ") + error.what()));
  }
}

}  // namespace home
