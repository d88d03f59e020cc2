// Every function that the library exports, in one table: the named mutex that it takes, what it needs, what it asks the
// service, its results, and how it is called.
#pragma once

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_service_launch.h>

#include <array>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "app_database.h"
#include "fake_apps.h"
#include "recording_service.h"

// What a call is given and hands out. The texts are too long for a string's own buffer, so that every copy of one asks
// for memory; a call itself asks for none. Each is good for one call.
struct Arguments {
  Arguments();
  ~Arguments();
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  // Sets everything by which an application is looked up.
  void SetKey(const std::string& key) { id = taken = run_title = quoted_id = key; }

  bool HandedOutNoBlock() const {
    return block == nullptr && list == nullptr && ms_list == nullptr && inner_list == nullptr;
  }
  // All of it, as text.
  std::string HandedOut() const;

  std::string id;
  std::string quoted_id;
  std::string run_title;
  std::string payload;
  nuv_launch_notify_cb on_notify = nullptr;
  nuv_launch_result_cb on_result = nullptr;
  void* user_data = nullptr;

  // What a call takes over, or may change.
  std::string taken;  // an id
  std::array<std::string, 3> pairs_text;
  Launch_Opinion opinion = {};
  _NUV_LAUNCHER_DATA launch = {};
  fake_platform::AppControlHandle request;

  // What a call hands out.
  nuv_app_info_s info = {};
  _APPS_INNER_INFO_T inner;
  _APPSINFO_T record;
  int number = 0;
  std::string text;
  std::array<char, 256> buffer = {};
  char* block = nullptr;
  nuv_app_info_s* list = nullptr;
  nuv_app_ms_s* ms_list = nullptr;
  _APPSINFO_T* inner_list = nullptr;
  std::vector<_APPS_INNER_INFO_T> inner_vector;
  std::vector<_NUVDB_BIND_T> binds;
  std::map<std::string, std::string> pairs;
};

// The world in which the calls succeed: these applications, and a service that answers like this.
void AddApplications(AppDatabase& database);
void AnswerCalls(RecordingService& service);
// What the service answers to a change that is forwarded to it.
void AnswerChangesWith(RecordingService& service, const std::string& reply);

enum class Named { kNone, kLaunches, kInner };

// What a call needs.
enum Needs : unsigned {
  kNothing = 0,
  kReadSide = 1,
  kInnerSide = 2,
  kLauncherLink = 4,
  kInnerLink = 8,
};

// What a call asks the service.
struct Request {
  const char* method = nullptr;  // null: nothing; empty: nothing but the probe
  bool own_way = false;          // through the library, other than that of a call above
};

struct Results {
  int success = 0;
  int failure = -1;
  int other_failure = -1;  // another one; see the table
  bool throws = false;     // lets std::bad_alloc pass
  bool writes = false;     // fails where another thread has just switched the connection to reading
};

struct ExportedCall {
  const char* function;
  const char* what;  // which of several calls of the function, the first being the plain one; empty: the only one
  Named mutex;
  unsigned needs;
  int (*call)(Arguments& arguments);
  Request request = {};
  Results results = {};
  void (*before)(RecordingService& service) = nullptr;  // undisturbed, before each call

  bool Needs(unsigned any_of) const { return (needs & any_of) != 0; }
  bool AsksService() const { return request.method != nullptr; }
  bool IsLaunch() const { return AsksService() && request.method == std::string("launch_app"); }
  // A change that the service does not make is made here.
  bool DoesWithoutService() const { return !Needs(kLauncherLink) && (!Needs(kInnerLink) || Needs(kInnerSide)); }
  // Succeeds as soon as the request has left.
  bool IsCommand() const { return *request.method == '\0' || results.other_failure == 0; }
  // An exception passes the launches that are serialised.
  bool Throws() const { return results.throws || (IsLaunch() && mutex == Named::kLaunches); }
};
std::string NameOf(const ExportedCall& call);
// Makes the call with new arguments.
int Call(const ExportedCall& call);

const std::vector<ExportedCall>& ExportedCalls();
// The plain call of each function.
const std::vector<ExportedCall>& PlainCalls();
// The plain call of this function.
const ExportedCall& CallOf(const std::string& function);
// Of each function that asks the service, the first call that does: launches only, or all others.
std::vector<ExportedCall> AskingCalls(bool launches);

// The differences between the table and the library's list of exported functions, and what the table has twice.
std::vector<std::string> TableMistakes();
