// A time line as a picture.
#pragma once

#include <string>

#include "timeline/model.h"

namespace timeline {

struct Picture {
  bool compress_gaps = false;
};

// An SVG document that needs nothing else.
std::string DrawSvg(const Timeline& timeline, const Heading& heading, const Picture& picture);

// The same in a page that follows the reader's choice of light and dark.
std::string DrawHtml(const Timeline& timeline, const Heading& heading, const Picture& picture);

}  // namespace timeline
