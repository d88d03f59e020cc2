// The service on the bus, and what it says of itself.
#include "bus/system_bus.h"
#include "doctor/examination.h"
#include "report/text.h"
#include "service/round_trips.h"

namespace {

std::string ProcessInWords(const ServiceFacts& facts) {
  const std::string process = facts.process ? "process " + std::to_string(*facts.process) : "a process";
  return facts.user ? process + " of " + UserInWords(*facts.user) : process;
}

std::string ActivationFile() {
  return NUVCTL_ACTIVATION_DIRECTORY "/" + ServiceName() + ".service";
}

Finding LookAtService(Examination& examination) {
  if (examination.bus() == nullptr) return NotKnown("the bus cannot be reached");
  const ServiceFacts* facts = examination.service();
  if (facts == nullptr) return Failure("the bus does not answer", "systemctl restart dbus");
  const char* start = facts->activatable ? "the bus starts it" : "the bus cannot start it";
  if (facts->runs) return Fine(ServiceName() + " is " + ProcessInWords(*facts) + "; " + start);
  if (!facts->start_failure.empty()) {
    return Failure("the bus could not start " + ServiceName() + ": " + facts->start_failure, ActivationFile());
  }
  if (facts->activatable) {
    return Warning(ServiceName() + " does not run; the bus starts it with the first request", "nuvctl doctor --start");
  }
  return Failure(ServiceName() + " does not run, and the bus cannot start it",
                 "nuv-simulator, or nuv-session for a service of its own");
}

Finding LookAtVersion(Examination& examination) {
  if (const auto gone = examination.service_gone()) return *gone;
  const SimulatorState* simulator = examination.simulator();
  if (simulator == nullptr || simulator->version.empty()) return NotKnown("the service does not say its version");
  const std::string version = Printable(simulator->version);
  if (simulator->version == NUVCTL_VERSION) return Fine(version + ", as nuvctl");
  return Warning("the service has " + version + ", and nuvctl " NUVCTL_VERSION,
                 "nuv-simulator of the same installation as nuvctl");
}

Finding LookAtHeartbeat(Examination& examination) {
  const Heartbeat* heartbeat = examination.heartbeat();
  if (heartbeat == nullptr) return *examination.service_gone();
  if (heartbeat->microseconds) return Fine("answered in " + Milliseconds(*heartbeat->microseconds) + " ms");
  const auto& process = examination.service()->process;
  const bool denied = heartbeat->failure.message.find("AccessDenied") != std::string::npos;
  const std::string end = process ? "kill " + std::to_string(*process) + ", and start the service anew"
                                  : std::string("the service, started anew");
  return Failure(heartbeat->failure.message, denied ? NUVCTL_POLICY : end);
}

Finding LookAtPin(Examination& examination) {
  if (const auto gone = examination.service_gone()) return *gone;
  if (examination.simulator() == nullptr) return NotKnown("the service does not say who is asked for the PIN");
  const auto sources = PinSources(examination.bus(), examination.limit_ms());
  if (!sources) return NotKnown("the service does not say who is asked for the PIN");
  if (sources->empty()) {
    return Warning("nobody is asked for the PIN: locked applications are refused",
                   "--pin-answer, given to nuv-simulator or nuv-session");
  }
  std::string text;
  for (const std::string& source : *sources) text += (text.empty() ? "" : ", then ") + Printable(source);
  return Fine("asks " + text);
}

}  // namespace

std::vector<Check> ServiceChecks() {
  return {{"service", LookAtService}, {"version", LookAtVersion}, {"heartbeat", LookAtHeartbeat}, {"pin", LookAtPin}};
}
