#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include "mac/cf_ref.hpp"
#include "platform/accessibility.hpp"

namespace kestrune {

// Accessibility through the AXUIElement API, one platform call per
// operation. An element given to it must come from it: any other (or a null
// one) is answered with illegalArgument without a platform call.
class MacAccessibility final : public Accessibility {
 public:
  // Wraps a reference the caller hands over.
  [[nodiscard]] static AXElement wrap(CFRef<AXUIElementRef> element);
  // The platform element, or NULL when `element` does not hold one; the
  // reference stays with `element`.
  [[nodiscard]] static AXUIElementRef platformElement(const AXElement& element);

  [[nodiscard]] AXElement createApplication(pid_t pid) override;
  AXError setMessagingTimeout(const AXElement& element, float seconds) override;
  AXError copyAttributeValue(const AXElement& element, std::string_view attribute,
                             AXAnyValue& value) override;
  AXError performAction(const AXElement& element, std::string_view action) override;
  AXError getPid(const AXElement& element, pid_t& pid) override;
  [[nodiscard]] bool isProcessTrusted() override;
  bool isProcessTrustedWithOptions(bool prompt) override;
};

}  // namespace kestrune
