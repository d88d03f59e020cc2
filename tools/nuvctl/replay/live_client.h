// A connection in place of one of a recorded client: sends what that sent, and hears what comes back.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "glib_handles.h"
#include "recording/message.h"

// Where what arrives wakes the one who waits for it.
class Bell {
 public:
  using Clock = std::chrono::steady_clock;

  void Ring();

  // The user's interrupt ends every wait, from now on.
  void RingForTheEnd();
  bool Ended();

  // Until the condition holds, asked at each ring and a few times a second; false at the limit, and at the end.
  bool WaitUntil(Clock::time_point limit, const std::function<bool()>& condition);

 private:
  std::mutex mutex_;
  std::condition_variable rung_;
  unsigned rings_ = 0;
  bool ended_ = false;
};

class LiveClient {
 public:
  // The context is the one that the connection tells of its end on. The bell lives on for as long as the connection
  // does.
  LiveClient(ConnectionOwner connection, GlibOwner<GMainContext> context, std::shared_ptr<Bell> bell);
  ~LiveClient();
  LiveClient(const LiveClient&) = delete;
  LiveClient& operator=(const LiveClient&) = delete;

  // Sends the call, and returns the serial that its answer will name; 0 where the bus is gone.
  guint32 Send(GDBusMessage* call);

  // Receives the results for the client object of this name; from another client of this process it is taken over.
  // False where somebody else has the name.
  bool Own(const std::string& object_name, bool from_another_client);

  // Waits until everything is here that the service sent before it heard this; false where it does not answer.
  bool Settle(unsigned limit_ms);

  // The next of what has arrived, in its order: answers, and results.
  recording::MessageOwner Take();

  bool BusIsGone() const { return g_dbus_connection_is_closed(connection_.get()) != FALSE; }

 private:
  struct Inbox {
    std::shared_ptr<Bell> bell;
    std::mutex mutex;
    std::deque<recording::MessageOwner> messages;
  };

  static GDBusMessage* Filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming, gpointer inbox);

  const GlibOwner<GMainContext> context_;
  const ConnectionOwner connection_;
  const std::shared_ptr<Inbox> inbox_;
  guint filter_ = 0;
};
