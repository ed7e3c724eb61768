#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/bitmap.hpp"
#include "core/geometry.hpp"

namespace kestrune {

enum class SymbolWeight { regular, medium };

// A symbol of the system's symbol set, by name.
struct SymbolImage {
  std::string name;
  std::optional<std::string> accessibilityDescription;
  std::optional<double> pointSize;  // absent: the renderer's default size
  SymbolWeight weight = SymbolWeight::regular;
  friend bool operator==(const SymbolImage&, const SymbolImage&) = default;
};

// The workspace's icon for a file (an application bundle, for app icons).
struct FileIconImage {
  std::string path;
  friend bool operator==(const FileIconImage&, const FileIconImage&) = default;
};

// A small vector drawing in flipped coordinates (y grows downward), drawn in
// black; both the AppKit and the simulator renderers draw it.
struct VectorDrawing {
  struct RoundedRectStroke {
    Rect rect;
    double radiusX = 0;
    double radiusY = 0;
    double lineWidth = 1;
    friend bool operator==(const RoundedRectStroke&, const RoundedRectStroke&) = default;
  };
  struct FilledEllipse {
    Rect rect;  // the ellipse's bounding box
    friend bool operator==(const FilledEllipse&, const FilledEllipse&) = default;
  };
  // An open path through `points`, stroked with round caps and joins.
  struct RoundPolylineStroke {
    std::vector<Point> points;
    double lineWidth = 1;
    friend bool operator==(const RoundPolylineStroke&, const RoundPolylineStroke&) = default;
  };
  using Shape = std::variant<RoundedRectStroke, FilledEllipse, RoundPolylineStroke>;

  Size size;
  std::vector<Shape> shapes;
  friend bool operator==(const VectorDrawing&, const VectorDrawing&) = default;
};

// An image as the core describes it; renderers turn it into pixels or into
// the platform's image object. Platform-independent so that views can be
// tested by what they show.
struct Image {
  std::variant<std::monostate, SymbolImage, FileIconImage, VectorDrawing,
               std::shared_ptr<const Bitmap>>
      content;
  std::optional<Size> size;  // absent: the content's natural size
  bool isTemplate = false;   // tinted by its context (menu bar, foreground colour)

  [[nodiscard]] bool isEmpty() const { return std::holds_alternative<std::monostate>(content); }
  [[nodiscard]] const SymbolImage* symbol() const { return std::get_if<SymbolImage>(&content); }
  [[nodiscard]] const FileIconImage* fileIcon() const {
    return std::get_if<FileIconImage>(&content);
  }
  [[nodiscard]] const VectorDrawing* drawing() const {
    return std::get_if<VectorDrawing>(&content);
  }
  // Captured pixels, shown at `size` points.
  [[nodiscard]] const Bitmap* bitmap() const {
    const auto* b = std::get_if<std::shared_ptr<const Bitmap>>(&content);
    return b ? b->get() : nullptr;
  }
  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace kestrune
