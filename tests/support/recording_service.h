// A Nuv service under a test's control: it records every call and answers as it is told.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "private_connection.h"

struct RecordedCall {
  std::string method;
  std::string destination;
  std::string path;
  std::string interface;
  std::string sender;
  bool no_auto_start = false;
  std::shared_ptr<GVariant> body;  // null when there are no arguments
  std::string Signature() const;
  std::string Text() const;  // the arguments, printed
};

// The members of one "launch_app" request.
struct LaunchRequest {
  std::string object_name;
  int32_t thread_id = 0;
  std::vector<std::string> texts;  // app id, payload, uri, caller id, entry, relocate below, requestor
  int32_t event = 0;
  std::string method_call;
  std::vector<int32_t> flags;  // force, preload, option 1 to 4, shape, deep link, extra option, background, skip PIN
  std::vector<std::string> extra_datas;  // whole blocks
};

struct SentResult {
  int32_t event_type = 900;
  int32_t res = 0;
  int32_t cb_type = 1;
  int32_t thread_offset = 0;
  int32_t event_offset = 0;
};

class RecordingService {
 public:
  struct Answer {
    enum Kind { kReply, kError, kSilence } kind = kReply;
    std::string text = "()";  // reply in GVariant text form, or the error's message
    std::string error_name = "org.kelvo.Error.Refused";
  };

  // Connects to the bus and owns the service's name, with both of them by default.
  explicit RecordingService(const std::string& address, std::vector<std::string> servers = {"litecorvane", "corvane"});
  ~RecordingService();  // leaves the bus
  RecordingService(const RecordingService&) = delete;
  RecordingService& operator=(const RecordingService&) = delete;

  // A method of an interface that is not the service's is heard of from then on, too.
  void AnswerTo(const std::string& method, Answer answer);
  // No call that arrives from now on is answered.
  void FallSilent();
  // Called before a method is answered, on the bus thread.
  void Before(const std::string& method, std::function<void(const RecordedCall&)> hook);
  // Told of every call as it arrives.
  void OnCall(std::function<void(const RecordedCall&)> hook);
  // Told of every call once its answer is on its way.
  void OnAnswered(std::function<void(const RecordedCall&)> hook);

  std::vector<RecordedCall> Calls() const;  // heartbeats included
  std::vector<RecordedCall> CallsOf(const std::string& method) const;
  std::vector<LaunchRequest> Launches() const;
  void Forget();

  // Delivers a result for a launch on the caller's client object. True when the object answered.
  bool SendResult(const LaunchRequest& launch, const SentResult& result, int timeout_ms = 5000) const;
  // Calls any method of the client object; null on failure.
  std::shared_ptr<GVariant> CallClient(const std::string& object_name, const char* method, GVariant* arguments,
                                       int timeout_ms, GError** error) const;
  // Waits until everything has left for the bus. Not for the bus thread.
  void Flush() const { g_dbus_connection_flush_sync(connection_, nullptr, nullptr); }
  bool Closed() const { return g_dbus_connection_is_closed(connection_) != FALSE; }
  // Sends a method call to the client object without waiting.
  void SendToClient(const LaunchRequest& launch, const SentResult& result) const;

 private:
  static GDBusMessage* Filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self);
  bool IsForTheService(GDBusMessage* message) const;
  void Handle(GDBusMessage* message);
  void Reply(GDBusMessage* message, const Answer& answer) const;

  mutable std::mutex mutex_;
  std::map<std::string, Answer> answers_;
  bool silent_ = false;
  std::map<std::string, std::function<void(const RecordedCall&)>> before_;
  std::function<void(const RecordedCall&)> on_call_;
  std::function<void(const RecordedCall&)> on_answered_;
  std::vector<RecordedCall> calls_;
  PrivateConnection owned_;  // destroyed before what its filter uses
  GDBusConnection* connection_ = nullptr;
};

LaunchRequest UnpackLaunch(const RecordedCall& call);
