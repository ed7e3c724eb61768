// The arrangement on the simulated Mac: real ⌘-drags through the mouse
// gate's tap onto a bar that re-packs, in virtual time.
#include "arrange/arrange_model.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "arrange/arrange_view.hpp"
#include "core/virtual_executors.hpp"
#include "sim/sim_event_system.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_ports.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

constexpr pid_t kOwnPID = 1000;

sim::ScenarioApp kestrune() {
  return app(kOwnPID, "com.kestrune.Kestrune", "Kestrune", {item("kestrune", 30)});
}

// Apps each with one item named after the app, listed left to right.
std::vector<sim::ScenarioApp> appsLeftToRight(const std::vector<std::string>& names) {
  std::vector<sim::ScenarioApp> apps{kestrune()};
  pid_t pid = 400;
  for (auto it = names.rbegin(); it != names.rend(); ++it) {
    apps.push_back(app(pid++, "com.example." + *it, *it, {item(*it, 30)}));
  }
  return apps;
}

class ArrangeModelTest : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    scenario.ownPID = kOwnPID;
    mac_ = std::make_unique<sim::SimMac>(std::move(scenario), ex_, home_.path());
    layout_ = std::make_unique<MenuBarLayout>(mac_->platform());
    diag_ = std::make_unique<Diag>(mac_->platform().fileSystem, mac_->platform().system, ex_);
    model_ =
        ArrangeModel::create(mac_->platform(), *layout_, *diag_, [this]() -> std::optional<Rect> {
          for (const auto& i : mac_->world().statusItems()) {
            if (i.pid == kOwnPID) return i.placed.frame;
          }
          return std::nullopt;
        });
    reload();
  }
  void makeFlat(const std::vector<std::string>& names) {
    make(testing::scenario(15, 1440, std::nullopt, 300, appsLeftToRight(names)));
  }
  void runUntil(const bool& done) {
    for (int step = 0; !done; ++step) {
      ASSERT_LT(step, 10000) << "never finished";
      ex_.advance(milliseconds(10));
    }
    ex_.runUntilIdle();
  }
  void reload() {
    bool done = false;
    model_->reload([&] { done = true; });
    runUntil(done);
  }
  void apply() {
    bool done = false;
    model_->apply([&] { done = true; });
    runUntil(done);
  }
  // Sets the edited order by names, left to right, pinned entries last.
  void want(const std::vector<std::string>& names) {
    std::vector<ArrangeEntry> wanted;
    for (const auto& name : names) {
      for (const auto& e : model_->entries.get()) {
        if (e.name == name) wanted.push_back(e);
      }
    }
    const auto pinned = model_->pinned();
    wanted.insert(wanted.end(), pinned.begin(), pinned.end());
    model_->desired.set(wanted);
  }
  static std::vector<std::string> names(const std::vector<ArrangeEntry>& entries) {
    std::vector<std::string> result;
    for (const auto& e : entries) result.push_back(e.name);
    return result;
  }
  // The simulated bar's real order, left to right, by item key.
  std::vector<std::string> realOrder() {
    std::vector<std::string> keys;
    for (const auto& i : mac_->world().statusItems()) keys.insert(keys.begin(), i.item.key);
    return keys;
  }
  std::vector<std::string> logLines(const std::string& prefix) {
    ex_.runUntilIdle();
    std::ifstream file(diag_->path());
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(file, line)) {
      const auto at = line.find(prefix);
      if (at != std::string::npos) lines.push_back(line.substr(at));
    }
    return lines;
  }

  testing::TempHome home_;
  VirtualExecutors ex_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<MenuBarLayout> layout_;
  std::unique_ptr<Diag> diag_;
  std::shared_ptr<ArrangeModel> model_;
};

TEST_F(ArrangeModelTest, ReloadListsTheBarLeftToRightWithKestrunePinned) {
  makeFlat({"A", "B", "C"});
  EXPECT_EQ(names(model_->entries.get()), (std::vector<std::string>{"A", "B", "C", "Kestrune"}));
  EXPECT_EQ(model_->entries.get().back().kind, ArrangeEntry::Kind::ownIcon);
  EXPECT_EQ(names(model_->pinned()), (std::vector<std::string>{"Kestrune"}));
  EXPECT_FALSE(model_->isDirty());
}

