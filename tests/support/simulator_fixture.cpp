#include "simulator_fixture.h"

#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cstring>
#include <sstream>

namespace {

constexpr const char* kClientXml =
    "<node><interface name='org.kelvo.tv.corvane.launcherclient.interface.%s'>"
    "<method name='check_dbus_connection'><arg name='result' direction='out' type='s'/></method>"
    "<method name='app_launch_result'>"
    "<arg name='thread_id' direction='in' type='i'/><arg name='app_id' direction='in' type='s'/>"
    "<arg name='Res' direction='in' type='i'/><arg name='eventtype' direction='in' type='i'/>"
    "<arg name='iData' direction='in' type='i'/><arg name='event_index' direction='in' type='i'/>"
    "<arg name='method_call' direction='in' type='s'/><arg name='cbtype' direction='in' type='i'/>"
    "</method></interface></node>";

constexpr const char* kSimulator = NUV_BIN_DIR "/nuv-simulator";

}  // namespace

Connection ConnectTo(const PrivateBus& bus) {
  return Connection(g_dbus_connection_new_for_address_sync(
      bus.address().c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
}

bool RunUntil(const std::function<bool()>& condition, Milliseconds limit) {
  return WaitUntil(
      [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return condition();
      },
      limit);
}

bool ProcessExists(int pid) {
  return kill(pid, 0) == 0;
}

std::string Reply::Text() const {
  if (!value) return error;
  char* text = g_variant_print(value.get(), FALSE);
  std::string copy = text;
  g_free(text);
  return copy;
}

ResultObject::ResultObject(const PrivateBus& bus, const std::string& name, bool appear)
    : name_(name), connection_(ConnectTo(bus)) {
  if (appear) Appear();
}

ResultObject::~ResultObject() {
  if (registration_ != 0) g_dbus_connection_unregister_object(connection_.get(), registration_);
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

void ResultObject::Appear() {
  static const GDBusInterfaceVTable table = {Called, nullptr, nullptr, {}};
  std::string xml = kClientXml;
  xml.replace(xml.find("%s"), 2, name_);
  GDBusNodeInfo* info = g_dbus_node_info_new_for_xml(xml.c_str(), nullptr);
  const std::string path = "/org/kelvo/tv/corvane/launcherclient/" + name_;
  registration_ = g_dbus_connection_register_object(connection_.get(), path.c_str(), info->interfaces[0], &table, this,
                                                    nullptr, nullptr);
  g_dbus_node_info_unref(info);
  const std::string bus_name = "org.kelvo.tv.corvane.launcherclient." + name_;
  Variant(g_dbus_connection_call_sync(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                      "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", bus_name.c_str(), 4),
                                      nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
}

void ResultObject::Called(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
                          GDBusMethodInvocation* invocation, gpointer self) {
  ReceivedResult result;
  const char* app_id = nullptr;
  const char* method_call = nullptr;
  g_variant_get(arguments, "(i&siiii&si)", &result.thread_id, &app_id, &result.result, &result.event, &result.data,
                &result.event_index, &method_call, &result.cb_type);
  result.app_id = app_id;
  result.method_call = method_call;
  static_cast<ResultObject*>(self)->results_.push_back(result);
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

bool ResultObject::WaitFor(std::size_t count) const {
  return RunUntil([&] { return results_.size() >= count; });
}

std::pair<int, int> ResultObject::Outcome() const {
  if (!WaitFor(1)) return {-1, -1};
  return {results_[0].event, results_[0].result};
}

std::string ExtraBlock(const std::string& key, const std::string& value) {
  std::string block(1024, '\0');
  block.replace(0, key.size(), key);
  block.replace(512, value.size(), value);
  return block;
}

GVariant* Launch::Arguments() const {
  GVariantBuilder extra;
  g_variant_builder_init(&extra, G_VARIANT_TYPE("aay"));
  for (const std::string& block : blocks) {
    g_variant_builder_add_value(&extra, g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, block.data(), block.size(), 1));
  }
  return g_variant_new("(sisssssssisiiiiiiiiiiiaay)", object.c_str(), thread_id, app_id.c_str(), payload.c_str(),
                       uri.c_str(), caller.c_str(), "entry", "below", "requestor", event_index, "nuv_launch_app", 0,
                       preload, 0, 0, 0, 0, cb_type, deep_link, 0, background, skip_pin, &extra);
}

SimulatorTest::SimulatorTest(const std::string& policy, const std::string& base)
    : bus_(policy, "", base), connection_(ConnectTo(bus_)) {}

void SimulatorTest::Start(const std::vector<std::string>& options, const std::string& catalogue) {
  WriteFile(files_ / "catalogue.json", catalogue);
  std::vector<std::string> all = {"--seed", files_ / "catalogue.json"};
  all.insert(all.end(), options.begin(), options.end());
  StartPlain(all);
  ASSERT_TRUE(WaitForOutput("ready\n")) << simulator_->Errors();
}

void SimulatorTest::StartPlain(const std::vector<std::string>& options) {
  std::vector<std::string> command = {kSimulator, "--dir", directory_.path(), "--print-ready", "-v", "--quiet"};
  command.insert(command.end(), options.begin(), options.end());
  // What GLib calls a programming error ends it.
  simulator_ = std::make_unique<Process>(command, files_.path(), Process::Environment{{"G_DEBUG", "fatal-criticals"}});
}

bool SimulatorTest::WaitForOutput(const std::string& text) const {
  return WaitUntil([&] { return simulator_->Output().find(text) != std::string::npos || !simulator_->Running(); }) &&
         simulator_->Output().find(text) != std::string::npos;
}

std::optional<int> SimulatorTest::End() {
  simulator_->Signal(SIGTERM);
  return simulator_->Wait();
}

Reply SimulatorTest::CallObject(const std::string& name, const std::string& path, const std::string& interface,
                                const std::string& method, GVariant* arguments, int timeout_ms) const {
  GError* error = nullptr;
  Reply reply;
  reply.value.reset(g_dbus_connection_call_sync(connection_.get(), name.c_str(), path.c_str(), interface.c_str(),
                                                method.c_str(), arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, timeout_ms,
                                                nullptr, &error));
  if (error == nullptr) return reply;
  char* error_name = g_dbus_error_get_remote_error(error);
  reply.error = error_name == nullptr ? "local" : error_name;
  g_free(error_name);
  g_dbus_error_strip_remote_error(error);
  reply.message = error->message;
  g_error_free(error);
  return reply;
}

Reply SimulatorTest::Call(const std::string& method, GVariant* arguments, int timeout_ms) const {
  return CallObject("org.kelvo.tv.litecorvane.server", "/org/kelvo/tv/litecorvane/server",
                    "org.kelvo.tv.litecorvane.server.interface", method, arguments, timeout_ms);
}

Reply SimulatorTest::CallCorvane(const std::string& method, GVariant* arguments) const {
  return CallObject("org.kelvo.tv.corvane.server", "/org/kelvo/tv/corvane/server",
                    "org.kelvo.tv.corvane.server.interface", method, arguments);
}

Reply SimulatorTest::CallControl(const std::string& method, GVariant* arguments) const {
  return CallObject("org.kelvo.tv.corvane.server", "/org/kelvo/tv/NuvSimulator", "org.kelvo.tv.NuvSimulator1", method,
                    arguments);
}

bool SimulatorTest::SendLaunch(const Launch& launch) const {
  return Call("launch_app", launch.Arguments()).Text() == "()";
}

std::pair<int, int> SimulatorTest::OutcomeOf(const Launch& launch) {
  const ResultObject object(bus_, launch.object);
  EXPECT_TRUE(SendLaunch(launch));
  return object.Outcome();
}

std::string SimulatorTest::WriteScript(const std::string& name, const std::string& text) const {
  const std::string path = files_ / name;
  WriteFile(path, "#!/bin/sh\n" + text);
  chmod(path.c_str(), 0755);
  return path;
}

int SimulatorTest::RunningNumber(const std::string& platform_id, const std::string& field) const {
  std::istringstream lines(RunningFile(platform_id));
  std::string name;
  int value = 0;
  while (lines >> name >> value) {
    if (name == field) return value;
  }
  return -1;
}

std::string SimulatorTest::Query(const std::string& sql) const {
  sqlite3* database = nullptr;
  sqlite3_open_v2((directory_ / ".corvane.db").c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr);
  std::string text = "no row";
  if (sqlite3_step(statement) == SQLITE_ROW) {
    const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    text = value == nullptr ? "null" : value;
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
  return text;
}
