// The launch that is measured, the same for both sides.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <utility>

namespace bench {

constexpr const char* kAppId = "org.example.tv.films";
constexpr const char* kPayload = "action=play&title=The%20Long%20Way&position=1284&language=en";
constexpr const char* kCallerId = "org.example.tv.home";

// The service sends a result only for a launch of this application.
constexpr const char* kAppWithResult = "org.example.tv.news";

using ExtraDatas = std::list<std::pair<std::string, std::string>>;

// That many pairs of a key and a value.
ExtraDatas MakeExtraDatas(size_t count);

}  // namespace bench
