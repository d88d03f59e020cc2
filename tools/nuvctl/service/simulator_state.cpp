#include "service/simulator_state.h"

#include <nuv_platform/platform_path.h>
#include <sys/stat.h>

#include "bus/system_bus.h"
#include "report/text.h"
#include "service/watch_lines.h"

namespace {

constexpr unsigned kLimitMs = 1000;

VariantOwner AskForProperties() {
  const ConnectionOwner bus = ConnectToSystemBus(kLimitMs);
  if (bus == nullptr) return nullptr;
  return VariantOwner(
      g_dbus_connection_call_sync(bus.get(), kSimulatorName, kSimulatorPath, "org.freedesktop.DBus.Properties",
                                  "GetAll", g_variant_new("(s)", kSimulatorInterface), G_VARIANT_TYPE("(a{sv})"),
                                  G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(kLimitMs), nullptr, nullptr));
}

// One directory may have several paths.
bool SameDirectory(const std::string& one, const std::string& other) {
  struct stat first = {};
  struct stat second = {};
  if (stat(one.c_str(), &first) != 0 || stat(other.c_str(), &second) != 0) return one == other;
  return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace

std::optional<SimulatorState> AskSimulator() {
  const VariantOwner answer = AskForProperties();
  if (answer == nullptr) return std::nullopt;
  const VariantOwner properties(g_variant_get_child_value(answer.get(), 0));
  SimulatorState state;
  const char* directory = nullptr;
  if (g_variant_lookup(properties.get(), "Directory", "&s", &directory) != FALSE) state.directory = directory;
  return state;
}

std::string WhyOtherDirectory() {
  const char* own = nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  const std::optional<SimulatorState> simulator = AskSimulator();
  if (own == nullptr || !simulator || simulator->directory.empty()) return "";
  if (SameDirectory(own, simulator->directory)) return "";
  return "the service works in " + Printable(simulator->directory) + ", and nuvctl in " + Printable(own) +
         ": set NUV_HOST_DIR to the service's directory";
}
