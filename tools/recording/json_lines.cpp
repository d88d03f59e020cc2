#include "recording/json_lines.h"

#include <glib.h>

#include <cstring>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace recording {
namespace {

using Json = nlohmann::ordered_json;

struct KindWord {
  Kind kind;
  const char* word;
};

constexpr KindWord kKinds[] = {{Kind::kCall, "call"},     {Kind::kReply, "reply"},   {Kind::kError, "error"},
                               {Kind::kSignal, "signal"}, {Kind::kClient, "client"}, {Kind::kLeft, "left"},
                               {Kind::kOwner, "owner"},   {Kind::kLost, "lost"},     {Kind::kEnd, "end"}};

// The text fields of a message, which are left out where they are empty.
struct TextField {
  const char* key;
  std::string Entry::*member;
};

constexpr TextField kAddress[] = {{"sender", &Entry::sender}, {"destination", &Entry::destination}};
constexpr TextField kContent[] = {{"path", &Entry::path},
                                  {"interface", &Entry::interface},
                                  {"member", &Entry::member},
                                  {"error", &Entry::error},
                                  {"signature", &Entry::signature}};

// What a reader says of a line; the place is added where it is known.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Free {
  void operator()(void* block) const { g_free(block); }
};

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string Base64(const std::vector<unsigned char>& bytes) {
  const std::unique_ptr<char, Free> text(g_base64_encode(bytes.data(), bytes.size()));
  return text.get();
}

// GLib's decoder passes over what is no base64, so what it gave has to be the text again.
std::vector<unsigned char> Bytes(const std::string& base64) {
  gsize size = 0;
  const std::unique_ptr<guchar, Free> block(g_base64_decode(base64.c_str(), &size));
  std::vector<unsigned char> bytes(block.get(), block.get() + size);
  if (Base64(bytes) != base64) throw Unreadable("\"bytes\" is no base64");
  return bytes;
}

void PutTexts(Json& json, const Entry& entry, const TextField* first, const TextField* end) {
  for (const TextField* field = first; field != end; ++field) {
    if (!(entry.*field->member).empty()) json[field->key] = entry.*field->member;
  }
}

void PutMessage(Json& json, const Entry& entry) {
  PutTexts(json, entry, std::begin(kAddress), std::end(kAddress));
  json["serial"] = entry.serial;
  if (entry.reply_to != 0) json["reply_to"] = entry.reply_to;
  PutTexts(json, entry, std::begin(kContent), std::end(kContent));
  json["bytes"] = Base64(entry.bytes);
}

void PutClient(Json& json, const Entry& entry) {
  json["name"] = entry.name;
  json["pid"] = entry.pid;
  json["uid"] = entry.uid;
  json["program"] = entry.program;
}

void PutOwner(Json& json, const Entry& entry) {
  json["name"] = entry.name;
  json["owner"] = entry.owner.empty() ? Json() : Json(entry.owner);
}

void PutLost(Json& json, const Entry& entry) {
  json["count"] = entry.count;
  if (!entry.sender.empty()) json["sender"] = entry.sender;
}

const Json& Member(const Json& json, const char* key) {
  const auto found = json.find(key);
  if (found == json.end()) throw Unreadable(std::string("\"") + key + "\" is missing");
  return *found;
}

std::string Text(const Json& json, const char* key) {
  const Json& member = Member(json, key);
  if (!member.is_string()) throw Unreadable(std::string("\"") + key + "\" is no text");
  return member.get<std::string>();
}

std::string TextOrNull(const Json& json, const char* key) {
  return Member(json, key).is_null() ? "" : Text(json, key);
}

std::string MaybeText(const Json& json, const char* key) {
  return json.contains(key) ? Text(json, key) : "";
}

std::uint64_t Number(const Json& json, const char* key, std::uint64_t most) {
  const Json& member = Member(json, key);
  if (!member.is_number_unsigned() || member.get<std::uint64_t>() > most) {
    throw Unreadable(std::string("\"") + key + "\" is no number that it can be");
  }
  return member.get<std::uint64_t>();
}

constexpr std::uint64_t kMostTime = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMost32 = std::numeric_limits<std::uint32_t>::max();

std::uint32_t Number32(const Json& json, const char* key) {
  return static_cast<std::uint32_t>(Number(json, key, kMost32));
}

void GetMessage(const Json& json, Entry& entry) {
  for (const TextField& field : kAddress) entry.*field.member = MaybeText(json, field.key);
  for (const TextField& field : kContent) entry.*field.member = MaybeText(json, field.key);
  if (json.contains("serial")) entry.serial = Number32(json, "serial");
  if (json.contains("reply_to")) entry.reply_to = Number32(json, "reply_to");
  entry.bytes = Bytes(Text(json, "bytes"));
}

