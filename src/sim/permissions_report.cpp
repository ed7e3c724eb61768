#include "sim/permissions_report.hpp"

#include <cstdio>
#include <sstream>

#include "app/permissions.hpp"

namespace kestrune::sim {
namespace {

std::string secondsText(double s) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", s);
  return text;
}

}  // namespace

PermissionsReport runPermissions(SimMac& mac, VirtualExecutors& executors, Duration timeout) {
  World& world = mac.world();
  PermissionsReport report;
  report.scenario = world.scenario().name;
  report.timeoutSeconds = toSeconds(timeout);
  report.grantedAtStart = world.screenRecordingGranted();
  report.userGrantsAfterSeconds = world.scenario().permissions.screenRecordingGrantedAfterSeconds;

  const TimePoint start = executors.now();
  const auto elapsed = [&] { return toSeconds(executors.now() - start); };
  Permissions permissions(mac.platform());
  permissions.requestScreenRecordingAndRelaunch(timeout);
  // Step from one due task to the next, noting when each open and the quit
  // happen.
  size_t seenOpens = 0;
  while (true) {
    executors.runUntilIdle();
    const auto opened = world.openedApplications();
    for (; seenOpens < opened.size(); ++seenOpens) {
      report.openedApplications.push_back({opened[seenOpens], elapsed()});
    }
    if (world.terminated()) {
      report.terminatedAtSeconds = elapsed();
      break;
    }
    const auto next = executors.nextDue();
    if (permissions.pendingRequests() == 0 || !next) {
      if (!report.grantedAtStart) report.gaveUpAtSeconds = elapsed();
      break;
    }
    executors.advanceTo(*next);
  }
  report.openedURLs = world.openedURLs();
  report.grantedAtEnd = world.screenRecordingGranted();
  return report;
}

std::string toText(const PermissionsReport& r) {
  std::ostringstream out;
  out << "Scenario: " << r.scenario << "\n";
  out << "Screen Recording at the start: " << (r.grantedAtStart ? "granted" : "not granted")
      << "\n";
  if (!r.grantedAtStart) {
    out << "The user grants it: "
        << (r.userGrantsAfterSeconds ? secondsText(*r.userGrantsAfterSeconds) + " after the request"
                                     : std::string("never"))
        << "\n";
  }
  out << "Kestrune asks and waits up to " << secondsText(r.timeoutSeconds) << "\n\n";
  if (r.openedURLs.empty()) out << "Opened no URL\n";
  for (const auto& url : r.openedURLs) out << "Opened " << url << "\n";
  for (const auto& o : r.openedApplications) {
    out << "At " << secondsText(o.atSeconds) << ": opened "
        << (o.application.createsNewInstance ? "a new instance of " : "")
        << o.application.bundlePath << "\n";
  }
  if (r.terminatedAtSeconds) {
    out << "At " << secondsText(*r.terminatedAtSeconds) << ": Kestrune quit\n";
  } else if (r.gaveUpAtSeconds) {
    out << "At " << secondsText(*r.gaveUpAtSeconds)
        << ": Kestrune stopped waiting and keeps running\n";
  } else {
    out << "Kestrune keeps running\n";
  }
  return out.str();
}

nlohmann::ordered_json toJson(const PermissionsReport& r) {
  nlohmann::ordered_json j;
  j["scenario"] = r.scenario;
  j["timeoutSeconds"] = r.timeoutSeconds;
  j["grantedAtStart"] = r.grantedAtStart;
  j["userGrantsAfterSeconds"] =
      r.userGrantsAfterSeconds ? nlohmann::ordered_json(*r.userGrantsAfterSeconds) : nullptr;
  j["openedURLs"] = r.openedURLs;
  auto& apps = j["openedApplications"] = nlohmann::ordered_json::array();
  for (const auto& o : r.openedApplications) {
    apps.push_back({{"bundlePath", o.application.bundlePath},
                    {"createsNewInstance", o.application.createsNewInstance},
                    {"atSeconds", o.atSeconds}});
  }
  j["terminatedAtSeconds"] =
      r.terminatedAtSeconds ? nlohmann::ordered_json(*r.terminatedAtSeconds) : nullptr;
  j["gaveUpAtSeconds"] = r.gaveUpAtSeconds ? nlohmann::ordered_json(*r.gaveUpAtSeconds) : nullptr;
  j["grantedAtEnd"] = r.grantedAtEnd;
  return j;
}

}  // namespace kestrune::sim
