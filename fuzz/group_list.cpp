// The cutting of lists such as "a:x,b:y", against a plain model of it.
#include <nuv/nuv_app_records.h>

#include "support/input.h"
#include "support/must.h"

namespace {

using Pairs = std::map<std::string, std::string>;

bool Among(const std::string& characters, char character) {
  for (const char each : characters) {
    if (each == character) return true;
  }
  return false;
}

// One character at a time; the end of the text ends the last item.
Pairs Model(const std::string& text, const std::string& item_separators, const std::string& pair_separators,
            Pairs pairs) {
  std::string key;
  std::string value;
  bool in_value = false;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || Among(item_separators, text[i])) {
      if (in_value && !value.empty() && pairs.count(key) == 0) pairs[key] = value;
      key.clear();
      value.clear();
      in_value = false;
    } else if (in_value) {
      value += text[i];
    } else if (Among(pair_separators, text[i])) {
      in_value = true;
    } else {
      key += text[i];
    }
  }
  return pairs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const bool usual = input.Flag();
  const std::string text = input.Bytes();
  const std::string item_separators = usual ? "," : input.Bytes(8);
  const std::string pair_separators = usual ? ":" : input.Bytes(8);
  Pairs before;
  if (input.Flag()) before[input.Bytes(8)] = "there before";
  Pairs pairs = before;
  ParseStringToList(text, item_separators, pair_separators, pairs);
  MUST(pairs == Model(text, item_separators, pair_separators, before));
  return 0;
}
