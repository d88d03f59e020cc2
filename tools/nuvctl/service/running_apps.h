// What the platform knows of the applications that run.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct RunningApp {
  std::string platform_id;
  int pid;
  bool visible;
};

std::vector<RunningApp> RunningApps();

// For how many seconds the process runs; nothing where it does not, or where the system does not tell.
std::optional<int> UptimeOf(int pid);

// The payload that the application's process was started with; nothing where the system does not tell.
std::optional<std::string> StartPayloadOf(int pid);
