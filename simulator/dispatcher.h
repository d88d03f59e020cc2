// Takes the calls of the service: what the scenario says about each, its reply, and what follows the reply.
#pragma once

#include <map>
#include <string>

#include "bus_link.h"
#include "scenario_file.h"
#include "service_methods.h"

namespace simulator {

class Dispatcher final : public CallHandler {
 public:
  Dispatcher(Service& service, ScenarioFile& scenario, const Journal& journal)
      : service_(service), scenario_(scenario), journal_(journal) {}
  ~Dispatcher();
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  void OnServiceCall(GDBusMethodInvocation* invocation) override;
  void OnLaunchRequest(GDBusMethodInvocation* invocation) override;
  void OnRunningApps(GDBusMethodInvocation* invocation) override;
  void OnStandIns(GDBusMethodInvocation* invocation) override;
  void OnPayloads(GDBusMethodInvocation* invocation) override;
  void OnPinSources(GDBusMethodInvocation* invocation) override;
  void OnAskForPins(GDBusMethodInvocation* invocation, bool ask) override;
  void OnSetRules(GDBusMethodInvocation* invocation, const char* rules) override;
  void OnEnterPin(GDBusMethodInvocation* invocation, guint question, const char* pin) override;
  void OnCancelPin(GDBusMethodInvocation* invocation, guint question) override;

 private:
  struct Call;

  // Sends the results that come before the reply; the milliseconds after which the reply may follow.
  int SendEarlyResults(const Call& call) const;
  void AnswerCall(const Call& call);
  void Reply(const Call& call);
  VariantPtr MakeReply(const Call& call);
  void Launch(const Call& call);
  void SendLater(const Call& call, const ScriptedResult& scripted) const;

  static void OnAskerGone(GDBusConnection*, const char* name, gpointer self);
  void ForgetAsker(const std::string& name);

  Service& service_;
  ScenarioFile& scenario_;
  const Journal& journal_;
  std::map<std::string, guint> askers_;  // who on the bus asks for PINs, and the watch over each
};

}  // namespace simulator