void GetClient(const Json& json, Entry& entry) {
  entry.name = Text(json, "name");
  entry.pid = static_cast<std::int64_t>(Number(json, "pid", kMostTime));
  entry.uid = Number32(json, "uid");
  entry.program = Text(json, "program");
}

void GetOwner(const Json& json, Entry& entry) {
  entry.name = Text(json, "name");
  entry.owner = TextOrNull(json, "owner");
}

void GetLost(const Json& json, Entry& entry) {
  entry.count = Number(json, "count", std::numeric_limits<std::uint64_t>::max());
  entry.sender = MaybeText(json, "sender");
}

Kind KindOf(const std::string& word) {
  for (const KindWord& kind : kKinds) {
    if (word == kind.word) return kind.kind;
  }
  throw Unreadable("\"" + word + "\" is no type of an entry");
}

Json ObjectOf(const std::string& line) {
  Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) throw Unreadable("no JSON object");
  return json;
}

Header HeaderOf(const Json& json) {
  if (MaybeText(json, "format") != kFormat) throw Unreadable("not a recording");
  const auto version = Number(json, "version", kMost32);
  if (version != kVersion) {
    throw Unreadable("version " + std::to_string(version) + " of the format, and only version " +
                     std::to_string(kVersion) + " can be read");
  }
  Header header = {Text(json, "library"), std::nullopt, Text(json, "bus"), Text(json, "started"), false};
  if (!Member(json, "service").is_null()) header.service = Text(json, "service");
  if (!Member(json, "redacted").is_boolean()) throw Unreadable("\"redacted\" is neither true nor false");
  header.redacted = json["redacted"].get<bool>();
  if (json.contains("monotonic_start_us")) {
    header.monotonic_start_us = static_cast<std::int64_t>(Number(json, "monotonic_start_us", kMostTime));
  }
  return header;
}

Entry EntryOf(const Json& json) {
  Entry entry;
  entry.t_us = static_cast<std::int64_t>(Number(json, "t", kMostTime));
  entry.kind = KindOf(Text(json, "type"));
  if (IsMessage(entry.kind)) GetMessage(json, entry);
  if (entry.kind == Kind::kClient) GetClient(json, entry);
  if (entry.kind == Kind::kLeft) entry.name = Text(json, "name");
  if (entry.kind == Kind::kOwner) GetOwner(json, entry);
  if (entry.kind == Kind::kLost) GetLost(json, entry);
  if (entry.kind == Kind::kEnd) entry.reason = Text(json, "reason");
  return entry;
}

}  // namespace

const char* WordOf(Kind kind) {
  for (const KindWord& word : kKinds) {
    if (word.kind == kind) return word.word;
  }
  return "";
}

bool IsMessage(Kind kind) {
  return kind == Kind::kCall || kind == Kind::kReply || kind == Kind::kError || kind == Kind::kSignal;
}

std::string Now() {
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> now(g_date_time_new_now_utc(), g_date_time_unref);
  const std::unique_ptr<char, Free> seconds(g_date_time_format(now.get(), "%Y-%m-%dT%H:%M:%S"));
  const std::unique_ptr<char, Free> text(
      g_strdup_printf("%s.%06dZ", seconds.get(), g_date_time_get_microsecond(now.get())));
  return text.get();
}

std::int64_t MonotonicNow() {
  return g_get_monotonic_time();
}

std::string LineOf(const Header& header) {
  Json json = {{"format", kFormat},          {"version", kVersion},
               {"library", header.library},  {"service", header.service ? Json(*header.service) : Json()},
               {"bus", header.bus},          {"started", header.started},
               {"redacted", header.redacted}};
  if (header.monotonic_start_us) json["monotonic_start_us"] = *header.monotonic_start_us;
  return Dump(json);
}

std::string LineOf(const Entry& entry) {
  Json json = {{"t", entry.t_us}, {"type", WordOf(entry.kind)}};
  if (IsMessage(entry.kind)) PutMessage(json, entry);
  if (entry.kind == Kind::kClient) PutClient(json, entry);
  if (entry.kind == Kind::kLeft) json["name"] = entry.name;
  if (entry.kind == Kind::kOwner) PutOwner(json, entry);
  if (entry.kind == Kind::kLost) PutLost(json, entry);
  if (entry.kind == Kind::kEnd) json["reason"] = entry.reason;
  return Dump(json);
}

std::string ReadLine(const std::string& line, Header& header) {
  try {
    header = HeaderOf(ObjectOf(line));
    return "";
  } catch (const Unreadable& why) {
    return why.what();
  }
}

std::string ReadLine(const std::string& line, Entry& entry) {
  try {
    entry = EntryOf(ObjectOf(line));
    return "";
  } catch (const Unreadable& why) {
    return why.what();
  }
}

}  // namespace recording
