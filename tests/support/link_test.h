// The launcher's link to the service, and calls over it: the fixture of the link's tests.
#pragma once

#include <nuv_common/nuv_proxy.h>

#include <string>

#include "launch_test.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

class LinkTest : public LaunchTest {
 protected:
  static int Get() { return link().GetProxy(launcher_introspection_xml, launcher_vtable); }
  static CNUVGdbus& link() { return *get_launcher_proxy(); }
  size_t Heartbeats() const { return service_->CallsOf("heartbeat").size(); }

  int Call(const std::string& method, int* timed_out = nullptr, int timeout_ms = 5000) {
    GVariant* reply = nullptr;
    const int result = link().MethodCall(method, nullptr, &reply, timeout_ms, timed_out);
    const GVariantHandle released(reply);
    return result;
  }
};
