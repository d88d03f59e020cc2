// What stands in a recording of the bus: a header, and then entries, a line each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recording {

constexpr char kFormat[] = "nuv-recording";
constexpr int kVersion = 1;
constexpr std::size_t kLongestLine = std::size_t{256} << 20;

struct Header {
  std::string library;                 // its version
  std::optional<std::string> service;  // its version, where it tells one
  std::string bus;                     // its address
  std::string started;                 // RFC 3339, with microseconds, in UTC
  bool redacted = false;
  std::optional<std::int64_t> monotonic_start_us = {};  // CLOCK_MONOTONIC at the start, where it is known
};

enum class Kind { kCall, kReply, kError, kSignal, kClient, kLeft, kOwner, kLost, kEnd };

const char* WordOf(Kind kind);
bool IsMessage(Kind kind);

// Which fields apply is a matter of the kind; the others keep their initial values.
struct Entry {
  std::int64_t t_us = 0;  // of the monotonic clock, since the start
  Kind kind = Kind::kEnd;

  // Of a message. The bytes are the message; all else only says what is in them.
  std::string sender;  // of a "lost", too, where it is known
  std::string destination;
  std::uint32_t serial = 0;
  std::uint32_t reply_to = 0;
  std::string path;
  std::string interface;
  std::string member;
  std::string error;
  std::string signature;
  std::vector<unsigned char> bytes;

  std::string name;  // of a client, also of one that left the bus, or of an owner
  std::int64_t pid = 0;
  std::uint32_t uid = 0;
  std::string program;

  std::string owner;  // empty where the name has none

  std::uint64_t count = 0;  // of what is lost

  std::string reason;  // of the end
};

// The times of now, as a header has them.
std::string Now();
std::int64_t MonotonicNow();

}  // namespace recording
