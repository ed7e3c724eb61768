#include "sim/shell.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/hotkey_manager.hpp"
#include "arrange/arrange_view.hpp"
#include "picker/picker_view.hpp"
#include "sim/picker_renderer.hpp"
#include "sim/settings_renderer.hpp"

namespace kestrune::sim {
namespace {

std::string trim(const std::string& text) {
  const auto begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return {};
  const auto end = text.find_last_not_of(" \t\r");
  std::string word = text.substr(begin, end - begin + 1);
  if (word.size() >= 2 && word.front() == '"' && word.back() == '"') {
    word = word.substr(1, word.size() - 2);
  }
  return word;
}

std::optional<bool> onOff(const std::string& word) {
  if (word == "on") return true;
  if (word == "off") return false;
  return std::nullopt;
}

bool Settings::*settingNamed(const std::string& name) {
  if (name == "only-hidden") return &Settings::onlyHiddenItems;
  if (name == "labels") return &Settings::showLabels;
  if (name == "live-icons") return &Settings::liveIcons;
  if (name == "hotkey") return &Settings::hotkeyEnabled;
  return nullptr;
}

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace

bool Shell::run(std::istream& in, bool echo) {
  bool ok = true;
  std::string line;
  while (!exited_ && std::getline(in, line)) {
    if (echo && !trim(line).empty() && trim(line).front() != '#') out_ << "> " << line << "\n";
    ok = execute(line) && ok;
  }
  return ok;
}

bool Shell::execute(const std::string& raw) {
  pictures_.clear();
  const std::string line = trim(raw.substr(0, raw.find('#')));
  if (line.empty()) return true;
  std::istringstream words(line);
  std::string command;
  words >> command;
  const std::string rest = trim(line.substr(command.size()));
  std::vector<std::string> args;
  for (std::string w; words >> w;) args.push_back(w);
  try {
    if (command == "launch") {
      launch();
    } else if (command == "quit-app") {
      if (!app_.isRunning()) throw Failure("Kestrune is not running");
      app_.quit();
    } else if (command == "restart") {
      app_.quit();
      launch();
    } else if (command == "click") {
      if (!app_.statusItem().click(EventType::leftMouseUp)) throw Failure("the icon is hidden");
      app_.executors().runUntilIdle();
      reportPanel();
    } else if (command == "right-click") {
      rightClick(rest);
    } else if (command == "hotkey") {
      hotkey();
    } else if (command == "pick") {
      pick(rest);
    } else if (command == "open") {
      open(rest);
    } else if (command == "key" || command == "escape") {
      const int code = command == "escape" ? 53 : std::stoi(rest);
      app_.panelWindow().pressKey(code);
      reportPanel();
    } else if (command == "answer") {
      app_.alerts().answerNext(rest);
    } else if (command == "set" && args.size() == 2 && settingNamed(args[0]) && onOff(args[1])) {
      app_.app().store().set(settingNamed(args[0]), *onOff(args[1]));
      app_.executors().runUntilIdle();
      out_ << args[0] << " is " << args[1] << "\n";
    } else if ((command == "grant" || command == "revoke") && args.size() == 1) {
      const bool grant = command == "grant";
      if (args[0] == "accessibility") {
        app_.world().setAccessibilityTrusted(grant);
      } else if (args[0] == "screen-recording") {
        grant ? app_.world().grantScreenRecording() : app_.world().revokeScreenRecording();
      } else {
        throw Failure("no permission named \"" + args[0] + "\"");
      }
      out_ << args[0] << (grant ? " granted\n" : " revoked\n");
    } else if (command == "quit") {
      for (const auto& a : app_.world().apps()) {
        if (a.name == rest) {
          quitApps_.push_back(a);
          app_.world().quit(a.pid);
          out_ << rest << " quit\n";
          return true;
        }
      }
      throw Failure("no running app named \"" + rest + "\"");
    } else if (command == "relaunch") {
      for (auto it = quitApps_.begin(); it != quitApps_.end(); ++it) {
        if (it->name == rest) {
          app_.world().launch(*it);
          quitApps_.erase(it);
          out_ << rest << " started\n";
          return true;
        }
      }
      throw Failure("no app named \"" + rest + "\" has quit");
    } else if (command == "settings") {
      settings(rest);
    } else if (command == "toggle" || command == "grant-row" || command == "reset-settings") {
      SimSettingsWindow* window = app_.settingsWindows().window();
      if (window == nullptr) throw Failure("the settings window is not open");
      const bool done = command == "toggle"      ? window->flipToggle(rest)
                        : command == "grant-row" ? window->clickGrant(rest)
                                                 : window->clickResetToDefaults();
      if (!done) throw Failure("nothing to click for \"" + line + "\"");
      app_.executors().runUntilIdle();
      out_ << "done\n";
    } else if (command == "arrange") {
      arrange(args);
    } else if (command == "wait") {
      wait(std::stod(rest));
    } else if (command == "png") {
      png(args.empty() ? "." : args.front(), {args.begin() + (args.empty() ? 0 : 1), args.end()});
    } else if (command == "state") {
      state();
    } else if (command == "log") {
      app_.executors().runUntilIdle();
      if (app_.logPath().empty()) throw Failure("Kestrune has not run yet");
      std::ifstream log(app_.logPath());
      out_ << log.rdbuf();
    } else if (command == "help") {
      out_ << kHelp << "\n";
    } else if (command == "exit") {
      exited_ = true;
    } else {
      throw Failure("unknown command \"" + command + "\" (try help)");
    }
    reportOutcomes();
    return true;
  } catch (const std::exception& e) {
    reportOutcomes();
    out_ << "error: " << e.what() << "\n";
    return false;
  }
}

void Shell::launch() {
  if (app_.isRunning()) throw Failure("Kestrune is already running");
  app_.launch();
  reportOutcomes();
  // The first sweep finds the items and captures their icons.
  const auto ready = waitFor([this] {
    if (!app_.isRunning()) return true;
    const auto& model = *app_.app().model();
    return model.hasScanned.get() && !model.isSweeping() && !model.isCapturing();
  });
  if (!app_.isRunning()) return;
  const auto own = app_.world().ownStatusItem();
  out_ << "its icon is " << (own && own->placed.isDrawn() ? "in the menu bar" : "hidden by macOS");
  if (ready) {
    out_ << "; the first scan found " << app_.app().model()->items.get().size() << " items in "
         << *ready << " s";
  }
  out_ << "\n";
}

std::optional<double> Shell::waitFor(const std::function<bool()>& done) {
  constexpr auto kStep = std::chrono::milliseconds(100);
  constexpr int kLimit = 600;  // a minute
  app_.executors().runUntilIdle();
  for (int step = 0; step <= kLimit; ++step) {
    if (done()) return static_cast<double>(step) / 10;
    app_.executors().advance(kStep);
  }
  return std::nullopt;
}

void Shell::reportOutcomes() {
  for (const auto& line : app_.takeOutcomes()) out_ << line << "\n";
}

void Shell::reportPanel() {
  SimPanelWindow& panel = app_.panelWindow();
  if (!panel.isVisible() || !panel.content()) {
    out_ << "the picker is closed\n";
    return;
  }
  const auto& view = *panel.content();
  out_ << "the picker is open at " << panel.frame() << ": ";
  if (view.emptyState) {
    out_ << view.emptyState->text << "\n";
    return;
  }
  out_ << view.grid->cells.size() << " items\n";
}

void Shell::hotkey() {
  if (!app_.hotKeys().press(HotkeyManager::kKeyCode, HotkeyManager::kModifiers)) {
    out_ << "no app has ⌃⌥⌘T registered\n";
  }
  // The picker says "Scanning…" until the items are in.
  waitFor([this] {
    const auto& content = app_.panelWindow().content();
    return !app_.panelWindow().isVisible() || !content || !content->emptyState ||
           content->emptyState->symbol != PickerStyle::kScanningSymbol;
  });
  reportPanel();
}

void Shell::pick(const std::string& name) {
  SimPanelWindow& panel = app_.panelWindow();
  if (!panel.isVisible() || !panel.content() || !panel.content()->grid) {
    throw Failure("the picker shows no items");
  }
  const auto& cells = panel.content()->grid->cells;
  for (size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].label != name) continue;
    const Rect cell = panel.geometry().cells[i].frame;
    const Rect frame = panel.frame();
    const size_t presses = app_.world().presses().size();
    panel.click({frame.minX() + cell.midX(), frame.maxY() - cell.midY()});
    app_.executors().advance(std::chrono::seconds(1));
    if (app_.world().presses().size() == presses) {
      out_ << "\"" << name << "\" opened nothing" << (cells[i].enabled ? "" : " (dimmed)") << "\n";
    } else {
      out_ << "the menu of \"" << name << "\" opened"
           << (cells[i].item.isOnScreen ? "" : " (the item is hidden in the bar)") << "\n";
    }
    return;
  }
  throw Failure("the picker has no item named \"" + name + "\"");
}

