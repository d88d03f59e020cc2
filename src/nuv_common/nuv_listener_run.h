// One listener thread's run on one connection.
#pragma once

#include <nuv_common/nuv_handles.h>
#include <nuv_common/nuv_lock.h>

#include <chrono>
#include <condition_variable>
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
      const CNUVClientAutoLock lock(m_mutex);
      m_settled = true;
    }
    m_changed.notify_all();
  }
  void WaitSettled(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const CNUVClientAutoLock lock(m_mutex);
    while (!m_settled && m_changed.wait_until(m_mutex, deadline) != std::cv_status::timeout) {
    }
  }

 private:
  Mutex m_mutex;
  std::condition_variable_any m_changed;
  bool m_settled NUV_GUARDED_BY(m_mutex) = false;
};
