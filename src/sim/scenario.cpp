#include "sim/scenario.hpp"

#include <nlohmann/json.hpp>
#include <set>

namespace kestrune::sim {
namespace {

using nlohmann::json;

[[noreturn]] void fail(const std::string& path, const std::string& message) {
  throw ScenarioError(path + ": " + message);
}

// Reads the fields of one JSON object, rejecting keys it does not know, so
// that a misspelt field is an error rather than a silent default.
class Fields {
 public:
  Fields(const json& object, std::string path) : object_(object), path_(std::move(path)) {
    if (!object_.is_object()) fail(path_, "expected an object");
  }
  Fields(const Fields&) = delete;
  Fields& operator=(const Fields&) = delete;

  ~Fields() noexcept(false) {
    if (std::uncaught_exceptions() > 0) return;
    for (const auto& [key, value] : object_.items()) {
      if (!used_.contains(key)) fail(path_ + "." + key, "unknown field");
    }
  }

  [[nodiscard]] std::string at(const std::string& key) const { return path_ + "." + key; }

  const json* find(const std::string& key) {
    used_.insert(key);
    auto it = object_.find(key);
    return it == object_.end() || it->is_null() ? nullptr : &*it;
  }

  const json& require(const std::string& key) {
    const json* v = find(key);
    if (!v) fail(at(key), "missing");
    return *v;
  }

  std::string string(const std::string& key, std::string fallback = {}) {
    const json* v = find(key);
    if (!v) return fallback;
    if (!v->is_string()) fail(at(key), "expected a string");
    return v->get<std::string>();
  }

  std::optional<std::string> optionalString(const std::string& key) {
    if (!find(key)) return std::nullopt;
    return string(key);
  }

  double number(const std::string& key, double fallback) {
    const json* v = find(key);
    if (!v) return fallback;
    if (!v->is_number()) fail(at(key), "expected a number");
    return v->get<double>();
  }

  double positive(const std::string& key, double fallback) {
    const double n = number(key, fallback);
    if (!(n > 0)) fail(at(key), "must be greater than 0");
    return n;
  }

  double nonNegative(const std::string& key, double fallback) {
    const double n = number(key, fallback);
    if (!(n >= 0)) fail(at(key), "must not be negative");
    return n;
  }

  int64_t integer(const std::string& key, int64_t fallback) {
    const json* v = find(key);
    if (!v) return fallback;
    if (!v->is_number_integer()) fail(at(key), "expected an integer");
    return v->get<int64_t>();
  }

  pid_t pid(const std::string& key, pid_t fallback) {
    const int64_t n = integer(key, fallback);
    if (n <= 0 || n > 99999) fail(at(key), "must be a process id from 1 to 99999");
    return static_cast<pid_t>(n);
  }

  bool boolean(const std::string& key, bool fallback) {
    const json* v = find(key);
    if (!v) return fallback;
    if (!v->is_boolean()) fail(at(key), "expected true or false");
    return v->get<bool>();
  }

  const json& array(const std::string& key) {
    static const json kEmpty = json::array();
    const json* v = find(key);
    if (!v) return kEmpty;
    if (!v->is_array()) fail(at(key), "expected an array");
    return *v;
  }

