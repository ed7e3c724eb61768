#pragma once

#include <sys/types.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/geometry.hpp"

namespace kestrune {

// Accessibility error codes, with the platform's values.
enum class AXError : int {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  invalidUIElement = -25202,
  invalidUIElementObserver = -25203,
  cannotComplete = -25204,
  attributeUnsupported = -25205,
  actionUnsupported = -25206,
  notificationUnsupported = -25207,
  notImplemented = -25208,
  notificationAlreadyRegistered = -25209,
  notificationNotRegistered = -25210,
  apiDisabled = -25211,
  noValue = -25212,
  parameterizedAttributeUnsupported = -25213,
  notEnoughPrecision = -25214,
};

// The platform's name of an error code, for the log ("kAXErrorCannotComplete").
[[nodiscard]] std::string_view axErrorName(AXError error);

// The kinds of the platform's Accessibility value wrapper (AXValueType).
enum class AXValueType : int {
  illegal = 0,
  cgPoint = 1,
  cgSize = 2,
  cgRect = 3,
  cfRange = 4,
  axError = 5,
};

// An Accessibility element. Copies share the one platform reference; the
// platform releases it with the last copy.
class AXElement {
 public:
  // What a platform keeps for one element (an AXUIElementRef on the Mac).
  class Handle {
   public:
    virtual ~Handle() = default;
  };

  AXElement() = default;
  explicit AXElement(std::shared_ptr<const Handle> handle) : handle_(std::move(handle)) {}

  [[nodiscard]] const Handle* handle() const { return handle_.get(); }
  [[nodiscard]] bool isNull() const { return !handle_; }
  [[nodiscard]] long useCount() const { return handle_.use_count(); }

 private:
  std::shared_ptr<const Handle> handle_;
};

// The platform's value wrapper (AXValueRef): its kind and, when the
// platform could read it as that kind, its payload.
struct AXValueWrapper {
  AXValueType type = AXValueType::illegal;
  std::variant<std::monostate, Point, Size, Rect> payload;
};

// An attribute's value as the platform hands it over, before any typed
// reading: text, an element, an array, a value wrapper, a number, a Boolean,
// or something else (`std::monostate`).
struct AXAnyValue;
using AXArray = std::vector<AXAnyValue>;
struct AXAnyValue {
  std::variant<std::monostate, std::string, AXElement, AXArray, AXValueWrapper, double, bool> value;
};

// The Accessibility interface, one operation per platform call. Reads never
// throw: they answer with an error code.
class Accessibility {
 public:
  virtual ~Accessibility() = default;
  // AXUIElementCreateApplication.
  [[nodiscard]] virtual AXElement createApplication(pid_t pid) = 0;
  // AXUIElementSetMessagingTimeout; 0 restores the global default.
  virtual AXError setMessagingTimeout(const AXElement& element, float seconds) = 0;
  // AXUIElementCopyAttributeValue.
  virtual AXError copyAttributeValue(const AXElement& element, std::string_view attribute,
                                     AXAnyValue& value) = 0;
  // AXUIElementPerformAction.
  virtual AXError performAction(const AXElement& element, std::string_view action) = 0;
  // AXUIElementGetPid.
  virtual AXError getPid(const AXElement& element, pid_t& pid) = 0;
  // AXIsProcessTrusted.
  [[nodiscard]] virtual bool isProcessTrusted() = 0;
  // AXIsProcessTrustedWithOptions with kAXTrustedCheckOptionPrompt.
  virtual bool isProcessTrustedWithOptions(bool prompt) = 0;
};

}  // namespace kestrune
