#include "launch_case.h"

namespace bench {

ExtraDatas MakeExtraDatas(size_t count) {
  ExtraDatas result;
  for (size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    result.emplace_back("http://example.org/extra/key/" + number, "value of an ordinary length, number " + number);
  }
  return result;
}

}  // namespace bench
