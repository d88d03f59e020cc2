#include "service_backend.h"

#include <filesystem>
#include <utility>

namespace simulator {
namespace {

// The sample that was installed with this program, wherever that was, or the one of the build where it was not.
Catalogue SampleCatalogue() {
  std::error_code ignored;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  const auto beside = [&](const char* path) { return (program.parent_path() / path).lexically_normal(); };
  const std::filesystem::path installed = beside(NUV_CATALOGUE_FROM_PROGRAM);
  return ReadCatalogue(std::filesystem::exists(installed, ignored) ? installed : beside(NUV_CATALOGUE_OF_BUILD));
}

}  // namespace

ServiceBackend::ServiceBackend(const Options& options, ScenarioFile& scenario, std::optional<Catalogue> seed,
                               const Journal& journal)
    : options_(options), scenario_(scenario), seed_(std::move(seed)), journal_(journal), files_(options.directory) {}

CallHandler& ServiceBackend::Prepare() {
  auto service = std::make_unique<Service>(options_, files_, scenario_, journal_);
  if (seed_) {
    service->catalogue.Load(*seed_);
    TellMissingPrograms(*seed_);
  } else if (service->catalogue.was_empty()) {
    service->catalogue.Load(SampleCatalogue());
  }
  service_ = std::move(service);
  dispatcher_ = std::make_unique<Dispatcher>(*service_, scenario_, journal_);
  scenario_.OnRead([this](const Scenario& scenario) { TellUnknownApps(scenario); });
  scenario_.OnDone([this](const Scenario& scenario) { TellUnmatched(scenario); });
  return *dispatcher_;
}

BusLink::About ServiceBackend::About() const {
  return {files_.Path(), options_.stand_ins};
}

std::string ServiceBackend::Describe() const {
  const std::size_t count = service_->catalogue.Count();
  return "in " + files_.Path() + ": " + std::to_string(count) + (count == 1 ? " application" : " applications") +
         ", PINs from " + service_->pin_gate.Sources();
}

void ServiceBackend::ShutDown() {
  if (service_ != nullptr) service_->applications.ShutDown();
  scenario_.End();
}

// Counts only applications with an install_path: those without one, like all of the sample, have a stand-in on purpose.
void ServiceBackend::TellMissingPrograms(const Catalogue& catalogue) const {
  std::size_t missing = 0;
  for (const Catalogue::App& app : catalogue.apps) {
    const std::string id = TextOf(app, "id");
    const std::string path = TextOf(app, "install_path");
    if (path.empty() || !FindProgram(path, id).empty()) continue;
    ++missing;
    journal_.Note(std::string("missing ").append(id).append(" has no program in ").append(path));
  }
  if (missing == 0) return;
  Warn(options_.seed + ": " + std::to_string(missing) + (missing == 1 ? " application has" : " applications have") +
       " no program in the install_path" + (options_.verbose ? "" : "; --verbose names them"));
}

// The catalogue may get it yet, and a call may name what it does not have.
void ServiceBackend::TellUnknownApps(const Scenario& scenario) const {
  for (const Rule& rule : scenario.rules()) {
    if (!rule.app || rule.app->empty()) continue;
    try {
      if (service_->catalogue.Knows(*rule.app)) continue;
    } catch (const DatabaseError& error) {
      return Warn(std::string("the applications of the scenario are not checked: ") + error.what());
    }
    Warn(rule.place + ".app: the catalogue has no application \"" + *rule.app + "\"");
  }
}

void ServiceBackend::TellUnmatched(const Scenario& scenario) const {
  for (const Rule& rule : scenario.rules()) {
    if (!rule.matched) journal_.Note("unused  " + rule.place + " matched no call");
  }
}

}  // namespace simulator
