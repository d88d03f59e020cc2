// Users of a bus that enforces what a system bus does.
#pragma once

#include <unistd.h>

#include <memory>
#include <string>

#include "simulator_fixture.h"

// What the configuration of a system bus says before it reads the policies of services.
constexpr const char* kSystemBus = R"(
<policy context="default"><allow user="*"/><deny own="*"/><deny send_type="method_call"/>
<allow send_type="signal"/><allow send_requested_reply="true" send_type="method_return"/>
<allow send_requested_reply="true" send_type="error"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/><allow receive_type="error"/>
<allow receive_type="signal"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/></policy>
)";

// "bin", "daemon" and "nobody", which every system has: a bus knows only the system's users.
constexpr uid_t kServiceUser = 2;
constexpr uid_t kUser = 1;
constexpr uid_t kOtherUser = 65534;

constexpr const char* kDenied = "org.freedesktop.DBus.Error.AccessDenied";
// What GLib's connection says of an object that nobody serves: the call has arrived.
constexpr const char* kArrived = "org.freedesktop.DBus.Error.UnknownMethod";
constexpr const char* kOwned = "(1,)";  // the text leaves out that the number is unsigned

inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The rules that are installed, with the service's user of this test.
inline std::string PolicyFor(uid_t service_user) {
  const std::string policy = ReadFile(NUV_SOURCE_DIR "/data/org.kelvo.tv.corvane.conf");
  const std::size_t start = policy.find("<policy ");
  return Replaced(policy.substr(start, policy.rfind("</busconfig>") - start), "user=\"nuv\"",
                  "user=\"" + std::to_string(service_user) + "\"");
}

// The bus takes the test for another user while this lives.
class ActAs {
 public:
  explicit ActAs(uid_t user) { EXPECT_EQ(seteuid(user), 0); }
  ~ActAs() { EXPECT_EQ(seteuid(getuid()), 0); }
  ActAs(const ActAs&) = delete;
  ActAs& operator=(const ActAs&) = delete;
};

inline GVariant* SomeResult() {
  return g_variant_new("(isiiiisi)", 1, "an.app", 0, 900, 0, 1, "nuv_launch_app", 1);
}

// A user's connection.
class Peer {
 public:
  Peer(const PrivateBus& bus, uid_t user) {
    const ActAs act(user);
    connection_ = ConnectTo(bus);
  }
  GDBusConnection* get() const { return connection_.get(); }
  std::string UniqueName() const { return g_dbus_connection_get_unique_name(get()); }

  // The reply as text, or the error's name.
  std::string Call(const std::string& destination, const std::string& path, const std::string& interface,
                   const std::string& method, GVariant* arguments = nullptr) const {
    GError* error = nullptr;
    Reply reply;
    reply.value.reset(g_dbus_connection_call_sync(get(), destination.c_str(), path.c_str(), interface.c_str(),
                                                  method.c_str(), arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000,
                                                  nullptr, &error));
    if (error != nullptr) {
      char* name = g_dbus_error_get_remote_error(error);
      reply.error = name == nullptr ? error->message : name;
      g_free(name);
      g_error_free(error);
    }
    return reply.Text();
  }
  std::string AskBus(const std::string& method, GVariant* arguments = nullptr) const {
    return Call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments);
  }
  std::string Own(const std::string& name) const {
    return AskBus("RequestName", g_variant_new("(su)", name.c_str(), 4));
  }
  // Reports a launch to the client object "obj1".
  std::string Report(const std::string& destination) const {
    return Call(destination, "/org/kelvo/tv/corvane/launcherclient/obj1",
                "org.kelvo.tv.corvane.launcherclient.interface.obj1", "app_launch_result", SomeResult());
  }
  // The bus has handled everything that was sent before, and this peer has what was sent to it by then.
  void Settle() const { AskBus("GetId"); }

 private:
  Connection connection_;
};

inline std::unique_ptr<ResultObject> ObjectOf(uid_t user, const PrivateBus& bus, const std::string& name) {
  const ActAs act(user);
  return std::make_unique<ResultObject>(bus, name);
}