void Shell::open(const std::string& name) {
  if (!app_.panelWindow().isVisible()) {
    app_.app().statusBar()->togglePanel();
    app_.executors().runUntilIdle();
  }
  pick(name);
}

void Shell::rightClick(const std::string& row) {
  SimStatusItem& item = app_.statusItem();
  if (!row.empty()) item.answerMenu(row);
  const size_t before = item.shownMenus().size();
  if (!item.click(EventType::rightMouseUp)) throw Failure("the icon is hidden");
  // A copy: the choice may end the app, and its item with it.
  const std::optional<ShownMenu> menu =
      item.shownMenus().size() == before ? std::nullopt : std::optional(item.shownMenus().back());
  app_.executors().runUntilIdle();
  if (!menu) {
    out_ << "no menu opened\n";
    return;
  }
  const ShownMenu& shown = *menu;
  out_ << "menu:";
  for (const auto& r : shown.menu.rows) {
    if (r.isSeparator || r.hidden) continue;
    out_ << " [" << (r.checked ? "✓ " : "") << r.title << (r.enabled ? "" : " (disabled)") << "]";
  }
  out_ << "\n";
  out_ << (shown.chosen ? "chose \"" + shown.menu.rows[*shown.chosen].title + "\"\n"
                        : std::string("dismissed\n"));
}

