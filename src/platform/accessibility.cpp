#include "platform/accessibility.hpp"

namespace kestrune {

std::string_view axErrorName(AXError error) {
  switch (error) {
    case AXError::success:
      return "kAXErrorSuccess";
    case AXError::failure:
      return "kAXErrorFailure";
    case AXError::illegalArgument:
      return "kAXErrorIllegalArgument";
    case AXError::invalidUIElement:
      return "kAXErrorInvalidUIElement";
    case AXError::invalidUIElementObserver:
      return "kAXErrorInvalidUIElementObserver";
    case AXError::cannotComplete:
      return "kAXErrorCannotComplete";
    case AXError::attributeUnsupported:
      return "kAXErrorAttributeUnsupported";
    case AXError::actionUnsupported:
      return "kAXErrorActionUnsupported";
    case AXError::notificationUnsupported:
      return "kAXErrorNotificationUnsupported";
    case AXError::notImplemented:
      return "kAXErrorNotImplemented";
    case AXError::notificationAlreadyRegistered:
      return "kAXErrorNotificationAlreadyRegistered";
    case AXError::notificationNotRegistered:
      return "kAXErrorNotificationNotRegistered";
    case AXError::apiDisabled:
      return "kAXErrorAPIDisabled";
    case AXError::noValue:
      return "kAXErrorNoValue";
    case AXError::parameterizedAttributeUnsupported:
      return "kAXErrorParameterizedAttributeUnsupported";
    case AXError::notEnoughPrecision:
      return "kAXErrorNotEnoughPrecision";
  }
  return "kAXErrorUnknown";
}

}  // namespace kestrune
