// The service itself: works in the state directory, runs applications.
#pragma once

#include <memory>
#include <optional>

#include "backend.h"
#include "dispatcher.h"
#include "options.h"
#include "running_files.h"

namespace simulator {

class ServiceBackend final : public Backend {
 public:
  // Throws DirectoryError when the state directory is not to be used.
  ServiceBackend(const Options& options, ScenarioFile& scenario, std::optional<Catalogue> seed, const Journal& journal);

  CallHandler& Prepare() override;
  BusLink::About About() const override;
  std::string Describe() const override;
  void ShutDown() override;

 private:
  void TellMissingPrograms(const Catalogue& catalogue) const;
  void TellUnknownApps(const Scenario& scenario) const;
  void TellUnmatched(const Scenario& scenario) const;

  const Options& options_;
  ScenarioFile& scenario_;
  std::optional<Catalogue> seed_;
  const Journal& journal_;
  RunningFiles files_;
  std::unique_ptr<Service> service_;
  std::unique_ptr<Dispatcher> dispatcher_;
};

}  // namespace simulator