TEST_F(ArrangeModelTest, AnUneditedOrderIsNotDirtyAndApplyDoesNothing) {
  makeFlat({"A", "B", "C"});
  apply();
  EXPECT_EQ(mac_->world().dropCount(), 0);
  EXPECT_TRUE(mac_->application().changes().empty());
  EXPECT_FALSE(model_->isBusy.get());
  const auto view = describeArrangeView(*model_);
  EXPECT_FALSE(view.apply.enabled);
  EXPECT_FALSE(view.revert.enabled);
  EXPECT_TRUE(view.refresh.enabled);
}

TEST_F(ArrangeModelTest, FarLeftToFarRightMovesOneItemAgainstTheRightAnchor) {
  makeFlat({"A", "B", "C"});
  want({"B", "C", "A"});
  const auto view = describeArrangeView(*model_);
  EXPECT_TRUE(view.apply.enabled && view.apply.isDefault && view.revert.enabled);
  apply();
  EXPECT_EQ(mac_->world().dropCount(), 1);
  EXPECT_EQ(realOrder(), (std::vector<std::string>{"B", "C", "A", "kestrune"}));
  EXPECT_EQ(logLines("arrange: move"),
            (std::vector<std::string>{"arrange: move A left of Kestrune"}));
  EXPECT_FALSE(model_->lastError.get());
  EXPECT_FALSE(model_->isDirty());
}

TEST_F(ArrangeModelTest, ReversingThreeMovableItemsMovesExactlyTwo) {
  makeFlat({"A", "B", "C"});
  want({"C", "B", "A"});
  apply();
  EXPECT_EQ(mac_->world().dropCount(), 2);
  EXPECT_EQ(realOrder(), (std::vector<std::string>{"C", "B", "A", "kestrune"}));
  EXPECT_EQ(names(model_->entries.get()), (std::vector<std::string>{"C", "B", "A", "Kestrune"}));
}

TEST_F(ArrangeModelTest, OneMoveTakesTheGestureAndTheSettleTime) {
  makeFlat({"A", "B", "C"});
  want({"B", "C", "A"});
  const TimePoint start = ex_.now();
  apply();
  // 150 + 500 ms of activation, 80 + 150 + 20 × 22 + 150 ms of gesture,
  // 450 ms of settling, 500 ms back to accessory, then the re-scan.
  const double seconds = toSeconds(ex_.now() - start);
  EXPECT_GE(seconds, 0.15 + 0.5 + 0.82 + 0.45 + 0.5);
  EXPECT_LT(seconds, 3.5);
}

TEST_F(ArrangeModelTest, ActivatesWithOneMenuAroundThePlanThenPutsEverythingBack) {
  makeFlat({"A", "B", "C"});
  want({"B", "C", "A"});
  apply();
  EXPECT_EQ(
      mac_->application().changes(),
      (std::vector<std::string>{"minimal menu Kestrune", "policy regular", "deactivate", "activate",
                                "menu Kestrune File Edit Window", "policy accessory"}));
  EXPECT_EQ(mac_->application().activationPolicy(), ActivationPolicy::accessory);
  EXPECT_EQ(mac_->world().sessionTapCount(), 0U);
}

TEST_F(ArrangeModelTest, TheCursorEndsWhereTheUserLeftIt) {
  makeFlat({"A", "B", "C"});
  const Point before = mac_->world().cursor();
  want({"C", "B", "A"});
  apply();
  EXPECT_EQ(mac_->world().cursor(), before);
}

TEST_F(ArrangeModelTest, TheUsersScrollAndClickDuringTheArrangementAreSwallowed) {
  makeFlat({"A", "B", "C", "D"});
  want({"D", "C", "B", "A"});
  bool done = false;
  bool engagedSeen = false;
  model_->apply([&] { done = true; });
  for (int step = 0; !done && step < 10000; ++step) {
    if (mac_->world().sessionTapCount() > 0) {
      engagedSeen = true;
      // A scroll and a click at the left of the bar, right in the drags' way.
      mac_->events().injectUserEvent(EventType::scrollWheel, {700, 10});
      mac_->events().injectUserEvent(EventType::leftMouseDown, {40, 10});
      mac_->events().injectUserEvent(EventType::leftMouseUp, {40, 10});
    }
    ex_.advance(milliseconds(20));
  }
  ASSERT_TRUE(done);
  EXPECT_TRUE(engagedSeen);
  for (const auto& event : mac_->world().receivedEvents()) {
    EXPECT_EQ(event.sourceUserData, MouseGate::kMarker) << "a user's event got through";
  }
  EXPECT_FALSE(model_->lastError.get());
  EXPECT_EQ(realOrder(), (std::vector<std::string>{"D", "C", "B", "A", "kestrune"}));
}

