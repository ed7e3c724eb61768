#pragma once

#include "platform/workspace.hpp"

namespace kestrune {

// The shared NSWorkspace and its notification centre.
class MacWorkspace final : public Workspace {
 public:
  [[nodiscard]] std::vector<RunningApplication> runningApplications() override;
  [[nodiscard]] std::optional<std::string> urlForApplication(
      const std::string& bundleIdentifier) override;
  // Delivered on the main operation queue. Ending the subscription removes
  // the observer; a notification already queued for it is then dropped.
  [[nodiscard]] Subscription observe(
      WorkspaceEvent event, std::function<void(const RunningApplication&)> handler) override;
  bool openURL(const std::string& url) override;
  // The completion runs on AppKit's concurrent queue, or at once when the
  // path cannot even be made into a URL.
  void openApplication(const std::string& bundlePath, bool createsNewInstance,
                       std::function<void(bool succeeded)> completion) override;
};

}  // namespace kestrune
