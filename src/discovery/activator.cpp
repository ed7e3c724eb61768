#include "discovery/activator.hpp"

#include "discovery/ax_reads.hpp"
#include "discovery/item_scanner.hpp"

namespace kestrune {
namespace {

float timeoutSeconds(Duration d) {
  return static_cast<float>(toSeconds(d));
}

}  // namespace

Activator::Activator(const Platform& platform, bool isModern)
    : accessibility_(platform.accessibility),
      isModern_(isModern),
      queue_(platform.executors.makeSerialQueue(kQueueLabel, QualityOfService::userInteractive)) {}

void Activator::press(const MenuBarItem& item) {
  if (!item.owner) return;
  // The work holds a copy of the item and the platform's port, not the
  // activator, so it may outlive the activator.
  queue_->post([&ax = accessibility_, isModern = isModern_, item] { perform(ax, isModern, item); });
}

void Activator::perform(Accessibility& ax, bool isModern, const MenuBarItem& item) {
  const ItemOwner& owner = *item.owner;
  ax.setMessagingTimeout(owner.element, timeoutSeconds(kPressTimeout));
  const AXError result = ax.performAction(owner.element, "AXPress");
  // An app whose menu opened may not answer until the menu closes, so a
  // press that timed out has most likely worked; pressing again would close
  // the menu.
  if (result == AXError::success || result == AXError::cannotComplete) return;
  const auto fresh = refetch(ax, isModern, owner.pid, item.frame, owner.ordinal);
  if (!fresh) return;
  ax.setMessagingTimeout(*fresh, timeoutSeconds(kPressTimeout));
  ax.performAction(*fresh, "AXPress");
}

std::optional<AXElement> Activator::refetch(Accessibility& ax, bool isModern, pid_t pid,
                                            const Rect& near, int ordinal) {
  const AXElement app = ax.createApplication(pid);
  ax.setMessagingTimeout(app, timeoutSeconds(kRefetchTimeout));
  const auto bar = ax::attribute<AXElement>(ax, app, "AXExtrasMenuBar");
  if (!bar) return std::nullopt;
  // Every element on the way, and each item before its frame is read, gets
  // the same short time-out.
  const std::vector<AXElement> items =
      ItemScanner::menuBarItems(ax, *bar, isModern, kRefetchTimeout);
  if (items.empty()) return std::nullopt;
  if (isModern) {
    // On the modern bar an app's elements need not sit where their items
    // are drawn; their order among the app's items is what holds.
    if (ordinal >= 0 && static_cast<size_t>(ordinal) < items.size()) return items[ordinal];
    return items.front();
  }
  for (const auto& element : items) {
    const auto frame = ax::frame(ax, element);
    if (frame && near.contains(frame->mid())) return element;
  }
  return items.front();
}

}  // namespace kestrune
