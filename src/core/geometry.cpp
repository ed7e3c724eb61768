#include "core/geometry.hpp"

namespace kestrune {

std::ostream& operator<<(std::ostream& os, const Point& p) {
  return os << "(" << p.x << ", " << p.y << ")";
}

std::ostream& operator<<(std::ostream& os, const Size& s) {
  return os << "(" << s.width << " x " << s.height << ")";
}

std::ostream& operator<<(std::ostream& os, const Rect& r) {
  return os << "{" << r.origin.x << ", " << r.origin.y << ", " << r.size.width << ", "
            << r.size.height << "}";
}

}  // namespace kestrune
