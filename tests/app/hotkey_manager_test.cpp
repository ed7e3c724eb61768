// The global shortcut ⌃⌥⌘T over Carbon's hot keys on the simulated Mac.
#include "app/hotkey_manager.hpp"

#include <gtest/gtest.h>

#include <memory>

#include "settings/settings_store.hpp"
#include "sim/sim_hot_keys.hpp"
#include "support/fake_platform.hpp"

namespace kestrune {
namespace {

constexpr uint32_t kT = 17;
constexpr uint32_t kControlOptionCommand = 6400;

using Registration = sim::SimHotKeys::Registration;
const Registration kShortcut{kT, kControlOptionCommand, {0x4B53524E, 1}};  // 'KSRN', 1

class HotkeyManagerTest : public ::testing::Test {
 protected:
  HotkeyManagerTest() : manager_(std::make_unique<HotkeyManager>(keys_)) {
    manager_->onTrigger = [this] { ++triggers_; };
  }
  bool pressShortcut() { return keys_.press(kT, kControlOptionCommand); }

  sim::SimHotKeys keys_;
  std::unique_ptr<HotkeyManager> manager_;
  int triggers_ = 0;
};

TEST_F(HotkeyManagerTest, TheShortcutIsControlOptionCommandTWithTheKestruneSignature) {
  EXPECT_EQ(HotkeyManager::kKeyCode, 17U);
  EXPECT_EQ(HotkeyManager::kModifiers, 6400U);
  EXPECT_EQ(HotkeyManager::kHotKeyID.signature, 0x4B53524EU);
  EXPECT_EQ(HotkeyManager::kEventType.eventClass, 0x6B657962U);  // 'keyb'
  EXPECT_EQ(HotkeyManager::kEventType.eventKind, 5U);
}

TEST_F(HotkeyManagerTest, EnableInstallsTheHandlerThenRegistersTheKey) {
  manager_->enable();
  EXPECT_TRUE(manager_->isRegistered());
  EXPECT_EQ(keys_.registered(), std::vector<Registration>{kShortcut});
  EXPECT_EQ(keys_.handlerCount(), 1U);
  EXPECT_EQ(keys_.calls(), (std::vector<std::string>{"install keyb/5", "register 17 6400 KSRN/1"}));
}

TEST_F(HotkeyManagerTest, EnablingTwiceRegistersOnce) {
  manager_->enable();
  manager_->enable();
  EXPECT_EQ(keys_.registered().size(), 1U);
  EXPECT_EQ(keys_.handlerCount(), 1U);
  EXPECT_EQ(keys_.calls().size(), 2U);
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 1);  // one handler, one call
}

TEST_F(HotkeyManagerTest, DisableUnregistersAndRemovesTheHandler) {
  manager_->enable();
  manager_->disable();
  EXPECT_FALSE(manager_->isRegistered());
  EXPECT_TRUE(keys_.registered().empty());
  EXPECT_EQ(keys_.handlerCount(), 0U);
  EXPECT_EQ(keys_.calls(),
            (std::vector<std::string>{"install keyb/5", "register 17 6400 KSRN/1",
                                      "unregister 17 6400 KSRN/1", "remove keyb/5"}));
  // Nothing left to undo.
  manager_->disable();
  EXPECT_EQ(keys_.calls().size(), 4U);
}

TEST_F(HotkeyManagerTest, OffAndOnAgainRegistersAgain) {
  manager_->enable();
  manager_->disable();
  manager_->enable();
  EXPECT_EQ(keys_.registered(), std::vector<Registration>{kShortcut});
  EXPECT_EQ(keys_.handlerCount(), 1U);
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 1);
}

