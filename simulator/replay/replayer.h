// Answers as a recorded service did.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "backend.h"
#include "journal.h"
#include "options.h"
#include "replay/recorded_service.h"

namespace simulator {

class Replayer final : public Backend, public CallHandler {
 public:
  // Reads the recording; throws RecordingError.
  Replayer(const Options& options, const Journal& journal);
  ~Replayer() override;
  Replayer(const Replayer&) = delete;
  Replayer& operator=(const Replayer&) = delete;

  CallHandler& Prepare() override;
  BusLink::About About() const override;
  std::string Describe() const override;
  void ShutDown() override;

  void OnServiceCall(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnLaunchRequest(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnRunningApps(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnStandIns(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnPayloads(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnAskForPins(GDBusMethodInvocation* invocation, bool) override { Answer(invocation); }
  void OnSetRules(GDBusMethodInvocation* invocation, const char*) override { Answer(invocation); }
  void OnPinSources(GDBusMethodInvocation* invocation) override { Answer(invocation); }
  void OnEnterPin(GDBusMethodInvocation* invocation, guint, const char*) override { Answer(invocation); }
  void OnCancelPin(GDBusMethodInvocation* invocation, guint) override { Answer(invocation); }

 private:
  struct Playback;
  using Counts = std::map<std::string, std::size_t>;  // by method

  void Answer(GDBusMethodInvocation* invocation);
  void Refuse(GDBusMethodInvocation* invocation, const std::string& method, const std::string& key);
  void Continue(const std::shared_ptr<Playback>& playback) const;
  void Act(Playback& playback, const RecordedAct& act) const;
  void SendAnswer(Playback& playback, GDBusMessage* recorded) const;
  void SendResult(const Playback& playback, GDBusMessage* recorded) const;

  // What was used of the recording so far, on standard output.
  void TellUse() const;

  const Options& options_;
  const Journal& journal_;
  RecordedService recorded_;
  std::size_t calls_;
  Counts matched_;
  Counts unmatched_;
  guint asked_ = 0;  // source of the signal that asks; 0 before anybody can call
};

}  // namespace simulator
