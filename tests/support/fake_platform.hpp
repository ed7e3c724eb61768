#pragma once

#include <vector>

#include "core/virtual_executors.hpp"
#include "platform/platform.hpp"
#include "support/fake_accessibility.hpp"

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
  std::optional<uint64_t> fileSize(const std::string&) override { return std::nullopt; }
  bool removeItem(const std::string&) override { return false; }
  std::unique_ptr<WritableFile> openForWriting(const std::string&) override { return nullptr; }
  bool writeAtomically(const std::string&, std::string_view) override { return false; }
};

struct FakePlatform {
  FakeAccessibility accessibility;
  FakeWindowServer windowServer;
  FakeWorkspace workspace;
  FakeScreens screens;
  FakeSystemInfo system;
  FakeFileSystem fileSystem;
  VirtualExecutors executors;

  [[nodiscard]] Platform platform() {
    return Platform{accessibility, windowServer, workspace, screens, system, fileSystem, executors};
  }
};

}  // namespace kestrune::testing