void Shell::settings(const std::string& tab) {
  if (tab == "arrange") {
    app_.app().statusBar()->openArrange();
  } else if (tab.empty() || tab == "general") {
    app_.app().statusBar()->openSettings();
  } else {
    throw Failure("no settings tab named \"" + tab + "\"");
  }
  app_.executors().runUntilIdle();
  if (app_.settingsWindows().window() == nullptr) throw Failure("no settings window opened");
  out_ << "settings window open on " << (tab == "arrange" ? "Menu Bar Order" : "General");
  if (tab == "arrange") {
    // The list scans the bar when it first shows.
    const auto listed = waitFor([this] {
      const SimSettingsWindow* window = app_.settingsWindows().window();
      return window == nullptr || !window->arrangeContent().scanning;
    });
    const SimSettingsWindow* window = app_.settingsWindows().window();
    if (listed && window != nullptr) {
      const auto content = window->arrangeContent();
      out_ << ": the list shows " << content.rows.size() << " items";
    } else {
      out_ << ": still scanning after a minute";
    }
  }
  out_ << "\n";
}

void Shell::arrange(const std::vector<std::string>& words) {
  settings("arrange");
  ArrangeModel& model = *app_.app().statusBar()->arrangeModel();
  std::vector<ArrangeEntry> movable = model.movable();
  if (words.size() == 1 && words[0] == "reverse") {
    std::reverse(movable.begin(), movable.end());
  } else if (words.size() >= 4 && words[0] == "move") {
    std::string joined;
    for (size_t i = 1; i < words.size(); ++i) joined += (i > 1 ? " " : "") + words[i];
    const auto split = joined.find(" before ");
    if (split == std::string::npos) throw Failure("arrange move NAME before NAME");
    const std::string moving = trim(joined.substr(0, split));
    const std::string before = trim(joined.substr(split + 8));
    const auto named = [&](const std::string& n) {
      const auto it = std::find_if(movable.begin(), movable.end(),
                                   [&](const ArrangeEntry& e) { return e.name == n; });
      if (it == movable.end()) throw Failure("the list has no movable item \"" + n + "\"");
      return it;
    };
    const ArrangeEntry entry = *named(moving);
    movable.erase(named(moving));
    movable.insert(named(before), entry);
  } else {
    throw Failure("arrange reverse | arrange move NAME before NAME");
  }
  const auto pinned = model.pinned();
  movable.insert(movable.end(), pinned.begin(), pinned.end());
  model.desired.set(movable);
  bool done = false;
  model.apply([&] { done = true; });
  for (int step = 0; !done && step < 6000; ++step) {
    app_.executors().advance(std::chrono::milliseconds(100));
  }
  out_ << (model.lastError.get() ? "error: " + *model.lastError.get() : std::string("arranged"))
       << "\nnow:";
  for (const auto& e : model.entries.get()) out_ << " [" << e.name << "]";
  out_ << "\n";
}

