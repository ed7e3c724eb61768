#include "discovery/menu_bar_layout.hpp"

#include <algorithm>
#include <cmath>

#include "discovery/ax_reads.hpp"

namespace kestrune {
namespace {

bool hasRole(Accessibility& ax, const AXElement& element, std::string_view role) {
  return ax::attribute<std::string>(ax, element, "AXRole") == role;
}

}  // namespace

MenuBarLayout::MenuBarLayout(const Platform& platform)
    : ax_(platform.accessibility),
      windowServer_(platform.windowServer),
      workspace_(platform.workspace),
      isModern_(isModernVersion(platform.system.operatingSystemMajorVersion())) {}

std::optional<pid_t> MenuBarLayout::agentPID() const {
  for (const auto& app : workspace_.runningApplications()) {
    if (app.bundleIdentifier == kAgentBundleID) return app.pid;
  }
  return std::nullopt;
}

bool MenuBarLayout::menuBarIsVisible() const {
  const auto windows = windowServer_.copyWindowInfo(WindowListOption::onScreenOnly, 0);
  if (!windows || windows->empty()) return true;
  bool sawOther = false;
  for (const auto& w : *windows) {
    if (w.ownerName != "Window Server" || !w.name) continue;
    const auto y = w.bounds ? w.bounds->y : std::nullopt;
    if (*w.name == "Menubar" && y == 0.0) return true;
    sawOther = true;
  }
  return !sawOther;
}

std::optional<MenuBarLayout::BarWindow> MenuBarLayout::barWindow(const AXElement& agent,
                                                                 Duration timeout) const {
  for (const auto& child : ax::children(ax_, agent, "AXChildren", timeout)) {
    if (!hasRole(ax_, child, "AXWindow")) continue;
    const auto f = ax::frame(ax_, child);
    if (f && std::abs(f->minX()) < 1.0 && std::abs(f->minY()) < 1.0) return BarWindow{child, *f};
  }
  return std::nullopt;
}

std::vector<MenuBarLayout::Host> MenuBarLayout::hostsIn(const AXElement& barWindow,
                                                        Duration timeout) const {
  std::vector<Host> hosts;
  for (const auto& child : ax::children(ax_, barWindow, "AXChildrenInNavigationOrder", timeout)) {
    const auto f = ax::frame(ax_, child);
    if (!f || f->size.width <= 0) continue;
    pid_t pid = 0;
    if (ax_.getPid(child, pid) != AXError::success) pid = 0;
    hosts.push_back(Host{*f, pid});
  }
  std::stable_sort(hosts.begin(), hosts.end(),
                   [](const Host& a, const Host& b) { return a.frame.minX() < b.frame.minX(); });
  return hosts;
}

std::optional<MenuBarLayout::Snapshot> MenuBarLayout::snapshot(Duration timeout) const {
  const auto pid = agentPID();
  if (!pid) return std::nullopt;
  const AXElement agent = ax_.createApplication(*pid);
  ax_.setMessagingTimeout(agent, static_cast<float>(toSeconds(timeout)));

  const auto bar = ax::attribute<AXElement>(ax_, agent, "AXExtrasMenuBar");
  if (!bar) return std::nullopt;
  const auto barChildren = ax::children(ax_, *bar, "AXChildren", timeout);
  if (barChildren.empty()) return std::nullopt;

  Snapshot snapshot;
  for (const auto& child : barChildren) {
    if (hasRole(ax_, child, "AXButton")) {
      snapshot.showHiddenButton = ax::frame(ax_, child);
      break;
    }
  }
  // Without the bar window there is nothing to order by: no snapshot.
  const auto window = barWindow(agent, timeout);
  if (!window) return std::nullopt;
  snapshot.barHeight = window->frame.height();
  snapshot.hosts = hostsIn(window->element, timeout);
  return snapshot;
}

std::map<uint32_t, MenuBarLayout::Host> MenuBarLayout::matchHosts(
    const std::vector<Candidate>& candidates, const Snapshot& snapshot, double proximity) {
  // The » button's own window, and anything within 2 points beside it, is
  // not an item.
  std::vector<const Candidate*> pending;
  const auto button = snapshot.showHiddenButton
                          ? std::optional<Rect>(snapshot.showHiddenButton->insetBy(-2, 0))
                          : std::nullopt;
  for (const auto& c : candidates) {
    if (!button || !c.frame.intersects(*button)) pending.push_back(&c);
  }

  std::vector<bool> hostFree(snapshot.hosts.size(), true);
  std::map<uint32_t, Host> matched;

  // First: a candidate whose centre lies over a host of its own process.
  std::vector<const Candidate*> unmatched;
  for (const Candidate* c : pending) {
    bool found = false;
    for (size_t h = 0; h < snapshot.hosts.size() && !found; ++h) {
      const Host& host = snapshot.hosts[h];
      const double mid = c->frame.midX();
      if (hostFree[h] && host.pid == c->pid && mid >= host.frame.minX() &&
          mid <= host.frame.maxX()) {
        hostFree[h] = false;
        matched.emplace(c->id, host);
        found = true;
      }
    }
    if (!found) unmatched.push_back(c);
  }

  // Then the nearest pairs of the same process, closest first.
  struct Pair {
    const Candidate* candidate;
    size_t host;
    double distance;
  };
  std::vector<Pair> pairs;
  for (const Candidate* c : unmatched) {
    for (size_t h = 0; h < snapshot.hosts.size(); ++h) {
      const Host& host = snapshot.hosts[h];
      if (!hostFree[h] || host.pid != c->pid) continue;
      const double distance = std::abs(c->frame.midX() - host.frame.midX());
      if (distance <= proximity) pairs.push_back({c, h, distance});
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const Pair& a, const Pair& b) { return a.distance < b.distance; });
  for (const Pair& p : pairs) {
    if (!hostFree[p.host] || matched.contains(p.candidate->id)) continue;
    hostFree[p.host] = false;
    matched.emplace(p.candidate->id, snapshot.hosts[p.host]);
  }
  return matched;
}

}  // namespace kestrune
