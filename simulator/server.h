// The running service: from the first connection to the end.
#pragma once

#include <memory>
#include <optional>

#include "bus_link.h"
#include "dispatcher.h"
#include "options.h"
#include "running_files.h"

namespace simulator {

class Server {
 public:
  // Throws DirectoryError when the state directory is not to be used.
  Server(const Options& options, ScenarioFile& scenario, std::optional<Catalogue> seed);
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
  void PrepareService();
  void TellMissingPrograms(const Catalogue& catalogue) const;
  void TellUnknownApps(const Scenario& scenario) const;
  void TellUnmatched(const Scenario& scenario) const;
  void TellWhere() const;
  void TellReady();
  void TryAgainLater();
  void BusLost();
  void End(int status);

  const Options& options_;
  ScenarioFile& scenario_;
  std::optional<Catalogue> seed_;
  Journal journal_;
  RunningFiles files_;
  std::unique_ptr<GMainLoop, LoopUnref> loop_;
  std::unique_ptr<Service> service_;  // from the first connection on
  std::unique_ptr<Dispatcher> dispatcher_;
  std::unique_ptr<BusLink> link_;
  int ready_fd_;
  int status_ = 0;
};

}  // namespace simulator