TEST_F(ArrangeModelTest, WithoutAccessibilityNothingMovesAndTheGateIsNeverEngaged) {
  auto scenario = testing::scenario(15, 1440, std::nullopt, 300, appsLeftToRight({"A", "B"}));
  make(scenario);
  mac_->world().setAccessibilityTrusted(false);
  want({"B", "A"});
  apply();
  EXPECT_EQ(model_->lastError.get(), ArrangeError::accessibility().message());
  EXPECT_EQ(logLines("arrange: "),
            (std::vector<std::string>{
                "arrange: Accessibility permission is required to move menu bar items."}));
  EXPECT_EQ(mac_->world().dropCount(), 0);
  EXPECT_TRUE(mac_->application().changes().empty());
  EXPECT_FALSE(model_->isBusy.get());
}

TEST_F(ArrangeModelTest, AnItemBehindTheNotchPlacedElsewhereFailsBeforeAnythingMoves) {
  // 600 points with a 200-point notch: right of it there is room for the
  // rightmost items only; the rest sit behind it.
  make(testing::scenario(15, 600, 200.0, 150,
                         appsLeftToRight({"H1", "H2", "H3", "A", "B", "C", "D"})));
  const auto entries = model_->entries.get();
  ASSERT_FALSE(entries.front().isOnScreen) << "H1 is hidden";
  ASSERT_FALSE(entries[1].isOnScreen) << "H2 is hidden";
  // H1 goes right of H2 and of the drawn items.
  want({"H2", "H3", "A", "B", "C", "D", "H1"});
  apply();
  ASSERT_TRUE(model_->lastError.get());
  EXPECT_NE(model_->lastError.get()->find("\u201CH1\u201D"), std::string::npos);
  EXPECT_NE(model_->lastError.get()->find("behind the notch"), std::string::npos);
  EXPECT_EQ(mac_->world().dropCount(), 0);
}

// A drop next to an item behind the notch is tried: it cannot land there,
// and the message names the two items, not one the user never moved.
TEST_F(ArrangeModelTest, ADropNextToAnItemBehindTheNotchIsTriedAndNamesBothItems) {
  make(testing::scenario(15, 600, 200.0, 150,
                         appsLeftToRight({"H1", "H2", "H3", "A", "B", "C", "D"})));
  ASSERT_FALSE(model_->entries.get()[1].isOnScreen) << "H2 is hidden";
  ASSERT_TRUE(model_->entries.get()[3].isOnScreen) << "A is drawn";
  want({"H1", "D", "H2", "H3", "A", "B", "C"});
  apply();
  EXPECT_EQ(model_->lastError.get(), ArrangeError::dragFailed("D", "H2").message());
  EXPECT_EQ(mac_->world().dropCount(), 2);
  EXPECT_EQ(logLines("arrange: move"), (std::vector<std::string>{"arrange: move D left of H2"}));
  EXPECT_FALSE(model_->isDirty());
}

// Kestrune's icon need not stand right of every app's item. Moving one row
// moves one item; the item right of Kestrune's icon stays where it is.
TEST_F(ArrangeModelTest, OneRowMovedCostsOneDragWhenAnItemStandsRightOfKestrune) {
  // Apps listed first stand furthest right: X, then Kestrune, then A, B, C.
  auto apps = appsLeftToRight({"A", "B", "C"});
  apps.insert(apps.begin(), app(450, "com.example.X", "X", {item("X", 30)}));
  make(testing::scenario(15, 1440, std::nullopt, 300, apps));
  ASSERT_EQ(names(model_->entries.get()),
            (std::vector<std::string>{"A", "B", "C", "Kestrune", "X"}));
  // Shown: X, Kestrune, C, B, A. A (row 4) goes above B (row 3).
  move(*model_, {4}, 3);
  EXPECT_EQ(names(model_->desired.get()),
            (std::vector<std::string>{"B", "A", "C", "Kestrune", "X"}));
  apply();
  EXPECT_FALSE(model_->lastError.get());
  EXPECT_EQ(mac_->world().dropCount(), 1);
  EXPECT_EQ(realOrder(), (std::vector<std::string>{"B", "A", "C", "kestrune", "X"}));
  EXPECT_FALSE(model_->isDirty());
}