TEST_F(HotkeyManagerTest, APressTriggersOnlyWhileRegistered) {
  EXPECT_FALSE(pressShortcut());
  EXPECT_EQ(triggers_, 0);
  manager_->enable();
  EXPECT_TRUE(pressShortcut());
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 2);
  // Other keys are not the shortcut.
  EXPECT_FALSE(keys_.press(kT, kControlOptionCommand | 512));  // with shift
  EXPECT_FALSE(keys_.press(15, kControlOptionCommand));
  EXPECT_EQ(triggers_, 2);
  manager_->disable();
  EXPECT_FALSE(pressShortcut());
  EXPECT_EQ(triggers_, 2);
}

TEST_F(HotkeyManagerTest, ThePressIsConsumedEvenWithoutATrigger) {
  manager_->onTrigger = nullptr;
  // A handler of the app's own installed before, which would see the press
  // if ours passed it on.
  int earlier = 0;
  (void)keys_.installEventHandler({kKeyboardEventClass, kHotKeyPressedKind}, [&] {
    ++earlier;
    return kCarbonNoErr;
  });
  manager_->enable();
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(earlier, 0);
  manager_->onTrigger = [this] { ++triggers_; };
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 1);
  EXPECT_EQ(earlier, 0);
}

TEST_F(HotkeyManagerTest, ARefusedRegistrationIsNotReportedAndIsTriedAgainLater) {
  keys_.takeByOtherApp(kT, kControlOptionCommand);
  manager_->enable();  // no throw, no report
  EXPECT_FALSE(manager_->isRegistered());
  EXPECT_TRUE(keys_.registered().empty());
  EXPECT_FALSE(pressShortcut());
  EXPECT_EQ(triggers_, 0);
  manager_->enable();
  // Tried again, with the handler already there.
  EXPECT_EQ(keys_.handlerCount(), 1U);
  EXPECT_EQ(keys_.calls(), (std::vector<std::string>{"install keyb/5", "register 17 6400 KSRN/1",
                                                     "register 17 6400 KSRN/1"}));
  manager_->disable();
  EXPECT_EQ(keys_.handlerCount(), 0U);
}

TEST_F(HotkeyManagerTest, AManagerThatIsGoneLeavesNothingRegistered) {
  manager_->enable();
  manager_.reset();
  EXPECT_TRUE(keys_.registered().empty());
  EXPECT_EQ(keys_.handlerCount(), 0U);
  EXPECT_FALSE(pressShortcut());
}

// The app follows the setting: on registers, off unregisters.
class HotkeySettingTest : public HotkeyManagerTest {
 protected:
  HotkeySettingTest()
      : store_(defaults_), following_(store_.sinkField(&Settings::hotkeyEnabled, [this](bool on) {
          if (on) {
            manager_->enable();
          } else {
            manager_->disable();
          }
        })) {}
  size_t registrations() const {
    size_t n = 0;
    for (const auto& call : keys_.calls()) n += call.rfind("register ", 0) == 0 ? 1 : 0;
    return n;
  }

  testing::FakeUserDefaults defaults_;
  SettingsStore store_;
  Subscription following_;
};

TEST_F(HotkeySettingTest, TurningTheSettingOffAndOnRegistersAgain) {
  EXPECT_EQ(registrations(), 1U);  // on by default
  store_.set(&Settings::hotkeyEnabled, false);
  EXPECT_TRUE(keys_.registered().empty());
  EXPECT_FALSE(pressShortcut());
  store_.set(&Settings::hotkeyEnabled, true);
  EXPECT_EQ(registrations(), 2U);
  EXPECT_EQ(keys_.registered(), std::vector<Registration>{kShortcut});
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 1);
}

TEST_F(HotkeySettingTest, TurningTheSettingOnTwiceRegistersOnce) {
  store_.set(&Settings::hotkeyEnabled, true);
  store_.set(&Settings::hotkeyEnabled, true);
  manager_->enable();  // even asked directly
  EXPECT_EQ(registrations(), 1U);
  EXPECT_EQ(keys_.handlerCount(), 1U);
  EXPECT_TRUE(pressShortcut());
  EXPECT_EQ(triggers_, 1);
}

}  // namespace
}  // namespace kestrune
