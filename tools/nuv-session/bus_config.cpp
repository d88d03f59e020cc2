#include "bus_config.h"

#include <cstdio>
#include <cstring>

#include "bus_policy.h"

namespace session {
namespace {

// What the configuration of a system bus says before it reads the policies of services.
constexpr const char* kSystemBus = R"(
<policy context="default">
<allow user="*"/><deny own="*"/><deny send_type="method_call"/>
<allow send_type="signal"/><allow send_requested_reply="true" send_type="method_return"/>
<allow send_requested_reply="true" send_type="error"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/>
<allow receive_type="error"/><allow receive_type="signal"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Introspectable"/>
<allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Properties"/>
<deny send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"
      send_member="UpdateActivationEnvironment"/>
</policy>
)";

// The user who has started the bus may monitor it, as root may monitor a system bus.
constexpr const char* kMonitor =
    R"(<policy user="%u"><allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Monitoring"/>
</policy>
)";

constexpr const char* kEverything = R"(
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/></policy>
)";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string ServicePolicy(uid_t user) {
  const std::string policy = kBusPolicy;
  const std::size_t start = policy.find("<policy ");
  return Replaced(policy.substr(start, policy.rfind("</busconfig>") - start), "user=\"nuv\"",
                  "user=\"" + std::to_string(user) + "\"");
}

}  // namespace

std::string BusAddress(const std::string& socket) {
  constexpr const char* kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_/.";
  std::string address = "unix:path=";
  for (const char character : socket) {
    char escaped[4];
    std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned>(static_cast<unsigned char>(character)));
    address += std::strchr(kPlain, character) != nullptr ? std::string(1, character) : escaped;
  }
  return address;
}

std::string BusConfig(const std::string& socket, bool policy, uid_t user) {
  const std::string rules =
      policy ? kSystemBus + ServicePolicy(user) + Replaced(kMonitor, "%u", std::to_string(user)) : kEverything;
  return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
         " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
         "<busconfig><type>system</type><listen>" +
         BusAddress(socket) + "</listen><auth>EXTERNAL</auth>\n" + rules + "</busconfig>\n";
}

}  // namespace session
