// The application that a verb is about, named by its id or by its run title.
#pragma once

#include "command_line.h"
#include "diagnose.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

// "ID" or "--title", of which exactly one is needed. Gives the option of the title, for what does not go with it.
CLI::Option* AddAppChoice(CLI::App& command, Options& options, const char* purpose);

// The key "app" or "title".
nlohmann::ordered_json AppChoiceJson(const Options& options);

// Why a lookup of the application gave the result.
Diagnosis DiagnoseLookup(int result, const Options& options);

// Why the library does not find the run title, which it did not a moment ago; nothing where it does now.
std::optional<Diagnosis> WhyTitleNotFound(const std::string& run_title);

// Why a function failed that looks the application up and then asks the service.
Diagnosis DiagnoseAppCall(const Options& options);

// Its report.
Report ReportOfAppCall(int result, const Options& options);
