#pragma once

#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "sim/sim_app.hpp"

namespace kestrune::sim {

// Drives Kestrune on the simulated Mac as a user would, one command per
// line (see kHelp), telling what happened after each.
class Shell {
 public:
  static constexpr const char* kHelp = R"(Commands (one per line; # starts a comment):
  launch | quit-app | restart      start Kestrune (waiting for its first scan),
                                   end it as Activity Monitor's Quit does, or both
  click | right-click [ROW]        click Kestrune's status item; with ROW, choose
                                   that row of the menu the right click opens
  hotkey                           press ⌃⌥⌘T
  pick NAME                        click the picker cell named NAME
  open NAME                        open the picker if needed, then pick NAME
  key CODE | escape                press a key while the picker is key
  answer BUTTON                    the next alert is answered with BUTTON
  set only-hidden|labels|live-icons|hotkey on|off
  grant | revoke accessibility|screen-recording
  quit NAME | relaunch NAME        an app quits, or starts again
  settings [general|arrange]       open the settings window on a tab
  toggle LABEL | grant-row TITLE | reset-settings   in the settings window
  arrange reverse | arrange move NAME before NAME   apply from the list
  wait SECONDS                     let simulated time pass
  png DIR [bar|picker|settings]... draw the bar, the picker and the settings
                                   window as shown now (or only those named)
  state | log | help | exit)";

  Shell(SimApp& app, std::ostream& out) : app_(app), out_(out) {}

  // Runs every line of `in`; false when a command failed.
  bool run(std::istream& in, bool echo);
  // Runs one line; false when it failed (the reason is printed).
  bool execute(const std::string& line);
  [[nodiscard]] bool exited() const { return exited_; }
  // The pictures the last command wrote.
  [[nodiscard]] const std::vector<std::string>& pictures() const { return pictures_; }

 private:
  void launch();
  void hotkey();
  void pick(const std::string& name);
  void open(const std::string& name);
  void rightClick(const std::string& row);
  void settings(const std::string& tab);
  void arrange(const std::vector<std::string>& words);
  // Draws into `dir` what is shown of the bar, the picker and the settings
  // window, or only those named in `only`.
  void png(const std::string& dir, const std::vector<std::string>& only);
  void state();
  void wait(double seconds);
  // Lets simulated time pass in steps until `done`, for a minute at most;
  // the seconds it took, or nothing.
  std::optional<double> waitFor(const std::function<bool()>& done);
  // What the app did since the last report.
  void reportOutcomes();
  void reportPanel();

  SimApp& app_;
  std::ostream& out_;
  bool exited_ = false;
  std::vector<std::string> pictures_;
  std::vector<ScenarioApp> quitApps_;
};

}  // namespace kestrune::sim
