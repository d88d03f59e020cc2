// One listener thread's run on one connection.
#pragma once

#include <nuv_common/nuv_handles.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

struct ListenerRun {
  explicit ListenerRun(GMainContextHandle privateContext, GConnectionHandle privateBus)
      : context(std::move(privateContext)), privateConnection(std::move(privateBus)) {}

  // The listener's main context. Made with the connection where that is a private one, else by the listener.
  GMainContextHandle context;
  GConnectionHandle privateConnection;
  bool closedSeen = false;  // "closed" of the private connection was delivered; the listener's own

  // Settled: a result can be delivered from here on, or it is known that none will be soon.
  void Settle() {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_settled = true;
    }
    m_changed.notify_all();
  }
  void WaitSettled(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, limit, [this] { return m_settled; });
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_settled = false;
};
