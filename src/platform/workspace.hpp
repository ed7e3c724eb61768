#pragma once

#include <sys/types.h>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/observable.hpp"

namespace kestrune {

// One entry of NSWorkspace's running applications.
struct RunningApplication {
  pid_t pid = 0;
  std::optional<std::string> bundleIdentifier;
  std::optional<std::string> localizedName;
  std::optional<std::string> bundlePath;  // the file path of the bundle URL
};

enum class WorkspaceEvent { didLaunchApplication, didTerminateApplication };

// The shared workspace.
class Workspace {
 public:
  virtual ~Workspace() = default;
  // runningApplications, in the workspace's order.
  [[nodiscard]] virtual std::vector<RunningApplication> runningApplications() = 0;
  // URLForApplicationWithBundleIdentifier, as a file path.
  [[nodiscard]] virtual std::optional<std::string> urlForApplication(
      const std::string& bundleIdentifier) = 0;
  // The workspace notification centre. Handlers run on the main thread and
  // are removed when the subscription ends.
  [[nodiscard]] virtual Subscription observe(
      WorkspaceEvent event, std::function<void(const RunningApplication&)> handler) = 0;
  // openURL: (a URL string, such as a System Settings pane's); false when
  // nothing could open it.
  virtual bool openURL(const std::string& url) = 0;
  // openApplicationAtURL:configuration:completionHandler: for the bundle at
  // `bundlePath`, with createsNewApplicationInstance as given. `completion`
  // is told whether the app was opened, on any thread.
  virtual void openApplication(const std::string& bundlePath, bool createsNewInstance,
                               std::function<void(bool succeeded)> completion) = 0;
};

}  // namespace kestrune
