#include "sim/scan_report.hpp"

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

#include "discovery/item_scanner.hpp"
#include "discovery/menu_bar_layout.hpp"
#include "settings/diag.hpp"

namespace kestrune::sim {
namespace {

std::vector<std::string> readLines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string ownerText(const MenuBarItem& item) {
  if (!item.owner) return "none";
  const ItemOwner& o = *item.owner;
  return o.name + " (pid " + std::to_string(o.pid) + ", #" + std::to_string(o.ordinal) + ")";
}

}  // namespace

ScanReport runScan(SimMac& mac, Executors& executors) {
  const Platform& platform = mac.platform();
  ScanReport report;
  report.scenario = mac.world().scenario().name;
  size_t earlierLines = 0;
  {
    auto diag = std::make_unique<Diag>(platform.fileSystem, platform.system, executors);
    report.logPath = diag->path();
    earlierLines = readLines(report.logPath).size();  // the home folder may be reused
    const MenuBarLayout layout(platform);
    report.isModern = layout.isModern();
    ItemScanner scanner(platform, layout, *diag);
    const TimePoint start = executors.main().now();
    report.items = scanner.scan();
    report.elapsedSeconds = toSeconds(executors.main().now() - start);
  }  // the log's queue drains as the log goes away
  report.logLines = readLines(report.logPath);
  report.logLines.erase(report.logLines.begin(),
                        report.logLines.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                      earlierLines, report.logLines.size())));
  return report;
}

std::string toText(const ScanReport& r) {
  std::ostringstream out;
  out << "Scenario: " << r.scenario << "\n";
  char line[160];
  std::snprintf(line, sizeof line, "Scan: %zu items in %.3f s (%s menu bar)\n\n", r.items.size(),
                r.elapsedSeconds, r.isModern ? "modern" : "legacy");
  out << line;
  out << "  window          x  width  on  name                      owner\n";
  for (const auto& i : r.items) {
    std::snprintf(line, sizeof line, "  %10u %6.0f %6.0f  %s  %-24s  ", i.windowID, i.frame.minX(),
                  i.frame.width(), i.isOnScreen ? "y" : "n", i.displayName(r.isModern).c_str());
    out << line << ownerText(i) << "\n";
  }
  out << "\nLog (" << r.logPath << "):\n";
  for (const auto& l : r.logLines) out << "  " << l << "\n";
  return out.str();
}

nlohmann::ordered_json toJson(const ScanReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["isModern"] = r.isModern;
  j["elapsedSeconds"] = r.elapsedSeconds;
  auto& items = j["items"] = nlohmann::ordered_json::array();
  size_t owned = 0;
  size_t onScreen = 0;
  for (const auto& i : r.items) {
    nlohmann::ordered_json item{{"windowID", i.windowID},
                                {"frame",
                                 {{"x", i.frame.minX()},
                                  {"y", i.frame.minY()},
                                  {"width", i.frame.width()},
                                  {"height", i.frame.height()}}},
                                {"isOnScreen", i.isOnScreen},
                                {"displayName", i.displayName(r.isModern)},
                                {"owner", nullptr}};
    if (i.owner) {
      item["owner"] = {
          {"app", i.owner->name}, {"pid", i.owner->pid}, {"ordinal", i.owner->ordinal}};
      ++owned;
    }
    onScreen += i.isOnScreen ? 1 : 0;
    items.push_back(std::move(item));
  }
  j["summary"] = {{"items", r.items.size()}, {"owned", owned}, {"onScreen", onScreen}};
  j["log"] = {{"path", r.logPath}, {"lines", r.logLines}};
  return j;
}

}  // namespace kestrune::sim
