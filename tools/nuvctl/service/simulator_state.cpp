#include "service/simulator_state.h"

#include <nuv_platform/platform_path.h>
#include <sys/stat.h>

#include <algorithm>

#include "bus/bus_daemon.h"
#include "bus/system_bus.h"
#include "report/text.h"
#include "service/watch_lines.h"

namespace {

constexpr unsigned kLimitMs = 1000;

VariantOwner Call(GDBusConnection* bus, unsigned limit_ms, const char* interface, const char* method,
                  GVariant* arguments, const char* reply_type) {
  const BusReply reply = CallOnBus(bus, kSimulatorName, kSimulatorPath, interface, method, arguments, limit_ms);
  if (reply.value == nullptr || !g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE(reply_type))) return nullptr;
  return VariantOwner(g_variant_get_child_value(reply.value.get(), 0));
}

std::optional<std::vector<std::string>> TextsOf(GDBusConnection* bus, unsigned limit_ms, const char* method) {
  const VariantOwner list = Call(bus, limit_ms, kSimulatorInterface, method, nullptr, "(as)");
  if (list == nullptr) return std::nullopt;
  std::vector<std::string> texts;
  for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
    const VariantOwner text(g_variant_get_child_value(list.get(), i));
    texts.emplace_back(g_variant_get_string(text.get(), nullptr));
  }
  return texts;
}

}  // namespace

std::optional<SimulatorState> AskSimulator() {
  const ConnectionOwner bus = ConnectToSystemBus(kLimitMs);
  return bus != nullptr ? AskSimulator(bus.get(), kLimitMs) : std::nullopt;
}

std::optional<SimulatorState> AskSimulator(GDBusConnection* bus, unsigned limit_ms) {
  const VariantOwner properties = Call(bus, limit_ms, "org.freedesktop.DBus.Properties", "GetAll",
                                       g_variant_new("(s)", kSimulatorInterface), "(a{sv})");
  if (properties == nullptr) return std::nullopt;
  SimulatorState state;
  const char* text = nullptr;
  if (g_variant_lookup(properties.get(), "Directory", "&s", &text) != FALSE) state.directory = text;
  if (g_variant_lookup(properties.get(), "Version", "&s", &text) != FALSE) state.version = text;
  gboolean has_stand_ins = TRUE;
  g_variant_lookup(properties.get(), "HasStandIns", "b", &has_stand_ins);
  state.has_stand_ins = has_stand_ins != FALSE;
  return state;
}

std::optional<std::vector<std::string>> PinSources(GDBusConnection* bus, unsigned limit_ms) {
  return TextsOf(bus, limit_ms, "PinSources");
}

std::optional<std::vector<std::string>> StandIns() {
  const ConnectionOwner bus = ConnectToSystemBus(kLimitMs);
  return bus != nullptr ? TextsOf(bus.get(), kLimitMs, "StandIns") : std::nullopt;
}

std::map<int, std::string> LastPayloads() {
  const ConnectionOwner bus = ConnectToSystemBus(kLimitMs);
  if (bus == nullptr) return {};
  const VariantOwner payloads = Call(bus.get(), kLimitMs, kSimulatorInterface, "Payloads", nullptr, "(a{is})");
  std::map<int, std::string> by_pid;
  for (gsize i = 0; payloads != nullptr && i < g_variant_n_children(payloads.get()); ++i) {
    gint32 pid = 0;
    const char* payload = nullptr;
    const VariantOwner entry(g_variant_get_child_value(payloads.get(), i));
    g_variant_get(entry.get(), "{i&s}", &pid, &payload);
    by_pid[pid] = payload;
  }
  return by_pid;
}

bool Contains(const std::vector<std::string>& ids, const std::string& id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

std::optional<bool> IsStandIn(const std::string& app_id) {
  const auto stand_ins = StandIns();
  return stand_ins ? std::optional(Contains(*stand_ins, app_id)) : std::nullopt;
}

bool SameDirectory(const std::string& one, const std::string& other) {
  struct stat first = {};
  struct stat second = {};
  if (stat(one.c_str(), &first) != 0 || stat(other.c_str(), &second) != 0) return one == other;
  return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::string WhyOtherDirectory() {
  const char* own = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  const std::optional<SimulatorState> simulator = AskSimulator();
  if (own == nullptr || !simulator || simulator->directory.empty()) return "";
  if (SameDirectory(own, simulator->directory)) return "";
  return "the service works in " + Printable(simulator->directory) + ", and nuvctl in " + Printable(own) +
         ": set NUV_HOST_DIR to the service's directory";
}
