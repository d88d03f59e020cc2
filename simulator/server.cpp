#include "server.h"

#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <utility>

namespace simulator {
namespace {

constexpr int kReconnectMs = 200;

// The sample that was installed with this program, wherever that was moved to; or the one of the system, or that of the
// source tree where none is installed.
Catalogue SampleCatalogue() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string beside = (program.parent_path() / NUV_CATALOGUE_FROM_PROGRAM).lexically_normal().string();
  for (const std::string& path : {beside, std::string(NUV_INSTALLED_CATALOGUE)}) {
    if (std::filesystem::exists(path, error)) return ReadCatalogue(path);
  }
  return ReadCatalogue(NUV_SOURCE_CATALOGUE);
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
  if (service_ == nullptr) PrepareService();
  link_->Publish(*dispatcher_);
  journal_.Attach(link_->control());
  TellReady();
}

void Server::PrepareService() {
  auto service = std::make_unique<Service>(options_, files_, scenario_, journal_);
  if (seed_) {
    service->catalogue.Load(*seed_);
  } else if (service->catalogue.was_empty()) {
    service->catalogue.Load(SampleCatalogue());
  }
  service_ = std::move(service);
  dispatcher_ = std::make_unique<Dispatcher>(*service_, scenario_, journal_);
}

void Server::TellReady() {
  if (options_.print_ready) {
    std::puts("ready");
    std::fflush(stdout);
  }
  if (ready_fd_ < 0) return;
  const int fd = std::exchange(ready_fd_, -1);
  if (write(fd, "ready\n", 6) != 6) Warn("--ready-fd: cannot be written");
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
