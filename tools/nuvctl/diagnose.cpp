#include "diagnose.h"

#include <utility>

#include "system_bus.h"
#include "text.h"

namespace {

constexpr unsigned kConnectLimitMs = 3000;
constexpr int kCallLimitMs = 2000;

VariantOwner AskBus(GDBusConnection* bus, const char* method, GVariant* arguments, const char* reply_type) {
  return VariantOwner(g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", method, arguments, G_VARIANT_TYPE(reply_type),
                                                  G_DBUS_CALL_FLAGS_NONE, kCallLimitMs, nullptr, nullptr));
}

std::optional<bool> HasOwner(GDBusConnection* bus, const std::string& name) {
  const VariantOwner reply = AskBus(bus, "NameHasOwner", g_variant_new("(s)", name.c_str()), "(b)");
  if (reply == nullptr) return std::nullopt;
  gboolean owned = FALSE;
  g_variant_get(reply.get(), "(b)", &owned);
  return owned != FALSE;
}

std::optional<bool> IsActivatable(GDBusConnection* bus, const std::string& name) {
  const VariantOwner reply = AskBus(bus, "ListActivatableNames", nullptr, "(as)");
  if (reply == nullptr) return std::nullopt;
  const VariantOwner names(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
    const VariantOwner item(g_variant_get_child_value(names.get(), i));
    if (name == g_variant_get_string(item.get(), nullptr)) return true;
  }
  return false;
}

Diagnosis BusGone(const std::string& what) {
  const TextOwner address = SystemBusAddress();
  const std::string where = address ? " (" + Printable(address.get()) + ")" : "";
  return {Outcome::kBusGone, "the system bus " + what + where};
}

struct ServiceState {
  bool runs = false;  // otherwise it can be started, if it is within reach
  std::optional<Diagnosis> out_of_reach;
};

ServiceState AskForService() {
  const ConnectionOwner bus = ConnectToSystemBus(kConnectLimitMs);
  if (bus == nullptr) return {false, BusUnreachable()};
  const std::optional<bool> owned = HasOwner(bus.get(), ServiceName());
  const std::optional<bool> activatable = IsActivatable(bus.get(), ServiceName());
  if (!owned || !activatable) return {false, BusGone("does not answer")};
  if (*owned || *activatable) return {*owned, std::nullopt};
  const std::string gone = "the service does not run (" + ServiceName() + " has no owner)";
  return {false, Diagnosis{Outcome::kServiceGone, gone}};
}

}  // namespace

Report ReportOf(const Diagnosis& diagnosis, nlohmann::ordered_json details) {
  Report report;
  report.outcome = diagnosis.outcome;
  report.error = WordOf(diagnosis.outcome) + (": " + diagnosis.message);
  report.details = std::move(details);
  return report;
}

Diagnosis BusUnreachable() {
  return BusGone("cannot be reached");
}

std::optional<Diagnosis> WhyOutOfReach() {
  return AskForService().out_of_reach;
}

Diagnosis DiagnoseFailure() {
  const ServiceState service = AskForService();
  if (service.out_of_reach) return *service.out_of_reach;
  return {Outcome::kFailed, service.runs ? "the service did not carry out the request"
                                         : "the service does not run and could not be started"};
}
