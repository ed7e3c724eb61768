#include "discovery/activator.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "discovery/ax_reads.hpp"
#include "sim/sim_accessibility.hpp"
#include "sim/sim_mac.hpp"
#include "support/fake_platform.hpp"
#include "support/scenarios.hpp"

namespace kestrune {
namespace {

using Node = testing::FakeAccessibility::Node;
using testing::FakeAccessibility;

// Virtual executors that note which queues are made and where work is sent,
// so that a test can tell a press on the activator's queue from one on the
// main thread or the shared background queue.
class RecordingExecutors final : public Executors {
 public:
  struct QueueRecord {
    std::string label;
    QualityOfService qos = QualityOfService::unspecified;
    int posts = 0;
  };

  [[nodiscard]] MainExecutor& main() override { return main_; }
  [[nodiscard]] TaskQueue& background() override { return background_; }
  [[nodiscard]] std::shared_ptr<TaskQueue> makeSerialQueue(std::string label,
                                                           QualityOfService qos) override {
    queues.push_back(std::make_shared<QueueRecord>(QueueRecord{label, qos, 0}));
    return std::make_shared<CountingQueue>(inner.makeSerialQueue(std::move(label), qos),
                                           queues.back()->posts);
  }
  void sleepFor(Duration duration) override { inner.sleepFor(duration); }
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override {
    inner.parallelFor(count, width, body);
  }

  VirtualExecutors inner;
  std::vector<std::shared_ptr<QueueRecord>> queues;
  int mainPosts = 0;
  int backgroundPosts = 0;

 private:
  class CountingQueue final : public TaskQueue {
   public:
    CountingQueue(std::shared_ptr<TaskQueue> queue, int& posts)
        : queue_(std::move(queue)), posts_(posts) {}
    void post(Task task) override {
      ++posts_;
      queue_->post(std::move(task));
    }
    [[nodiscard]] const std::string& label() const override { return queue_->label(); }

   private:
    std::shared_ptr<TaskQueue> queue_;
    int& posts_;
  };
  class Main final : public MainExecutor {
   public:
    explicit Main(RecordingExecutors& owner) : owner_(owner) {}
    [[nodiscard]] TimePoint now() const override { return owner_.inner.main().now(); }
    [[nodiscard]] WallTime wallNow() const override { return owner_.inner.main().wallNow(); }
    void post(Task task) override {
      ++owner_.mainPosts;
      owner_.inner.main().post(std::move(task));
    }
    void postAfter(Duration delay, Task task) override {
      ++owner_.mainPosts;
      owner_.inner.main().postAfter(delay, std::move(task));
    }
    [[nodiscard]] Timer scheduleRepeating(Duration interval, Task task) override {
      ++owner_.mainPosts;
      return owner_.inner.main().scheduleRepeating(interval, std::move(task));
    }
    void postAndWait(const Task& task) override {
      ++owner_.mainPosts;
      owner_.inner.main().postAndWait(task);
    }
    [[nodiscard]] bool isMainThread() const override { return true; }

   private:
    RecordingExecutors& owner_;
  };
  class Background final : public TaskQueue {
   public:
    explicit Background(RecordingExecutors& owner) : owner_(owner) {}
    void post(Task task) override {
      ++owner_.backgroundPosts;
      owner_.inner.background().post(std::move(task));
    }
    [[nodiscard]] const std::string& label() const override {
      return owner_.inner.background().label();
    }

   private:
    RecordingExecutors& owner_;
  };
  Main main_{*this};
  Background background_{*this};
};

// A hand-built app whose extras menu bar holds status items at the given
// frames (none: an element that answers no position).
class ActivatorTest : public ::testing::Test {
 protected:
  static constexpr pid_t kPid = 401;

  Platform platform() {
    Platform p = f_.platform();
    return Platform{p.accessibility, p.windowServer, p.workspace, p.screens,
                    p.system,        p.fileSystem,   p.defaults,  p.screenCapture,
                    p.imageCodec,    p.application,  p.events,    executors_};
  }

