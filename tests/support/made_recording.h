// A recording that a test makes up, message by message.
#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "recording/writer.h"

class MadeRecording {
 public:
  static constexpr char kService[] = ":1.1";
  static constexpr char kServiceName[] = "org.kelvo.tv.litecorvane.server";

  explicit MadeRecording(const std::string& path, bool redacted = false);

  // The time of all that follows.
  MadeRecording& At(std::int64_t t_us);

  // A call of the service; its serial.
  guint32 Call(const std::string& client, const std::string& method, GVariant* arguments = nullptr);
  // One of the simulator's own interface.
  guint32 CallControl(const std::string& client, const std::string& method, GVariant* arguments = nullptr);
  void Reply(const std::string& client, guint32 serial, GVariant* body = nullptr);
  void Error(const std::string& client, guint32 serial, const std::string& name, const std::string& text,
             const std::string& sender = kService);
  // A result for the client object, with its serial, and what that answers.
  guint32 Result(const std::string& object, GVariant* arguments);
  void Acknowledge(const std::string& client, guint32 serial);
  // A signal of the service, with so much in it.
  void Signal(std::size_t bytes);
  void Left(const std::string& client);
  // As on a bus that came back: the serials begin anew.
  void NumbersBeginAnew() { serial_ = 0; }
  void Lost(std::uint64_t count);
  void End();

 private:
  void Add(GDBusMessage* message, const std::string& sender);  // takes it over

  recording::Writer writer_;
  std::int64_t t_us_ = 0;
  guint32 serial_ = 0;
};

// What a process may take of memory at the most to work on a recording of 100 MB a line at a time, in KiB.
inline constexpr long kBoundedKib = 80000;

// The arguments of a result.
GVariant* ResultArguments(int thread_id, const std::string& app, int result, int event, int index, int cb_type = 1);
