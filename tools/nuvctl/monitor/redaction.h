// What somebody watches and says, taken out of messages: the same text becomes the same mark, and nothing else tells
// what it was.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "monitor/recent.h"
#include "recording/format.h"
#include "service/method_table.h"

class Redaction {
 public:
  Redaction();  // with a key of its own

  // The entry with other bytes, where it is a message with such texts.
  recording::Entry Of(const recording::Entry& entry);

 private:
  struct Call {
    const Method* known = nullptr;
  };

  // Which members of a body are secret: all of a message that is not known.
  std::vector<bool> SecretsOf(const recording::Entry& entry, std::size_t members);
  std::vector<bool> SecretsOfAnswer(const recording::Entry& entry, std::size_t members);
  std::string Mark(const std::string& text) const;
  GVariant* Redacted(GVariant* value) const;

  std::string key_;
  Recent<std::pair<std::string, std::uint32_t>, Call> calls_;
};
