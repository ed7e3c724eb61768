#include "picker/overflow_model.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "core/virtual_executors.hpp"
#include "settings/diag.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_mac.hpp"
#include "sim/sim_screen_capture.hpp"
#include "support/scenarios.hpp"
#include "support/sim_picker.hpp"

namespace kestrune {
namespace {

using testing::app;
using testing::item;

class OverflowModelTest : public testing::SimPicker {
 protected:
  // How many sweeps were let through, by kind.
  int sweeps(const std::string& force) {
    ex_.runUntilIdle();
    const std::string log = home_.read("Library/Logs/Kestrune.log");
    const std::string line = "sweep start (force=" + force + ")";
    int n = 0;
    for (size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1)) ++n;
    return n;
  }
  int allSweeps() { return sweeps("true") + sweeps("false"); }
  std::vector<std::string> listedNames() {
    std::vector<std::string> names;
    for (const auto& i : model_->listedItems()) names.push_back(i.displayName(layout_->isModern()));
    return names;
  }
};

// A bar where everything fits and every app answers at once.
sim::Scenario calmBar(int version, std::vector<sim::ScenarioApp> extra = {}) {
  auto cc = app(301, "com.apple.controlcenter", "Control Center",
                {item("clock", 90, "Clock"), item("cc", 30, "Control Center"),
                 item("wifi", 30, "Wi\u2011Fi")});
  cc.items[0].windowName = "Clock";
  cc.items[1].windowName = "BentoBox-0";
  cc.items[2].windowName = "WiFi";
  std::vector<sim::ScenarioApp> apps{
      cc, app(1000, "com.kestrune.Kestrune", "Kestrune", {item("own", 30)}),
      app(401, "com.example.tool", "Tool", {item("tool", 30)}),
      app(402, "com.example.sync", "Sync", {item("sync", 30)})};
  apps.insert(apps.end(), extra.begin(), extra.end());
  return testing::scenario(version, 1512, 190.0, 330, apps);
}

TEST_F(OverflowModelTest, NonForcedSweepsAreAtLeastFiveSecondsApart) {
  make(calmBar(15));
  const TimePoint start = ex_.now();
  model_->sweep(false);
  EXPECT_EQ(sweeps("false"), 1);
  ex_.advanceTo(start + seconds(5.0));
  model_->sweep(false);
  EXPECT_EQ(sweeps("false"), 1);
  ex_.advanceTo(start + seconds(5.1));
  model_->sweep(false);
  EXPECT_EQ(sweeps("false"), 2);
}

TEST_F(OverflowModelTest, ForcedSweepWhileOneRunsIsDropped) {
  make(calmBar(27));
  model_->sweep(true);
  EXPECT_TRUE(model_->isSweeping());
  model_->sweep(true);
  EXPECT_EQ(sweeps("true"), 1);
  EXPECT_FALSE(model_->isSweeping());
  model_->sweep(true);
  EXPECT_EQ(sweeps("true"), 2);
}

TEST_F(OverflowModelTest, ListedItemsLeaveOutClockControlCenterAndOwnItems) {
  auto scenario = calmBar(15);
  scenario.apps.push_back(app(403, "com.example.mute", "Mute", {item("mute", 30)}));
  scenario.apps.back().accessibility = sim::AXMode::never;
  make(scenario);
  model_->sweep(true);
  // The sweep's results come back once Mute's reads have timed out.
  ex_.advance(seconds(3));
  ASSERT_EQ(model_->items.get().size(), 6U);  // Kestrune's own window is not an item
  auto names = listedNames();
  std::sort(names.begin(), names.end());
  // Mute never answered: listed without owner.
  EXPECT_EQ(names, (std::vector<std::string>{"Menu bar item", "Sync", "Tool", "Wi\u2011Fi"}));
}

TEST_F(OverflowModelTest, OnlyHiddenItemsWithEverythingDrawnListsNothing) {
  make(calmBar(15));
  model_->sweep(true);
  ex_.runUntilIdle();
  store_->set(&Settings::onlyHiddenItems, true);
  EXPECT_FALSE(model_->items.get().empty());
  EXPECT_TRUE(model_->listedItems().empty());
  EXPECT_TRUE(model_->hasScanned.get());
}

TEST_F(OverflowModelTest, ModernOwnItemsAreNotListed) {
  make(calmBar(27));
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto& all = model_->items.get();
  EXPECT_TRUE(std::any_of(all.begin(), all.end(),
                          [](const MenuBarItem& i) { return i.owner && i.owner->pid == 1000; }));
  for (const auto& i : model_->listedItems()) EXPECT_NE(i.owner->pid, 1000);
}

TEST_F(OverflowModelTest, NoCaptureWithoutLiveIconsOrScreenRecording) {
  auto scenario = calmBar(27);
  scenario.permissions.screenRecording = false;
  make(scenario);
  model_->sweep(true);
  ex_.runUntilIdle();
  EXPECT_FALSE(model_->usesLiveIcons());
  EXPECT_TRUE(model_->images.get().empty());
  EXPECT_FALSE(model_->isCapturing());
  EXPECT_TRUE(mac_->screenCapture().displayRequests().empty());
}

TEST_F(OverflowModelTest, LiveIconsOffKeepsWhateverImagesWereThere) {
  make(calmBar(27));
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto images = model_->images.get();
  ASSERT_FALSE(images.empty());
  const size_t captures = mac_->screenCapture().displayRequests().size();
  store_->set(&Settings::liveIcons, false);
  model_->refresh();
  model_->sweep(true);
  ex_.runUntilIdle();
  EXPECT_EQ(mac_->screenCapture().displayRequests().size(), captures);
  EXPECT_EQ(model_->images.get().size(), images.size());
}

TEST_F(OverflowModelTest, CaptureReplacesTheWholeImageMap) {
  make(calmBar(27));
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto before = model_->images.get();
  ASSERT_EQ(before.size(), 3U);  // Wi-Fi, Tool, Sync
  mac_->world().quit(402);
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto after = model_->images.get();
  EXPECT_EQ(after.size(), 2U);
  for (const auto& [id, image] : after) EXPECT_TRUE(before.contains(id));
  EXPECT_EQ(model_->glyphsAreLight.get(), false);
}

TEST_F(OverflowModelTest, CancelledCapturePublishesNothing) {
  make(calmBar(27));
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto images = model_->images.get();
  mac_->world().quit(401);
  model_->sweep(true);
  // Run the sweep up to the moment its capture starts, then cancel it.
  while (!model_->isCapturing() && ex_.runNext()) {
  }
  ASSERT_TRUE(model_->isCapturing());
  model_->cancelCapture();
  ex_.runUntilIdle();
  EXPECT_EQ(model_->images.get().size(), images.size());
}

TEST_F(OverflowModelTest, SameUnresolvedHostsRetryOnlyOnce) {
  auto mute = app(403, "com.example.mute", "Mute", {item("mute", 30)});
  mute.accessibility = sim::AXMode::never;
  make(calmBar(27, {mute}));
  model_->sweep(true);
  ex_.advance(seconds(60));  // no warm timer: only retries sweep
  EXPECT_EQ(sweeps("true"), 2);
}

TEST_F(OverflowModelTest, LegacyNewWindowForcesASweepAtTheNextTick) {
  make(calmBar(15));
  model_->startWarming();
  ex_.advance(seconds(1));
  EXPECT_EQ(sweeps("true"), 1);
  mac_->world().launch(app(500, "com.example.new", "New", {item("new", 30)}));
  ex_.advance(seconds(1.9));  // the first tick is 3 s after warming started
  EXPECT_EQ(sweeps("true"), 1);
  ex_.advance(seconds(0.2));
  EXPECT_EQ(sweeps("true"), 2);
  const auto& all = model_->items.get();
  EXPECT_TRUE(std::any_of(all.begin(), all.end(),
                          [](const MenuBarItem& i) { return i.owner && i.owner->name == "New"; }));
}

TEST_F(OverflowModelTest, LegacyRefreshIsStaleAfter30Seconds) {
  make(calmBar(15));
  model_->startWarming();
  ex_.advance(seconds(30));
  EXPECT_EQ(allSweeps(), 1);
  ex_.advance(seconds(3.1));  // the tick at 33 s is more than 30 s after the sweep
  EXPECT_EQ(sweeps("false"), 1);
}

TEST_F(OverflowModelTest, ModernRefreshIsStaleAfter15Seconds) {
  make(calmBar(27));
  model_->startWarming();
  ex_.advance(seconds(15));
  EXPECT_EQ(allSweeps(), 1);
  ex_.advance(seconds(3));  // the tick at 18 s
  EXPECT_EQ(sweeps("false"), 1);
}

TEST_F(OverflowModelTest, LegacyItemWithoutOwnerIsResweptEveryFourSeconds) {
  auto mute = app(403, "com.example.mute", "Mute", {item("mute", 30)});
  mute.accessibility = sim::AXMode::never;
  make(calmBar(15, {mute}));
  model_->sweep(true);
  ex_.advance(seconds(9));
  // 0, 4 and 8 s, each sweep taking its time-outs.
  EXPECT_GE(sweeps("true"), 2);
  EXPECT_LE(sweeps("true"), 3);
}

TEST_F(OverflowModelTest, LegacySweepKeepsAnOldOwnerWhoseElementStillFits) {
  make(calmBar(15));
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto tool = std::find_if(model_->items.get().begin(), model_->items.get().end(),
                                 [](const auto& i) { return i.owner && i.owner->pid == 401; });
  ASSERT_NE(tool, model_->items.get().end());
  const uint32_t toolWindow = tool->windowID;
  // Tool stops answering the extras bar, but its element still answers.
  mac_->world().setAccessibility(401, sim::AXMode::noExtrasMenuBar, 0);
  model_->sweep(true);
  ex_.runUntilIdle();
  const auto again = std::find_if(model_->items.get().begin(), model_->items.get().end(),
                                  [&](const auto& i) { return i.windowID == toolWindow; });
  ASSERT_NE(again, model_->items.get().end());
  ASSERT_TRUE(again->owner);
  EXPECT_EQ(again->owner->pid, 401);
}

TEST_F(OverflowModelTest, OlderRefreshNeverOverwritesANewerSweep) {
  make(calmBar(27));
  model_->sweep(true);
  ex_.runUntilIdle();
  int published = 0;
  auto counting = model_->items.sink([&](const auto&) { ++published; });
  published = 0;
  model_->sweep(true);       // finishes first: generation 2
  model_->refreshWindows();  // started at generation 1: its list is dropped
  ex_.runUntilIdle();
  EXPECT_EQ(published, 1);
  EXPECT_EQ(model_->sweepGeneration(), 2);
}

TEST_F(OverflowModelTest, DebugWithAnEmptyValueStillPrints) {
  auto scenario = calmBar(27);
  scenario.environment["KESTRUNE_DEBUG"] = "";
  make(scenario);
  EXPECT_TRUE(model_->debug());
  model_->sweep(true);
  ex_.runUntilIdle();
  const std::string text = out_.str();
  EXPECT_NE(text.find("item Tool                     x="), std::string::npos) << text;
  EXPECT_NE(text.find(" on=1 owner=Tool id=Item-0\n"), std::string::npos);
  EXPECT_NE(text.find("layout: hosts="), std::string::npos);
  EXPECT_NE(text.find(" showHiddenButton=none barHeight=37\n"), std::string::npos);
  EXPECT_NE(text.find("listed: 3 liveIcons: true\n"), std::string::npos);
}

TEST_F(OverflowModelTest, WithoutDebugNothingIsPrinted) {
  make(calmBar(27));
  EXPECT_FALSE(model_->debug());
  model_->sweep(true);
  ex_.runUntilIdle();
  EXPECT_TRUE(out_.str().empty());
}

TEST_F(OverflowModelTest, ModernDebugTellsDrawnAndHiddenWhenTheyChange) {
  std::vector<sim::ScenarioApp> crowd;
  for (int i = 0; i < 20; ++i) {
    crowd.push_back(app(600 + i, "com.example.c" + std::to_string(i), "C" + std::to_string(i),
                        {item("c" + std::to_string(i), 40)}));
  }
  auto scenario = calmBar(27, crowd);
  scenario.environment["KESTRUNE_DEBUG"] = "1";
  make(scenario);
  model_->sweep(true);
  ex_.runUntilIdle();
  out_.str("");
  model_->refreshWindows();  // nothing changed: no line
  ex_.runUntilIdle();
  EXPECT_EQ(out_.str().find("refresh:"), std::string::npos);
  mac_->world().quit(401);  // room for one more: a hidden item is drawn now
  model_->refreshWindows();
  ex_.runUntilIdle();
  // Left to right; the hidden ones by name.
  EXPECT_NE(out_.str().find("refresh: drawn=[\"C9\", \"C8\","), std::string::npos) << out_.str();
  EXPECT_NE(out_.str().find("\"Clock\"] hidden=[\"C10\", \"C11\","), std::string::npos);
}

TEST_F(OverflowModelTest, ModernLaunchSweepsAfterOneAndAHalfSecondsAndQuitAtOnce) {
  make(calmBar(27));
  model_->startWarming();
  ex_.advance(seconds(1));
  EXPECT_EQ(sweeps("true"), 1);
  mac_->world().launch(app(500, "com.example.new", "New", {item("new", 30)}));
  ex_.advance(seconds(1.4));
  EXPECT_EQ(sweeps("true"), 1);
  ex_.advance(seconds(0.2));
  EXPECT_EQ(sweeps("true"), 2);
  mac_->world().quit(500);
  ex_.runUntilIdle();
  EXPECT_EQ(sweeps("true"), 3);
}

TEST_F(OverflowModelTest, NothingRunsOnceTheModelIsGone) {
  make(calmBar(27));
  model_->startWarming();
  ex_.advance(seconds(1));
  const int before = allSweeps();
  model_.reset();
  mac_->world().launch(app(500, "com.example.new", "New", {item("new", 30)}));
  ex_.advance(seconds(60));
  EXPECT_EQ(allSweeps(), before);
}

TEST_F(OverflowModelTest, GlyphJudgementIsKeptWhenACaptureCannotTell) {
  auto scenario = calmBar(27);
  scenario.menuBar.darkAppearance = true;
  make(scenario);
  model_->sweep(true);
  ex_.runUntilIdle();
  EXPECT_EQ(model_->glyphsAreLight.get(), true);
  store_->set(&Settings::onlyHiddenItems, true);  // nothing listed: no capture
  model_->refresh();
  ex_.runUntilIdle();
  EXPECT_EQ(model_->glyphsAreLight.get(), true);
}

}  // namespace
}  // namespace kestrune
