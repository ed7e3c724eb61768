#include "sim/sim_accessibility.hpp"

#include <algorithm>
#include <atomic>

namespace kestrune::sim {
namespace {

using NodeKind = SimAccessibility::NodeKind;

struct SimHandle final : AXElement::Handle {
  explicit SimHandle(SimAccessibility::Node n) : node(std::move(n)) {}
  SimAccessibility::Node node;
  mutable std::atomic<float> timeout{0};  // 0: the default
};

const SimHandle* handleOf(const AXElement& element) {
  return dynamic_cast<const SimHandle*>(element.handle());
}

AXAnyValue text(std::string s) {
  return AXAnyValue{std::move(s)};
}
AXAnyValue point(Point p) {
  return AXAnyValue{AXValueWrapper{AXValueType::cgPoint, p}};
}
AXAnyValue size(Size s) {
  return AXAnyValue{AXValueWrapper{AXValueType::cgSize, s}};
}

// An optional text attribute: an empty one is not there.
AXError optionalText(const std::string& s, AXAnyValue& value) {
  if (s.empty()) return AXError::noValue;
  value = text(s);
  return AXError::success;
}

AXError frameAttribute(const Rect& frame, std::string_view attribute, AXAnyValue& value) {
  if (attribute == "AXPosition") {
    value = point(frame.origin);
  } else if (attribute == "AXSize") {
    value = size(frame.size);
  } else {
    return AXError::attributeUnsupported;
  }
  return AXError::success;
}

// A process's status items in the order the app made them.
std::vector<StatusItemState> itemsOf(const World& world, pid_t pid) {
  auto items = world.statusItems();
  std::erase_if(items, [&](const StatusItemState& i) { return i.pid != pid; });
  std::sort(items.begin(), items.end(),
            [](const auto& a, const auto& b) { return a.ordinal < b.ordinal; });
  return items;
}

AXError role(std::string_view name, AXAnyValue& value) {
  value = text(std::string(name));
  return AXError::success;
}

}  // namespace

AXElement SimAccessibility::make(Node node) const {
  return AXElement(std::make_shared<SimHandle>(std::move(node)));
}

AXElement SimAccessibility::createApplication(pid_t pid) {
  return make(Node{NodeKind::application, pid, 0, {}});
}

AXError SimAccessibility::setMessagingTimeout(const AXElement& element, float seconds) {
  const SimHandle* h = handleOf(element);
  if (!h || seconds < 0) return AXError::illegalArgument;
  h->timeout = seconds;
  return AXError::success;
}

AXError SimAccessibility::converse(const AXElement& element, const Node& node) {
  if (!world_.accessibilityTrusted()) return AXError::apiDisabled;
  const auto app = world_.app(node.pid);
  if (!app) return AXError::invalidUIElement;
  const float own = handleOf(element)->timeout;
  if (own <= 0) ++callsAtDefault_;
  const double timeout = own > 0 ? own : kDefaultTimeout;
  const double latency = app->latencyMs / 1000.0;
  const bool hangs =
      app->accessibility == AXMode::never ||
      (app->accessibility == AXMode::hangsAfterExtrasBar && node.kind != NodeKind::application);
  if (hangs || latency > timeout) {
    executors_.sleepFor(seconds(timeout));
    return AXError::cannotComplete;
  }
  executors_.sleepFor(seconds(latency));
  return AXError::success;
}

void SimAccessibility::countRead(pid_t pid) {
  const int reads = world_.countRead(pid);
  const auto app = world_.app(pid);
  if (app && app->quitAfterReads && reads >= *app->quitAfterReads) world_.quit(pid);
}

AXError SimAccessibility::copyAttributeValue(const AXElement& element, std::string_view attribute,
                                             AXAnyValue& value) {
  const SimHandle* h = handleOf(element);
  if (!h) return AXError::illegalArgument;
  if (AXError e = converse(element, h->node); e != AXError::success) return e;
  const AXError result = read(h->node, attribute, value);
  countRead(h->node.pid);  // an app set to quit answers this read first
  return result;
}

AXError SimAccessibility::read(const Node& node, std::string_view attribute,
                               AXAnyValue& value) const {
  switch (node.kind) {
    case NodeKind::application:
      return readApplication(node, attribute, value);
    case NodeKind::extrasBar:
      return readExtrasBar(node, attribute, value);
    case NodeKind::statusItem:
      return readStatusItem(node, attribute, value);
    case NodeKind::group: {
      if (attribute == "AXRole") return role("AXGroup", value);
      if (attribute != "AXChildren") return AXError::attributeUnsupported;
      AXArray children;
      for (const auto& item : itemsOf(world_, node.pid)) {
        if (item.item.group == node.group) {
          children.push_back({make(Node{NodeKind::statusItem, node.pid, item.windowID, {}})});
        }
      }
      value = AXAnyValue{std::move(children)};
      return AXError::success;
    }
    case NodeKind::agentGroup:
      if (attribute == "AXRole") return role("AXGroup", value);
      if (attribute != "AXChildren") return AXError::attributeUnsupported;
      value = AXAnyValue{AXArray{}};
      return AXError::success;
    case NodeKind::barWindow: {
      if (attribute == "AXRole") return role("AXWindow", value);
      if (attribute == "AXChildrenInNavigationOrder" || attribute == "AXChildren") {
        AXArray hosts;  // the agent walks its bar from the right
        for (const auto& item : world_.statusItems()) {
          if (item.placed.isDrawn()) {
            hosts.push_back({make(Node{NodeKind::host, node.pid, item.windowID, {}})});
          }
        }
        value = AXAnyValue{std::move(hosts)};
        return AXError::success;
      }
      const auto g = world_.geometry();
      return frameAttribute(Rect{0, 0, g.screenWidth, g.barHeight}, attribute, value);
    }
    case NodeKind::host: {
      const auto item = world_.statusItem(node.windowID);
      if (!item || !item->placed.isDrawn()) return AXError::invalidUIElement;
      if (attribute == "AXRole") return role("AXMenuBarItem", value);
      return frameAttribute(item->placed.frame, attribute, value);
    }
    case NodeKind::button: {
      const auto button = world_.overflowButton();
      if (!button) return AXError::invalidUIElement;
      if (attribute == "AXRole") return role("AXButton", value);
      if (attribute == "AXDescription") return role("Show hidden menu bar items", value);
      return frameAttribute(*button, attribute, value);
    }
  }
  return AXError::attributeUnsupported;
}

AXError SimAccessibility::readApplication(const Node& node, std::string_view attribute,
                                          AXAnyValue& value) const {
  const auto app = world_.app(node.pid);
  if (!app) return AXError::invalidUIElement;
  const bool agent = app->bundleID == World::kAgentBundleID;
  if (attribute == "AXRole") return role("AXApplication", value);
  if (attribute == "AXTitle") return optionalText(app->name.value_or(""), value);
  if (attribute == "AXExtrasMenuBar") {
    // An app without status items has no extras menu bar at all.
    if (app->accessibility == AXMode::noExtrasMenuBar || (app->items.empty() && !agent)) {
      return AXError::noValue;
    }
    value = AXAnyValue{make(Node{NodeKind::extrasBar, node.pid, 0, {}})};
    return AXError::success;
  }
  if (attribute == "AXChildren") {
    AXArray children;
    if (agent) children.push_back({make(Node{NodeKind::barWindow, node.pid, 0, {}})});
    value = AXAnyValue{std::move(children)};
    return AXError::success;
  }
  return AXError::attributeUnsupported;
}

AXError SimAccessibility::readExtrasBar(const Node& node, std::string_view attribute,
                                        AXAnyValue& value) const {
  if (attribute == "AXRole") return role("AXMenuBar", value);
  if (attribute != "AXChildren") return AXError::attributeUnsupported;
  const auto app = world_.app(node.pid);
  if (!app) return AXError::invalidUIElement;
  AXArray children;
  if (app->bundleID == World::kAgentBundleID) {
    if (world_.overflowButton())
      children.push_back({make(Node{NodeKind::button, node.pid, 0, {}})});
    children.push_back({make(Node{NodeKind::agentGroup, node.pid, 0, {}})});
  } else {
    // Items in the app's own order; on the modern bar a group stands where
    // its first item would.
    std::vector<std::string> groupsSeen;
    for (const auto& item : itemsOf(world_, node.pid)) {
      if (world_.isModern() && item.item.group) {
        if (std::find(groupsSeen.begin(), groupsSeen.end(), *item.item.group) != groupsSeen.end()) {
          continue;
        }
        groupsSeen.push_back(*item.item.group);
        children.push_back({make(Node{NodeKind::group, node.pid, 0, *item.item.group})});
      } else {
        children.push_back({make(Node{NodeKind::statusItem, node.pid, item.windowID, {}})});
      }
    }
  }
  value = AXAnyValue{std::move(children)};
  return AXError::success;
}

AXError SimAccessibility::readStatusItem(const Node& node, std::string_view attribute,
                                         AXAnyValue& value) const {
  const auto item = world_.statusItem(node.windowID);
  const auto app = world_.app(node.pid);
  if (!item || !app || item->pid != node.pid) return AXError::invalidUIElement;
  const bool wrong = app->accessibility == AXMode::wrongTypes;
  if (attribute == "AXRole") return role("AXMenuBarItem", value);
  if (wrong && (attribute == "AXTitle" || attribute == "AXIdentifier")) {
    value = AXAnyValue{42.0};
    return AXError::success;
  }
  if (wrong && attribute == "AXDescription") {
    value = AXAnyValue{true};
    return AXError::success;
  }
  if (attribute == "AXTitle") return optionalText(item->item.title, value);
  if (attribute == "AXDescription") return optionalText(item->item.description, value);
  if (attribute == "AXIdentifier") return optionalText(item->item.identifier, value);
  const Rect& f = item->placed.frame;
  if (wrong && attribute == "AXPosition") {
    value = size(f.size);
    return AXError::success;
  }
  if (wrong && attribute == "AXSize") {
    value = point(f.origin);
    return AXError::success;
  }
  return frameAttribute(f, attribute, value);
}

AXError SimAccessibility::performAction(const AXElement& element, std::string_view action) {
  const SimHandle* h = handleOf(element);
  if (!h) return AXError::illegalArgument;
  if (AXError e = converse(element, h->node); e != AXError::success) return e;
  if (h->node.kind != NodeKind::statusItem || action != "AXPress") {
    return AXError::actionUnsupported;
  }
  const auto item = world_.statusItem(h->node.windowID);
  if (!item || item->pid != h->node.pid) return AXError::invalidUIElement;
  world_.recordPress(PressRecord{item->pid, item->windowID, item->item.key});
  return AXError::success;
}

AXError SimAccessibility::getPid(const AXElement& element, pid_t& pid) {
  const SimHandle* h = handleOf(element);
  if (!h) return AXError::illegalArgument;
  if (h->node.kind == NodeKind::host) {
    const auto item = world_.statusItem(h->node.windowID);
    if (!item) return AXError::invalidUIElement;
    pid = item->pid;
    return AXError::success;
  }
  if (!world_.app(h->node.pid)) return AXError::invalidUIElement;
  pid = h->node.pid;
  return AXError::success;
}

bool SimAccessibility::isProcessTrusted() {
  return world_.accessibilityTrusted();
}

bool SimAccessibility::isProcessTrustedWithOptions(bool prompt) {
  // Untrusted, the prompt puts Kestrune in the list and shows the system's
  // dialog.
  if (prompt && !world_.accessibilityTrusted()) world_.recordAccessibilityPrompt();
  return world_.accessibilityTrusted();
}

}  // namespace kestrune::sim
