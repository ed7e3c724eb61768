#include "arrange/arrange_error.hpp"

#include <algorithm>
#include <utility>

namespace kestrune {
namespace {

constexpr const char* kOpenQuote = "\u201C";
constexpr const char* kCloseQuote = "\u201D";
constexpr size_t kListedNames = 3;

std::string quoted(const std::string& name) {
  return kOpenQuote + name + kCloseQuote;
}

// The first three names quoted and joined; the rest only counted.
std::string nameList(const std::vector<std::string>& names) {
  std::string list;
  const size_t listed = std::min(names.size(), kListedNames);
  for (size_t i = 0; i < listed; ++i) {
    if (i > 0) list += ", ";
    list += quoted(names[i]);
  }
  if (names.size() > kListedNames) {
    list += " and " + std::to_string(names.size() - kListedNames) + " more";
  }
  return list;
}

}  // namespace

ArrangeError::ArrangeError(Data data) : data_(std::make_shared<const Data>(std::move(data))) {}

ArrangeError ArrangeError::dragFailed(std::string moving, std::string target) {
  std::string message = "macOS didn't accept moving " + quoted(moving) + " next to " +
                        quoted(target) + ". The list shows the real order now.";
  return ArrangeError(
      Data{Case::dragFailed, {std::move(moving), std::move(target)}, false, std::move(message)});
}

ArrangeError ArrangeError::missing(std::string name) {
  std::string message = quoted(name) + " disappeared from the menu bar while arranging.";
  return ArrangeError(Data{Case::missing, {std::move(name)}, false, std::move(message)});
}

ArrangeError ArrangeError::cannotGrab(std::vector<std::string> names, bool isModern) {
  std::string message = "macOS won't let " + nameList(names);
  message += isModern ? " be dragged while in the menu bar's hidden overflow (\u00BB). Move other "
                        "items around it instead."
                      : " be dragged while hidden behind the notch. Move other items around it "
                        "instead, or arrange on a display without a notch.";
  return ArrangeError(Data{Case::cannotGrab, std::move(names), isModern, std::move(message)});
}

ArrangeError ArrangeError::accessibility() {
  return ArrangeError(Data{Case::accessibility,
                           {},
                           false,
                           "Accessibility permission is required to move menu bar items."});
}

}  // namespace kestrune