  std::shared_ptr<Node> statusItem(std::optional<Rect> frame) {
    auto n = ax().node(kPid);
    n->attributes["AXRole"] = AXAnyValue{std::string("AXMenuBarItem")};
    if (frame) FakeAccessibility::setFrame(*n, *frame);
    return n;
  }
  // The app's extras menu bar with `items`; returns the application node.
  std::shared_ptr<Node> appWith(const std::vector<std::shared_ptr<Node>>& items) {
    auto app = ax().node(kPid);
    auto bar = ax().node(kPid);
    bar->attributes["AXRole"] = AXAnyValue{std::string("AXMenuBar")};
    bar->attributes["AXChildren"] = FakeAccessibility::elements(items);
    app->attributes["AXExtrasMenuBar"] = AXAnyValue{FakeAccessibility::element(bar)};
    ax().applications[kPid] = app;
    return app;
  }
  // An item last seen at `frame`, owned by an element that answers a press
  // with `pressResult`.
  std::pair<MenuBarItem, std::shared_ptr<Node>> item(Rect frame, AXError pressResult,
                                                     int ordinal = 0) {
    auto element = ax().node(kPid);
    element->actionResult = pressResult;
    MenuBarItem i;
    i.windowID = 300;
    i.frame = frame;
    ItemOwner owner;
    owner.pid = kPid;
    owner.name = "Tool";
    owner.element = FakeAccessibility::element(element);
    owner.ordinal = ordinal;
    i.owner = owner;
    return {i, element};
  }
  FakeAccessibility& ax() { return f_.accessibility; }
  void run() { executors_.inner.runUntilIdle(); }

  testing::FakePlatform f_;
  RecordingExecutors executors_;
};

const std::vector<std::string> kPressed{"AXPress"};
const std::vector<std::string> kUntouched{};

TEST_F(ActivatorTest, APressThatDidNotCompleteIsNotRetried) {
  auto match = statusItem(Rect{200, 0, 30, 24});
  auto app = appWith({match});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::cannotComplete);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(stale->actions, kPressed);
  EXPECT_EQ(match->actions, kUntouched);
  EXPECT_EQ(app->timeout, 0);  // the app was never asked again
}

TEST_F(ActivatorTest, APressThatWorkedIsNotRepeated) {
  auto match = statusItem(Rect{200, 0, 30, 24});
  appWith({match});
  auto [i, element] = item({200, 0, 30, 24}, AXError::success);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(element->actions, kPressed);
  EXPECT_EQ(match->actions, kUntouched);
}

TEST_F(ActivatorTest, LegacyRetryPressesTheFirstElementCentredInTheLastKnownFrame) {
  auto noFrame = statusItem(std::nullopt);
  auto elsewhere = statusItem(Rect{100, 0, 30, 24});
  auto overlapping = statusItem(Rect{180, 0, 30, 24});  // centre 195, outside 200–230
  auto centred = statusItem(Rect{195, 0, 30, 24});      // centre 210, inside
  auto alsoCentred = statusItem(Rect{200, 0, 30, 24});
  appWith({noFrame, elsewhere, overlapping, centred, alsoCentred});
  // The ordinal points at another element: it must not matter here.
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement, 4);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(stale->actions, kPressed);
  EXPECT_EQ(centred->actions, kPressed);
  EXPECT_EQ(noFrame->actions, kUntouched);
  EXPECT_EQ(elsewhere->actions, kUntouched);
  EXPECT_EQ(overlapping->actions, kUntouched);
  EXPECT_EQ(alsoCentred->actions, kUntouched);
}

TEST_F(ActivatorTest, LegacyRetryFallsBackToTheAppsFirstItem) {
  auto first = statusItem(Rect{100, 0, 30, 24});
  auto second = statusItem(Rect{130, 0, 30, 24});
  appWith({first, second});
  auto [i, stale] = item({600, 0, 30, 24}, AXError::failure);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(first->actions, kPressed);
  EXPECT_EQ(second->actions, kUntouched);
}

TEST_F(ActivatorTest, ModernRetryPressesTheItemAtTheOwnersOrdinal) {
  auto first = statusItem(Rect{200, 0, 30, 24});  // where the item was last seen
  auto second = statusItem(Rect{500, 0, 30, 24});
  appWith({first, second});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement, 1);
  Activator activator(platform(), true);
  activator.press(i);
  run();
  EXPECT_EQ(second->actions, kPressed);
  EXPECT_EQ(first->actions, kUntouched);
}

