#include "plain_listener.h"

#include <thread>
#include <utility>

#include "names.h"

namespace bench {

namespace {

std::string Introspection(const std::string& object) {
  return "<node><interface name='" + ClientInterface(object) +
         "'>"
         "<method name='check_dbus_connection'><arg name='result' direction='out' type='s'/></method>"
         "<method name='app_launch_result'>"
         "<arg name='thread_id' direction='in' type='i'/><arg name='app_id' direction='in' type='s'/>"
         "<arg name='Res' direction='in' type='i'/><arg name='eventtype' direction='in' type='i'/>"
         "<arg name='iData' direction='in' type='i'/><arg name='event_index' direction='in' type='i'/>"
         "<arg name='method_call' direction='in' type='s'/><arg name='cbtype' direction='in' type='i'/>"
         "</method></interface></node>";
}

}  // namespace

PlainListener::PlainListener(std::string object, Callback callback) : object_(std::move(object)), callback_(callback) {
  std::future<void> registered = registered_.get_future();
  std::thread(&PlainListener::Run, this).detach();
  registered.wait();
}

void PlainListener::Run() {
  GMainContext* context = g_main_context_new();
  g_main_context_push_thread_default(context);
  node_ = g_dbus_node_info_new_for_xml(Introspection(object_).c_str(), nullptr);
  constexpr auto kFlags =
      static_cast<GBusNameOwnerFlags>(G_BUS_NAME_OWNER_FLAGS_ALLOW_REPLACEMENT | G_BUS_NAME_OWNER_FLAGS_REPLACE);
  g_bus_own_name(G_BUS_TYPE_SYSTEM, ClientName(object_).c_str(), kFlags, OnBusAcquired, nullptr, nullptr, this,
                 nullptr);
  g_main_loop_run(g_main_loop_new(context, FALSE));
}

void PlainListener::OnBusAcquired(GDBusConnection* connection, const char*, gpointer self) {
  static const GDBusInterfaceVTable kTable = {OnMethodCall, nullptr, nullptr, {}};
  auto* const listener = static_cast<PlainListener*>(self);
  g_dbus_connection_register_object(connection, ClientPath(listener->object_).c_str(), listener->node_->interfaces[0],
                                    &kTable, listener, nullptr, nullptr);
  // The name is asked for when this handler has returned.
  GSource* const settled = g_idle_source_new();
  g_source_set_priority(settled, G_PRIORITY_HIGH);
  g_source_set_callback(
      settled,
      [](gpointer data) -> gboolean {
        static_cast<PlainListener*>(data)->registered_.set_value();
        return G_SOURCE_REMOVE;
      },
      listener, nullptr);
  g_source_attach(settled, g_main_context_get_thread_default());
  g_source_unref(settled);
}

// The service is answered first, as the library has to.
void PlainListener::OnMethodCall(GDBusConnection*, const char*, const char*, const char*, const char* method,
                                 GVariant* parameters, GDBusMethodInvocation* invocation, gpointer self) {
  g_variant_ref(parameters);
  g_dbus_method_invocation_return_value(invocation, nullptr);
  if (g_str_equal(method, "app_launch_result")) {
    int32_t result = 0;
    g_variant_get(parameters, "(i&siiii&si)", nullptr, nullptr, &result, nullptr, nullptr, nullptr, nullptr, nullptr);
    static_cast<PlainListener*>(self)->callback_(result);
  }
  g_variant_unref(parameters);
}

}  // namespace bench
