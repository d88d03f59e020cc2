#include "doctor/examination.h"

#include <nuv_platform/platform_path.h>

#include "bus/system_bus.h"
#include "doctor/database_file.h"
#include "report/text.h"

namespace {

constexpr guint kDoNotQueue = 4;

std::string OwnDirectory() {
  const char* directory = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  return directory != nullptr ? directory : "";
}

}  // namespace

Examination::Examination(unsigned limit_ms, bool starts_service)
    : limit_ms_(limit_ms), starts_service_(starts_service), directory_(OwnDirectory()) {}

Examination::~Examination() = default;

GDBusConnection* Examination::bus() {
  if (!connected_) bus_ = ConnectToSystemBus(limit_ms_, &why_no_bus_);
  connected_ = true;
  if (bus_ != nullptr) g_dbus_connection_set_exit_on_close(bus_.get(), FALSE);
  return bus_.get();
}

const GError* Examination::why_no_bus() {
  bus();
  return why_no_bus_.get();
}

// As the library asks before its first launch.
const BusReply& Examination::own_name() {
  if (!own_name_) {
    own_name_ = AskBus(bus(), "RequestName", g_variant_new("(su)", ClientName().c_str(), kDoNotQueue), limit_ms_);
  }
  return *own_name_;
}

const ServiceFacts* Examination::service() {
  if (!service_asked_) AskForService();
  service_asked_ = true;
  return service_ ? &*service_ : nullptr;
}

void Examination::AskForService() {
  if (bus() == nullptr) return;
  const std::optional<bool> runs = HasOwner(bus(), ServiceName(), limit_ms_);
  const std::optional<bool> activatable = runs ? IsActivatable(bus(), ServiceName(), limit_ms_) : std::nullopt;
  if (!activatable) return;
  ServiceFacts facts;
  facts.runs = *runs;
  facts.activatable = *activatable;
  if (!facts.runs && facts.activatable && starts_service_) StartService(facts);
  if (facts.runs) {
    facts.user = UserOf(bus(), ServiceName(), limit_ms_);
    facts.process = ProcessOf(bus(), ServiceName(), limit_ms_);
  }
  service_ = facts;
}

void Examination::StartService(ServiceFacts& facts) {
  const BusReply reply =
      AskBus(bus(), "StartServiceByName", g_variant_new("(su)", ServiceName().c_str(), 0U), limit_ms_);
  facts.runs = reply.value != nullptr;
  if (!facts.runs) facts.start_failure = Printable(reply.error_text);
}

const Heartbeat* Examination::heartbeat() {
  if (service() == nullptr || !service()->runs) return nullptr;
  if (!heartbeat_) heartbeat_ = SendHeartbeat(bus(), limit_ms_);
  return &*heartbeat_;
}

const SimulatorState* Examination::simulator() {
  if (!simulator_asked_ && !service_gone()) simulator_ = AskSimulator(bus(), limit_ms_);
  simulator_asked_ = true;
  return simulator_ ? &*simulator_ : nullptr;
}

std::optional<Finding> Examination::service_gone() {
  if (bus() == nullptr) return NotKnown("the bus cannot be reached");
  if (service() == nullptr) return NotKnown("the bus does not answer");
  if (!service()->runs)
    return NotKnown("the service does not run", service()->activatable ? "nuvctl doctor --start" : "");
  if (heartbeat()->failure.outcome == Outcome::kTimedOut) return NotKnown("the service does not answer");
  return std::nullopt;
}

DatabaseFile& Examination::database() {
  if (database_ == nullptr) database_ = std::make_unique<DatabaseFile>(directory_, limit_ms_);
  return *database_;
}
