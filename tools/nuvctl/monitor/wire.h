// A connection to the bus that gives each message as the bytes that came: GDBus hands out what it made of them.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "glib_handles.h"
#include "recording/message.h"

// What ends a wait, from any thread.
class Stop {
 public:
  Stop();
  ~Stop();
  Stop(const Stop&) = delete;
  Stop& operator=(const Stop&) = delete;

  void Set() const;  // for good
  bool IsSet() const;
  int number() const { return event_; }

 private:
  int event_;
};

using Deadline = std::optional<std::chrono::steady_clock::time_point>;  // nothing: never

struct WireMessage {
  recording::MessageOwner message;
  std::vector<unsigned char> bytes;
};

class Wire {
 public:
  enum class Got { kMessage, kStopped, kTimeOver, kClosed };

  explicit Wire(const Stop& stop) : stop_(stop) {}
  ~Wire();
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  // Connects and says hello. Where that fails, Problem() may say why.
  Got Connect(const Deadline& deadline);

  // A call of the bus. The reply is kMessage, whatever it says.
  Got Call(const char* interface, const char* method, GVariant* arguments, const Deadline& deadline,
           WireMessage& reply);

  // The next message. What is no message closes the connection.
  Got Next(const Deadline& deadline, WireMessage& message);

  // From here on only the deadline ends a wait.
  void IgnoreStop() { ignore_stop_ = true; }

  const std::string& Problem() const { return problem_; }

 private:
  struct ReleaseStream {
    void operator()(GIOStream* stream) const { g_object_unref(stream); }
  };

  Got Open(const Deadline& deadline);
  Got Authenticate(const Deadline& deadline);
  Got Wait(short events, const Deadline& deadline) const;
  Got Receive(const Deadline& deadline);
  Got SendAll(const std::string& bytes, const Deadline& deadline) const;
  Got ReceiveLine(const Deadline& deadline, std::string& line);

  const Stop& stop_;
  std::unique_ptr<GIOStream, ReleaseStream> stream_;
  int socket_ = -1;
  bool ignore_stop_ = false;
  std::uint32_t serial_ = 0;
  std::vector<unsigned char> received_;
  std::size_t begin_ = 0;  // of what of it was not given yet
  std::string problem_;
};
