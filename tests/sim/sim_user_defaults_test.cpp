#include "sim/sim_user_defaults.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"
#include "support/scenarios.hpp"
#include "support/temp_home.hpp"

namespace kestrune::sim {
namespace {

namespace fs = std::filesystem;

constexpr char kDomainFile[] = "Library/Preferences/com.kestrune.Kestrune.json";

void writeFile(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TEST(SimUserDefaults, MissingKeysReadAsAbsentOrFalse) {
  SimUserDefaults d("/nonexistent");
  EXPECT_EQ(d.dataForKey("k"), std::nullopt);
  EXPECT_FALSE(d.boolForKey("k"));
  EXPECT_EQ(d.integerForKey("k"), std::nullopt);
  EXPECT_EQ(d.stringForKey("k"), std::nullopt);
  EXPECT_EQ(d.objectKind("k"), std::nullopt);
}

TEST(SimUserDefaults, WorksInMemoryWithoutAHomeFolder) {
  SimUserDefaults d("/nonexistent");
  EXPECT_TRUE(d.path().empty());
  d.setData("data", std::string("\0\x01\xff", 3));
  d.setBool("flag", true);
  d.setInteger("position", -1234);
  d.setString("name", "Kestrune");
  EXPECT_EQ(d.dataForKey("data"), std::string("\0\x01\xff", 3));
  EXPECT_TRUE(d.boolForKey("flag"));
  EXPECT_EQ(d.integerForKey("position"), -1234);
  EXPECT_EQ(d.stringForKey("name"), "Kestrune");
  EXPECT_TRUE(d.synchronize());
  EXPECT_FALSE(fs::exists("/nonexistent"));
}

TEST(SimUserDefaults, ReadersOnlyAnswerForTheirOwnType) {
  SimUserDefaults d("/nonexistent");
  d.setString("s", "{}");
  d.setData("d", "{}");
  d.setBool("b", true);
  d.setInteger("i", 7);
  EXPECT_EQ(d.dataForKey("s"), std::nullopt);
  EXPECT_EQ(d.dataForKey("b"), std::nullopt);
  EXPECT_EQ(d.stringForKey("d"), std::nullopt);
  EXPECT_EQ(d.stringForKey("i"), std::nullopt);
  EXPECT_EQ(d.integerForKey("s"), std::nullopt);
  EXPECT_EQ(d.integerForKey("d"), std::nullopt);
  EXPECT_EQ(d.objectKind("s"), DefaultsObjectKind::string);
  EXPECT_EQ(d.objectKind("d"), DefaultsObjectKind::data);
  EXPECT_EQ(d.objectKind("b"), DefaultsObjectKind::boolean);
  EXPECT_EQ(d.objectKind("i"), DefaultsObjectKind::number);
}

TEST(SimUserDefaults, BooleansAndNumbersCoerceLikeTheRealDomain) {
  SimUserDefaults d("/nonexistent");
  d.setBool("t", true);
  d.setBool("f", false);
  EXPECT_EQ(d.integerForKey("t"), 1);
  EXPECT_EQ(d.integerForKey("f"), 0);
  d.setInteger("one", 1);
  d.setInteger("zero", 0);
  EXPECT_TRUE(d.boolForKey("one"));
  EXPECT_FALSE(d.boolForKey("zero"));
  for (const char* truthy : {"true", "YES", "1"}) {
    d.setString("s", truthy);
    EXPECT_TRUE(d.boolForKey("s")) << truthy;
  }
  for (const char* other : {"false", "NO", "0", "", "maybe"}) {
    d.setString("s", other);
    EXPECT_FALSE(d.boolForKey("s")) << other;
  }
  d.setData("d", "1");
  EXPECT_FALSE(d.boolForKey("d"));
}

TEST(SimUserDefaults, SettingReplacesAValueOfAnotherType) {
  SimUserDefaults d("/nonexistent");
  d.setString("k", "text");
  d.setData("k", "bytes");
  EXPECT_EQ(d.objectKind("k"), DefaultsObjectKind::data);
  EXPECT_EQ(d.stringForKey("k"), std::nullopt);
  d.removeObject("k");
  EXPECT_EQ(d.objectKind("k"), std::nullopt);
  d.removeObject("k");  // nothing there: no effect
  EXPECT_EQ(d.objectKind("k"), std::nullopt);
}

TEST(SimUserDefaults, EveryTypeSurvivesARestart) {
  testing::TempHome home;
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  {
    SimUserDefaults d(home.path());
    EXPECT_EQ(d.path(), home.path() + "/" + kDomainFile);
    d.setData("all bytes", bytes);
    d.setData("empty", "");
    d.setData("one", "a");
    d.setData("two", "ab");
    d.setBool("Kestrune.askedScreenRecording", true);
    d.setInteger("NSStatusItem Preferred Position Kestrune.main", 1234);
    d.setInteger("min", std::numeric_limits<int64_t>::min());
    d.setString("name", "Késtrune ✓");
    d.setString("gone", "soon");
    d.removeObject("gone");
  }
  SimUserDefaults d(home.path());
  EXPECT_EQ(d.dataForKey("all bytes"), bytes);
  EXPECT_EQ(d.dataForKey("empty"), "");
  EXPECT_EQ(d.dataForKey("one"), "a");
  EXPECT_EQ(d.dataForKey("two"), "ab");
  EXPECT_TRUE(d.boolForKey("Kestrune.askedScreenRecording"));
  EXPECT_EQ(d.objectKind("Kestrune.askedScreenRecording"), DefaultsObjectKind::boolean);
  EXPECT_EQ(d.integerForKey("NSStatusItem Preferred Position Kestrune.main"), 1234);
  EXPECT_EQ(d.integerForKey("min"), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(d.stringForKey("name"), "Késtrune ✓");
  EXPECT_EQ(d.objectKind("gone"), std::nullopt);
}

TEST(SimUserDefaults, EveryChangeIsWrittenAtOnce) {
  testing::TempHome home;
  SimUserDefaults d(home.path());
  EXPECT_FALSE(fs::exists(d.path()));  // nothing written yet
  d.setBool("a", true);
  EXPECT_TRUE(SimUserDefaults(home.path()).boolForKey("a"));
  d.setBool("a", false);
  EXPECT_EQ(SimUserDefaults(home.path()).objectKind("a"), DefaultsObjectKind::boolean);
  EXPECT_FALSE(SimUserDefaults(home.path()).boolForKey("a"));
  d.removeObject("a");
  EXPECT_EQ(SimUserDefaults(home.path()).objectKind("a"), std::nullopt);
  EXPECT_FALSE(fs::exists(d.path() + ".tmp"));
}

class CorruptDomainFile : public ::testing::TestWithParam<std::string> {};

TEST_P(CorruptDomainFile, IsAnEmptyDomainLeftAloneUntilTheNextWrite) {
  testing::TempHome home;
  const fs::path file = fs::path(home.path()) / kDomainFile;
  writeFile(file, GetParam());

  SimUserDefaults d(home.path());
  EXPECT_EQ(d.objectKind("k"), std::nullopt);
  EXPECT_EQ(d.objectKind("ok"), std::nullopt);
  EXPECT_EQ(home.read(kDomainFile), GetParam());

  d.setBool("new", true);
  EXPECT_NE(home.read(kDomainFile), GetParam());
  SimUserDefaults restarted(home.path());
  EXPECT_TRUE(restarted.boolForKey("new"));
  EXPECT_EQ(restarted.objectKind("ok"), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    SimUserDefaults, CorruptDomainFile,
    ::testing::Values("", "garbage", "[]", R"({"ok":{"bool":true},"k":true})",
                      R"({"ok":{"bool":true},"k":{"bool":1}})",
                      R"({"ok":{"bool":true},"k":{"data":"not base64!"}})",
                      R"({"ok":{"bool":true},"k":{"data":"QQ="}})",
                      R"({"ok":{"bool":true},"k":{"date":"2026-01-01"}})",
                      R"({"ok":{"bool":true},"k":{"integer":1.5}})",
                      R"({"ok":{"bool":true},"k":{"integer":18446744073709551615}})",
                      R"({"ok":{"bool":true},"k":{"bool":true,"string":"x"}})"));

TEST(SimUserDefaults, AWellFormedFileWrittenByHandIsRead) {
  testing::TempHome home;
  writeFile(fs::path(home.path()) / kDomainFile,
            R"({"d":{"data":"SGk="},"b":{"bool":true},"i":{"integer":-5},"s":{"string":"x"}})");
  SimUserDefaults d(home.path());
  EXPECT_EQ(d.dataForKey("d"), "Hi");
  EXPECT_TRUE(d.boolForKey("b"));
  EXPECT_EQ(d.integerForKey("i"), -5);
  EXPECT_EQ(d.stringForKey("s"), "x");
}

TEST(SimUserDefaults, SimMacKeepsItsDefaultsInTheHomeFolder) {
  testing::TempHome home;
  VirtualExecutors executors;
  const auto scenario = testing::scenario(15, 1440, std::nullopt, 300, {});
  {
    SimMac mac(scenario, executors, home.path());
    mac.platform().defaults.setInteger("NSStatusItem Preferred Position Kestrune.main", 300);
  }
  SimMac mac(scenario, executors, home.path());
  EXPECT_EQ(mac.platform().defaults.integerForKey("NSStatusItem Preferred Position Kestrune.main"),
            300);
}

TEST(SimUserDefaults, SimMacWithoutAHomeFolderKeepsDefaultsInMemory) {
  VirtualExecutors executors;
  const auto scenario = testing::scenario(15, 1440, std::nullopt, 300, {});
  {
    SimMac mac(scenario, executors);
    mac.platform().defaults.setBool("Kestrune.askedScreenRecording", true);
    EXPECT_TRUE(mac.platform().defaults.boolForKey("Kestrune.askedScreenRecording"));
  }
  SimMac mac(scenario, executors);
  EXPECT_FALSE(mac.platform().defaults.boolForKey("Kestrune.askedScreenRecording"));
}

}  // namespace
}  // namespace kestrune::sim
