// A running nuv-simulator, a client that calls it, and the client object that hears results.
#pragma once

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "private_bus.h"
#include "process.h"
#include "temp_dir.h"

struct Unref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
  void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
};
using Variant = std::unique_ptr<GVariant, Unref>;
using Connection = std::unique_ptr<GDBusConnection, Unref>;

Connection ConnectTo(const PrivateBus& bus);

// Lets the main context of the test run until the condition holds.
bool RunUntil(const std::function<bool()>& condition, Milliseconds limit = Milliseconds(10000));

struct Reply {
  Variant value;             // null for an error
  std::string error;         // its D-Bus name
  std::string message;       // and text
  std::string Text() const;  // GVariant text of the value, or the name of the error
};

// An app_launch_result call, as it arrived.
struct ReceivedResult {
  int thread_id = 0;
  std::string app_id;
  int result = 0;
  int event = 0;
  int data = 0;
  int event_index = 0;
  std::string method_call;
  int cb_type = 0;
};

// The client object of a launching process.
class ResultObject {
 public:
  // Owns the bus name at once, or when Appear() is called.
  ResultObject(const PrivateBus& bus, const std::string& name, bool appear = true);
  ~ResultObject();
  void Appear();

  const std::string& name() const { return name_; }
  std::string UniqueName() const { return g_dbus_connection_get_unique_name(connection_.get()); }
  const std::vector<ReceivedResult>& results() const { return results_; }
  bool WaitFor(std::size_t count) const;
  // Event and result of the only result that has come, waiting for it.
  std::pair<int, int> Outcome() const;

 private:
  static void Called(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
                     GDBusMethodInvocation* invocation, gpointer self);
  std::string name_;
  Connection connection_;
  guint registration_ = 0;
  std::vector<ReceivedResult> results_;
};

// The members of a launch request that tests vary.
struct Launch {
  Launch(std::string app, std::string object_name = "obj1") : app_id(std::move(app)), object(std::move(object_name)) {}

  std::string app_id;
  std::string object;
  int thread_id = 0x12345;
  std::string payload;
  std::string uri;
  std::string caller;
  int event_index = 1;
  int cb_type = 1;
  int preload = 0;
  int deep_link = 0;
  int background = 0;
  int skip_pin = 0;
  std::vector<std::string> blocks;  // of the extra data, as they are sent

  GVariant* Arguments() const;
};

// A block of extra data with a key and a value.
std::string ExtraBlock(const std::string& key, const std::string& value);

class SimulatorTest : public ::testing::Test {
 protected:
  // The policy is added to the base.
  explicit SimulatorTest(const std::string& policy = "", const std::string& base = PrivateBus::kEverythingAllowed);

  // Starts the simulator on the state directory and waits until it is ready. Without a catalogue it is empty.
  void Start(const std::vector<std::string>& options = {}, const std::string& catalogue = R"({"apps": []})");
  // Starts it without a --seed and without waiting.
  void StartPlain(const std::vector<std::string>& options = {});
  bool WaitForOutput(const std::string& text) const;
  std::optional<int> End();  // SIGTERM; the exit status

  Reply Call(const std::string& method, GVariant* arguments = nullptr, int timeout_ms = 5000) const;
  Reply CallCorvane(const std::string& method, GVariant* arguments = nullptr) const;
  Reply CallControl(const std::string& method, GVariant* arguments) const;
  Reply CallObject(const std::string& name, const std::string& path, const std::string& interface,
                   const std::string& method, GVariant* arguments, int timeout_ms = 5000) const;
  // Accepted by the simulator.
  bool SendLaunch(const Launch& launch) const;
  // Event and result of a launch.
  std::pair<int, int> OutcomeOf(const Launch& launch);

  // File of an executable shell script.
  std::string WriteScript(const std::string& name, const std::string& text) const;
  std::string RunningFile(const std::string& platform_id) const {
    return ReadFile(directory_ / ("running/" + platform_id));
  }
  int RunningNumber(const std::string& platform_id, const std::string& field) const;  // -1 without the file
  // First column of the first row, as text.
  std::string Query(const std::string& sql) const;

  PrivateBus bus_;
  TempDir directory_;
  TempDir files_;  // what a test writes itself
  Connection connection_;
  std::unique_ptr<Process> simulator_;
};

bool ProcessExists(int pid);
