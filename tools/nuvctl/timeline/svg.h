// Elements of an SVG document. Texts may be anything; what stands in classes and shapes is our own.
#pragma once

#include <string>

namespace timeline {

// Printable, with what has a meaning in XML escaped.
std::string InXml(const std::string& text);

// With one digit behind the point.
std::string Coordinate(double value);

class Svg {
 public:
  void Begin(double width, double height, const std::string& title);
  void End() { out_ += "</svg>\n"; }

  void Raw(const char* markup) { out_ += markup; }
  void OpenGroup(const std::string& tooltip);  // empty: none
  void CloseGroup() { out_ += "</g>\n"; }

  void Rect(const char* style, double x, double y, double width, double height, double radius = 0);
  void Line(const char* style, double x1, double y1, double x2, double y2);
  void Path(const char* style, const std::string& path);
  void Use(const char* shape, double x, double y);
  void Text(const char* style, double x, double y, const std::string& text);

  const std::string& text() const { return out_; }

 private:
  void Attribute(const char* name, double value);

  std::string out_;
};

}  // namespace timeline
