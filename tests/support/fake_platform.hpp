#pragma once

#include <map>
#include <variant>
#include <vector>

#include "core/virtual_executors.hpp"
#include "platform/platform.hpp"
#include "support/fake_accessibility.hpp"
#include "support/fake_event_system.hpp"

namespace kestrune::testing {

// Ports with canned answers, for tests of one exact platform reply.
struct FakeWindowServer final : WindowServer {
  std::optional<std::vector<WindowInfo>> list = std::vector<WindowInfo>{};
  std::optional<std::vector<WindowInfo>> copyWindowInfo(WindowListOption, uint32_t) override {
    return list;
  }
};

struct FakeWorkspace final : Workspace {
  std::vector<RunningApplication> apps;
  std::vector<RunningApplication> runningApplications() override { return apps; }
  std::optional<std::string> urlForApplication(const std::string&) override { return std::nullopt; }
  Subscription observe(WorkspaceEvent, std::function<void(const RunningApplication&)>) override {
    return {};
  }

  struct OpenedApplication {
    std::string bundlePath;
    bool createsNewInstance = false;
  };
  std::vector<std::string> openedURLs;
  std::vector<OpenedApplication> openedApplications;
  bool openSucceeds = true;
  // When false, completions wait in heldCompletions until the test calls them.
  bool completesAtOnce = true;
  std::vector<std::function<void(bool)>> heldCompletions;

  bool openURL(const std::string& url) override {
    openedURLs.push_back(url);
    return true;
  }
  void openApplication(const std::string& bundlePath, bool createsNewInstance,
                       std::function<void(bool)> completion) override {
    openedApplications.push_back({bundlePath, createsNewInstance});
    if (completesAtOnce) {
      completion(openSucceeds);
    } else {
      heldCompletions.push_back(std::move(completion));
    }
  }
};

struct FakeScreens final : Screens {
  std::vector<ScreenInfo> all;
  std::vector<ScreenInfo> screens() override { return all; }
  std::optional<ScreenInfo> mainScreen() override {
    if (all.empty()) return std::nullopt;
    return all.front();
  }
  double statusBarThickness() override { return 24; }
};

struct FakeSystemInfo final : SystemInfo {
  int majorVersion = 15;
  pid_t pid = 1000;
  int operatingSystemMajorVersion() override { return majorVersion; }
  pid_t processIdentifier() override { return pid; }
  int signalProbe(pid_t) override { return 0; }
  std::optional<std::string> environment(const std::string&) override { return std::nullopt; }
  int secondsFromGMT(WallTime) override { return 0; }
};

struct FakeFileSystem final : FileSystem {
  std::string homeDirectory() override { return "/nonexistent"; }
  std::string cachesDirectory() override { return "/nonexistent/Library/Caches"; }
  bool createDirectory(const std::string&) override { return false; }
  std::optional<std::string> readFile(const std::string&) override { return std::nullopt; }
  std::optional<uint64_t> fileSize(const std::string&) override { return std::nullopt; }
  bool removeItem(const std::string&) override { return false; }
  std::unique_ptr<WritableFile> openForWriting(const std::string&) override { return nullptr; }
  bool writeAtomically(const std::string&, std::string_view) override { return false; }
};

// An in-memory defaults domain that counts the writes to each key.
struct FakeUserDefaults final : UserDefaults {
  struct Data {
    std::string bytes;
  };
  using Value = std::variant<Data, bool, int64_t, std::string>;
  std::map<std::string, Value> values;
  std::map<std::string, int> writes;  // every set and removal, per key