TEST_F(ActivatorTest, ModernOrdinalBeyondTheItemsPressesTheFirst) {
  auto first = statusItem(Rect{100, 0, 30, 24});
  auto second = statusItem(Rect{200, 0, 30, 24});
  appWith({first, second});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement, 2);
  Activator activator(platform(), true);
  activator.press(i);
  run();
  EXPECT_EQ(first->actions, kPressed);
  EXPECT_EQ(second->actions, kUntouched);
}

TEST_F(ActivatorTest, ANegativeOrdinalPressesTheFirstItem) {
  auto first = statusItem(Rect{100, 0, 30, 24});
  auto second = statusItem(Rect{200, 0, 30, 24});
  appWith({first, second});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement, -1);
  Activator activator(platform(), true);
  activator.press(i);
  run();
  EXPECT_EQ(first->actions, kPressed);
  EXPECT_EQ(second->actions, kUntouched);
}

TEST_F(ActivatorTest, AnAppsOnlyItemIsPressedWhereverItIs) {
  for (const bool modern : {false, true}) {
    auto only = statusItem(Rect{900, 0, 30, 24});
    appWith({only});
    auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement, 4);
    Activator activator(platform(), modern);
    activator.press(i);
    run();
    EXPECT_EQ(only->actions, kPressed) << (modern ? "modern" : "legacy");
  }
}

TEST_F(ActivatorTest, TheRetryGivesUpQuietlyWithoutAnElement) {
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement);
  // No extras menu bar at all.
  auto app = ax().node(kPid);
  ax().applications[kPid] = app;
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(stale->actions, kPressed);
  // An extras menu bar without items.
  appWith({});
  activator.press(i);
  run();
  EXPECT_EQ(stale->actions, (std::vector<std::string>{"AXPress", "AXPress"}));
}

TEST_F(ActivatorTest, ASecondPressIsNotExaminedOrRepeated) {
  auto first = statusItem(Rect{200, 0, 30, 24});
  first->actionResult = AXError::invalidUIElement;
  auto second = statusItem(Rect{300, 0, 30, 24});
  appWith({first, second});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_EQ(first->actions, kPressed);
  EXPECT_EQ(second->actions, kUntouched);
  EXPECT_EQ(stale->actions, kPressed);
}

TEST_F(ActivatorTest, TimeOutsAreHalfASecondToPressAndAQuarterToLookUp) {
  auto fresh = statusItem(Rect{200, 0, 30, 24});
  auto app = appWith({fresh});
  auto [i, stale] = item({200, 0, 30, 24}, AXError::invalidUIElement);
  Activator activator(platform(), false);
  activator.press(i);
  run();
  EXPECT_FLOAT_EQ(stale->timeout, 0.5F);
  EXPECT_FLOAT_EQ(app->timeout, 0.25F);
  EXPECT_FLOAT_EQ(fresh->timeout, 0.5F);
  EXPECT_EQ(ax().readsAtDefaultTimeout, 0);
}

TEST_F(ActivatorTest, PressesRunOneAfterAnotherOnTheActivatorsQueue) {
  auto [a, first] = item({200, 0, 30, 24}, AXError::success);
  auto [b, second] = item({300, 0, 30, 24}, AXError::success);
  Activator activator(platform(), false);
  ASSERT_EQ(executors_.queues.size(), 1U);
  EXPECT_EQ(executors_.queues[0]->label, "Kestrune.activator");
  EXPECT_EQ(executors_.queues[0]->qos, QualityOfService::userInteractive);

  activator.press(a);
  activator.press(b);
  EXPECT_EQ(first->actions, kUntouched);  // nothing before the queue runs
  EXPECT_EQ(second->actions, kUntouched);
  EXPECT_EQ(executors_.queues.size(), 1U);  // made once
  EXPECT_EQ(executors_.queues[0]->posts, 2);
  EXPECT_EQ(executors_.mainPosts, 0);
  EXPECT_EQ(executors_.backgroundPosts, 0);
  run();
  EXPECT_EQ(first->actions, kPressed);
  EXPECT_EQ(second->actions, kPressed);
}

TEST_F(ActivatorTest, AnItemWithoutOwnerIsNotPressed) {
  MenuBarItem ownerless;
  ownerless.windowID = 300;
  ownerless.frame = {200, 0, 30, 24};
  Activator activator(platform(), false);
  activator.press(ownerless);
  run();
  EXPECT_EQ(executors_.queues[0]->posts, 0);
}

