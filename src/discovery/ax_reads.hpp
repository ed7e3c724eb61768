#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/geometry.hpp"
#include "core/time.hpp"
#include "platform/accessibility.hpp"

namespace kestrune::ax {

// Typed reads of an element's attributes: a value of the asked type, or
// nothing. No error code and no untyped value ever reaches a caller; a
// caller that must tell a time-out from an absent value calls
// copyAttributeValue itself.

// Text, an element, or an array whose members are all elements.
template <class T>
[[nodiscard]] std::optional<T> attribute(Accessibility& ax, const AXElement& element,
                                         std::string_view name);

template <>
[[nodiscard]] std::optional<std::string> attribute(Accessibility& ax, const AXElement& element,
                                                   std::string_view name);
template <>
[[nodiscard]] std::optional<AXElement> attribute(Accessibility& ax, const AXElement& element,
                                                 std::string_view name);
template <>
[[nodiscard]] std::optional<std::vector<AXElement>> attribute(Accessibility& ax,
                                                              const AXElement& element,
                                                              std::string_view name);

// A value wrapper of the given kind: a point (AXValueType::cgPoint) or a
// size (AXValueType::cgSize).
template <class T>
[[nodiscard]] std::optional<T> axValue(Accessibility& ax, const AXElement& element,
                                       std::string_view name, AXValueType type);

template <>
[[nodiscard]] std::optional<Point> axValue(Accessibility& ax, const AXElement& element,
                                           std::string_view name, AXValueType type);
template <>
[[nodiscard]] std::optional<Size> axValue(Accessibility& ax, const AXElement& element,
                                          std::string_view name, AXValueType type);

// "AXPosition" as a point and "AXSize" as a size; nothing unless both read.
[[nodiscard]] std::optional<Rect> frame(Accessibility& ax, const AXElement& element);

// The element-array attribute `name` of `element`, read after giving the
// element `timeout`; each member gets `timeout` too before anyone reads it.
// Empty when it cannot be read.
[[nodiscard]] std::vector<AXElement> children(Accessibility& ax, const AXElement& element,
                                              std::string_view name, Duration timeout);

// A string attribute, or the empty string when it cannot be read.
[[nodiscard]] std::string stringOrEmpty(Accessibility& ax, const AXElement& element,
                                        std::string_view name);

}  // namespace kestrune::ax
