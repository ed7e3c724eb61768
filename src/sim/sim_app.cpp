#include "sim/sim_app.hpp"

#include <sstream>
#include <stdexcept>
#include <utility>

#include "sim/instance_executors.hpp"
#include "sim/sim_ports.hpp"

namespace kestrune::sim {
namespace {

// A System Settings pane by the name the user sees, or the URL itself.
std::string describeOpenedURL(const std::string& url) {
  if (url == Permissions::kAccessibilityPaneURL) {
    return "opened System Settings › Privacy & Security › Accessibility";
  }
  if (url == Permissions::kScreenRecordingPaneURL) {
    return "opened System Settings › Privacy & Security › Screen Recording";
  }
  return "opened " + url;
}

// The alert's message, its text and buttons indented under it, and the
// answer.
std::string describeAlert(const SimAlerts::Shown& shown) {
  if (shown.answer == "(error)") return "error alert: \"" + shown.request.message + "\"";
  std::string text = "alert: \"" + shown.request.message + "\"\n";
  std::istringstream paragraphs(shown.request.informativeText);
  for (std::string line; std::getline(paragraphs, line);) {
    if (!line.empty()) text += "  " + line + "\n";
  }
  text += " ";
  for (const auto& button : shown.request.buttons) text += " [" + button + "]";
  return text + " → answered \"" + shown.answer + "\"";
}

std::string describeLoginItemChange(const std::string& change) {
  const bool adding = change.starts_with("register");
  const auto failed = change.find(" failed: ");
  if (failed != std::string::npos) {
    return std::string(adding ? "adding" : "removing") +
           " the login item failed: " + change.substr(failed + 9);
  }
  return adding ? "Kestrune added itself to the login items"
                : "Kestrune removed itself from the login items";
}

std::string describeUpdater(const std::string& entry) {
  if (entry.starts_with("start ")) return "the updater started (feed " + entry.substr(6) + ")";
  return "checked for updates (feed " + entry.substr(entry.find(' ') + 1) + ")";
}

}  // namespace

// One run of the app's process: its executors, its own workspace and
// application objects, and the delegate with everything it made.
struct SimApp::Instance {
  Instance(SimMac& mac, Executors& base, std::function<void()> onTerminate)
      : executors(base),
        workspace(mac.world(), executors),
        application(mac.world(), std::move(onTerminate)),
        platform{mac.platform().accessibility,
                 mac.platform().windowServer,
                 workspace,
                 mac.platform().screens,
                 mac.platform().system,
                 mac.platform().fileSystem,
                 mac.platform().defaults,
                 mac.platform().screenCapture,
                 mac.platform().imageCodec,
                 application,
                 mac.platform().events,
                 executors},
        openedAtLaunch(mac.world().openedApplications().size()) {}