// On the modern bar an item placed among the » items is dropped next to the
// nearest drawn one; the hidden items have no order of their own, so after
// Apply the list shows the real order and a second Apply has nothing to do.
TEST_F(ArrangeModelTest, AfterApplyAmongOverflowItemsTheListIsClean) {
  std::vector<std::string> items;
  for (char c = 'A'; c <= 'N'; ++c) items.emplace_back(1, c);
  make(testing::scenario(27, 700, 200.0, 150, appsLeftToRight(items)));
  const auto entries = model_->entries.get();
  ASSERT_FALSE(entries.front().isOnScreen);
  ASSERT_TRUE(entries[entries.size() - 2].isOnScreen);
  // The rightmost item (N) goes between the two leftmost hidden ones.
  std::vector<std::string> wanted{"A", "N"};
  for (char c = 'B'; c <= 'M'; ++c) wanted.emplace_back(1, c);
  want(wanted);
  apply();
  EXPECT_FALSE(model_->lastError.get()) << *model_->lastError.get();
  EXPECT_GE(mac_->world().dropCount(), 1);
  EXPECT_FALSE(model_->isDirty());
  EXPECT_EQ(model_->desired.get(), model_->entries.get());
  const int drops = mac_->world().dropCount();
  apply();
  EXPECT_EQ(mac_->world().dropCount(), drops);
}

TEST_F(ArrangeModelTest, AnAppQuittingDuringTheArrangementGivesMissing) {
  auto apps = appsLeftToRight({"A", "B", "C"});
  // A moves first (against Kestrune), then B is dropped against A: A's app
  // quits right after the first drop.
  for (auto& a : apps) {
    if (a.name == "A") a.quitAfterDrops = 1;
  }
  make(testing::scenario(15, 1440, std::nullopt, 300, apps));
  want({"C", "B", "A"});
  apply();
  EXPECT_EQ(model_->lastError.get(), ArrangeError::missing("A").message());
  EXPECT_EQ(names(model_->entries.get()), (std::vector<std::string>{"B", "C", "Kestrune"}));
  EXPECT_EQ(logLines("arrange: \u201C"),
            (std::vector<std::string>{"arrange: " + ArrangeError::missing("A").message()}));
}

TEST_F(ArrangeModelTest, AnUnverifiedDragIsRetriedExactlyOnceThenFails) {
  auto apps = appsLeftToRight({"A", "B", "C"});
  for (auto& a : apps) {
    if (a.name == "A") a.items.front().drag = sim::DragMode::refuse;
  }
  make(testing::scenario(15, 1440, std::nullopt, 300, apps));
  want({"B", "C", "A"});
  apply();
  EXPECT_EQ(mac_->world().dropCount(), 2);
  EXPECT_EQ(model_->lastError.get(), ArrangeError::dragFailed("A", "Kestrune").message());
  const auto notVerified = logLines("arrange: drag");
  ASSERT_EQ(notVerified.size(), 1U);
  EXPECT_NE(notVerified[0].find(") not verified (attempt 1"), std::string::npos);
  EXPECT_NE(notVerified[0].find("onScreen=true"), std::string::npos);
  // The list shows the real order again, not the edit, with the message
  // below it.
  const auto view = describeArrangeView(*model_);
  EXPECT_EQ(view.error,
            "macOS didn't accept moving \u201CA\u201D next to \u201CKestrune\u201D. "
            "The list shows the real order now.");
  std::vector<std::string> shown;
  for (const auto& row : view.rows) shown.push_back(row.entry.name);
  EXPECT_EQ(shown, (std::vector<std::string>{"Kestrune", "C", "B", "A"}));
  EXPECT_FALSE(model_->isDirty());
  EXPECT_FALSE(view.apply.enabled);
  EXPECT_FALSE(view.revert.enabled);
  EXPECT_FALSE(view.progress);
}

