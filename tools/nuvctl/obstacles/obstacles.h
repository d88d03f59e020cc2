// What is in the way of a request. The library's functions only say that it failed; the bus, the guards and the
// database may tell why.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/guard.h"
#include "command/verb.h"
#include "report/report.h"

struct Diagnosis {
  Outcome outcome = Outcome::kFailed;
  std::string message;
};

// The report of what has failed for that reason.
Report ReportOf(const Diagnosis& diagnosis, Fields details = {});

Diagnosis BusUnreachable();

// Both ask the bus, over a connection of their own, and take a few seconds at most. The first tells why no request can
// reach the service, or nothing where the service runs or can be started; the second tells why a request has failed.
std::optional<Diagnosis> WhyOutOfReach();
Diagnosis DiagnoseFailure();

// While it lives, calls of the service are limited to the user's time, and DiagnoseFailure() knows how they were
// answered.
class ServiceCall {
 public:
  explicit ServiceCall(const Values& values);

 private:
  const AnswerLimit limit_;
};

// The report of a call of the service that gave the result.
Report ReportOfCall(int result, Fields details = {});

struct Obstacle {
  const char* key;  // for programs
  Diagnosis why;
};

// Those for which the library refuses to read the catalogue at all, in the order in which it asks for them.
std::vector<Obstacle> GuardObstacles();

// The file that says that packages are being repaired.
extern const char kRepairMarker[];

// The one of them that also keeps the library from the inner side of the database.
std::optional<Obstacle> RepairObstacle();

// The database is busy, or cannot be read.
std::optional<Obstacle> DatabaseObstacle();
Obstacle DatabaseIsBusy();

// Why a function of the catalogue, or of the inner side of the database, gave the result: an obstacle where there is
// one, otherwise what the caller says.
Diagnosis DiagnoseCatalogue(int result, const Diagnosis& otherwise);
Diagnosis DiagnoseInner(int result, const Diagnosis& otherwise);

// An application as the user names it: by its id, or in its place by its run title.
struct AppName {
  std::string id;
  std::optional<std::string> run_title;
};

// The key "app" or "title".
Fields FieldsOf(const AppName& app);

// The id of the application that goes by the name, which may be its id, kelvo id, package name or run title; the name
// itself where the catalogue has none.
std::string IdOf(const std::string& name);

// What may have been meant by a name, or a run title, that the catalogue does not have; empty where nothing is like it.
std::string MeantApp(const std::string& name);
std::string MeantTitle(const std::string& run_title);

// With what may have been meant, where it says that something is not found: a database that is busy is not asked again.
Diagnosis Suggesting(Diagnosis diagnosis, std::string (*meant)(const std::string&), const std::string& name);

// Why a lookup of the application gave the result.
Diagnosis DiagnoseLookup(int result, const AppName& app);

// That the catalogue has no application with the id, platform id or run title, in whatever state; nothing where it has
// one, and where it cannot be read.
std::optional<Diagnosis> WhyUnknown(const std::string& app_id);

// Why the library does not find the run title, which it did not a moment ago; nothing where it does now.
std::optional<Diagnosis> WhyTitleNotFound(const std::string& run_title);

// Why a function failed that looks the application up and then asks the service.
Diagnosis DiagnoseAppCall(const AppName& app);
