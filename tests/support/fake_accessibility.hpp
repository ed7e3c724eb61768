#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/accessibility.hpp"

namespace kestrune::testing {

// A hand-built Accessibility tree for tests that need values the simulated
// Mac never produces (zero-width hosts, unreadable value wrappers, …).
class FakeAccessibility final : public Accessibility {
 public:
  struct Node final : AXElement::Handle {
    pid_t pid = 0;
    std::map<std::string, AXAnyValue, std::less<>> attributes;
    std::map<std::string, AXError, std::less<>> errors;
    std::vector<std::string> actions;  // performed, in order
    AXError actionResult = AXError::success;
    mutable float timeout = 0;
  };

  // A new node of process `pid`, owned by the tree.
  std::shared_ptr<Node> node(pid_t pid) {
    auto n = std::make_shared<Node>();
    n->pid = pid;
    nodes_.push_back(n);
    return n;
  }
  static AXElement element(const std::shared_ptr<Node>& n) { return AXElement(n); }
  static AXAnyValue elements(const std::vector<std::shared_ptr<Node>>& nodes) {
    AXArray array;
    for (const auto& n : nodes) array.push_back({element(n)});
    return {array};
  }
  static AXAnyValue point(double x, double y) {
    return {AXValueWrapper{AXValueType::cgPoint, Point{x, y}}};
  }
  static AXAnyValue size(double w, double h) {
    return {AXValueWrapper{AXValueType::cgSize, Size{w, h}}};
  }
  static void setFrame(Node& n, Rect f) {
    n.attributes["AXPosition"] = point(f.minX(), f.minY());
    n.attributes["AXSize"] = size(f.width(), f.height());
  }

  // What createApplication answers for a process.
  std::map<pid_t, std::shared_ptr<Node>> applications;

  AXElement createApplication(pid_t pid) override {
    auto it = applications.find(pid);
    return it == applications.end() ? element(node(pid)) : element(it->second);
  }
  AXError setMessagingTimeout(const AXElement& e, float seconds) override {
    of(e).timeout = seconds;
    return AXError::success;
  }
  AXError copyAttributeValue(const AXElement& e, std::string_view attribute,
                             AXAnyValue& value) override {
    const Node& n = of(e);
    if (n.timeout <= 0) ++readsAtDefaultTimeout;
    if (auto it = n.errors.find(attribute); it != n.errors.end()) return it->second;
    auto it = n.attributes.find(attribute);
    if (it == n.attributes.end()) return AXError::attributeUnsupported;
    value = it->second;
    return AXError::success;
  }
  AXError performAction(const AXElement& e, std::string_view action) override {
    Node& n = of(e);
    n.actions.emplace_back(action);
    return n.actionResult;
  }
  AXError getPid(const AXElement& e, pid_t& pid) override {
    pid = of(e).pid;
    return AXError::success;
  }
  bool isProcessTrusted() override { return trusted; }
  bool isProcessTrustedWithOptions(bool /*prompt*/) override { return trusted; }

  bool trusted = true;
  // Reads of elements whose messaging time-out was never set.
  int readsAtDefaultTimeout = 0;

 private:
  static Node& of(const AXElement& e) {
    return const_cast<Node&>(dynamic_cast<const Node&>(*e.handle()));  // NOLINT
  }
  std::vector<std::shared_ptr<Node>> nodes_;
};

}  // namespace kestrune::testing
