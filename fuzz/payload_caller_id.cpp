// The settling of payload and caller id, against a plain model of it.
#include "nuv_launcher_api/nuv_payload_caller_id.h"
#include "support/input.h"
#include "support/must.h"

namespace {

struct Settled {
  std::string payload;
  std::string caller_id;
};

// Parameter by parameter, one character at a time.
Settled Model(int mode, const char* payload, const char* caller_id) {
  const std::string marker = "&callerid=";
  const std::string text = payload == nullptr ? "" : payload;
  std::string head;
  std::string embedded;
  std::string rest;
  bool found = false;
  size_t i = 0;
  while (i < text.size()) {
    found = text.substr(i, marker.size()) == marker;
    if (found) break;
    head += text[i++];
  }
  if (found) {
    for (i += marker.size(); i < text.size() && text[i] != '&'; ++i) embedded += text[i];
    for (; i < text.size(); ++i) rest += text[i];
  }
  if (caller_id == nullptr) return {text, embedded};
  if (found) return {head + marker + caller_id + rest, caller_id};
  return {mode == 2 ? text : text + marker + caller_id, caller_id};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const int mode = input.Flag() ? 2 : input.Number();
  const auto payload = input.OptionalText();
  const auto caller_id = input.OptionalText();
  std::string payload_out = "left from before";
  std::string caller_id_out = "left from before";
  nuv_ProcessPayloadCallerID_internal(mode, fuzz::OrNull(payload), fuzz::OrNull(caller_id), payload_out, caller_id_out);
  const Settled expected = Model(mode, fuzz::OrNull(payload), fuzz::OrNull(caller_id));
  MUST(payload_out == expected.payload);
  MUST(caller_id_out == expected.caller_id);
  return 0;
}
