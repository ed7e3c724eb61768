#include "sim/sim_ports.hpp"

#include <atomic>
#include <cerrno>
#include <memory>

namespace kestrune::sim {

std::optional<std::vector<WindowInfo>> SimWindowServer::copyWindowInfo(WindowListOption option,
                                                                       uint32_t /*relative*/) {
  return world_.windowList(option);
}

std::vector<RunningApplication> SimWorkspace::runningApplications() {
  return world_.runningApplications();
}

std::optional<std::string> SimWorkspace::urlForApplication(const std::string& bundleIdentifier) {
  for (const auto& app : world_.apps()) {
    if (app.bundleID == bundleIdentifier && app.bundlePath) return app.bundlePath;
  }
  return std::nullopt;
}

Subscription SimWorkspace::observe(WorkspaceEvent event,
                                   std::function<void(const RunningApplication&)> handler) {
  // A notification already posted checks that its subscription is still
  // live, so that nothing arrives after the subscription ended.
  auto live = std::make_shared<std::atomic<bool>>(true);
  auto shared =
      std::make_shared<std::function<void(const RunningApplication&)>>(std::move(handler));
  auto connection = std::make_shared<Subscription>(world_.observeWorkspace(
      [this, event, live, shared](WorkspaceEvent e, const RunningApplication& app) {
        if (e != event) return;
        main_.post([live, shared, app] {
          if (*live) (*shared)(app);
        });
      }));
  return Subscription([live, connection] {
    *live = false;
    connection->reset();
  });
}

// A URL with a scheme opens in some app; a bare string opens nothing.
bool SimWorkspace::openURL(const std::string& url) {
  world_.recordOpenURL(url);
  const auto colon = url.find(':');
  return colon != std::string::npos && colon > 0;
}

void SimWorkspace::openApplication(const std::string& bundlePath, bool createsNewInstance,
                                   std::function<void(bool succeeded)> completion) {
  const bool opened = world_.recordOpenApplication(bundlePath, createsNewInstance);
  if (!completion) return;
  background_.post([completion = std::move(completion), opened] { completion(opened); });
}

ScreenInfo screenInfo(const ScenarioScreen& s, double primaryHeight) {
  ScreenInfo info;
  info.frame = flipVertically(s.frame, primaryHeight);
  const Rect visible{s.frame.minX(), s.frame.minY() + s.menuBarHeight, s.frame.width(),
                     s.frame.height() - s.menuBarHeight - s.dockHeight};
  info.visibleFrame = flipVertically(visible, primaryHeight);
  info.backingScaleFactor = s.scale;
  if (s.notchWidth) {
    info.safeAreaInsets.top = s.menuBarHeight;
    const double side = (s.frame.width() - *s.notchWidth) / 2;
    info.auxiliaryTopLeftArea =
        flipVertically(Rect{s.frame.minX(), s.frame.minY(), side, s.menuBarHeight}, primaryHeight);
    info.auxiliaryTopRightArea = flipVertically(
        Rect{s.frame.maxX() - side, s.frame.minY(), side, s.menuBarHeight}, primaryHeight);
  }
  return info;
}

std::vector<ScreenInfo> SimScreens::screens() {
  const auto& all = world_.scenario().screens;
  const double primaryHeight = all.front().frame.height();
  std::vector<ScreenInfo> result;
  result.reserve(all.size());
  for (const auto& s : all) result.push_back(screenInfo(s, primaryHeight));
  return result;
}

std::optional<ScreenInfo> SimScreens::mainScreen() {
  return screens().front();
}

double SimScreens::statusBarThickness() {
  return world_.scenario().menuBar.statusBarThickness;
}

int SimSystemInfo::operatingSystemMajorVersion() {
  return world_.scenario().osMajorVersion;
}

pid_t SimSystemInfo::processIdentifier() {
  return world_.scenario().ownPID;
}

int SimSystemInfo::signalProbe(pid_t pid) {
  if (pid == world_.scenario().ownPID) return 0;
  const auto app = world_.app(pid);
  if (!app) return ESRCH;
  return app->processProbe == ProcessProbe::permissionDenied ? EPERM : 0;
}

std::optional<std::string> SimSystemInfo::environment(const std::string& name) {
  const auto& env = world_.scenario().environment;
  auto it = env.find(name);
  if (it == env.end()) return std::nullopt;
  return it->second;
}

}  // namespace kestrune::sim

namespace kestrune::sim {

int SimSystemInfo::secondsFromGMT(WallTime /*when*/) {
  return world_.scenario().utcOffsetMinutes * 60;
}

std::optional<std::string> SimApplication::infoString(const std::string& key) {
  const auto& info = world_.scenario().infoDictionary;
  const auto it = info.find(key);
  if (it == info.end()) return std::nullopt;
  return it->second;
}

void SimApplication::terminate() {
  world_.terminate();
  if (onTerminate_) onTerminate_();
}

void SimApplication::updateBar() {
  if (!active_ || policy_ != ActivationPolicy::regular) {
    world_.setKestruneMenus(std::nullopt);
    return;
  }
  // The Apple menu, then each title with its padding.
  World::AppMenus menus{menuTitles(), 40};
  for (const auto& title : menus.titles) menus.width += 20 + 8 * static_cast<double>(title.size());
  world_.setKestruneMenus(std::move(menus));
}

void SimApplication::setMainMenu(Menu menu) {
  menu_ = std::move(menu);
  updateBar();
  std::string titles;
  for (const auto& title : menuTitles()) titles += " " + title;
  changes_.push_back("menu" + titles);
}

void SimApplication::setMinimalMainMenu(const std::string& title) {
  menu_ = std::make_shared<std::vector<std::string>>(std::vector<std::string>{title});
  updateBar();
  changes_.push_back("minimal menu " + title);
}

std::vector<std::string> SimApplication::menuTitles() const {
  if (!menu_) return {};
  return *static_cast<const std::vector<std::string>*>(menu_.get());
}

void SimApplication::setActivationPolicy(ActivationPolicy policy) {
  policy_ = policy;
  updateBar();
  changes_.emplace_back(policy == ActivationPolicy::regular ? "policy regular"
                                                            : "policy accessory");
}

void SimApplication::deactivate() {
  active_ = false;
  updateBar();
  changes_.emplace_back("deactivate");
}

void SimApplication::activateIgnoringOtherApps() {
  active_ = true;
  updateBar();
  changes_.emplace_back("activate");
}

}  // namespace kestrune::sim
