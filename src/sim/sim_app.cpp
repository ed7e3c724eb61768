#include "sim/sim_app.hpp"

#include <stdexcept>

#include "sim/sim_ports.hpp"

namespace kestrune::sim {

SimApp::SimApp(Scenario scenario, VirtualExecutors& executors, std::string home)
    : executors_(executors),
      mac_(std::move(scenario), executors, std::move(home)),
      statusBar_(mac_.world(), mac_.platform().defaults),
      loginItems_(mac_.world().scenario().loginItem, mac_.world().scenario().osMajorVersion),
      settingsWindows_(mac_.world(), executors.main()),
      panelWindow_(mac_.world()) {}

SimApp::~SimApp() {
  quit();
}

void SimApp::launch() {
  if (delegate_) return;
  mac_.application().setActivationPolicy(ActivationPolicy::accessory);
  ShellPorts ports{statusBar_,
                   hotKeys_,
                   alerts_,
                   aboutPanel_,
                   loginItems_,
                   settingsWindows_,
                   panelWindow_,
                   [this]() -> std::unique_ptr<UpdaterService> {
                     return std::make_unique<SimUpdater>(mac_.platform().application,
                                                         executors_.main(), updaterLog_);
                   }};
  delegate_ = AppDelegate::create(mac_.platform(), std::move(ports), debugOut_);
  delegate_->applicationDidFinishLaunching();
}

void SimApp::quit() {
  delegate_.reset();
  // What the app had queued dies with it.
  executors_.runUntilIdle();
}

SimStatusItem& SimApp::statusItem() {
  if (statusBar_.item() == nullptr) throw std::logic_error("Kestrune has no status item");
  return *statusBar_.item();
}

AppDelegate& SimApp::app() {
  if (!delegate_) throw std::logic_error("Kestrune is not running");
  return *delegate_;
}

}  // namespace kestrune::sim
