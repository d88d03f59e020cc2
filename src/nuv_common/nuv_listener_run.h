// One listener thread's run on one connection.
#pragma once

#include <atomic>
#include <future>
#include <utility>

#include "nuv_common/nuv_handles.h"

struct ListenerRun {
  explicit ListenerRun(GMainContextHandle privateContext, GConnectionHandle privateBus)
      : context(std::move(privateContext)), privateConnection(std::move(privateBus)) {}

  // The listener's main context, made before its thread: what arrives waits here for the listener's turn. Made with the
  // connection where that is a private one.
  GMainContextHandle context;
  GConnectionHandle privateConnection;
  // Made before the thread, too. Whoever ends the run quits the loop last, so that even a listener that starts late
  // dispatches what the ending leaves in the context.
  GMainLoopHandle loop;
  bool prepared = false;            // the client object has been offered; else the thread has nothing to do
  bool closedSeen = false;          // "closed" of the private connection was delivered; the listener's own
  std::atomic<bool> ended = false;  // the thread serves no longer, whatever ended it
  // Listeners serve in the order in which they were made: each waits until the one before it is over. A mutex would let
  // a later one in first, for as long as its link lives.
  std::promise<void> over;
  std::shared_future<void> turn;  // the one before is over; without one, at once
};

// Ends a run whose thread could not be started: dispatches its context, so that what refers to the context is released.
void AbandonRun(ListenerRun& run);