  std::optional<std::string> dataForKey(const std::string& key) override {
    const auto* v = find(key);
    const auto* d = v ? std::get_if<Data>(v) : nullptr;
    return d ? std::optional(d->bytes) : std::nullopt;
  }
  void setData(const std::string& key, std::string_view bytes) override {
    put(key, Data{std::string(bytes)});
  }
  bool boolForKey(const std::string& key) override {
    const auto* v = find(key);
    if (!v) return false;
    if (const auto* b = std::get_if<bool>(v)) return *b;
    if (const auto* i = std::get_if<int64_t>(v)) return *i != 0;
    if (const auto* s = std::get_if<std::string>(v))
      return *s == "true" || *s == "YES" || *s == "1";
    return false;
  }
  void setBool(const std::string& key, bool value) override { put(key, value); }
  std::optional<int64_t> integerForKey(const std::string& key) override {
    const auto* v = find(key);
    if (!v) return std::nullopt;
    if (const auto* b = std::get_if<bool>(v)) return *b ? 1 : 0;
    if (const auto* i = std::get_if<int64_t>(v)) return *i;
    return std::nullopt;
  }
  void setInteger(const std::string& key, int64_t value) override { put(key, value); }
  std::optional<std::string> stringForKey(const std::string& key) override {
    const auto* v = find(key);
    const auto* s = v ? std::get_if<std::string>(v) : nullptr;
    return s ? std::optional(*s) : std::nullopt;
  }
  void setString(const std::string& key, std::string_view value) override {
    put(key, std::string(value));
  }
  std::optional<DefaultsObjectKind> objectKind(const std::string& key) override {
    const auto* v = find(key);
    if (!v) return std::nullopt;
    constexpr DefaultsObjectKind kinds[] = {DefaultsObjectKind::data, DefaultsObjectKind::boolean,
                                            DefaultsObjectKind::number, DefaultsObjectKind::string};
    return kinds[v->index()];
  }
  void removeObject(const std::string& key) override {
    if (values.erase(key) > 0) ++writes[key];
  }
  bool synchronize() override { return true; }

 private:
  const Value* find(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? nullptr : &found->second;
  }
  void put(const std::string& key, Value value) {
    values.insert_or_assign(key, std::move(value));
    ++writes[key];
  }
};

// No Screen Recording unless `granted`: nothing can be captured.
struct FakeScreenCapture final : ScreenCapture {
  bool granted = false;
  int requests = 0;
  bool preflightAccess() override { return granted; }
  bool requestAccess() override {
    ++requests;
    return granted;
  }
  std::optional<ShareableContent> shareableContent(bool, bool) override { return std::nullopt; }
  uint32_t mainDisplayID() override { return 1; }
  std::optional<Bitmap> captureDisplay(uint32_t, const CaptureConfiguration&) override {
    return std::nullopt;
  }
  std::optional<Bitmap> captureWindow(uint32_t, const CaptureConfiguration&) override {
    return std::nullopt;
  }
};

struct FakeImageCodec final : ImageCodec {
  std::optional<std::string> encodePNG(const Bitmap&) override { return std::nullopt; }
  std::optional<Bitmap> decodePNG(std::string_view) override { return std::nullopt; }
};

struct FakeApplication final : Application {
  std::string path = "/Applications/Kestrune.app";
  int terminations = 0;
  std::vector<std::string> changes;
  std::map<std::string, std::string> info;
  std::string bundlePath() override { return path; }
  std::optional<std::string> infoString(const std::string& key) override {
    const auto it = info.find(key);
    return it == info.end() ? std::nullopt : std::optional<std::string>(it->second);
  }
  void terminate() override { ++terminations; }
  Menu mainMenu() override { return nullptr; }
  void setMainMenu(Menu) override { changes.emplace_back("menu"); }
  void setMinimalMainMenu(const std::string& title) override {
    changes.push_back("minimal " + title);
  }
  void setActivationPolicy(ActivationPolicy p) override {
    changes.emplace_back(p == ActivationPolicy::regular ? "regular" : "accessory");
  }
  void deactivate() override { changes.emplace_back("deactivate"); }
  void activateIgnoringOtherApps() override { changes.emplace_back("activate"); }
};

struct FakePlatform {
  FakeAccessibility accessibility;
  FakeWindowServer windowServer;
  FakeWorkspace workspace;
  FakeScreens screens;
  FakeSystemInfo system;
  FakeFileSystem fileSystem;
  FakeUserDefaults defaults;
  FakeScreenCapture screenCapture;
  FakeImageCodec imageCodec;
  FakeApplication application;
  FakeEventSystem events;
  VirtualExecutors executors;

  [[nodiscard]] Platform platform() {
    return Platform{accessibility, windowServer,  workspace,  screens,     system, fileSystem,
                    defaults,      screenCapture, imageCodec, application, events, executors};
  }
};

}  // namespace kestrune::testing
