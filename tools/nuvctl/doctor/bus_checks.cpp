// The bus, and what its policy lets this user do.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "bus/system_bus.h"
#include "command/guard.h"
#include "doctor/examination.h"
#include "report/text.h"

namespace {

constexpr char kAccessDenied[] = "org.freedesktop.DBus.Error.AccessDenied";
constexpr guint kPrimaryOwner = 1;

struct Refusal {
  int code;  // GLib's
  const char* words;
};

constexpr Refusal kRefusals[] = {
    {G_IO_ERROR_NOT_FOUND, "there is no such socket"},
    {G_IO_ERROR_CONNECTION_REFUSED, "nobody listens on the socket (connection refused)"},
    {G_IO_ERROR_PERMISSION_DENIED, "this user may not use the socket"},
};

// The socket's path in an address of the form "unix:path=PATH"; empty for any other.
std::string SocketOf(const std::string& address) {
  constexpr char kUnix[] = "unix:path=";
  if (address.rfind(kUnix, 0) != 0) return "";
  const std::string rest = address.substr(sizeof kUnix - 1);
  const TextOwner path(g_uri_unescape_string(rest.substr(0, rest.find_first_of(",;")).c_str(), nullptr));
  return path != nullptr ? path.get() : "";
}

// A bus ends the connection of a user whom it does not serve, and says nothing.
std::string WhyClosed(const std::string& address) {
  struct stat socket = {};
  if (stat(SocketOf(address).c_str(), &socket) != 0 || socket.st_uid == geteuid()) return "it ends the connection";
  return "it is the bus of " + UserInWords(socket.st_uid) + " and does not serve " + UserInWords(geteuid());
}

std::string WhyNotReached(const GError& error, const std::string& address, unsigned limit_ms) {
  if (error.domain == G_IO_ERROR) {
    for (const Refusal& refusal : kRefusals) {
      if (error.code == refusal.code) return refusal.words;
    }
    if (error.code == G_IO_ERROR_CANCELLED) {
      return "it does not answer within " + InSeconds(limit_ms);
    }
    if (error.code == G_IO_ERROR_CLOSED) return WhyClosed(address);
  }
  return Printable(error.message);
}

std::string BusMend() {
  const bool chosen = getenv("DBUS_SYSTEM_BUS_ADDRESS") != nullptr;
  return chosen ? "unset DBUS_SYSTEM_BUS_ADDRESS, or nuv-session for a bus of its own"
                : "systemctl start dbus, or nuv-session for a bus of its own";
}

Finding LookAtBus(Examination& examination) {
  const TextOwner address = SystemBusAddress();
  if (address == nullptr) return Failure("the platform names no system bus", BusMend());
  const std::string where = Printable(address.get());
  if (examination.bus() != nullptr) return Fine(where + " answers");
  const GError* why = examination.why_no_bus();
  const std::string words =
      why != nullptr ? WhyNotReached(*why, address.get(), examination.limit_ms()) : "it cannot be reached";
  return Failure(where + ": " + words, BusMend());
}

bool IsOwner(const BusReply& reply) {
  guint answer = 0;
  if (reply.value != nullptr && g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(u)")) != FALSE) {
    g_variant_get(reply.value.get(), "(u)", &answer);
  }
  return answer == kPrimaryOwner;
}

Finding LookAtOwnName(Examination& examination) {
  if (examination.bus() == nullptr) return NotKnown("the bus cannot be reached");
  const BusReply& reply = examination.own_name();
  if (IsOwner(reply)) return Fine("a client may own its name");
  const std::string why = reply.error_text.empty() ? "it is taken" : Printable(reply.error_text);
  return Failure("no client may own a name for its results: " + why, NUVCTL_POLICY);
}

// A result as the service reports it, to an object that is not there: the bus's policy has it pass or not, and nothing
// comes of it.
BusReply SendResult(GDBusConnection* sender, unsigned limit_ms) {
  const std::string object = "obj" + std::to_string(getpid());
  return CallOnBus(sender, ClientName(), "/org/kelvo/tv/corvane/launcherclient/" + object,
                   "org.kelvo.tv.corvane.launcherclient.interface." + object, "app_launch_result",
                   g_variant_new("(isiiiisi)", 0, "", 0, 0, 0, 0, "", 0), limit_ms);
}

// That this user is not let through says nothing of the service, which is another user.
Finding OnlyTheService(Examination& examination) {
  const ServiceFacts* service = examination.service();
  if (service == nullptr || !service->user) {
    return NotKnown("the bus keeps results of this user's from clients; which user the service is shows when it runs");
  }
  const std::string user = UserInWords(*service->user);
  if (*service->user == geteuid()) {
    return Failure("the bus keeps the results of the service, which runs as " + user + ", from clients", NUVCTL_POLICY);
  }
  return NotKnown("the bus keeps results of this user's from clients, as it should; the service is " + user,
                  "nuvctl doctor, run as " + user);
}

Finding LookAtResults(Examination& examination) {
  if (examination.bus() == nullptr) return NotKnown("the bus cannot be reached");
  if (!IsOwner(examination.own_name())) return NotKnown("no client has a name to send them to");
  const ConnectionOwner sender = ConnectToSystemBus(examination.limit_ms());
  if (sender == nullptr) return Failure("the bus takes no second connection", BusMend());
  const BusReply reply = SendResult(sender.get(), examination.limit_ms());
  if (reply.error_name == kAccessDenied) return OnlyTheService(examination);
  const bool arrived = reply.error_name == "org.freedesktop.DBus.Error.UnknownMethod";
  if (arrived) return Fine("a result reaches its client");
  return Failure("a result does not reach its client: " + Printable(reply.error_text), NUVCTL_POLICY);
}

}  // namespace

std::vector<Check> BusChecks() {
  return {{"bus", LookAtBus}, {"own-name", LookAtOwnName}, {"results", LookAtResults}};
}