void Shell::wait(double seconds) {
  app_.executors().advance(
      std::chrono::duration_cast<Duration>(std::chrono::duration<double>(std::max(0.0, seconds))));
}

void Shell::png(const std::string& dir, const std::vector<std::string>& only) {
  const auto wanted = [&](const std::string& what) {
    return only.empty() || std::find(only.begin(), only.end(), what) != only.end();
  };
  std::filesystem::create_directories(dir);
  const std::filesystem::path at = std::filesystem::absolute(dir);
  const auto write = [&](const Bitmap& image, const char* name) {
    const auto path = (at / name).string();
    if (!writePngFile(image, path)) throw Failure("cannot write \"" + path + "\"");
    pictures_.push_back(path);
    out_ << "wrote " << path << "\n";
  };
  if (wanted("bar")) write(renderMenuBar(app_.world()), "menubar.png");
  SimPanelWindow& panel = app_.panelWindow();
  if (wanted("picker") && panel.isVisible() && panel.content()) {
    const bool dark = panel.appearance() == PanelAppearance::system
                          ? app_.world().scenario().menuBar.darkAppearance
                          : panel.appearance() == PanelAppearance::dark;
    write(renderPicker({*panel.content(), panel.geometry(), panel.setup(), dark,
                        panel.hoveredCell(), panel.hoversFooter()},
                       app_.world().mainDisplay().scale),
          "picker.png");
  }
  SimSettingsWindow* window = app_.settingsWindows().window();
  if (wanted("settings") && window && window->isVisible()) {
    write(window->render(app_.world().scenario().menuBar.darkAppearance),
          window->tab() == SettingsTab::arrange ? "settings-arrange.png" : "settings-general.png");
  }
}

void Shell::state() {
  if (!app_.isRunning()) {
    out_ << "Kestrune is not running\n";
    return;
  }
  const Settings s = app_.app().store().settings();
  out_ << "settings: only-hidden " << (s.onlyHiddenItems ? "on" : "off") << ", labels "
       << (s.showLabels ? "on" : "off") << ", live-icons " << (s.liveIcons ? "on" : "off")
       << ", hotkey " << (s.hotkeyEnabled ? "on" : "off") << "\n";
  out_ << "permissions: accessibility "
       << (app_.world().accessibilityTrusted() ? "granted" : "not granted") << ", screen recording "
       << (app_.world().screenRecordingGranted() ? "granted" : "not granted") << "\n";
  out_ << "icon " << (app_.app().statusBar()->isIconVisible() ? "visible" : "hidden")
       << ", shortcut " << (app_.app().hotkeys().isRegistered() ? "registered" : "not registered")
       << "\n";
  reportPanel();
  if (const auto menu = app_.world().openMenu()) out_ << "open menu: " << menu->key << "\n";
}

}  // namespace kestrune::sim
