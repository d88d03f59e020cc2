#include "server.h"

#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

namespace simulator {
namespace {

constexpr int kReconnectMs = 200;

// The sample that was installed with this program, wherever that was, or the one of the source tree where it was not.
Catalogue SampleCatalogue() {
  std::error_code ignored;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  const std::filesystem::path installed = (program.parent_path() / NUV_CATALOGUE_FROM_PROGRAM).lexically_normal();
  return ReadCatalogue(std::filesystem::exists(installed, ignored) ? installed.string() : NUV_SOURCE_CATALOGUE);
}

}  // namespace

Server::Server(const Options& options, ScenarioFile& scenario, std::optional<Catalogue> seed)
    : options_(options),
      scenario_(scenario),
      seed_(std::move(seed)),
      journal_(options.verbose),
      files_(options.directory),
      loop_(g_main_loop_new(nullptr, FALSE)),
      ready_fd_(options.ready_fd) {}

// Off the bus first: nobody is to call a service that is being taken down.
Server::~Server() {
  journal_.Attach(nullptr);
  link_.reset();
  if (service_ != nullptr) service_->applications.ShutDown();
  scenario_.End();
}

int Server::Run() {
  const auto ended = +[](gpointer self) -> gboolean {
    static_cast<Server*>(self)->End(0);
    return G_SOURCE_CONTINUE;
  };
  g_unix_signal_add(SIGTERM, ended, this);
  g_unix_signal_add(SIGINT, ended, this);
  try {
    Connect();
  } catch (const NoBus& error) {
    Warn(error.what());
    if (!options_.reconnect) return EXIT_FAILURE;
    TryAgainLater();
  } catch (const std::exception& error) {
    Warn(error.what());
    return EXIT_FAILURE;
  }
  g_main_loop_run(loop_.get());
  return status_;
}

void Server::Connect() {
  link_ = std::make_unique<BusLink>([this] { BusLost(); });
  link_->CheckNames();
  // Only now is it sure that no other simulator works in the state directory; and only with everything in place may a
  // client see the names.
  const bool first = service_ == nullptr;
  if (first) PrepareService();
  link_->Publish(*dispatcher_, {files_.Path(), options_.stand_ins});
  journal_.Attach(link_->control());
  if (first && !options_.quiet) TellWhere();
  TellReady();
}

void Server::PrepareService() {
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
}

// Counts only applications with an install_path: those without one, like all of the sample, have a stand-in on purpose.
void Server::TellMissingPrograms(const Catalogue& catalogue) const {
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
void Server::TellUnknownApps(const Scenario& scenario) const {
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

void Server::TellUnmatched(const Scenario& scenario) const {
  for (const Rule& rule : scenario.rules()) {
    if (!rule.matched) journal_.Note("unused  " + rule.place + " matched no call");
  }
}

void Server::TellWhere() const {
  const std::size_t count = service_->catalogue.Count();
  Warn("on " + link_->address() + ", in " + files_.Path() + ": " + std::to_string(count) +
       (count == 1 ? " application" : " applications") + ", PINs from " + service_->pin_gate.Sources());
}

void Server::TellReady() {
  if (options_.print_ready) {
    std::puts("ready");
    std::fflush(stdout);
  }
  if (ready_fd_ < 0) return;
  const int fd = std::exchange(ready_fd_, -1);
  errno = EIO;  // of a write that is cut short
  const bool written = write(fd, "ready\n", 6) == 6;
  const int error = errno;
  if (!written) Warn("--ready-fd " + std::to_string(fd) + " cannot be written: " + std::strerror(error));
  if (fd > STDERR_FILENO) close(fd);
}

void Server::BusLost() {
  Warn("the bus is gone");
  if (options_.reconnect) {
    TryAgainLater();
  } else {
    End(EXIT_FAILURE);
  }
}

void Server::TryAgainLater() {
  After(kReconnectMs, [this] {
    journal_.Attach(nullptr);
    link_.reset();
    try {
      Connect();
    } catch (const std::exception& error) {
      journal_.Note(std::string("waiting: ") + error.what());
      link_.reset();
      TryAgainLater();
    }
  });
}

void Server::End(int status) {
  status_ = status;
  g_main_loop_quit(loop_.get());
}

}  // namespace simulator
