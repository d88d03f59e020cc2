// A connection to the system bus that offers the service on it.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "glib_ptr.h"
#include "nuv_service_glue.h"

namespace simulator {

// Hears the calls that arrive, and has to answer each invocation or drop it.
class CallHandler {
 public:
  virtual void OnServiceCall(GDBusMethodInvocation* invocation) = 0;
  virtual void OnLaunchRequest(GDBusMethodInvocation* invocation) = 0;
  virtual void OnRunningApps(GDBusMethodInvocation* invocation) = 0;
  virtual void OnStandIns(GDBusMethodInvocation* invocation) = 0;
  virtual void OnPayloads(GDBusMethodInvocation* invocation) = 0;
  virtual void OnPinSources(GDBusMethodInvocation* invocation) = 0;
  virtual void OnAskForPins(GDBusMethodInvocation* invocation, bool ask) = 0;
  virtual void OnSetRules(GDBusMethodInvocation* invocation, const char* rules) = 0;
  virtual void OnEnterPin(GDBusMethodInvocation* invocation, guint question, const char* pin) = 0;
  virtual void OnCancelPin(GDBusMethodInvocation* invocation, guint question) = 0;

 protected:
  ~CallHandler() = default;
};

class BusError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// There is no bus to connect to.
class NoBus : public BusError {
 public:
  using BusError::BusError;
};

class BusLink {
 public:
  // Connects. Throws NoBus; lost is called once when the bus goes.
  explicit BusLink(std::function<void()> lost);
  ~BusLink();
  BusLink(const BusLink&) = delete;
  BusLink& operator=(const BusLink&) = delete;

  // Throws BusError when somebody else owns a name of the service.
  void CheckNames() const;
  // What the simulator says of itself beside the service.
  struct About {
    std::string directory;
    bool has_stand_ins;
  };

  // Offers the objects, then owns the names. Throws BusError when one is taken.
  void Publish(CallHandler& handler, const About& about);

  const std::string& address() const { return address_; }  // of the bus

  NuvGlueNuvSimulator1* control() const { return control_.get(); }

 private:
  template <typename Skeleton>
  void Export(Skeleton* skeleton, const char* path);
  void OwnName(const char* name);

  std::function<void()> lost_;
  std::string address_;
  ObjectPtr<GDBusConnection> connection_;
  gulong closed_handler_ = 0;
  std::vector<ObjectPtr<GDBusInterfaceSkeleton>> exported_;
  ObjectPtr<NuvGlueNuvSimulator1> control_;
};

}  // namespace simulator
