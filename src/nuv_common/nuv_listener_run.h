// One listener thread's run on one connection.
#pragma once

#include <atomic>
#include <utility>

#include "nuv_common/nuv_handles.h"

struct ListenerRun {
  explicit ListenerRun(GMainContextHandle privateContext, GConnectionHandle privateBus)
      : context(std::move(privateContext)), privateConnection(std::move(privateBus)) {}

  // The listener's main context, made before its thread: what arrives waits here for the listener's turn. Made with the
  // connection where that is a private one.
  GMainContextHandle context;
  GConnectionHandle privateConnection;
  // Made with the context, too: whoever ends the run ends its loop last, so that the listener, however late it comes,
  // stays for what its ending leaves to be done in the context.
  GMainLoopHandle loop;
  bool prepared = false;            // the client object has been offered; else the thread has nothing to do
  bool closedSeen = false;          // "closed" of the private connection was delivered; the listener's own
  std::atomic<bool> ended = false;  // the thread serves no longer, whatever ended it
};

// Brings a run to its end whose thread could not be started: what refers to the context is released in it.
void AbandonRun(ListenerRun& run);
