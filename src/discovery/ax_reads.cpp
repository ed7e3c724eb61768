#include "discovery/ax_reads.hpp"

namespace kestrune::ax {
namespace {

std::optional<AXAnyValue> copy(Accessibility& ax, const AXElement& element, std::string_view name) {
  AXAnyValue value;
  if (ax.copyAttributeValue(element, name, value) != AXError::success) return std::nullopt;
  return value;
}

template <class T>
std::optional<T> alternative(std::optional<AXAnyValue> value) {
  if (!value) return std::nullopt;
  if (auto* v = std::get_if<T>(&value->value)) return std::move(*v);
  return std::nullopt;
}

// The wrapper's kind must be the asked one, and the platform must have been
// able to read its payload as that kind.
template <class T>
std::optional<T> wrapped(Accessibility& ax, const AXElement& element, std::string_view name,
                         AXValueType type) {
  auto wrapper = alternative<AXValueWrapper>(copy(ax, element, name));
  if (!wrapper || wrapper->type != type) return std::nullopt;
  if (auto* v = std::get_if<T>(&wrapper->payload)) return *v;
  return std::nullopt;
}

}  // namespace

template <>
std::optional<std::string> attribute(Accessibility& ax, const AXElement& element,
                                     std::string_view name) {
  return alternative<std::string>(copy(ax, element, name));
}

template <>
std::optional<AXElement> attribute(Accessibility& ax, const AXElement& element,
                                   std::string_view name) {
  return alternative<AXElement>(copy(ax, element, name));
}

template <>
std::optional<std::vector<AXElement>> attribute(Accessibility& ax, const AXElement& element,
                                                std::string_view name) {
  auto array = alternative<AXArray>(copy(ax, element, name));
  if (!array) return std::nullopt;
  std::vector<AXElement> elements;
  elements.reserve(array->size());
  for (auto& member : *array) {
    auto* e = std::get_if<AXElement>(&member.value);
    if (!e) return std::nullopt;
    elements.push_back(std::move(*e));
  }
  return elements;
}

template <>
std::optional<Point> axValue(Accessibility& ax, const AXElement& element, std::string_view name,
                             AXValueType type) {
  return wrapped<Point>(ax, element, name, type);
}

template <>
std::optional<Size> axValue(Accessibility& ax, const AXElement& element, std::string_view name,
                            AXValueType type) {
  return wrapped<Size>(ax, element, name, type);
}

std::optional<Rect> frame(Accessibility& ax, const AXElement& element) {
  auto position = axValue<Point>(ax, element, "AXPosition", AXValueType::cgPoint);
  if (!position) return std::nullopt;
  auto size = axValue<Size>(ax, element, "AXSize", AXValueType::cgSize);
  if (!size) return std::nullopt;
  return Rect{*position, *size};
}

std::string stringOrEmpty(Accessibility& ax, const AXElement& element, std::string_view name) {
  return attribute<std::string>(ax, element, name).value_or(std::string());
}

std::vector<AXElement> children(Accessibility& ax, const AXElement& element, std::string_view name,
                                Duration timeout) {
  const auto seconds = static_cast<float>(toSeconds(timeout));
  ax.setMessagingTimeout(element, seconds);
  auto members = attribute<std::vector<AXElement>>(ax, element, name);
  if (!members) return {};
  for (const auto& member : *members) ax.setMessagingTimeout(member, seconds);
  return *std::move(members);
}

}  // namespace kestrune::ax
