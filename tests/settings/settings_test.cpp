#include "settings/settings.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "settings/settings_store.hpp"
#include "sim/sim_user_defaults.hpp"
#include "support/fake_platform.hpp"
#include "support/temp_home.hpp"

namespace kestrune {

// Readable failure messages.
void PrintTo(const Settings& s, std::ostream* out) {
  *out << "{onlyHiddenItems " << s.onlyHiddenItems << ", liveIcons " << s.liveIcons
       << ", showLabels " << s.showLabels << ", hotkeyEnabled " << s.hotkeyEnabled << "}";
}

namespace {

using testing::FakeUserDefaults;

constexpr const char* kKey = "Kestrune.settings.v1";
constexpr Settings kDefaults{false, true, true, true};

Settings record(bool onlyHidden, bool live, bool labels, bool hotkey) {
  return Settings{onlyHidden, live, labels, hotkey};
}

// --- The record and its JSON form

TEST(Settings, DefaultRecordIsOnlyHiddenOffAndTheRestOn) {
  const Settings s;
  EXPECT_FALSE(s.onlyHiddenItems);
  EXPECT_TRUE(s.liveIcons);
  EXPECT_TRUE(s.showLabels);
  EXPECT_TRUE(s.hotkeyEnabled);
}

TEST(Settings, EqualityComparesEveryField) {
  EXPECT_EQ(record(true, false, true, false), record(true, false, true, false));
  EXPECT_NE(record(true, true, true, true), kDefaults);
  EXPECT_NE(record(false, false, true, true), kDefaults);
  EXPECT_NE(record(false, true, false, true), kDefaults);
  EXPECT_NE(record(false, true, true, false), kDefaults);
}

TEST(Settings, EncodesAllFourKeysInFieldOrder) {
  EXPECT_EQ(encodeSettings(kDefaults),
            R"({"onlyHiddenItems":false,"liveIcons":true,"showLabels":true,"hotkeyEnabled":true})");
  EXPECT_EQ(
      encodeSettings(record(true, false, true, false)),
      R"({"onlyHiddenItems":true,"liveIcons":false,"showLabels":true,"hotkeyEnabled":false})");
}

TEST(Settings, EveryRecordSurvivesEncodingAndDecoding) {
  for (int bits = 0; bits < 16; ++bits) {
    const Settings s = record(bits & 1, bits & 2, bits & 4, bits & 8);
    EXPECT_EQ(decodeSettings(encodeSettings(s)), s) << bits;
  }
}

TEST(Settings, MissingKeysTakeTheirDefaults) {
  EXPECT_EQ(decodeSettings("{}"), kDefaults);
  EXPECT_EQ(decodeSettings(R"({"liveIcons":false})"), record(false, false, true, true));
  EXPECT_EQ(decodeSettings(R"({"onlyHiddenItems":true,"hotkeyEnabled":false})"),
            record(true, true, true, false));
}

TEST(Settings, NullTakesTheDefault) {
  EXPECT_EQ(decodeSettings(R"({"liveIcons":null,"showLabels":false})"),
            record(false, true, false, true));
  EXPECT_EQ(decodeSettings(R"({"onlyHiddenItems":null})"), kDefaults);
}

TEST(Settings, UnknownKeysAreIgnored) {
  EXPECT_EQ(decodeSettings(R"({"theme":"dark","showLabels":false,"version":[1,{"a":2}]})"),
            record(false, true, false, true));
  // Key names are exact: another case is another key.
  EXPECT_EQ(decodeSettings(R"({"LiveIcons":false})"), kDefaults);
}

TEST(Settings, AKnownKeyHoldingAnythingButABooleanFails) {
  EXPECT_EQ(decodeSettings(R"({"liveIcons":"false"})"), std::nullopt);
  EXPECT_EQ(decodeSettings(R"({"liveIcons":0})"), std::nullopt);
  EXPECT_EQ(decodeSettings(R"({"hotkeyEnabled":1})"), std::nullopt);
  EXPECT_EQ(decodeSettings(R"({"showLabels":[]})"), std::nullopt);
  EXPECT_EQ(decodeSettings(R"({"onlyHiddenItems":{}})"), std::nullopt);
  // One bad key spoils the rest.
  EXPECT_EQ(decodeSettings(R"({"onlyHiddenItems":true,"liveIcons":"yes"})"), std::nullopt);
}

TEST(Settings, AnythingButAJsonObjectFails) {
  for (const char* text :
       {"", "not json", "[]", R"([{"liveIcons":false}])", "42", "true", "null", R"("text")",
        R"({"liveIcons":false)", R"({"liveIcons":false} x)", "{} {}"}) {
    EXPECT_EQ(decodeSettings(text), std::nullopt) << text;
  }
}

// --- The store

TEST(SettingsStore, FirstLaunchHasTheDefaultRecordAndWritesNothing) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  EXPECT_EQ(store.settings(), kDefaults);
  EXPECT_EQ(defaults.writes[kKey], 0);
  EXPECT_FALSE(defaults.objectKind(kKey).has_value());
}

TEST(SettingsStore, LoadsTheStoredRecord) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, R"({"onlyHiddenItems":true,"showLabels":false})");
  SettingsStore store(defaults);
  EXPECT_EQ(store.settings(), record(true, true, false, true));
}