  InstanceExecutors executors;
  SimWorkspace workspace;
  SimApplication application;
  Platform platform;
  size_t openedAtLaunch;  // apps the Mac had opened when this run started
  std::shared_ptr<AppDelegate> delegate;
};

SimApp::SimApp(Scenario scenario, VirtualExecutors& executors, std::string home)
    : executors_(executors),
      mac_(std::move(scenario), executors, std::move(home)),
      statusBar_(mac_.world(), mac_.platform().defaults),
      loginItems_(mac_.world().scenario().loginItem, mac_.world().scenario().osMajorVersion),
      settingsWindows_(mac_.world(), executors.main()),
      panelWindow_(mac_.world()) {}

SimApp::~SimApp() {
  if (instance_) endInstance(false);
}

void SimApp::launch() {
  if (instance_) return;
  instance_ = std::make_unique<Instance>(mac_, executors_, [this] { terminated(); });
  Instance& run = *instance_;
  run.application.setActivationPolicy(ActivationPolicy::accessory);
  ShellPorts ports{statusBar_,
                   hotKeys_,
                   alerts_,
                   aboutPanel_,
                   loginItems_,
                   settingsWindows_,
                   panelWindow_,
                   [this, &run]() -> std::unique_ptr<UpdaterService> {
                     return std::make_unique<SimUpdater>(run.application, run.executors.main(),
                                                         updaterLog_);
                   }};
  ++launches_;
  collectOutcomes();
  journal_.emplace_back(launches_ == 1 ? "Kestrune launched" : "Kestrune launched again");
  run.delegate = AppDelegate::create(run.platform, std::move(ports), debugOut_);
  logPath_ = run.delegate->diag().path();
  run.delegate->applicationDidFinishLaunching();
}

void SimApp::quit() {
  if (instance_) endInstance(true);
}

void SimApp::terminated() {
  if (!instance_) return;
  // Nothing of the process runs after this; its objects go once the call
  // that terminated it has returned.
  instance_->executors.end();
  executors_.main().post([alive = std::weak_ptr<const bool>(alive_), this, run = launches_] {
    if (alive.lock() && instance_ && launches_ == run) endInstance(true);
  });
}

void SimApp::endInstance(bool followRelaunch) {
  std::unique_ptr<Instance> ended = std::move(instance_);
  ended->executors.end();
  ended->delegate.reset();
  // What the system takes back from a process that ended, whatever the app
  // left behind.
  statusBar_.processEnded();
  hotKeys_.processEnded();
  panelWindow_.processEnded();
  settingsWindows_.processEnded();
  world().setKestruneMenus(std::nullopt);
  const auto opened = world().openedApplications();
  bool relaunch = false;
  for (size_t i = ended->openedAtLaunch; followRelaunch && i < opened.size(); ++i) {
    relaunch =
        relaunch || (opened[i].bundlePath == world().bundlePath() && opened[i].createsNewInstance);
  }
  ended.reset();
  collectOutcomes();
  journal_.emplace_back("Kestrune quit");
  if (relaunch) launch();
}

std::vector<std::string> SimApp::takeOutcomes() {
  collectOutcomes();
  return std::exchange(journal_, {});
}

void SimApp::collectOutcomes() {
  auto& lines = journal_;
  const auto& alerts = alerts_.shown();
  for (; told_.alerts < alerts.size(); ++told_.alerts) {
    lines.push_back(describeAlert(alerts[told_.alerts]));
  }
  for (; told_.prompts < world().accessibilityPrompts(); ++told_.prompts) {
    lines.emplace_back("macOS asked the user to allow Kestrune to control the computer");
  }
  const auto urls = world().openedURLs();
  for (; told_.urls < urls.size(); ++told_.urls)
    lines.push_back(describeOpenedURL(urls[told_.urls]));
  const auto& about = aboutPanel_.shown();
  for (; told_.about < about.size(); ++told_.about) {
    const AboutPanelOptions& o = about[told_.about];
    lines.push_back("the About panel opened: " + o.applicationName + " " + o.applicationVersion +
                    " (" + o.version + ")");
  }
  const auto updates = updaterLog_.entries();
  for (; told_.updater < updates.size(); ++told_.updater) {
    lines.push_back(describeUpdater(updates[told_.updater]));
  }
  const auto login = loginItems_.changes();
  for (; told_.login < login.size(); ++told_.login)
    lines.push_back(describeLoginItemChange(login[told_.login]));
  const auto opened = world().openedApplications();
  for (; told_.opened < opened.size(); ++told_.opened) {
    const OpenedApplication& o = opened[told_.opened];
    lines.push_back((o.createsNewInstance ? "opened a new instance of " : "opened ") +
                    o.bundlePath);
  }
}

SimStatusItem& SimApp::statusItem() {
  if (statusBar_.item() == nullptr) throw std::logic_error("Kestrune has no status item");
  return *statusBar_.item();
}

AppDelegate& SimApp::app() {
  if (!instance_) throw std::logic_error("Kestrune is not running");
  return *instance_->delegate;
}

SimApplication& SimApp::application() {
  if (!instance_) throw std::logic_error("Kestrune is not running");
  return instance_->application;
}

}  // namespace kestrune::sim
