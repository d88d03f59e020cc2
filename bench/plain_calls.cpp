#include "plain_calls.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "names.h"

namespace bench {

namespace {

constexpr size_t kBlock = 1024;

[[noreturn]] void Fail(const char* what, const GError* error) {
  fprintf(stderr, "%s: %s\n", what, error == nullptr ? "?" : error->message);
  exit(1);
}

GVariant* ExtraDataBlock(const std::string& key, const std::string& value) {
  char block[kBlock] = {};
  strncpy(block, key.c_str(), kBlock / 2 - 1);
  strncpy(block + kBlock / 2, value.c_str(), kBlock / 2 - 1);
  return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, block, kBlock, 1);
}

GVariant* ExtraDataArray(const ExtraDatas* extra_datas) {
  std::vector<GVariant*> blocks;
  if (extra_datas != nullptr) {
    blocks.reserve(extra_datas->size());
    for (const auto& [key, value] : *extra_datas) blocks.push_back(ExtraDataBlock(key, value));
  }
  return g_variant_new_array(G_VARIANT_TYPE_BYTESTRING, blocks.data(), blocks.size());
}

// Member by member: cheaper than g_variant_new() with a format text.
GVariant* LaunchRequest(const PlainLaunch& launch) {
  GVariant* const members[] = {
      g_variant_new_string(launch.object),
      g_variant_new_int32(1),
      g_variant_new_string(launch.app_id),
      g_variant_new_string(kPayload),
      g_variant_new_string(""),
      g_variant_new_string(kCallerId),
      g_variant_new_string(""),
      g_variant_new_string(""),
      g_variant_new_string(""),
      g_variant_new_int32(launch.event),
      g_variant_new_string("nuv_launch_app"),
      g_variant_new_int32(0),
      g_variant_new_int32(0),
      g_variant_new_int32(0),
      g_variant_new_int32(1),
      g_variant_new_int32(1),
      g_variant_new_int32(0),
      g_variant_new_int32(1),
      g_variant_new_int32(0),
      g_variant_new_int32(0),
      g_variant_new_int32(0),
      g_variant_new_int32(0),
      ExtraDataArray(launch.extra_datas),
  };
  return g_variant_new_tuple(members, G_N_ELEMENTS(members));
}

struct Service {
  const char* name;
  const char* path;
  const char* interface;
};

constexpr Service kService = {kServiceName, kServicePath, kServiceInterface};
constexpr Service kInnerService = {kInnerServiceName, kInnerServicePath, kInnerServiceInterface};

GVariant* CallForReply(GDBusConnection* connection, const Service& service, const char* method, GVariant* parameters,
                       GDBusCallFlags flags, int timeout_ms) {
  GError* error = nullptr;
  GVariant* reply = g_dbus_connection_call_sync(connection, service.name, service.path, service.interface, method,
                                                parameters, nullptr, flags, timeout_ms, nullptr, &error);
  if (reply == nullptr) Fail(method, error);
  return reply;
}

void Heartbeat(GDBusConnection* connection, const Service& service) {
  g_variant_unref(CallForReply(connection, service, "heartbeat", nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, 10000));
}

}  // namespace

GDBusConnection* SystemBus() {
  GError* error = nullptr;
  GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
  if (connection == nullptr) Fail("the system bus", error);
  return connection;
}

void PlainHeartbeat(GDBusConnection* connection) {
  Heartbeat(connection, kService);
}

void PlainLaunchApp(GDBusConnection* connection, const PlainLaunch& launch) {
  g_variant_unref(
      CallForReply(connection, kService, "launch_app", LaunchRequest(launch), G_DBUS_CALL_FLAGS_NONE, 15000));
}

int PlainUpdate(GDBusConnection* connection, const char* app_id) {
  Heartbeat(connection, kInnerService);
  GVariant* const members[] = {g_variant_new_string(app_id)};
  GVariant* const reply = CallForReply(connection, kInnerService, "nuv_update_app_count",
                                       g_variant_new_tuple(members, 1), G_DBUS_CALL_FLAGS_NONE, 10000);
  int state = -1;
  if (g_variant_is_of_type(reply, G_VARIANT_TYPE("(i)"))) g_variant_get(reply, "(i)", &state);
  g_variant_unref(reply);
  return state;
}

}  // namespace bench
