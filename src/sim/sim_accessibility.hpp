#pragma once

#include <atomic>

#include "core/executor.hpp"
#include "platform/accessibility.hpp"
#include "sim/world.hpp"

namespace kestrune::sim {

// The Accessibility trees of the simulated apps. Every read of an app's
// element takes the app's latency; an app slower than the element's
// messaging time-out (or one that never answers) fails with
// kAXErrorCannotComplete once the time-out has passed. Elements of a process
// that quit are invalid. An untrusted process gets kAXErrorAPIDisabled.
//
// The trees: an application's "AXExtrasMenuBar" holds its status items
// ("AXMenuBarItem"), grouped in "AXGroup"s on the modern bar when the
// scenario groups them. The system menu bar agent (modern bar) has an extras
// bar with the » button ("AXButton", only while items are hidden) and an
// empty group, and one bar window ("AXWindow" at 0, 0) whose
// "AXChildrenInNavigationOrder" are the drawn items, each answering
// AXUIElementGetPid with the process of the app it draws.
class SimAccessibility final : public Accessibility {
 public:
  // Messaging time-out of an element whose own was never set.
  static constexpr float kDefaultTimeout = 6.0F;

  SimAccessibility(World& world, Executors& executors) : world_(world), executors_(executors) {}

  [[nodiscard]] AXElement createApplication(pid_t pid) override;
  AXError setMessagingTimeout(const AXElement& element, float seconds) override;
  AXError copyAttributeValue(const AXElement& element, std::string_view attribute,
                             AXAnyValue& value) override;
  AXError performAction(const AXElement& element, std::string_view action) override;
  AXError getPid(const AXElement& element, pid_t& pid) override;
  [[nodiscard]] bool isProcessTrusted() override;
  bool isProcessTrustedWithOptions(bool prompt) override;

  // Calls on elements whose messaging time-out was never set, which wait
  // for the system's default (about 6 s on a Mac).
  [[nodiscard]] int callsAtDefaultTimeout() const { return callsAtDefault_; }

  enum class NodeKind {
    application,
    extrasBar,
    group,
    statusItem,
    barWindow,
    host,
    button,
    agentGroup
  };
  struct Node {
    NodeKind kind = NodeKind::application;
    pid_t pid = 0;          // the process whose tree holds the node
    uint32_t windowID = 0;  // status items and hosts
    std::string group;      // groups
  };

 private:
  // Waits as long as the node's app takes to answer; an error when it does
  // not answer in time or is gone.
  AXError converse(const AXElement& element, const Node& node);
  void countRead(pid_t pid);
  [[nodiscard]] AXElement make(Node node) const;
  AXError read(const Node& node, std::string_view attribute, AXAnyValue& value) const;
  AXError readApplication(const Node& node, std::string_view attribute, AXAnyValue& value) const;
  AXError readExtrasBar(const Node& node, std::string_view attribute, AXAnyValue& value) const;
  AXError readStatusItem(const Node& node, std::string_view attribute, AXAnyValue& value) const;

  World& world_;
  Executors& executors_;
  std::atomic<int> callsAtDefault_{0};
};

}  // namespace kestrune::sim