TEST_F(ActivatorTest, TheQueuedPressHoldsACopyOfTheItem) {
  auto [i, element] = item({200, 0, 30, 24}, AXError::success);
  Activator activator(platform(), false);
  {
    MenuBarItem temporary = i;
    activator.press(temporary);
    temporary.owner.reset();
  }
  run();
  EXPECT_EQ(element->actions, kPressed);
}

// On the simulated Mac, where an app that recreates its item makes the old
// element invalid.
class ActivatorOnSimTest : public ::testing::Test {
 protected:
  void make(int version) {
    using testing::app;
    using testing::item;
    mac_ = std::make_unique<sim::SimMac>(
        testing::scenario(
            version, 1440, std::nullopt, 300,
            {app(401, "com.example.a", "A", {item("a1", 30), item("a2", 40), item("a3", 30)}),
             app(402, "com.example.b", "B", {item("b1", 50)})}),
        executors_);
  }
  Accessibility& ax() { return mac_->platform().accessibility; }
  sim::World& world() { return mac_->world(); }

  // The item as a scan would have joined it: its window and its element.
  MenuBarItem scanned(const std::string& key) {
    for (const auto& state : world().statusItems()) {
      if (state.item.key != key) continue;
      MenuBarItem i;
      i.windowID = state.windowID;
      i.frame = state.placed.frame;
      ItemOwner owner;
      owner.pid = state.pid;
      owner.ordinal = state.ordinal;
      const auto bar =
          ax::attribute<AXElement>(ax(), ax().createApplication(state.pid), "AXExtrasMenuBar");
      owner.element = ax::attribute<std::vector<AXElement>>(ax(), *bar, "AXChildren")
                          ->at(static_cast<size_t>(state.ordinal));
      i.owner = owner;
      return i;
    }
    ADD_FAILURE() << "no item " << key;
    return {};
  }
  std::vector<std::string> pressedKeys() {
    std::vector<std::string> keys;
    for (const auto& p : world().presses()) keys.push_back(p.key);
    return keys;
  }

  VirtualExecutors executors_;
  std::unique_ptr<sim::SimMac> mac_;
};

TEST_F(ActivatorOnSimTest, PressesOpenMenusInTheOrderAsked) {
  make(15);
  Activator activator(mac_->platform(), false);
  activator.press(scanned("b1"));
  activator.press(scanned("a2"));
  EXPECT_TRUE(world().presses().empty());
  executors_.runUntilIdle();
  EXPECT_EQ(pressedKeys(), (std::vector<std::string>{"b1", "a2"}));
  ASSERT_TRUE(world().openMenu());
  EXPECT_EQ(world().openMenu()->key, "a2");
}

TEST_F(ActivatorOnSimTest, LegacyRetryFindsARecreatedItemByPosition) {
  make(15);
  Activator activator(mac_->platform(), false);
  const MenuBarItem a2 = scanned("a2");
  const auto newID = world().rebuildItem("a2");
  ASSERT_TRUE(newID);
  ASSERT_NE(*newID, a2.windowID);
  const int atDefault = mac_->accessibility().callsAtDefaultTimeout();
  activator.press(a2);
  executors_.runUntilIdle();
  const auto presses = world().presses();
  ASSERT_EQ(presses.size(), 1U);
  EXPECT_EQ(presses[0].key, "a2");
  EXPECT_EQ(presses[0].windowID, *newID);
  // Every element of the look-up had its quarter second before its frame.
  EXPECT_EQ(mac_->accessibility().callsAtDefaultTimeout(), atDefault);
}

TEST_F(ActivatorOnSimTest, ModernRetryFindsARecreatedItemByOrdinal) {
  make(27);
  Activator activator(mac_->platform(), true);
  const MenuBarItem a3 = scanned("a3");
  const auto newID = world().rebuildItem("a3");
  const int atDefault = mac_->accessibility().callsAtDefaultTimeout();
  activator.press(a3);
  executors_.runUntilIdle();
  EXPECT_EQ(mac_->accessibility().callsAtDefaultTimeout(), atDefault);
  const auto presses = world().presses();
  ASSERT_EQ(presses.size(), 1U);
  EXPECT_EQ(presses[0].key, "a3");
  EXPECT_EQ(presses[0].windowID, newID);
}

