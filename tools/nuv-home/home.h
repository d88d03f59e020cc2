// The home screen: what the TV tells, and what the pages ask for, brought together on the main loop.
#pragma once

#include <memory>
#include <string>

#include "options.h"
#include "server/browsers.h"
#include "server/requests.h"
#include "server/web_server.h"
#include "tv/catalogue.h"
#include "tv/lane.h"
#include "tv/launches.h"
#include "tv/messages.h"
#include "tv/running.h"
#include "tv/simulator.h"
#include "tv/tv.h"

namespace home {

class Home {
 public:
  // There is one for the life of the process, whose end does not wait for what is within the library. Throws
  // ListenError.
  explicit Home(const Options& options);
  ~Home() = delete;

  std::string FirstAddress() const { return server_.FirstAddress(); }

 private:
  Tv::Listener TvListener();
  Simulator::Listener SimulatorListener();
  void AddRequests();
  void AddSimulatorRequests();
  void Greet(const Requests::Answer& answer) const;
  void AskForTiles(const RequestFields& fields, const Requests::Answer& answer);
  void Launch(const RequestFields& fields, const Requests::Answer& answer);
  void Terminate(const RequestFields& fields, const Requests::Answer& answer);
  void Explain(const RequestFields& fields, const Requests::Answer& answer);
  void OnBrowsers(bool any);
  void LookAtCatalogue();
  void TellAll(const char* event, Json message);

  Browsers browsers_;
  Requests requests_;
  Catalogue catalogue_;
  Lane terminations_{64};
  Lane explanations_{64};
  Lane stamps_{4};
  Timer catalogue_timer_;
  std::string catalogue_stamp_;
  WebServer server_;
  Running& running_;
  Launches& launches_;
  Messages& messages_;
  Tv& tv_;
  Simulator& simulator_;
};

}  // namespace home