 private:
  const json& object_;
  std::string path_;
  std::set<std::string> used_;
};

// Window numbers 1 and 2 belong to the menu bar and the » button.
uint32_t windowNumber(Fields& f, const std::string& key) {
  const int64_t id = f.integer(key, 0);
  if (id < 3 || id > UINT32_MAX) fail(f.at(key), "must be a window number from 3 to 4294967295");
  return static_cast<uint32_t>(id);
}

ScenarioScreen parseScreen(const json& j, const std::string& path, bool primary) {
  Fields f(j, path);
  ScenarioScreen s;
  s.name = f.string("name", "Display");
  const double x = f.number("x", 0);
  const double y = f.number("y", 0);
  if (primary && (x != 0 || y != 0)) fail(path, "the first screen is the primary one, at x 0, y 0");
  s.frame = Rect{x, y, f.positive("width", 1512), f.positive("height", 982)};
  s.scale = f.positive("scale", 2);
  if (const json* notch = f.find("notch")) {
    Fields n(*notch, f.at("notch"));
    s.notchWidth = n.positive("width", 185);
    if (*s.notchWidth >= s.frame.width()) fail(f.at("notch.width"), "wider than the screen");
  }
  s.menuBarHeight = f.positive("menuBarHeight", s.notchWidth ? 37 : 24);
  s.dockHeight = f.nonNegative("dockHeight", 0);
  return s;
}

ScenarioMenuBar parseMenuBar(const json* j, const std::string& path) {
  ScenarioMenuBar m;
  if (!j) return m;
  Fields f(*j, path);
  m.appMenusWidth = f.nonNegative("appMenusWidth", m.appMenusWidth);
  const json& menus = f.array("appMenus");
  for (size_t i = 0; i < menus.size(); ++i) {
    if (!menus[i].is_string())
      fail(f.at("appMenus[" + std::to_string(i) + "]"), "expected a string");
    if (i == 0) m.appMenus.clear();
    m.appMenus.push_back(menus[i].get<std::string>());
  }
  m.rightMargin = f.nonNegative("rightMargin", m.rightMargin);
  m.itemSpacing = f.nonNegative("itemSpacing", m.itemSpacing);
  m.overflowButtonWidth = f.positive("overflowButtonWidth", m.overflowButtonWidth);
  m.statusBarThickness = f.positive("statusBarThickness", m.statusBarThickness);
  m.autoHidden = f.boolean("autoHidden", m.autoHidden);
  const std::string appearance = f.string("appearance", "light");
  if (appearance != "light" && appearance != "dark") {
    fail(f.at("appearance"), "expected light or dark");
  }
  m.darkAppearance = appearance == "dark";
  m.agentPID = f.pid("agentPID", m.agentPID);
  return m;
}

DragMode parseDragMode(const std::string& text, const std::string& path) {
  if (text == "normal") return DragMode::normal;
  if (text == "refuse") return DragMode::refuse;
  if (text == "secondTry") return DragMode::secondTry;
  fail(path, "expected one of normal, refuse, secondTry");
}

ScenarioItem parseItem(const json& j, const std::string& path) {
  Fields f(j, path);
  ScenarioItem item;
  item.key = f.string("key");
  if (item.key.empty()) fail(f.at("key"), "missing");
  item.title = f.string("title");
  item.description = f.string("description");
  item.identifier = f.string("identifier");
  item.windowName = f.string("windowName");
  item.width = f.positive("width", item.width);
  item.group = f.optionalString("group");
  if (f.find("windowID")) item.windowID = windowNumber(f, "windowID");
  item.drag = parseDragMode(f.string("drag", "normal"), f.at("drag"));
  return item;
}

AXMode parseAXMode(const std::string& text, const std::string& path) {
  if (text == "normal") return AXMode::normal;
  if (text == "never") return AXMode::never;
  if (text == "noExtrasMenuBar") return AXMode::noExtrasMenuBar;
  if (text == "wrongTypes") return AXMode::wrongTypes;
  if (text == "hangsAfterExtrasBar") return AXMode::hangsAfterExtrasBar;
  fail(path, "expected one of normal, never, noExtrasMenuBar, wrongTypes, hangsAfterExtrasBar");
}

ProcessProbe parseProbe(const std::string& text, const std::string& path) {
  if (text == "normal") return ProcessProbe::normal;
  if (text == "permissionDenied") return ProcessProbe::permissionDenied;
  fail(path, "expected normal or permissionDenied");
}

ScenarioApp parseApp(const json& j, const std::string& path) {
  Fields f(j, path);
  ScenarioApp app;
  app.pid = f.pid("pid", 0);
  app.bundleID = f.optionalString("bundleID");
  app.name = f.optionalString("name");
  app.bundlePath = f.optionalString("bundlePath");
  app.accessibility = parseAXMode(f.string("accessibility", "normal"), f.at("accessibility"));
  app.latencyMs = f.nonNegative("latencyMs", 0);
  app.processProbe = parseProbe(f.string("processProbe", "normal"), f.at("processProbe"));
  if (f.find("quitAfterReads")) {
    const int64_t n = f.integer("quitAfterReads", 1);
    if (n < 1 || n > 1'000'000) fail(f.at("quitAfterReads"), "must be from 1 to 1000000");
    app.quitAfterReads = static_cast<int>(n);
  }
  if (f.find("quitAfterDrops")) {
    const int64_t n = f.integer("quitAfterDrops", 1);
    if (n < 1 || n > 1'000'000) fail(f.at("quitAfterDrops"), "must be from 1 to 1000000");
    app.quitAfterDrops = static_cast<int>(n);
  }
  const json& items = f.array("items");
  for (size_t i = 0; i < items.size(); ++i) {
    app.items.push_back(parseItem(items[i], f.at("items") + "[" + std::to_string(i) + "]"));
  }
  return app;
}

WindowInfo parseWindow(const json& j, const std::string& path) {
  Fields f(j, path);
  WindowInfo w;
  if (f.find("layer")) w.layer = f.integer("layer", 0);
  if (f.find("number")) w.number = windowNumber(f, "number");
  if (const json* b = f.find("bounds")) {
    Fields bf(*b, f.at("bounds"));
    WindowBounds bounds;
    for (auto [key, slot] :
         {std::pair{"x", &bounds.x}, std::pair{"y", &bounds.y}, std::pair{"width", &bounds.width},
          std::pair{"height", &bounds.height}}) {
      if (bf.find(key)) *slot = bf.number(key, 0);
    }
    w.bounds = bounds;
  }
  if (f.find("alpha")) w.alpha = f.number("alpha", 1);
  if (f.find("onScreen")) w.isOnscreen = f.boolean("onScreen", true);
  w.name = f.optionalString("name");
  w.ownerName = f.optionalString("ownerName");
  if (f.find("ownerPID")) w.ownerPID = f.pid("ownerPID", 1);
  return w;
}

LoginItems::Status parseLoginItemStatus(const std::string& text, const std::string& path) {
  if (text == "notRegistered") return LoginItems::Status::notRegistered;
  if (text == "enabled") return LoginItems::Status::enabled;
  if (text == "requiresApproval") return LoginItems::Status::requiresApproval;
  if (text == "notFound") return LoginItems::Status::notFound;
  fail(path, "expected one of notRegistered, enabled, requiresApproval, notFound");
}

ScenarioLoginItem parseLoginItem(const json& j, const std::string& path) {
  Fields f(j, path);
  ScenarioLoginItem item;
  item.status = parseLoginItemStatus(f.string("status", "notRegistered"), f.at("status"));
  item.registerError = f.optionalString("registerError");
  item.unregisterError = f.optionalString("unregisterError");
  return item;
}

void checkUnique(const Scenario& s) {
  std::set<pid_t> pids;
  std::set<std::string> keys;
  std::set<uint32_t> ids;
  for (size_t a = 0; a < s.apps.size(); ++a) {
    const auto& app = s.apps[a];
    const std::string path = "scenario.apps[" + std::to_string(a) + "]";
    if (!pids.insert(app.pid).second) fail(path + ".pid", "used twice");
    for (const auto& item : app.items) {
      if (!keys.insert(item.key).second) fail(path, "item key \"" + item.key + "\" used twice");
      if (item.windowID && !ids.insert(*item.windowID).second) {
        fail(path, "window id " + std::to_string(*item.windowID) + " used twice");
      }
    }
  }
  for (size_t w = 0; w < s.extraWindows.size(); ++w) {
    const auto& number = s.extraWindows[w].number;
    if (number && !ids.insert(*number).second) {
      fail("scenario.extraWindows[" + std::to_string(w) + "].number",
           "window id " + std::to_string(*number) + " used twice");
    }
  }
  std::set<std::string> ordered;
  for (const auto& key : s.order) {
    if (!keys.contains(key)) fail("scenario.order", "no item has the key \"" + key + "\"");
    if (!ordered.insert(key).second) fail("scenario.order", "\"" + key + "\" named twice");
  }
}

}  // namespace

Scenario parseScenario(std::string_view text) {
  json doc;
  try {
    doc = json::parse(text);
  } catch (const json::parse_error& e) {
    throw ScenarioError(std::string("not valid JSON: ") + e.what());
  }
  Scenario s;
  {
    Fields f(doc, "scenario");
    s.name = f.string("name");
    if (s.name.empty()) fail("scenario.name", "missing");
    s.description = f.string("description");
    const int64_t major = f.integer("osMajorVersion", s.osMajorVersion);
    if (major < 11 || major > 99) fail("scenario.osMajorVersion", "expected a macOS major version");
    s.osMajorVersion = static_cast<int>(major);
    s.ownPID = f.pid("ownPID", s.ownPID);
    const int64_t offset = f.integer("utcOffsetMinutes", 0);
    constexpr int64_t kMinutesPerDay = 1440;
    if (offset < -kMinutesPerDay || offset > kMinutesPerDay) {
      fail("scenario.utcOffsetMinutes", "expected minutes from -1440 to 1440");
    }
    s.utcOffsetMinutes = static_cast<int>(offset);
    s.bundlePath = f.string("bundlePath", s.bundlePath);
    const json& screens = f.require("screens");
    if (!screens.is_array() || screens.empty()) fail("scenario.screens", "expected at least one");
    for (size_t i = 0; i < screens.size(); ++i) {
      s.screens.push_back(
          parseScreen(screens[i], "scenario.screens[" + std::to_string(i) + "]", i == 0));
    }
    s.menuBar = parseMenuBar(f.find("menuBar"), "scenario.menuBar");
    const json& apps = f.array("apps");
    for (size_t i = 0; i < apps.size(); ++i) {
      s.apps.push_back(parseApp(apps[i], "scenario.apps[" + std::to_string(i) + "]"));
    }
    const json& order = f.array("order");
    for (size_t i = 0; i < order.size(); ++i) {
      if (!order[i].is_string())
        fail("scenario.order[" + std::to_string(i) + "]", "expected a key");
      s.order.push_back(order[i].get<std::string>());
    }
    if (const json* p = f.find("permissions")) {
      Fields pf(*p, "scenario.permissions");
      s.permissions.accessibility = pf.boolean("accessibility", true);
      s.permissions.screenRecording = pf.boolean("screenRecording", true);
      if (pf.find("screenRecordingGrantedAfterSeconds")) {
        s.permissions.screenRecordingGrantedAfterSeconds =
            pf.nonNegative("screenRecordingGrantedAfterSeconds", 0);
      }
    }
    if (const json* item = f.find("loginItem")) {
      s.loginItem = parseLoginItem(*item, "scenario.loginItem");
    }
    if (const json* info = f.find("infoDictionary")) {
      if (!info->is_object()) fail("scenario.infoDictionary", "expected an object");
      s.infoDictionary.clear();
      for (const auto& [key, value] : info->items()) {
        if (!value.is_string()) fail("scenario.infoDictionary." + key, "expected a string");
        s.infoDictionary[key] = value.get<std::string>();
      }
    }
    if (const json* env = f.find("environment")) {
      if (!env->is_object()) fail("scenario.environment", "expected an object");
      for (const auto& [key, value] : env->items()) {
        if (!value.is_string()) fail("scenario.environment." + key, "expected a string");
        s.environment[key] = value.get<std::string>();
      }
    }
    const json& windows = f.array("extraWindows");
    for (size_t i = 0; i < windows.size(); ++i) {
      s.extraWindows.push_back(
          parseWindow(windows[i], "scenario.extraWindows[" + std::to_string(i) + "]"));
    }
  }
  checkUnique(s);
  return s;
}

}  // namespace kestrune::sim
