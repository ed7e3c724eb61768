#include "app/self_test_checks.hpp"

#include <array>
#include <cmath>
#include <cstdio>

#include "app/app_delegate.hpp"
#include "app/hotkey_manager.hpp"
#include "discovery/item_scanner.hpp"
#include "picker/item_capturer.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"

namespace kestrune {
namespace {

using CheckPtr = std::shared_ptr<SelfTestCheck>;
using Done = std::function<void()>;
using Context = std::shared_ptr<SelfTestContext>;

constexpr double kTolerance = 1;  // points

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string describe(const Rect& r) {
  return "(" + number(r.origin.x) + ", " + number(r.origin.y) + ", " + number(r.size.width) +
         "\u00D7" + number(r.size.height) + ")";
}

std::string describe(const ScreenInfo& s) {
  const auto area = [](const std::optional<Rect>& r) { return r ? describe(*r) : "none"; };
  return "frame " + describe(s.frame) + ", visible " + describe(s.visibleFrame) +
         ", safe-area top " + number(s.safeAreaInsets.top) + ", left area " +
         area(s.auxiliaryTopLeftArea) + ", right area " + area(s.auxiliaryTopRightArea) +
         ", scale " + number(s.backingScaleFactor);
}

bool inside(const Rect& inner, const Rect& outer) {
  return inner.minX() >= outer.minX() - kTolerance && inner.minY() >= outer.minY() - kTolerance &&
         inner.maxX() <= outer.maxX() + kTolerance && inner.maxY() <= outer.maxY() + kTolerance;
}

std::optional<Rect> boundsOf(const WindowInfo& w) {
  if (!w.bounds || !w.bounds->x || !w.bounds->y || !w.bounds->width || !w.bounds->height) {
    return std::nullopt;
  }
  return Rect{*w.bounds->x, *w.bounds->y, *w.bounds->width, *w.bounds->height};
}

std::string describe(const WindowInfo& w) {
  const auto bounds = boundsOf(w);
  return "#" + std::to_string(w.number.value_or(0)) + " of " + w.ownerName.value_or("?") +
         " (pid " + std::to_string(w.ownerPID.value_or(0)) + ") at " +
         (bounds ? describe(*bounds) : "no bounds") + ", " +
         (w.isOnscreen.value_or(false) ? "on screen" : "off screen") + ", name " +
         (w.name ? "\"" + *w.name + "\"" : "withheld");
}

std::vector<WindowInfo> statusWindowsOf(const std::vector<WindowInfo>& list) {
  std::vector<WindowInfo> status;
  for (const auto& w : list) {
    if (w.layer == ItemScanner::kStatusWindowLayer) status.push_back(w);
  }
  return status;
}

constexpr Duration kQuickLimit = seconds(5);

// A check made of calls that answer at once, on the main thread.
SelfTest::Step atOnce(std::string name, std::string does, const Context& context,
                      void (*check)(SelfTestContext&, SelfTestCheck&)) {
  return {std::move(name), std::move(does), kQuickLimit,
          [context, check](const CheckPtr& record, const Done& done) {
            check(*context, *record);
            done();
          }};
}

// A check of calls that block: `look` runs off the main thread, `judge`
// then weighs what it saw on the main thread.
template <class Seen>
SelfTest::Step offMainThread(std::string name, std::string does, Duration limit,
                             const Context& context, Seen (*look)(SelfTestContext&),
                             void (*judge)(const Seen&, SelfTestCheck&)) {
  return {std::move(name), std::move(does), limit,
          [context, look, judge](const CheckPtr& record, const Done& done) {
            context->platform.executors.background().post([context, look, judge, record, done] {
              context->platform.executors.main().post([seen = look(*context), judge, record, done] {
                judge(seen, *record);
                done();
              });
            });
          }};
}

// --- screens

void checkScreens(SelfTestContext& context, SelfTestCheck& check) {
  Screens& screens = context.platform.screens;
  const auto all = screens.screens();
  const auto main = screens.mainScreen();
  const double thickness = screens.statusBarThickness();
  check.see("screens", static_cast<int64_t>(all.size()));
  for (size_t i = 0; i < all.size(); ++i) {
    const ScreenInfo& s = all[i];
    check.see("screen " + std::to_string(i + 1), describe(s));
    check.expect(!s.frame.isEmpty(), "screen " + std::to_string(i + 1) + " has no size");
    check.expect(inside(s.visibleFrame, s.frame),
                 "screen " + std::to_string(i + 1) + "'s visible frame is outside its frame");
    check.expect(s.backingScaleFactor >= 1,
                 "screen " + std::to_string(i + 1) + " has a backing scale below 1");
  }
  check.see("main screen", main ? describe(main->frame) : "none");
  check.see("status bar thickness", thickness);
  if (check.expect(!all.empty(), "there is no screen")) {
    check.expect(near(all.front().frame.origin.x, 0) && near(all.front().frame.origin.y, 0),
                 "the primary screen is not at the origin of the screen space");
  }
  check.expect(main.has_value(), "there is no main screen");
  check.expect(thickness > 0, "the status bar has no thickness");
}

SelfTest::Step screensStep(const Context& context) {
  return atOnce("screens",
                "Read every screen's frame, visible frame, safe-area top inset, the areas beside "
                "the notch and backing scale, the main screen and the status bar's thickness.",
                context, checkScreens);
}

// --- window list

struct WindowListSeen {
  std::optional<std::vector<WindowInfo>> list;
  size_t items = 0;
};

void checkWindowList(const WindowListSeen& seen, SelfTestCheck& check) {
  if (!check.expect(seen.list.has_value(), "the window server gave no window list")) return;
  const auto status = statusWindowsOf(*seen.list);
  check.see("windows", static_cast<int64_t>(seen.list->size()));
  check.see("status windows at layer 25", static_cast<int64_t>(status.size()));
  check.see("status items the scanner takes", static_cast<int64_t>(seen.items));
  if (!check.expect(!status.empty(), "no status item window at layer 25")) return;
  check.see("example", describe(status.front()));
  size_t incomplete = 0;
  for (const auto& w : status) {
    if (!w.number || !w.ownerPID || !boundsOf(w)) ++incomplete;
  }
  check.expect(incomplete == 0,
               std::to_string(incomplete) + " status windows lack a number, an owner or bounds");
  check.expect(seen.items > 0, "the scanner took none of the status windows for a status item");
}

WindowListSeen readWindowList(SelfTestContext& context) {
  ItemScanner scanner(context.platform, context.layout, context.diag);
  return {context.platform.windowServer.copyWindowInfo(WindowListOption::all, 0),
          scanner.statusWindows().size()};
}

SelfTest::Step windowListStep(const Context& context) {
  return offMainThread<WindowListSeen>(
      "window list",
      "Read the window list (CGWindowListCopyWindowInfo), picked out the status item windows at "
      "layer 25 and let the scanner choose the status items among them.",
      seconds(10), context, readWindowList, checkWindowList);
}

// --- Accessibility

constexpr float kMessagingTimeout = 1;  // seconds
constexpr Duration kTimeoutSlack = seconds(1);
// Apps that always have an extras menu bar, in the order they are asked.
constexpr auto kMenuBarApps = std::to_array<std::string_view>(
    {"com.apple.controlcenter", "com.apple.systemuiserver", MenuBarLayout::kAgentBundleID});

struct AccessibilitySeen {
  bool trusted = false;
  std::optional<RunningApplication> target;
  AXError timeoutSet = AXError::success;
  AXError read = AXError::success;
  std::string value = "none";
  Duration took{};
};

std::optional<RunningApplication> menuBarApp(Workspace& workspace) {
  const auto apps = workspace.runningApplications();
  for (std::string_view id : kMenuBarApps) {
    for (const auto& app : apps) {
      if (app.bundleIdentifier == id) return app;
    }
  }
  return std::nullopt;
}

std::string describeValue(Accessibility& ax, const AXAnyValue& value) {
  const auto* element = std::get_if<AXElement>(&value.value);
  if (!element) return "not an element";
  ax.setMessagingTimeout(*element, kMessagingTimeout);
  AXAnyValue children;
  if (ax.copyAttributeValue(*element, "AXChildren", children) != AXError::success) {
    return "an element";
  }
  const auto* array = std::get_if<AXArray>(&children.value);
  return "an element with " + std::to_string(array ? array->size() : 0) + " children";
}

AccessibilitySeen readExtrasBar(SelfTestContext& context) {
  const Platform& platform = context.platform;
  Accessibility& ax = platform.accessibility;
  const Clock& clock = platform.executors.main();
  AccessibilitySeen seen;
  seen.trusted = ax.isProcessTrusted();
  seen.target = menuBarApp(platform.workspace);
  if (!seen.target) return seen;
  const AXElement app = ax.createApplication(seen.target->pid);
  seen.timeoutSet = ax.setMessagingTimeout(app, kMessagingTimeout);
  AXAnyValue value;
  const TimePoint start = clock.now();
  seen.read = ax.copyAttributeValue(app, "AXExtrasMenuBar", value);
  seen.took = clock.now() - start;
  if (seen.read == AXError::success) seen.value = describeValue(ax, value);
  return seen;
}

void checkAccessibility(const AccessibilitySeen& seen, SelfTestCheck& check) {
  check.see("AXIsProcessTrusted", seen.trusted);
  if (!check.expect(seen.target.has_value(), "none of the system's menu bar apps is running")) {
    return;
  }
  check.see("asked", seen.target->localizedName.value_or("?") + " (" +
                         seen.target->bundleIdentifier.value_or("?") + ", pid " +
                         std::to_string(seen.target->pid) + ")");
  check.see("answer", std::string(axErrorName(seen.read)));
  check.see("value", seen.value);
  check.see("seconds", toSeconds(seen.took));
  check.expect(seen.timeoutSet == AXError::success,
               "setting the time-out failed with " + std::string(axErrorName(seen.timeoutSet)));
  check.expect(seen.took <= seconds(kMessagingTimeout) + kTimeoutSlack,
               "the read took " + number(toSeconds(seen.took)) + " s, longer than its time-out");
  if (seen.trusted) {
    check.expect(seen.read == AXError::success || seen.read == AXError::noValue ||
                     seen.read == AXError::attributeUnsupported,
                 "with Accessibility, the read failed with " + std::string(axErrorName(seen.read)));
  } else {
    check.expect(seen.read == AXError::apiDisabled, "without Accessibility, the read answered " +
                                                        std::string(axErrorName(seen.read)) +
                                                        " instead of kAXErrorAPIDisabled");
  }
}

SelfTest::Step accessibilityStep(const Context& context) {
  return offMainThread<AccessibilitySeen>(
      "accessibility",
      "Read AXIsProcessTrusted, then the extras menu bar of a system menu bar app with a "
      "messaging time-out of 1 s.",
      seconds(10), context, readExtrasBar, checkAccessibility);
}

// --- Screen Recording

// ScreenCaptureKit takes screenshots from macOS 14 on.
constexpr int kScreenshotsSince = 14;
// The port gives up on ScreenCaptureKit's answer after 10 s.
constexpr Duration kCaptureLimit = seconds(12);

struct CaptureSeen {
  bool granted = false;
  int macOS = 0;
  CaptureConfiguration asked;
  std::optional<Bitmap> shot;
  Duration took{};
};

CaptureSeen captureMenuBarCorner(SelfTestContext& context) {
  const Platform& platform = context.platform;
  ScreenCapture& capture = platform.screenCapture;
  const Clock& clock = platform.executors.main();
  CaptureSeen seen;
  seen.granted = capture.preflightAccess();
  seen.macOS = platform.system.operatingSystemMajorVersion();
  seen.asked.sourceRect = Rect{0, 0, 64, 24};
  seen.asked.width = 128;
  seen.asked.height = 48;
  const TimePoint start = clock.now();
  seen.shot = capture.captureDisplay(capture.mainDisplayID(), seen.asked);
  seen.took = clock.now() - start;
  return seen;
}

void checkCapture(const CaptureSeen& seen, SelfTestCheck& check) {
  check.see("CGPreflightScreenCaptureAccess", seen.granted);
  check.see("asked", std::to_string(seen.asked.width) + "\u00D7" +
                         std::to_string(seen.asked.height) + " pixels of the top left corner");
  check.see("result", seen.shot ? std::to_string(seen.shot->width) + "\u00D7" +
                                      std::to_string(seen.shot->height) + " pixels"
                                : std::string("none"));
  check.see("seconds", toSeconds(seen.took));
  check.expect(seen.took <= kCaptureLimit,
               "the capture took " + number(toSeconds(seen.took)) + " s to answer");
  if (seen.granted && seen.macOS >= kScreenshotsSince) {
    check.expect(seen.shot && seen.shot->isComplete() && seen.shot->width == seen.asked.width &&
                     seen.shot->height == seen.asked.height,
                 "with Screen Recording, the capture did not return the pixels asked for");
  } else {
    check.expect(!seen.shot, seen.granted ? "before macOS 14 a capture returned pixels"
                                          : "without Screen Recording a capture returned pixels");
  }
}

SelfTest::Step screenRecordingStep(const Context& context) {
  return offMainThread<CaptureSeen>(
      "screen recording",
      "Read CGPreflightScreenCaptureAccess, then captured a corner of the main display.",
      seconds(20), context, captureMenuBarCorner, checkCapture);
}

// --- user defaults

void checkDefaults(SelfTestContext& context, SelfTestCheck& check) {
  DefaultsSuites& suites = context.ports.defaultsSuites;
  const std::string key = SettingsStore::kDefaultsKey;
  const Settings written{true, false, false, false};  // every field off its default
  suites.remove(SelfTest::kDefaultsSuite);
  {
    const auto defaults = suites.open(SelfTest::kDefaultsSuite);
    SettingsStore(*defaults).setSettings(written);
    check.expect(defaults->synchronize(), "the suite could not be saved");
  }
  const auto again = suites.open(SelfTest::kDefaultsSuite);
  const auto stored = again->dataForKey(key);
  check.see("suite", std::string(SelfTest::kDefaultsSuite));
  check.see("written", encodeSettings(written));
  check.see("read back", stored.value_or("nothing"));
  check.expect(SettingsStore(*again).settings() == written,
               "the settings read back differ from those written");
  suites.remove(SelfTest::kDefaultsSuite);
  const bool gone = !suites.open(SelfTest::kDefaultsSuite)->objectKind(key);
  check.see("after removing the suite", gone ? "gone" : "still there");
  check.expect(gone, "the settings are still there after the suite was removed");
}

SelfTest::Step defaultsStep(const Context& context) {
  return atOnce("user defaults",
                "Wrote the settings record to a suite of its own, read it back through another "
                "object, then removed the suite.",
                context, checkDefaults);
}

// --- files

std::string folderOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

void checkFiles(SelfTestContext& context, SelfTestCheck& check) {
  FileSystem& files = context.platform.fileSystem;
  const std::string home = context.options.scratchDirectory + "/home";
  const std::string log = home + "/" + Diag::kRelativePath;
  const std::string icons = home + "/Library/Caches/" + ItemCapturer::kIconFolder;
  const std::string icon = icons + "/sample.png";
  check.see("home", home);
  check.expect(files.createDirectory(folderOf(log)), "could not create " + folderOf(log));
  check.expect(files.createDirectory(icons), "could not create " + icons);

  const std::string first = "first line\n";
  const std::string second = "appended line\n";
  check.expect(files.writeAtomically(log, first), "could not write " + log);
  auto handle = files.openForWriting(log);
  check.expect(handle && handle->seekToEnd() && handle->write(second) && handle->close(),
               "could not append to " + log);
  check.expect(files.readFile(log) == first + second, "the log does not read back as written");
  check.see("log bytes", static_cast<int64_t>(files.fileSize(log).value_or(0)));

  const auto png = context.platform.imageCodec.encodePNG(Bitmap::rgba(4, 4));
  check.expect(png && files.writeAtomically(icon, *png), "could not write " + icon);
  const auto bytes = files.readFile(icon);
  const auto decoded = bytes ? context.platform.imageCodec.decodePNG(*bytes) : std::nullopt;
  check.see("icon bytes", static_cast<int64_t>(bytes ? bytes->size() : 0));
  check.expect(decoded && decoded->width == 4 && decoded->height == 4,
               "the icon does not read back as a 4\u00D74 image");

  check.expect(files.removeItem(home), "could not remove " + home);
  check.expect(!files.readFile(log), "the log is still there after the home was removed");
}

SelfTest::Step filesStep(const Context& context) {
  return atOnce("files",
                "Created the log and icon cache folders under a scratch home, wrote and appended "
                "to the log, wrote a PNG icon, read both back, then removed the home.",
                context, checkFiles);
}

// --- executors

constexpr Duration kTick = milliseconds(50);
constexpr int kTicks = 3;
constexpr Duration kDelay = milliseconds(300);
constexpr Duration kExecutorsWait = milliseconds(600);
// How much earlier than asked a run loop timer may fire, by another clock.
constexpr Duration kEarliness = milliseconds(5);

// What the executors check records, on the main thread.
struct ExecutorsRun {
  TimePoint start;
  std::vector<std::string> events;
  std::vector<Duration> tickTimes;
  Duration delayed{};
  Timer timer;
  bool queueOffMain = true;
};

std::vector<std::string> expectedEvents() {
  std::vector<std::string> events{"post 1", "post 2", "queue 1", "queue 2", "queue 3"};
  for (int i = 1; i <= kTicks; ++i) events.push_back("tick " + std::to_string(i));
  events.emplace_back("delayed");
  return events;
}

std::string joined(const std::vector<std::string>& events) {
  std::string text;
  for (const auto& e : events) text += (text.empty() ? "" : ", ") + e;
  return text;
}

void checkExecutors(const ExecutorsRun& run, SelfTestCheck& check) {
  check.see("order", joined(run.events));
  check.see("delayed post after (s)", toSeconds(run.delayed));
  check.see("serial queue off the main thread", run.queueOffMain);
  check.expect(run.events == expectedEvents(),
               "the tasks ran in another order than " + joined(expectedEvents()));
  check.expect(run.delayed >= kDelay - kEarliness, "the delayed post ran before its delay");
  for (size_t i = 0; i < run.tickTimes.size(); ++i) {
    check.expect(run.tickTimes[i] >= kTick * static_cast<int>(i + 1) - kEarliness,
                 "tick " + std::to_string(i + 1) + " came early");
  }
  check.expect(!run.timer.isValid(), "the repeating timer is still valid");
}

void startExecutors(Executors& executors, const CheckPtr& check, const Done& done) {
  MainExecutor& main = executors.main();
  auto run = std::make_shared<ExecutorsRun>();
  run->start = main.now();
  const auto record = [run](std::string event) { run->events.push_back(std::move(event)); };
  main.post([record] { record("post 1"); });
  main.post([record] { record("post 2"); });
  auto queue = executors.makeSerialQueue("Kestrune.selfTest", QualityOfService::utility);
  for (int i = 1; i <= 3; ++i) {
    queue->post([&main, run, record, i] {
      const bool offMain = !main.isMainThread();
      main.post([run, record, offMain, i] {
        run->queueOffMain = run->queueOffMain && offMain;
        record("queue " + std::to_string(i));
      });
    });
  }
  run->timer = main.scheduleRepeating(kTick, [&main, run, record] {
    run->tickTimes.push_back(main.now() - run->start);
    record("tick " + std::to_string(run->tickTimes.size()));
    if (run->tickTimes.size() == kTicks) run->timer.invalidate();
  });
  main.postAfter(kDelay, [&main, run, record] {
    run->delayed = main.now() - run->start;
    record("delayed");
  });
  // Long enough after the last tick to see one that should not come.
  main.postAfter(kExecutorsWait, [run, check, done, queue] {
    checkExecutors(*run, *check);
    done();
  });
}

SelfTest::Step executorsStep(const Context& context) {
  return {"executors",
          "Posted two tasks to the main thread, three to a serial queue (each reporting back to "
          "the main thread), a repeating timer of 50 ms stopped after three ticks and a post "
          "delayed by 300 ms, then waited 600 ms.",
          kQuickLimit, [context](const CheckPtr& check, const Done& done) {
            startExecutors(context->platform.executors, check, done);
          }};
}

// --- status item

constexpr const char* kAutosaveName = "Kestrune.selfTest";
// Lets AppKit place the item, and the window server list it, before a look.
constexpr Duration kSettle = milliseconds(500);

// Whether the window list has a status window of this process at `frame`
// (top-left origin).
bool listsOwnWindowAt(const Platform& platform, const Rect& frame) {
  const auto list = platform.windowServer.copyWindowInfo(WindowListOption::all, 0);
  if (!list) return false;
  const pid_t own = platform.system.processIdentifier();
  for (const auto& w : statusWindowsOf(*list)) {
    const auto bounds = boundsOf(w);
    if (w.ownerPID == own && bounds && near(*bounds, frame)) return true;
  }
  return false;
}

std::optional<Rect> topLeftFrame(const Platform& platform, const std::optional<Rect>& frame) {
  const auto screens = platform.screens.screens();
  if (!frame || screens.empty()) return std::nullopt;
  return flipVertically(*frame, screens.front().frame.height());
}

void forgetAutosaveName(UserDefaults& defaults) {
  defaults.removeObject(std::string(AppDelegate::kPositionPrefix) + kAutosaveName);
  defaults.removeObject(std::string(AppDelegate::kVisiblePrefix) + kAutosaveName);
}

void removeStatusItem(const Context& context, const CheckPtr& check, const Done& done,
                      std::shared_ptr<StatusItem> item) {
  // The only reference: resetting it takes the item off the bar.
  const auto frame = item->buttonWindowFrame();
  check->see("button window frame", frame ? describe(*frame) : "none");
  const auto listed = topLeftFrame(context->platform, frame);
  if (check->expect(listed.has_value(), "the button has no window")) {
    check->expect(frame->width() > 0 && frame->height() > 0, "the button's window has no size");
    check->expect(listsOwnWindowAt(context->platform, *listed),
                  "the window list has no status window of Kestrune at the button's frame");
  }
  item.reset();
  context->platform.executors.main().postAfter(kSettle, [context, check, done, listed] {
    const bool gone = !listed || !listsOwnWindowAt(context->platform, *listed);
    check->see("after removal", gone ? "gone from the window list" : "still listed");
    check->expect(gone, "the status item's window is still listed after its removal");
    forgetAutosaveName(context->platform.defaults);
    done();
  });
}

SelfTest::Step statusItemStep(const Context& context) {
  return {"status item",
          "Created a status item with Kestrune's icon in the system status bar, read its "
          "button's frame, found its window in the window list, then removed it.",
          kQuickLimit, [context](const CheckPtr& check, const Done& done) {
            std::shared_ptr<StatusItem> item =
                context->ports.statusBar.statusItemWithSquareLength();
            item->setAutosaveName(kAutosaveName);
            item->setImage(MenuBarIcon::main());
            item->setToolTip("Kestrune self-test");
            context->platform.executors.main().postAfter(
                kSettle, [context, check, done, item = std::move(item)]() mutable {
                  removeStatusItem(context, check, done, std::move(item));
                });
          }};
}

// --- hot key

void checkHotKey(SelfTestContext& context, SelfTestCheck& check) {
  HotKeys& keys = context.ports.hotKeys;
  const auto handler =
      keys.installEventHandler(HotkeyManager::kEventType, [] { return kEventNotHandledErr; });
  check.expect(handler.has_value(), "Carbon refused the hot key handler");
  const auto hotKey = keys.registerEventHotKey(HotkeyManager::kKeyCode, HotkeyManager::kModifiers,
                                               HotkeyManager::kHotKeyID, 0);
  check.see("registered \u2303\u2325\u2318T", hotKey.has_value());
  if (check.expect(hotKey.has_value(),
                   "Carbon refused \u2303\u2325\u2318T: another app, or a running Kestrune, may "
                   "hold it")) {
    const CarbonStatus status = keys.unregisterEventHotKey(*hotKey);
    check.see("unregistered", static_cast<int64_t>(status));
    check.expect(status == kCarbonNoErr, "unregistering failed with " + std::to_string(status));
  }
  if (handler) {
    const CarbonStatus status = keys.removeEventHandler(*handler);
    check.expect(status == kCarbonNoErr,
                 "removing the handler failed with " + std::to_string(status));
  }
}

SelfTest::Step hotKeyStep(const Context& context) {
  return atOnce("hot key",
                "Installed a hot key handler, registered \u2303\u2325\u2318T, then unregistered "
                "it and removed the handler.",
                context, checkHotKey);
}

// --- login item

// SMAppService exists from macOS 13 on; before, the port answers "not found".
constexpr int kLoginItemServiceSince = 13;

const char* statusName(LoginItems::Status status) {
  switch (status) {
    case LoginItems::Status::notRegistered:
      return "not registered";
    case LoginItems::Status::enabled:
      return "enabled";
    case LoginItems::Status::requiresApproval:
      return "requires approval";
    case LoginItems::Status::notFound:
      return "not found";
  }
  return "unknown";
}

void checkLoginItem(SelfTestContext& context, SelfTestCheck& check) {
  LoginItems& items = context.ports.loginItems;
  const auto first = items.status();
  const auto second = items.status();
  check.see("status", std::string(statusName(first)));
  check.expect(first == second, "the status changed between two reads");
  if (context.platform.system.operatingSystemMajorVersion() < kLoginItemServiceSince) {
    check.expect(first == LoginItems::Status::notFound,
                 "before macOS 13 the status must be \"not found\"");
  }
}

SelfTest::Step loginItemStep(const Context& context) {
  return atOnce("login item", "Read the login item service's status twice, changing nothing.",
                context, checkLoginItem);
}

}  // namespace

bool near(double a, double b) {
  return std::abs(a - b) <= kTolerance;
}

bool near(const Rect& a, const Rect& b) {
  return near(a.minX(), b.minX()) && near(a.minY(), b.minY()) && near(a.width(), b.width()) &&
         near(a.height(), b.height());
}

std::vector<SelfTest::Step> systemChecks(const std::shared_ptr<SelfTestContext>& context) {
  return {screensStep(context),         windowListStep(context), accessibilityStep(context),
          screenRecordingStep(context), defaultsStep(context),   filesStep(context),
          executorsStep(context),       statusItemStep(context), hotKeyStep(context),
          loginItemStep(context)};
}

}  // namespace kestrune
