// What the checks look at together: each thing is asked for once, and not at all where nothing needs it. Nothing is
// started or changed, but that the service is started where the user wants it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "bus/bus_daemon.h"
#include "doctor/check.h"
#include "service/heartbeat.h"
#include "service/simulator_state.h"

class DatabaseFile;

struct ServiceFacts {
  bool runs = false;
  bool activatable = false;
  std::optional<unsigned> user;
  std::optional<int> process;
  std::string start_failure;  // why the bus could not start it; empty where it was not to
};

class Examination {
 public:
  // Bus and service have so long for each answer. One that has let the time pass is not asked again.
  Examination(unsigned limit_ms, bool starts_service);
  ~Examination();
  Examination(const Examination&) = delete;
  Examination& operator=(const Examination&) = delete;

  unsigned limit_ms() const { return limit_ms_; }

  GDBusConnection* bus();                 // null where there is none
  const GError* why_no_bus();             // null where there is one, and where the platform names none
  const BusReply& own_name();             // of asking for the name of a client, which goes with the connection
  const ServiceFacts* service();          // null where the bus does not tell
  const Heartbeat* heartbeat();           // null where no service runs
  const SimulatorState* simulator();      // null where the service is none, or does not answer
  std::optional<Finding> service_gone();  // what a check says that needs an answer of the service, where there is none

  const std::string& directory() const { return directory_; }  // empty where the platform names none
  DatabaseFile& database();

 private:
  void AskForService();
  void StartService(ServiceFacts& facts);

  const unsigned limit_ms_;
  const bool starts_service_;
  const std::string directory_;
  bool connected_ = false;
  ConnectionOwner bus_;
  GlibOwner<GError> why_no_bus_;
  std::optional<BusReply> own_name_;
  bool service_asked_ = false;
  std::optional<ServiceFacts> service_;
  std::optional<Heartbeat> heartbeat_;
  bool simulator_asked_ = false;
  std::optional<SimulatorState> simulator_;
  std::unique_ptr<DatabaseFile> database_;
};
