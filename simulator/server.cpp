#include "server.h"

#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace simulator {
namespace {

constexpr int kReconnectMs = 200;

}  // namespace

Server::Server(const Options& options, Backend& backend, Journal& journal)
    : options_(options),
      backend_(backend),
      journal_(journal),
      loop_(g_main_loop_new(nullptr, FALSE)),
      ready_fd_(options.ready_fd) {}

// Off the bus first: nobody is to call a service that is being taken down.
Server::~Server() {
  journal_.Attach(nullptr);
  link_.reset();
  backend_.ShutDown();
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
  const bool first = handler_ == nullptr;
  if (first) handler_ = &backend_.Prepare();
  link_->Publish(*handler_, backend_.About());
  journal_.Attach(link_->control());
  if (first && !options_.quiet) Warn("on " + link_->address() + ", " + backend_.Describe());
  TellReady();
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
