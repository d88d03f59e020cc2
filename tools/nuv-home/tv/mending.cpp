#include "tv/mending.h"

#include <nuv/nuv_launch_codes.h>

namespace home {
namespace {

struct OfObstacle {
  const char* key;
  const char* words;
};

constexpr OfObstacle kOfObstacles[] = {
    {"bus-gone", "The system bus has to run; this page goes on by itself once it does."},
    {"service-gone", "The service has to run; this page goes on by itself once it does."},
    {"factory-reset", "Wait until the reset is over."},
    {"repair", "Wait until the packages are repaired."},
    {"database-busy", "Try again: another process was writing to the catalogue."},
    {"database-unreadable", "See what nuvctl doctor says about the database."},
    {"not-installed", "Install the application, or wait until its installation is complete."},
    {"unavailable", "The service has to make the application available again."},
    {"reset-pending", "The service has to reset the application."},
    {"no-program", "Install its program where the catalogue says, or let the service run stand-ins."},
};

struct OfCode {
  int code;
  const char* words;
};

constexpr OfCode kOfCodes[] = {
    {NUV_LAUNCH_STATUS_UNKNOWN_APP, "Install the application, or launch it by the id that the catalogue has."},
    {NUV_LAUNCH_STATUS_NOT_INSTALLED, "Install the application, or wait until its installation is complete."},
    {NUV_LAUNCH_STATUS_REFUSED, "Launch it again and enter the right PIN."},
    {NUV_LAUNCH_STATUS_FAILED, "The messages show what the service was asked; its log says what it did."},
    {NUV_LAUNCH_STATUS_CANCELLED, "Launch it again and answer the question for the PIN."},
    {NUV_LAUNCH_STATUS_CRASHED, "See the application's own log: its process ended while it was starting."},
    {NUV_LAUNCH_STATUS_TIMED_OUT, "Launch it again when the service answers; the messages show whether it does."},
};

}  // namespace

std::string MendingOfObstacle(const std::string& key) {
  for (const OfObstacle& row : kOfObstacles) {
    if (key == row.key) return row.words;
  }
  return "";
}

std::string MendingOfCode(int code) {
  for (const OfCode& row : kOfCodes) {
    if (code == row.code) return row.words;
  }
  return "";
}

}  // namespace home
