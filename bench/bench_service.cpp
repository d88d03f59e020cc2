// The least that a client needs of a service: it answers "heartbeat", "launch_app" and "nuv_update_app_count", and
// sends a result for one application. Prints a line when it owns its names.
#include <gio/gio.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "launch_case.h"
#include "names.h"
#include "wall_time.h"

namespace {

constexpr const char* kIntrospection =
    "<node><interface name='org.kelvo.tv.litecorvane.server.interface'>"
    "<method name='heartbeat'/>"
    "<method name='launch_app'><arg direction='in' type='s'/><arg direction='in' type='i'/>"
    "<arg direction='in' type='s'/><arg direction='in' type='s'/><arg direction='in' type='s'/>"
    "<arg direction='in' type='s'/><arg direction='in' type='s'/><arg direction='in' type='s'/>"
    "<arg direction='in' type='s'/><arg direction='in' type='i'/><arg direction='in' type='s'/>"
    "<arg direction='in' type='i'/><arg direction='in' type='i'/><arg direction='in' type='i'/>"
    "<arg direction='in' type='i'/><arg direction='in' type='i'/><arg direction='in' type='i'/>"
    "<arg direction='in' type='i'/><arg direction='in' type='i'/><arg direction='in' type='i'/>"
    "<arg direction='in' type='i'/><arg direction='in' type='i'/><arg direction='in' type='aay'/></method>"
    "</interface>"
    "<interface name='org.kelvo.tv.corvane.server.interface'>"
    "<method name='heartbeat'/>"
    "<method name='nuv_update_app_count'><arg direction='in' type='s'/><arg direction='out' type='i'/></method>"
    "</interface></node>";

// Enough for the client to be at rest again after its call.
constexpr guint kResultDelayMs = 1;

struct Result {
  GDBusConnection* connection;
  std::string object;
  int32_t thread_id;
  int32_t event;
};

gboolean SendResult(gpointer data) {
  const std::unique_ptr<Result> result(static_cast<Result*>(data));
  const std::string name = bench::ClientName(result->object);
  const std::string path = bench::ClientPath(result->object);
  const std::string interface = bench::ClientInterface(result->object);
  const auto now = static_cast<int32_t>(bench::Now());
  g_dbus_connection_call(result->connection, name.c_str(), path.c_str(), interface.c_str(), "app_launch_result",
                         g_variant_new("(isiiiisi)", result->thread_id, bench::kAppWithResult, now, 900, 0,
                                       result->event, "nuv_launch_app", 1),
                         nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, nullptr, nullptr, nullptr);
  return G_SOURCE_REMOVE;
}

void OnMethodCall(GDBusConnection* connection, const char*, const char*, const char*, const char* method,
                  GVariant* parameters, GDBusMethodInvocation* invocation, gpointer) {
  if (g_str_equal(method, "launch_app")) {
    const char* object = nullptr;
    const char* app_id = nullptr;
    Result result{connection, "", 0, 0};
    g_variant_get_child(parameters, 0, "&s", &object);
    g_variant_get_child(parameters, 1, "i", &result.thread_id);
    g_variant_get_child(parameters, 2, "&s", &app_id);
    g_variant_get_child(parameters, 9, "i", &result.event);
    if (g_str_equal(app_id, bench::kAppWithResult)) {
      result.object = object;
      g_timeout_add(kResultDelayMs, SendResult, new Result(result));
    }
  }
  const bool update = g_str_equal(method, "nuv_update_app_count");
  g_dbus_method_invocation_return_value(invocation, update ? g_variant_new("(i)", 0) : nullptr);
}

void OnBusAcquired(GDBusConnection* connection, const char*, gpointer node) {
  static const GDBusInterfaceVTable kTable = {OnMethodCall, nullptr, nullptr, {}};
  GDBusInterfaceInfo** const interfaces = static_cast<GDBusNodeInfo*>(node)->interfaces;
  g_dbus_connection_register_object(connection, bench::kServicePath, interfaces[0], &kTable, nullptr, nullptr, nullptr);
  g_dbus_connection_register_object(connection, bench::kInnerServicePath, interfaces[1], &kTable, nullptr, nullptr,
                                    nullptr);
}

void OnNameAcquired(GDBusConnection*, const char*, gpointer) {
  static int missing = 2;
  if (--missing > 0) return;
  puts("ready");
  fflush(stdout);
}

}  // namespace

int main() {
  GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(kIntrospection, nullptr);
  g_bus_own_name(G_BUS_TYPE_SYSTEM, bench::kServiceName, G_BUS_NAME_OWNER_FLAGS_NONE, OnBusAcquired, OnNameAcquired,
                 nullptr, node, nullptr);
  g_bus_own_name(G_BUS_TYPE_SYSTEM, bench::kInnerServiceName, G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, OnNameAcquired,
                 nullptr, nullptr, nullptr);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  return 0;
}