TEST(SettingsStore, AnEmptyObjectLoadsTheDefaultRecord) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, "{}");
  EXPECT_EQ(SettingsStore(defaults).settings(), kDefaults);
}

TEST(SettingsStore, AnObjectWithOnlyLiveIconsOffKeepsTheOtherDefaults) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, R"({"liveIcons": false})");
  EXPECT_EQ(SettingsStore(defaults).settings(), record(false, false, true, true));
}

// Bad stored data: the defaults, and the data stays until the next change.
class BadStoredData : public ::testing::TestWithParam<std::string> {};

TEST_P(BadStoredData, LoadsTheDefaultsAndKeepsTheDataUntilTheNextChange) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, GetParam());
  const int writesBefore = defaults.writes[kKey];

  SettingsStore store(defaults);
  EXPECT_EQ(store.settings(), kDefaults);
  EXPECT_EQ(defaults.dataForKey(kKey), GetParam());
  EXPECT_EQ(defaults.writes[kKey], writesBefore);

  store.set(&Settings::showLabels, false);
  EXPECT_NE(defaults.dataForKey(kKey), GetParam());
  EXPECT_EQ(decodeSettings(defaults.dataForKey(kKey).value_or("")),
            record(false, true, false, true));
}

INSTANTIATE_TEST_SUITE_P(SettingsStore, BadStoredData,
                         ::testing::Values("not json at all", R"({"liveIcons":"false"})",
                                           R"({"onlyHiddenItems":true,"liveIcons":"no"})", "[]",
                                           "[true,false]", "3", std::string("\xff\xfe{}", 4)));

TEST(SettingsStore, AValueOfAnotherTypeUnderTheKeyLoadsTheDefaults) {
  FakeUserDefaults defaults;
  // Valid JSON of a non-default record, but as a string rather than data.
  defaults.setString(kKey, R"({"onlyHiddenItems":true})");
  SettingsStore store(defaults);
  EXPECT_EQ(store.settings(), kDefaults);
  EXPECT_EQ(defaults.objectKind(kKey), DefaultsObjectKind::string);

  store.setSettings(store.settings());
  EXPECT_EQ(defaults.objectKind(kKey), DefaultsObjectKind::data);
  EXPECT_EQ(defaults.dataForKey(kKey), encodeSettings(kDefaults));
}

TEST(SettingsStore, AssignmentSavesTheRecordAsJsonData) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  store.setSettings(record(true, false, false, true));
  EXPECT_EQ(defaults.objectKind(kKey), DefaultsObjectKind::data);
  EXPECT_EQ(
      defaults.dataForKey(kKey),
      R"({"onlyHiddenItems":true,"liveIcons":false,"showLabels":false,"hotkeyEnabled":true})");
  EXPECT_EQ(defaults.writes[kKey], 1);
}

TEST(SettingsStore, FlippingOnlyHiddenItemsTwiceRestoresTheRecordAndWritesTwice) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, R"({"liveIcons":false})");
  defaults.writes.clear();
  SettingsStore store(defaults);
  const Settings start = store.settings();

  Settings s = store.settings();
  s.onlyHiddenItems = !s.onlyHiddenItems;
  store.setSettings(s);
  EXPECT_TRUE(store.settings().onlyHiddenItems);
  EXPECT_EQ(decodeSettings(defaults.dataForKey(kKey).value_or("")), store.settings());

  s = store.settings();
  s.onlyHiddenItems = !s.onlyHiddenItems;
  store.setSettings(s);

  EXPECT_EQ(store.settings(), start);
  EXPECT_EQ(decodeSettings(defaults.dataForKey(kKey).value_or("")), start);
  EXPECT_EQ(defaults.writes[kKey], 2);
}

TEST(SettingsStore, AnUnchangedAssignmentStillPublishesAndSaves) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  int willChange = 0;
  auto sub = store.objectWillChange.connect([&] { ++willChange; });
  store.setSettings(store.settings());
  store.set(&Settings::liveIcons, true);
  EXPECT_EQ(willChange, 2);
  EXPECT_EQ(defaults.writes[kKey], 2);
}

TEST(SettingsStore, SettingOneFieldKeepsTheOthers) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, R"({"onlyHiddenItems":true,"showLabels":false})");
  SettingsStore store(defaults);
  store.set(&Settings::hotkeyEnabled, false);
  EXPECT_EQ(store.settings(), record(true, true, false, false));
}

