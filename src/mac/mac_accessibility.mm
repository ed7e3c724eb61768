#include "mac/mac_accessibility.hpp"

#include <memory>
#include <utility>

namespace kestrune {
namespace {

class MacElementHandle final : public AXElement::Handle {
 public:
  explicit MacElementHandle(CFRef<AXUIElementRef> element) : element_(std::move(element)) {}
  [[nodiscard]] AXUIElementRef get() const { return element_.get(); }

 private:
  CFRef<AXUIElementRef> element_;
};

// The core's codes are the platform's values.
AXError fromPlatform(::AXError error) {
  return static_cast<AXError>(static_cast<int>(error));
}

template <class T>
AXAnyValue anyValue(T value) {
  AXAnyValue any;
  any.value.emplace<T>(std::move(value));
  return any;
}

// Fills the payload only when the platform reads the wrapper as that kind.
AXValueWrapper convertWrapper(AXValueRef value) {
  AXValueWrapper wrapper;
  const ::AXValueType type = AXValueGetType(value);
  wrapper.type = static_cast<AXValueType>(static_cast<int>(type));
  switch (type) {
    case kAXValueTypeCGPoint: {
      CGPoint point{};
      if (AXValueGetValue(value, type, &point)) wrapper.payload = Point{point.x, point.y};
      break;
    }
    case kAXValueTypeCGSize: {
      CGSize size{};
      if (AXValueGetValue(value, type, &size)) wrapper.payload = Size{size.width, size.height};
      break;
    }
    case kAXValueTypeCGRect: {
      CGRect rect{};
      if (AXValueGetValue(value, type, &rect)) {
        wrapper.payload = Rect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
      }
      break;
    }
    default:
      break;
  }
  return wrapper;
}

AXAnyValue convert(CFTypeRef value);

AXArray convertArray(CFArrayRef array) {
  const CFIndex count = CFArrayGetCount(array);
  AXArray members;
  members.reserve(static_cast<size_t>(count));
  for (CFIndex i = 0; i < count; ++i) members.push_back(convert(CFArrayGetValueAtIndex(array, i)));
  return members;
}

// `value` is borrowed (+0): what is kept of it is retained here, so the same
// conversion serves the copied top-level value and the members of an array.
// A number is read as a double even when that rounds it; a string that UTF-8
// cannot encode counts as something else.
AXAnyValue convert(CFTypeRef value) {
  if (!value) return {};
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFStringGetTypeID()) {
    auto text = toStdString(static_cast<CFStringRef>(value));
    return text ? anyValue(std::move(*text)) : AXAnyValue{};
  }
  if (type == AXUIElementGetTypeID()) {
    return anyValue(
        MacAccessibility::wrap(CFRef<AXUIElementRef>::retain(static_cast<AXUIElementRef>(value))));
  }
  if (type == CFArrayGetTypeID()) return anyValue(convertArray(static_cast<CFArrayRef>(value)));
  if (type == AXValueGetTypeID()) return anyValue(convertWrapper(static_cast<AXValueRef>(value)));
  if (type == CFBooleanGetTypeID()) {
    return anyValue(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0);
  }
  if (type == CFNumberGetTypeID()) {
    double number = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
    return anyValue(number);
  }
  return {};
}

}  // namespace

AXElement MacAccessibility::wrap(CFRef<AXUIElementRef> element) {
  if (!element) return {};
  return AXElement(std::make_shared<MacElementHandle>(std::move(element)));
}

AXUIElementRef MacAccessibility::platformElement(const AXElement& element) {
  const auto* handle = dynamic_cast<const MacElementHandle*>(element.handle());
  return handle ? handle->get() : nullptr;
}

AXElement MacAccessibility::createApplication(pid_t pid) {
  return wrap(CFRef<AXUIElementRef>(AXUIElementCreateApplication(pid)));
}

AXError MacAccessibility::setMessagingTimeout(const AXElement& element, float seconds) {
  const AXUIElementRef target = platformElement(element);
  if (!target) return AXError::illegalArgument;
  return fromPlatform(AXUIElementSetMessagingTimeout(target, seconds));
}

// `value` is left empty unless the call succeeds.
AXError MacAccessibility::copyAttributeValue(const AXElement& element, std::string_view attribute,
                                             AXAnyValue& value) {
  value = {};
  const AXUIElementRef target = platformElement(element);
  const CFRef<CFStringRef> name = cfString(attribute);
  if (!target || !name) return AXError::illegalArgument;
  CFRef<CFTypeRef> copied;
  const AXError error =
      fromPlatform(AXUIElementCopyAttributeValue(target, name.get(), copied.out()));
  if (error == AXError::success) value = convert(copied.get());
  return error;
}

AXError MacAccessibility::performAction(const AXElement& element, std::string_view action) {
  const AXUIElementRef target = platformElement(element);
  const CFRef<CFStringRef> name = cfString(action);
  if (!target || !name) return AXError::illegalArgument;
  return fromPlatform(AXUIElementPerformAction(target, name.get()));
}

AXError MacAccessibility::getPid(const AXElement& element, pid_t& pid) {
  const AXUIElementRef target = platformElement(element);
  if (!target) return AXError::illegalArgument;
  pid_t answer = 0;
  const AXError error = fromPlatform(AXUIElementGetPid(target, &answer));
  if (error == AXError::success) pid = answer;
  return error;
}

bool MacAccessibility::isProcessTrusted() {
  return AXIsProcessTrusted() != 0;
}

bool MacAccessibility::isProcessTrustedWithOptions(bool prompt) {
  const void* keys[] = {kAXTrustedCheckOptionPrompt};
  const void* values[] = {prompt ? kCFBooleanTrue : kCFBooleanFalse};
  const CFRef<CFDictionaryRef> options(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                                          &kCFTypeDictionaryKeyCallBacks,
                                                          &kCFTypeDictionaryValueCallBacks));
  return AXIsProcessTrustedWithOptions(options.get()) != 0;
}

}  // namespace kestrune