TEST_F(ActivatorOnSimTest, ASlowAppIsGivenHalfASecondAndNotPressedAgain) {
  make(15);
  world().setAccessibility(401, sim::AXMode::normal, 800);
  Activator activator(mac_->platform(), false);
  const MenuBarItem a1 = scanned("a1");
  const int reads = world().readCount(401);
  activator.press(a1);
  executors_.advance(std::chrono::seconds(5));
  // The press timed out after half a second and was counted as done: the
  // app was not asked to look the item up again.
  EXPECT_TRUE(world().presses().empty());
  EXPECT_EQ(world().readCount(401), reads);
}

TEST_F(ActivatorOnSimTest, AnAppThatQuitHasNothingToPress) {
  make(15);
  Activator activator(mac_->platform(), false);
  const MenuBarItem b1 = scanned("b1");
  world().quit(402);
  activator.press(b1);
  executors_.runUntilIdle();
  EXPECT_TRUE(world().presses().empty());
}

// The simulated Mac's Accessibility, watched: where each press runs, and
// the end of the run once `expected` presses were made.
class WatchedAccessibility final : public Accessibility {
 public:
  WatchedAccessibility(Accessibility& inner, ThreadExecutors& executors, int expected)
      : inner_(inner), executors_(executors), expected_(expected) {}

  AXElement createApplication(pid_t pid) override { return inner_.createApplication(pid); }
  AXError setMessagingTimeout(const AXElement& e, float s) override {
    return inner_.setMessagingTimeout(e, s);
  }
  AXError copyAttributeValue(const AXElement& e, std::string_view a, AXAnyValue& v) override {
    return inner_.copyAttributeValue(e, a, v);
  }
  AXError performAction(const AXElement& e, std::string_view action) override {
    if (executors_.main().isMainThread()) onMainThread = true;
    const AXError result = inner_.performAction(e, action);
    if (++performed == expected_) executors_.main().post([this] { executors_.stop(); });
    return result;
  }
  AXError getPid(const AXElement& e, pid_t& pid) override { return inner_.getPid(e, pid); }
  bool isProcessTrusted() override { return inner_.isProcessTrusted(); }
  bool isProcessTrustedWithOptions(bool prompt) override {
    return inner_.isProcessTrustedWithOptions(prompt);
  }

  std::atomic<bool> onMainThread{false};
  std::atomic<int> performed{0};

 private:
  Accessibility& inner_;
  ThreadExecutors& executors_;
  int expected_;
};

TEST(ActivatorOnThreads, PressesRunOffTheMainThreadInTheOrderAsked) {
  using testing::app;
  using testing::item;
  ThreadExecutors executors(2);
  sim::SimMac mac(testing::scenario(15, 1440, std::nullopt, 300,
                                    {app(401, "com.example.a", "A", {item("a1", 30)}),
                                     app(402, "com.example.b", "B", {item("b1", 50)})}),
                  executors);
  const Platform& sim = mac.platform();
  // Three presses: a1, then b1's stale element and its retry.
  WatchedAccessibility ax(sim.accessibility, executors, 3);
  const Platform platform{
      ax,           sim.windowServer,  sim.workspace,  sim.screens,     sim.system, sim.fileSystem,
      sim.defaults, sim.screenCapture, sim.imageCodec, sim.application, sim.events, executors};
  auto scanned = [&](pid_t pid) {
    const auto state = mac.world().statusItems();
    const auto it = std::find_if(state.begin(), state.end(), [&](auto& s) { return s.pid == pid; });
    MenuBarItem i;
    i.windowID = it->windowID;
    i.frame = it->placed.frame;
    ItemOwner owner;
    owner.pid = pid;
    const auto bar = ax::attribute<AXElement>(ax, ax.createApplication(pid), "AXExtrasMenuBar");
    owner.element = ax::attribute<std::vector<AXElement>>(ax, *bar, "AXChildren")->front();
    i.owner = owner;
    return i;
  };
  const MenuBarItem a1 = scanned(401);
  const MenuBarItem b1 = scanned(402);
  mac.world().rebuildItem("b1");
  Activator activator(platform, false);
  executors.main().post([&] {
    activator.press(a1);
    activator.press(b1);
  });
  executors.run();
  EXPECT_FALSE(ax.onMainThread);
  const auto presses = mac.world().presses();
  ASSERT_EQ(presses.size(), 2U);
  EXPECT_EQ(presses[0].key, "a1");
  EXPECT_EQ(presses[1].key, "b1");
}

}  // namespace
}  // namespace kestrune
