// The running service: from the first connection to the end.
#pragma once

#include <memory>

#include "backend.h"
#include "journal.h"
#include "options.h"

namespace simulator {

class Server {
 public:
  Server(const Options& options, Backend& backend, Journal& journal);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Serves until a signal or the loss of the bus; the exit status.
  int Run();

 private:
  struct LoopUnref {
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
  };

  void Connect();  // throws
  void TellReady();
  void TryAgainLater();
  void BusLost();
  void End(int status);

  const Options& options_;
  Backend& backend_;
  CallHandler* handler_ = nullptr;  // from the first connection on
  Journal& journal_;
  std::unique_ptr<GMainLoop, LoopUnref> loop_;
  std::unique_ptr<BusLink> link_;
  int ready_fd_;
  int status_ = 0;
};

}  // namespace simulator
