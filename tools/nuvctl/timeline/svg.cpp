#include "timeline/svg.h"

#include <array>
#include <charconv>

#include "report/text.h"

namespace timeline {

std::string InXml(const std::string& text) {
  std::string escaped;
  for (const char c : Printable(text)) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string Coordinate(double value) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 1);
  return {text.data(), end.ptr};
}

void Svg::Begin(double width, double height, const std::string& title) {
  const std::string size = Coordinate(width) + "\" height=\"" + Coordinate(height);
  out_ += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + size + "\" viewBox=\"0 0 " + Coordinate(width) + " " +
          Coordinate(height) + "\" role=\"img\">\n<title>" + InXml(title) + "</title>\n";
}

// A tooltip has lines, each made printable by itself.
void Svg::OpenGroup(const std::string& tooltip) {
  out_ += "<g>";
  if (tooltip.empty()) return;
  out_ += "<title>";
  for (size_t begin = 0; begin <= tooltip.size();) {
    const size_t end = std::min(tooltip.find('\n', begin), tooltip.size());
    if (begin > 0) out_ += '\n';
    out_ += InXml(tooltip.substr(begin, end - begin));
    begin = end + 1;
  }
  out_ += "</title>";
}

void Svg::Attribute(const char* name, double value) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  out_ += Coordinate(value);
  out_ += '"';
}

void Svg::Rect(const char* style, double x, double y, double width, double height, double radius) {
  out_ += "<rect class=\"";
  out_ += style;
  out_ += '"';
  Attribute("x", x);
  Attribute("y", y);
  Attribute("width", width);
  Attribute("height", height);
  if (radius > 0) Attribute("rx", radius);
  out_ += "/>\n";
}

void Svg::Line(const char* style, double x1, double y1, double x2, double y2) {
  out_ += "<line class=\"";
  out_ += style;
  out_ += '"';
  Attribute("x1", x1);
  Attribute("y1", y1);
  Attribute("x2", x2);
  Attribute("y2", y2);
  out_ += "/>\n";
}

void Svg::Path(const char* style, const std::string& path) {
  out_ += "<path class=\"";
  out_ += style;
  out_ += "\" d=\"";
  out_ += path;
  out_ += "\"/>\n";
}

void Svg::Use(const char* shape, double x, double y) {
  out_ += "<use href=\"#";
  out_ += shape;
  out_ += '"';
  Attribute("x", x);
  Attribute("y", y);
  out_ += "/>\n";
}

void Svg::Text(const char* style, double x, double y, const std::string& text) {
  out_ += "<text class=\"";
  out_ += style;
  out_ += '"';
  Attribute("x", x);
  Attribute("y", y);
  out_ += '>';
  out_ += InXml(text);
  out_ += "</text>\n";
}

}  // namespace timeline
