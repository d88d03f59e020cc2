#include "bus_link.h"

#include <utility>

namespace simulator {
namespace {

constexpr const char* kNames[] = {"org.kelvo.tv.litecorvane.server", "org.kelvo.tv.corvane.server"};
constexpr guint kDoNotQueue = 4;
constexpr guint kPrimaryOwner = 1;
constexpr int kTimeoutMs = 10000;

std::string FindAddress() {
  Error error;
  const StringPtr address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
  if (!address) throw NoBus("no system bus: " + error.message());
  return address.get();
}

ObjectPtr<GDBusConnection> Connect(const std::string& address) {
  Error error;
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  ObjectPtr<GDBusConnection> connection(
      g_dbus_connection_new_for_address_sync(address.c_str(), kFlags, nullptr, nullptr, error.out()));
  if (!connection) throw NoBus("the system bus cannot be reached: " + error.message());
  return connection;
}

VariantPtr AskDaemon(GDBusConnection* connection, const char* method, GVariant* arguments, const char* reply_type) {
  Error error;
  VariantPtr reply(g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                               "org.freedesktop.DBus", method, arguments, G_VARIANT_TYPE(reply_type),
                                               G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
  if (!reply) throw BusError(std::string(method) + ": " + error.message());
  return reply;
}

[[noreturn]] void ThrowTaken(const std::string& name) {
  throw BusError("the name " + name + " is taken");
}

// The calls of both servers go to one handler, which reads the arguments from the invocation.
void ForwardCall(GClosure* closure, GValue* handled, guint, const GValue* values, gpointer, gpointer) {
  auto* invocation = static_cast<GDBusMethodInvocation*>(g_value_get_object(&values[1]));
  static_cast<CallHandler*>(closure->data)->OnServiceCall(invocation);
  g_value_set_boolean(handled, TRUE);
}

void ForwardAllCalls(GDBusInterfaceSkeleton* skeleton, CallHandler& handler) {
  const GDBusInterfaceInfo* info = g_dbus_interface_skeleton_get_info(skeleton);
  for (GDBusMethodInfo** method = info->methods; *method != nullptr; ++method) {
    GClosure* closure = g_closure_new_simple(sizeof(GClosure), &handler);
    g_closure_set_marshal(closure, ForwardCall);
    const std::string signal = std::string("handle-") + (*method)->name;
    g_signal_connect_closure(skeleton, signal.c_str(), closure, FALSE);
  }
}

gboolean ForwardLaunchRequest(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, const char*, const char*,
                              const char*, GVariant*, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnLaunchRequest(invocation);
  return TRUE;
}

gboolean ForwardRunningApps(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnRunningApps(invocation);
  return TRUE;
}

gboolean ForwardStandIns(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnStandIns(invocation);
  return TRUE;
}

gboolean ForwardPayloads(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnPayloads(invocation);
  return TRUE;
}

gboolean ForwardPinSources(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnPinSources(invocation);
  return TRUE;
}

gboolean ForwardAskForPins(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, gboolean ask, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnAskForPins(invocation, ask != FALSE);
  return TRUE;
}

gboolean ForwardSetRules(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, const char* rules,
                         gpointer handler) {
  static_cast<CallHandler*>(handler)->OnSetRules(invocation, rules);
  return TRUE;
}

gboolean ForwardEnterPin(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, guint question, const char* pin,
                         gpointer handler) {
  static_cast<CallHandler*>(handler)->OnEnterPin(invocation, question, pin);
  return TRUE;
}

gboolean ForwardCancelPin(NuvGlueNuvSimulator1*, GDBusMethodInvocation* invocation, guint question, gpointer handler) {
  static_cast<CallHandler*>(handler)->OnCancelPin(invocation, question);
  return TRUE;
}

}  // namespace

BusLink::BusLink(std::function<void()> lost)
    : lost_(std::move(lost)), address_(FindAddress()), connection_(Connect(address_)) {
  const auto closed = +[](GDBusConnection*, gboolean, GError*, gpointer self) { static_cast<BusLink*>(self)->lost_(); };
  closed_handler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(closed), this);
}

BusLink::~BusLink() {
  g_signal_handler_disconnect(connection_.get(), closed_handler_);
  for (const auto& skeleton : exported_) g_dbus_interface_skeleton_unexport(skeleton.get());
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

void BusLink::CheckNames() const {
  for (const char* name : kNames) {
    const VariantPtr reply = AskDaemon(connection_.get(), "NameHasOwner", g_variant_new("(s)", name), "(b)");
    gboolean taken = FALSE;
    g_variant_get(reply.get(), "(b)", &taken);
    if (taken) ThrowTaken(name);
  }
}

template <typename Skeleton>
void BusLink::Export(Skeleton* skeleton, const char* path) {
  Error error;
  exported_.emplace_back(G_DBUS_INTERFACE_SKELETON(skeleton));
  if (!g_dbus_interface_skeleton_export(exported_.back().get(), connection_.get(), path, error.out())) {
    throw BusError(std::string(path) + ": " + error.message());
  }
}

// Objects first: whoever sees a name may call at once.
void BusLink::Publish(CallHandler& handler, const About& about) {
  Export(nuv_glue_litecorvane_server_interface_skeleton_new(), "/org/kelvo/tv/litecorvane/server");
  Export(nuv_glue_corvane_server_interface_skeleton_new(), "/org/kelvo/tv/corvane/server");
  for (const auto& skeleton : exported_) ForwardAllCalls(skeleton.get(), handler);

  control_ = ShareObject(nuv_glue_nuv_simulator1_skeleton_new());
  const StringPtr valid(g_utf8_make_valid(about.directory.c_str(), -1));
  nuv_glue_nuv_simulator1_set_directory(control_.get(), valid.get());
  nuv_glue_nuv_simulator1_set_version(control_.get(), NUV_VERSION);
  nuv_glue_nuv_simulator1_set_has_stand_ins(control_.get(), about.has_stand_ins ? TRUE : FALSE);
  Export(control_.get(), "/org/kelvo/tv/NuvSimulator");
  g_signal_connect(control_.get(), "handle-launch-request", G_CALLBACK(ForwardLaunchRequest), &handler);
  g_signal_connect(control_.get(), "handle-running-apps", G_CALLBACK(ForwardRunningApps), &handler);
  g_signal_connect(control_.get(), "handle-stand-ins", G_CALLBACK(ForwardStandIns), &handler);
  g_signal_connect(control_.get(), "handle-payloads", G_CALLBACK(ForwardPayloads), &handler);
  g_signal_connect(control_.get(), "handle-pin-sources", G_CALLBACK(ForwardPinSources), &handler);
  g_signal_connect(control_.get(), "handle-ask-for-pins", G_CALLBACK(ForwardAskForPins), &handler);
  g_signal_connect(control_.get(), "handle-set-rules", G_CALLBACK(ForwardSetRules), &handler);
  g_signal_connect(control_.get(), "handle-enter-pin", G_CALLBACK(ForwardEnterPin), &handler);
  g_signal_connect(control_.get(), "handle-cancel-pin", G_CALLBACK(ForwardCancelPin), &handler);
  for (const char* name : kNames) OwnName(name);
}

void BusLink::OwnName(const char* name) {
  const VariantPtr reply = AskDaemon(connection_.get(), "RequestName", g_variant_new("(su)", name, kDoNotQueue), "(u)");
  guint answer = 0;
  g_variant_get(reply.get(), "(u)", &answer);
  if (answer != kPrimaryOwner) ThrowTaken(name);
}

}  // namespace simulator
