#include "sim/capture_report.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "discovery/item_scanner.hpp"
#include "picker/item_capturer.hpp"
#include "settings/diag.hpp"
#include "sim/sim_screen_capture.hpp"

namespace kestrune::sim {
namespace {

bool writeFile(const std::string& path, const std::optional<std::string>& bytes) {
  if (!bytes) return false;
  std::ofstream out(path, std::ios::binary);
  out << *bytes;
  return static_cast<bool>(out);
}

}  // namespace

CaptureReport runCapture(SimMac& mac, Executors& executors, const std::string& outDirectory) {
  const Platform& platform = mac.platform();
  std::filesystem::create_directories(outDirectory);
  CaptureReport report;
  report.scenario = mac.world().scenario().name;
  const MenuBarLayout layout(platform);
  report.isModern = layout.isModern();
  Diag diag(platform.fileSystem, platform.system, executors);
  ItemScanner scanner(platform, layout, diag);
  const auto items = scanner.scan();

  ItemCapturer capturer(platform, layout);
  const auto captured = capturer.captureDetailed(items);
  report.iconDirectory = capturer.iconDirectory();

  std::vector<const Bitmap*> icons;
  for (const auto& item : items) {
    CaptureReport::Item row{item.windowID, item.displayName(report.isModern), item.isOnScreen,
                            "none", ""};
    if (auto it = captured.icons.find(item.windowID); it != captured.icons.end()) {
      row.source = captured.fresh.contains(item.windowID) ? "fresh" : "disk";
      row.file = outDirectory + "/icon-" + std::to_string(item.windowID) + ".png";
      if (!writeFile(row.file, platform.imageCodec.encodePNG(*it->second.bitmap())))
        row.file.clear();
      icons.push_back(it->second.bitmap());
    }
    report.items.push_back(row);
  }
  report.glyphsAreLight = ItemCapturer::glyphsAreLight(icons);

  // The whole menu bar as the screen shows it, for looking at beside the icons.
  const auto& display = mac.world().mainDisplay();
  CaptureConfiguration strip;
  strip.sourceRect = Rect{0, 0, display.frame.width(), display.menuBarHeight};
  strip.width = static_cast<int>(display.frame.width() * display.scale);
  strip.height = static_cast<int>(display.menuBarHeight * display.scale);
  if (const auto bar =
          platform.screenCapture.captureDisplay(SimScreenCapture::kMainDisplayID, strip)) {
    report.stripFile = outDirectory + "/strip.png";
    if (!writeFile(report.stripFile, platform.imageCodec.encodePNG(*bar))) report.stripFile.clear();
  }
  return report;
}

std::string toText(const CaptureReport& r) {
  std::ostringstream out;
  out << "Scenario: " << r.scenario << "\n";
  out << "Strip: " << (r.stripFile.empty() ? "not captured" : r.stripFile) << "\n";
  out << "Icon cache: " << r.iconDirectory << "\n\n";
  for (const auto& i : r.items) {
    out << "  " << i.windowID << "  " << (i.isOnScreen ? "drawn " : "hidden") << "  " << i.source
        << std::string(6 - std::min<size_t>(6, i.source.size()), ' ') << "  " << i.name;
    if (!i.file.empty()) out << "  → " << i.file;
    out << "\n";
  }
  out << "\nglyphsAreLight: "
      << (r.glyphsAreLight ? (*r.glyphsAreLight ? "true" : "false") : "unknown") << "\n";
  return out.str();
}

nlohmann::ordered_json toJson(const CaptureReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["isModern"] = r.isModern;
  j["strip"] = r.stripFile;
  j["iconDirectory"] = r.iconDirectory;
  auto& items = j["items"] = nlohmann::ordered_json::array();
  for (const auto& i : r.items) {
    items.push_back({{"windowID", i.windowID},
                     {"name", i.name},
                     {"isOnScreen", i.isOnScreen},
                     {"source", i.source},
                     {"file", i.file}});
  }
  j["glyphsAreLight"] =
      r.glyphsAreLight ? nlohmann::ordered_json(*r.glyphsAreLight) : nlohmann::ordered_json();
  return j;
}

}  // namespace kestrune::sim
