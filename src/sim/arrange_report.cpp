#include "sim/arrange_report.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "arrange/arrange_model.hpp"
#include "arrange/arrange_view.hpp"
#include "sim/arrange_renderer.hpp"
#include "sim/picker_renderer.hpp"

namespace kestrune::sim {
namespace {

std::vector<std::string> namesOf(const std::vector<ArrangeEntry>& entries) {
  std::vector<std::string> names;
  names.reserve(entries.size());
  for (const auto& e : entries) names.push_back(e.name);
  return names;
}

// The index of the movable entry `name`.
size_t indexNamed(const std::vector<ArrangeEntry>& entries, const std::string& name) {
  const auto it = std::find_if(entries.begin(), entries.end(), [&](const ArrangeEntry& e) {
    return e.name == name && e.kind == ArrangeEntry::Kind::item;
  });
  if (it == entries.end()) {
    throw std::runtime_error("the menu bar has no movable item named \"" + name + "\"");
  }
  return static_cast<size_t>(it - entries.begin());
}

// The edited order, left to right, made as the list makes it: pinned
// entries keep their places.
std::vector<ArrangeEntry> edit(std::vector<ArrangeEntry> order, const ArrangeRequest& r) {
  switch (r.kind) {
    case ArrangeRequest::Kind::reverse: {
      std::vector<size_t> slots;
      for (size_t i = 0; i < order.size(); ++i) {
        if (order[i].kind == ArrangeEntry::Kind::item) slots.push_back(i);
      }
      for (size_t i = 0, j = slots.size(); i + 1 < j; ++i, --j) {
        std::swap(order[slots[i]], order[slots[j - 1]]);
      }
      return order;
    }
    case ArrangeRequest::Kind::move: {
      // The rows are shown right to left: left of `before` is the row below it.
      const size_t last = order.size() - 1;
      const size_t from = last - indexNamed(order, r.moving);
      const size_t below = last - indexNamed(order, r.before) + 1;
      return moveRows(order, {from}, below);
    }
    case ArrangeRequest::Kind::order: {
      std::vector<size_t> slots;
      for (const auto& name : r.order) slots.push_back(indexNamed(order, name));
      std::vector<ArrangeEntry> named;
      named.reserve(slots.size());
      for (size_t slot : slots) named.push_back(order[slot]);
      std::sort(slots.begin(), slots.end());
      if (std::adjacent_find(slots.begin(), slots.end()) != slots.end()) {
        throw std::runtime_error("an item is named twice in the order");
      }
      for (size_t i = 0; i < slots.size(); ++i) order[slots[i]] = named[i];
      return order;
    }
  }
  return order;
}

// The log lines of this run that speak of the arrangement.
std::vector<std::string> arrangeLines(const std::string& path, size_t skipBytes) {
  std::ifstream file(path);
  file.seekg(static_cast<std::streamoff>(skipBytes));
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(file, line)) {
    const auto at = line.find("arrange:");
    if (at != std::string::npos) lines.push_back(line.substr(at));
  }
  return lines;
}

// Runs simulated time until `done`; a stuck run is a bug, not a wait.
void runUntil(VirtualExecutors& executors, const bool& done) {
  for (int step = 0; !done; ++step) {
    if (step == 6000) throw std::runtime_error("the arrangement did not finish in 10 minutes");
    executors.advance(std::chrono::milliseconds(100));
  }
  executors.runUntilIdle();
}

size_t fileSize(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return error ? 0 : static_cast<size_t>(size);
}

}  // namespace

ArrangeReport runArrange(SimMac& mac, VirtualExecutors& executors, const ArrangeRequest& request,
                         const std::string& outDir) {
  const Platform& platform = mac.platform();
  MenuBarLayout layout(platform);
  Diag diag(platform.fileSystem, platform.system, executors);
  World& world = mac.world();
  auto model = ArrangeModel::create(platform, layout, diag, [&world]() -> std::optional<Rect> {
    for (const auto& item : world.statusItems()) {
      if (item.pid == world.scenario().ownPID) return item.placed.frame;
    }
    return std::nullopt;
  });
  ArrangeReport report;
  report.scenario = world.scenario().name;
  bool done = false;
  model->reload([&] { done = true; });
  runUntil(executors, done);
  report.before = namesOf(model->entries.get());
  const std::vector<ArrangeEntry> wanted = edit(model->entries.get(), request);
  model->desired.set(wanted);
  report.desired = namesOf(wanted);

  const size_t logStart = fileSize(diag.path());
  const TimePoint start = executors.main().now();
  done = false;
  model->apply([&] { done = true; });
  runUntil(executors, done);
  report.seconds = std::chrono::duration<double>(executors.main().now() - start).count();
  report.log = arrangeLines(diag.path(), logStart);
  report.after = namesOf(model->entries.get());
  report.error = model->lastError.get();
  std::filesystem::create_directories(outDir);
  report.picture = (std::filesystem::absolute(outDir) / "arrange.png").string();
  if (!writePngFile(
          renderArrangeView(describeArrangeView(*model), world.mainDisplay().scale, false),
          report.picture)) {
    throw std::runtime_error("cannot write \"" + report.picture + "\"");
  }
  return report;
}

std::string toText(const ArrangeReport& r) {
  std::ostringstream out;
  const auto order = [&](const char* title, const std::vector<std::string>& names) {
    out << title;
    for (const auto& n : names) out << "  " << n;
    out << "\n";
  };
  out << "Scenario: " << r.scenario << "\n";
  order("Before (left to right):", r.before);
  order("Asked for:             ", r.desired);
  out << "\n";
  for (const auto& line : r.log) out << "  " << line << "\n";
  out << "\n";
  order("After (left to right): ", r.after);
  out << (r.error ? "Error: " + *r.error : std::string("Arranged without error")) << " ("
      << r.seconds << " s)\nList: " << r.picture << "\n";
  return out.str();
}

nlohmann::ordered_json toJson(const ArrangeReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["before"] = r.before;
  j["desired"] = r.desired;
  j["log"] = r.log;
  j["after"] = r.after;
  j["error"] = r.error ? nlohmann::ordered_json(*r.error) : nlohmann::ordered_json();
  j["seconds"] = r.seconds;
  j["picture"] = r.picture;
  return j;
}

}  // namespace kestrune::sim