TEST(SettingsStore, ObserversAreToldBeforeTheValueChanges) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  std::vector<Settings> storedAtWillChange;
  std::vector<std::string> savedAtWillChange;
  std::vector<std::pair<Settings, Settings>> sinkSeen;  // (stored, delivered)
  auto a = store.objectWillChange.connect([&] {
    storedAtWillChange.push_back(store.settings());
    savedAtWillChange.push_back(defaults.dataForKey(kKey).value_or("none"));
  });
  auto b = store.sink([&](const Settings& s) { sinkSeen.emplace_back(store.settings(), s); });

  const Settings changed = record(true, true, true, true);
  store.setSettings(changed);

  EXPECT_EQ(storedAtWillChange, std::vector<Settings>{kDefaults});
  // Saving comes after the observers.
  EXPECT_EQ(savedAtWillChange, std::vector<std::string>{"none"});
  ASSERT_EQ(sinkSeen.size(), 2U);
  EXPECT_EQ(sinkSeen[0], std::make_pair(kDefaults, kDefaults));  // at once
  EXPECT_EQ(sinkSeen[1], std::make_pair(kDefaults, changed));
  EXPECT_EQ(store.settings(), changed);
}

TEST(SettingsStore, FieldObserversGetTheCurrentValueAtOnceAndOnlyChangesAfter) {
  FakeUserDefaults defaults;
  defaults.setData(kKey, R"({"hotkeyEnabled":false})");
  SettingsStore store(defaults);
  std::vector<bool> hotkey;
  auto sub = store.sinkField(&Settings::hotkeyEnabled, [&](bool v) { hotkey.push_back(v); });
  EXPECT_EQ(hotkey, std::vector<bool>{false});

  store.set(&Settings::onlyHiddenItems, true);
  store.set(&Settings::liveIcons, false);
  store.set(&Settings::showLabels, false);
  store.setSettings(store.settings());
  store.set(&Settings::hotkeyEnabled, false);  // unchanged
  EXPECT_EQ(hotkey, std::vector<bool>{false});

  store.set(&Settings::hotkeyEnabled, true);
  store.set(&Settings::liveIcons, true);
  store.set(&Settings::hotkeyEnabled, false);
  EXPECT_EQ(hotkey, (std::vector<bool>{false, true, false}));
}

TEST(SettingsStore, EachFieldHasItsOwnStream) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  std::vector<bool> onlyHidden, live, labels;
  auto a = store.sinkField(&Settings::onlyHiddenItems, [&](bool v) { onlyHidden.push_back(v); });
  auto b = store.sinkField(&Settings::liveIcons, [&](bool v) { live.push_back(v); });
  auto c = store.sinkField(&Settings::showLabels, [&](bool v) { labels.push_back(v); });
  store.set(&Settings::liveIcons, false);
  store.set(&Settings::onlyHiddenItems, true);
  EXPECT_EQ(onlyHidden, (std::vector<bool>{false, true}));
  EXPECT_EQ(live, (std::vector<bool>{true, false}));
  EXPECT_EQ(labels, std::vector<bool>{true});
}

TEST(SettingsStore, AFieldObserverStopsWithItsSubscription) {
  FakeUserDefaults defaults;
  SettingsStore store(defaults);
  int calls = 0;
  auto sub = store.sinkField(&Settings::liveIcons, [&](bool) { ++calls; });
  sub.reset();
  store.set(&Settings::liveIcons, false);
  EXPECT_EQ(calls, 1);
}

// --- Persistence on the simulated Mac

TEST(SettingsStore, SettingsSurviveARestartOfTheSimulatedApp) {
  testing::TempHome home;
  {
    sim::SimUserDefaults defaults(home.path());
    SettingsStore store(defaults);
    EXPECT_EQ(store.settings(), kDefaults);
    store.set(&Settings::onlyHiddenItems, true);
    store.set(&Settings::showLabels, false);
  }
  sim::SimUserDefaults defaults(home.path());
  SettingsStore store(defaults);
  EXPECT_EQ(store.settings(), record(true, true, false, true));
}

TEST(SettingsStore, BadDataInTheSimulatedDomainSurvivesARestartUntilTheNextChange) {
  testing::TempHome home;
  {
    sim::SimUserDefaults defaults(home.path());
    defaults.setData(kKey, R"({"liveIcons":"off"})");
  }
  {
    sim::SimUserDefaults defaults(home.path());
    SettingsStore store(defaults);
    EXPECT_EQ(store.settings(), kDefaults);
  }
  sim::SimUserDefaults defaults(home.path());
  EXPECT_EQ(defaults.dataForKey(kKey), R"({"liveIcons":"off"})");
  SettingsStore store(defaults);
  store.set(&Settings::liveIcons, false);
  sim::SimUserDefaults restarted(home.path());
  EXPECT_EQ(decodeSettings(restarted.dataForKey(kKey).value_or("")),
            record(false, false, true, true));
}

}  // namespace
}  // namespace kestrune