TEST_F(ArrangeModelTest, ADragAcceptedOnTheSecondTrySucceeds) {
  auto apps = appsLeftToRight({"A", "B", "C"});
  for (auto& a : apps) {
    if (a.name == "A") a.items.front().drag = sim::DragMode::secondTry;
  }
  make(testing::scenario(15, 1440, std::nullopt, 300, apps));
  want({"B", "C", "A"});
  apply();
  EXPECT_FALSE(model_->lastError.get());
  EXPECT_EQ(mac_->world().dropCount(), 2);
  EXPECT_EQ(logLines("arrange: drag").size(), 1U);
  EXPECT_EQ(realOrder(), (std::vector<std::string>{"B", "C", "A", "kestrune"}));
}

TEST_F(ArrangeModelTest, StatusShowsTheItemBeingMovedWhileBusy) {
  makeFlat({"A", "B", "C"});
  want({"B", "C", "A"});
  bool done = false;
  std::vector<std::string> statuses;
  model_->apply([&] { done = true; });
  while (!done) {
    if (auto s = model_->status.get(); s && (statuses.empty() || statuses.back() != *s)) {
      statuses.push_back(*s);
      EXPECT_TRUE(describeArrangeView(*model_).progress);
      EXPECT_FALSE(describeArrangeView(*model_).apply.enabled);
    }
    ex_.advance(milliseconds(10));
  }
  EXPECT_EQ(statuses, (std::vector<std::string>{"Moving A"}));
  EXPECT_FALSE(model_->status.get());
}

TEST_F(ArrangeModelTest, RowsShowTheBarRightToLeftPinnedFirstWithTheLegacyWording) {
  make(testing::scenario(15, 560, 200.0, 150, appsLeftToRight({"H1", "H2", "A", "B", "C", "D"})));
  const auto view = describeArrangeView(*model_);
  EXPECT_EQ(view.intro, ArrangeStyle::kLegacyIntro);
  EXPECT_EQ(view.caption, "Menu bar, right to left");
  EXPECT_FALSE(view.scanning);
  ASSERT_EQ(view.rows.size(), 7U);
  const ArrangeRow& own = view.rows.front();
  EXPECT_TRUE(own.isPinned);
  EXPECT_EQ(own.entry.name, "Kestrune");
  EXPECT_EQ(own.fixedLabel, "Fixed");
  EXPECT_FALSE(own.handleSymbol);
  EXPECT_EQ(own.opacity, 0.6);
  // Its own app icon, like any app's row.
  ASSERT_TRUE(own.image);
  EXPECT_EQ(std::get<FileIconImage>(own.image->content).path, "/Applications/Kestrune.app");
  std::vector<std::string> shown;
  for (const auto& row : std::vector<ArrangeRow>(view.rows.begin() + 1, view.rows.end())) {
    shown.push_back(row.entry.name);
    EXPECT_EQ(row.handleSymbol, "line.3.horizontal");
    EXPECT_FALSE(row.fixedLabel);
    EXPECT_EQ(row.opacity, 1.0);
    const bool hidden = row.entry.name[0] == 'H';
    EXPECT_EQ(row.tooltip,
              hidden ? std::optional<std::string>(ArrangeStyle::kLegacyTooltip) : std::nullopt)
        << row.entry.name;
    EXPECT_TRUE(row.image) << "the app's icon";
  }
  EXPECT_EQ(shown, (std::vector<std::string>{"D", "C", "B", "A", "H2", "H1"}));
}

TEST_F(ArrangeModelTest, TheModernBarUsesTheOverflowWording) {
  // 14 items on a 700-point bar with a notch: the rest go into the ».
  std::vector<std::string> items;
  for (char c = 'A'; c <= 'N'; ++c) items.emplace_back(1, c);
  make(testing::scenario(27, 700, 200.0, 150, appsLeftToRight(items)));
  const auto view = describeArrangeView(*model_);
  EXPECT_EQ(view.intro, ArrangeStyle::kModernIntro);
  int hidden = 0;
  for (const auto& row : view.rows) {
    if (row.entry.isOnScreen) {
      EXPECT_FALSE(row.tooltip) << row.entry.name;
    } else {
      ++hidden;
      EXPECT_EQ(row.tooltip, std::string(ArrangeStyle::kModernTooltip)) << row.entry.name;
    }
  }
  EXPECT_GT(hidden, 0);
}

