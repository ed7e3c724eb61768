#pragma once

#include "platform/window_server.hpp"

namespace kestrune {

// The window list through CGWindowListCopyWindowInfo. Each dictionary key is
// read only when it holds the type the window server documents for it;
// anything else counts as absent.
class MacWindowServer final : public WindowServer {
 public:
  [[nodiscard]] std::optional<std::vector<WindowInfo>> copyWindowInfo(
      WindowListOption option, uint32_t relativeToWindow) override;
};

}  // namespace kestrune
