#pragma once

#include <algorithm>
#include <cmath>
#include <ostream>

namespace kestrune {

// Points, sizes and rectangles in double precision. Rectangles carry no
// coordinate space of their own: the window list and Accessibility use a
// top-left origin (y grows downward), AppKit screens a bottom-left one. Each
// interface says which it uses.
struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct EdgeInsets {
  double top = 0;
  double left = 0;
  double bottom = 0;
  double right = 0;
  friend bool operator==(const EdgeInsets&, const EdgeInsets&) = default;
};

struct Rect {
  Point origin;
  Size size;

  constexpr Rect() = default;
  constexpr Rect(double x, double y, double w, double h) : origin{x, y}, size{w, h} {}
  constexpr Rect(Point o, Size s) : origin(o), size(s) {}

  // Standardised edges, as CGRectGetMinX and friends compute them: a negative
  // width or height counts from the other side.
  [[nodiscard]] double minX() const { return std::min(origin.x, origin.x + size.width); }
  [[nodiscard]] double maxX() const { return std::max(origin.x, origin.x + size.width); }
  [[nodiscard]] double minY() const { return std::min(origin.y, origin.y + size.height); }
  [[nodiscard]] double maxY() const { return std::max(origin.y, origin.y + size.height); }
  [[nodiscard]] double midX() const { return origin.x + size.width / 2; }
  [[nodiscard]] double midY() const { return origin.y + size.height / 2; }
  [[nodiscard]] double width() const { return std::abs(size.width); }
  [[nodiscard]] double height() const { return std::abs(size.height); }
  [[nodiscard]] Point mid() const { return {midX(), midY()}; }
  [[nodiscard]] bool isEmpty() const { return size.width == 0 || size.height == 0; }

  [[nodiscard]] Rect standardized() const { return {minX(), minY(), width(), height()}; }

  // Half-open containment, as CGRectContainsPoint: the min edges belong to
  // the rectangle, the max edges do not.
  [[nodiscard]] bool contains(Point p) const {
    return !isEmpty() && p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY();
  }

  // True when the two rectangles share an area of positive size, as
  // CGRectIntersectsRect.
  [[nodiscard]] bool intersects(const Rect& o) const {
    if (isEmpty() || o.isEmpty()) return false;
    return std::max(minX(), o.minX()) < std::min(maxX(), o.maxX()) &&
           std::max(minY(), o.minY()) < std::min(maxY(), o.maxY());
  }

  // The shared area, or an empty rectangle when there is none.
  [[nodiscard]] Rect intersection(const Rect& o) const {
    if (!intersects(o)) return {};
    const double x0 = std::max(minX(), o.minX());
    const double y0 = std::max(minY(), o.minY());
    return {x0, y0, std::min(maxX(), o.maxX()) - x0, std::min(maxY(), o.maxY()) - y0};
  }

  // Shrinks by dx on the left and right and dy on the top and bottom;
  // negative values grow the rectangle (CGRectInset).
  [[nodiscard]] Rect insetBy(double dx, double dy) const {
    return {minX() + dx, minY() + dy, width() - 2 * dx, height() - 2 * dy};
  }

  [[nodiscard]] Rect offsetBy(double dx, double dy) const {
    return {origin.x + dx, origin.y + dy, size.width, size.height};
  }

  // The smallest rectangle with integer edges that holds this one
  // (CGRectIntegral): min edges rounded down, max edges rounded up.
  [[nodiscard]] Rect integral() const {
    const double x0 = std::floor(minX());
    const double y0 = std::floor(minY());
    return {x0, y0, std::ceil(maxX()) - x0, std::ceil(maxY()) - y0};
  }

  friend bool operator==(const Rect&, const Rect&) = default;
};

std::ostream& operator<<(std::ostream& os, const Point& p);
std::ostream& operator<<(std::ostream& os, const Size& s);
std::ostream& operator<<(std::ostream& os, const Rect& r);

// Converts between the top-left-origin global space of the window list and
// AppKit's bottom-left-origin screen space, given the height of the primary
// display (the one whose origin is at 0, 0 in both).
[[nodiscard]] inline Rect flipVertically(const Rect& r, double primaryHeight) {
  return {r.minX(), primaryHeight - r.maxY(), r.width(), r.height()};
}

}  // namespace kestrune