TEST_F(ArrangeModelTest, BeforeTheFirstScanTheListSaysScanning) {
  makeFlat({"A"});
  auto fresh = ArrangeModel::create(mac_->platform(), *layout_, *diag_, {});
  const auto view = describeArrangeView(*fresh);
  EXPECT_EQ(view.scanning, "Scanning the menu bar\u2026");
  EXPECT_TRUE(view.rows.empty());
}

TEST_F(ArrangeModelTest, RevertPutsTheEditBackAndAReloadKeepsAnEdit) {
  makeFlat({"A", "B", "C"});
  move(*model_, {1}, 4);  // C, the top movable row under Kestrune's, to the bottom
  EXPECT_EQ(names(model_->desired.get()), (std::vector<std::string>{"C", "A", "B", "Kestrune"}));
  reload();
  EXPECT_EQ(names(model_->desired.get()), (std::vector<std::string>{"C", "A", "B", "Kestrune"}));
  EXPECT_TRUE(model_->isDirty());
  revert(*model_);
  EXPECT_FALSE(model_->isDirty());
}

// For random wanted orders of a bar whose items are all drawn, Apply ends
// with the real order as wanted, using exactly n − LIS moves.
TEST_F(ArrangeModelTest, RandomOrdersArriveWithTheFewestMoves) {
  const std::vector<std::string> items{"A", "B", "C", "D", "E", "F"};
  std::mt19937 random(7);
  for (int round = 0; round < 12; ++round) {
    makeFlat(items);
    std::vector<std::string> wanted = items;
    std::shuffle(wanted.begin(), wanted.end(), random);
    std::vector<int> positions;
    for (const auto& name : items) {
      positions.push_back(
          static_cast<int>(std::find(wanted.begin(), wanted.end(), name) - wanted.begin()));
    }
    const auto lis = longestIncreasingSubsequence(positions);
    want(wanted);
    apply();
    ASSERT_FALSE(model_->lastError.get()) << *model_->lastError.get();
    auto expected = wanted;
    expected.emplace_back("kestrune");
    EXPECT_EQ(realOrder(), expected) << "round " << round;
    EXPECT_EQ(mac_->world().dropCount(), static_cast<int>(items.size() - lis.size()))
        << "round " << round;
  }
}

// With hidden items, a plan either leaves them alone, or fails before any
// move when one of them would have to move, or fails at a drop against one
// of them, naming both items.
TEST_F(ArrangeModelTest, RandomOrdersWithHiddenItemsNeverMoveThem) {
  const std::vector<std::string> items{"H1", "H2", "A", "B", "C", "D"};
  std::mt19937 random(11);
  int succeeded = 0;
  int refused = 0;
  for (int round = 0; round < 16; ++round) {
    // Five items fit right of the notch: H1 and H2 sit behind it.
    make(testing::scenario(15, 560, 200.0, 150, appsLeftToRight(items)));
    for (const auto& i : mac_->world().statusItems()) {
      ASSERT_EQ(i.placed.isDrawn(), i.item.key != "H1" && i.item.key != "H2") << i.item.key;
    }
    std::vector<std::string> wanted = items;
    std::shuffle(wanted.begin(), wanted.end(), random);
    want(wanted);
    apply();
    if (const auto error = model_->lastError.get()) {
      ++refused;
      if (error->find("won't let") != std::string::npos) {
        EXPECT_EQ(mac_->world().dropCount(), 0) << "round " << round;
      } else {
        EXPECT_NE(error->find("next to \u201CH"), std::string::npos) << *error;
      }
      for (const auto& line : logLines("arrange: move")) {
        EXPECT_EQ(line.find("arrange: move H"), std::string::npos) << line;
      }
    } else {
      ++succeeded;
      for (const auto& line : logLines("arrange: move")) {
        EXPECT_EQ(line.find("arrange: move H"), std::string::npos) << line;
      }
      auto expected = wanted;
      expected.emplace_back("kestrune");
      EXPECT_EQ(realOrder(), expected) << "round " << round;
    }
  }
  // Both outcomes were seen, so both halves of the rule were checked.
  EXPECT_GT(succeeded, 0);
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace kestrune
