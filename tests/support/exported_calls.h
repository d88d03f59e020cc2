// Every function that the library exports, each with calls that succeed in a world that is made for them.
#pragma once

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_service_launch.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app_database.h"
#include "fake_apps.h"
#include "private_bus.h"
#include "recording_service.h"

// What the calls work on: a catalogue, a service, running applications, and the arguments, whose texts are too long for
// a string's own buffer. A call itself asks for no memory.
class World {
 public:
  World();
  ~World() { GiveBack(); }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  // Everything as it was before the first call, but for what is written into the catalogue.
  void Renew();
  // What the last call handed out.
  std::string HandedOut() const;
  bool HandedOutNoBlock() const {
    return block == nullptr && list == nullptr && ms_list == nullptr && inner_list == nullptr;
  }
  // The service's answer to what a change is forwarded with.
  void AnswerChangesWith(const std::string& reply);

  static void OnNotify(const char* app_id, nuv_notify_event_e event, int reserved, int result, void* user_data);
  static void OnResult(void* user_data, int reserved, const char* app_id, int result);

  // Of the last call.
  int failures_told = 0;  // to its callback
  nuv_app_info_s info;
  _APPS_INNER_INFO_T inner;
  _APPSINFO_T record;
  int number;
  std::string text;
  std::array<char, 256> buffer;
  char* block = nullptr;
  nuv_app_info_s* list = nullptr;
  nuv_app_ms_s* ms_list = nullptr;
  _APPSINFO_T* inner_list = nullptr;
  std::vector<_APPS_INNER_INFO_T> inner_vector;
  std::vector<_NUVDB_BIND_T> binds;
  std::map<std::string, std::string> pairs;

  // Arguments that a call takes away or may change.
  std::array<std::string, 3> taken;
  Launch_Opinion opinion;
  _NUV_LAUNCHER_DATA launch;
  fake_platform::AppControlHandle request;

  AppDatabase database;
  PrivateBus bus;
  RecordingService& service() { return *service_; }
  // The bus ends and comes back, and the service with it.
  void LoseBus();

 private:
  void StartService();
  void GiveBack();

  static inline World* current = nullptr;

  std::unique_ptr<RecordingService> service_;
};

// What a call has to do with.
enum Needs : unsigned {
  kNothing = 0,
  kReadSide = 1,
  kInnerSide = 2,
  kLauncherLink = 4,
  kInnerLink = 8,
};

struct ExportedCall {
  const char* function;
  const char* what;  // which of the function's calls; empty where it has one
  unsigned needs;
  int (*call)(World& world);
  int failure = -1;                        // the result of a call that fails
  int other_failure = -1;                  // another one; see the table
  bool throws = false;                     // lets std::bad_alloc pass
  void (*before)(World& world) = nullptr;  // undisturbed, before each call
};
std::string NameOf(const ExportedCall& call);

const std::vector<ExportedCall>& ExportedCalls();

// The names in the library's list of exported functions that no call has.
std::vector<std::string> FunctionsWithoutCall();
