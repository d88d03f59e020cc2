// A system bus without a bus: the calls of GIO that the library's link makes, put in front of the real ones. Connecting
// and listening succeed at once; a call of the service reaches the fuzzer.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

namespace fuzz {

struct Call {
  std::string method;
  GVariant* parameters;  // null where there are none
};

// The answer to every call but "heartbeat": a reference to the reply's tuple, or null, with *error.
using Answer = std::function<GVariant*(const Call& call, GError** error)>;
void AnswerCalls(Answer answer);

// What a service's own error looks like.
GError* RemoteError(const std::string& message);

// A method call that has reached the client object. Its handler answers it once, or releases it once.
class Invocation {
 public:
  Invocation();
  ~Invocation();
  Invocation(const Invocation&) = delete;
  Invocation& operator=(const Invocation&) = delete;

  GDBusMethodInvocation* get() const { return m_invocation; }
  bool LetGo() const { return m_gone; }
  static int Answers();  // of all invocations

 private:
  GDBusMethodInvocation* m_invocation;
  bool m_gone = false;
};

}  // namespace fuzz
