// nuv-simulator: the reference Nuv service for people without a TV.
#include <signal.h>

#include <exception>

#include "options.h"
#include "pin/pin_dialog.h"
#include "replay/replayer.h"
#include "scenario_file.h"
#include "server.h"
#include "service_backend.h"
#include "service_methods.h"
#include "stand_in.h"

namespace {

constexpr int kUsageError = 2;

int Replay(const simulator::Options& options) {
  simulator::Journal journal(options.verbose);
  std::optional<simulator::Replayer> replayer;
  try {
    replayer.emplace(options, journal);
  } catch (const simulator::RecordingError& error) {
    simulator::Warn(error.what());
    return kUsageError;
  }
  return simulator::Server(options, *replayer, journal).Run();
}

int Serve(const simulator::Options& options) {
  std::optional<simulator::ScenarioFile> scenario;
  std::optional<simulator::Catalogue> seed;
  try {
    scenario.emplace(options.scenario,
                     [](const std::string& name) { return simulator::FindServiceMethod(name) != nullptr; });
    if (!options.seed.empty()) seed = simulator::ReadCatalogue(options.seed);
  } catch (const std::exception& error) {
    simulator::Warn(error.what());
    return kUsageError;
  }
  simulator::Journal journal(options.verbose);
  simulator::ServiceBackend backend(options, *scenario, std::move(seed), journal);
  return simulator::Server(options, backend, journal).Run();
}

}  // namespace

int main(int argc, char** argv) {
  if (simulator::IsStandIn(argc, argv)) return simulator::RunStandIn();
  if (simulator::IsPinDialog(argc, argv)) return simulator::RunPinDialog();
  signal(SIGPIPE, SIG_IGN);  // whoever read the output may have gone
  int exit_status = 0;
  const auto options = simulator::ParseOptions(argc, argv, &exit_status);
  if (!options) return exit_status;
  try {
    return options->replay.empty() ? Serve(*options) : Replay(*options);
  } catch (const std::exception& error) {
    simulator::Warn(error.what());
    return EXIT_FAILURE;
  }
}
