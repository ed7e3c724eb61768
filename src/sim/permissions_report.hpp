#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// Kestrune asking for Screen Recording on a simulated Mac, as
// kestrune-sim permissions prints it. Times are seconds from the request.
struct PermissionsReport {
  struct Opened {
    OpenedApplication application;
    double atSeconds = 0;
  };

  std::string scenario;
  double timeoutSeconds = 0;
  bool grantedAtStart = false;
  std::optional<double> userGrantsAfterSeconds;  // from the scenario
  std::vector<std::string> openedURLs;
  std::vector<Opened> openedApplications;
  std::optional<double> terminatedAtSeconds;
  std::optional<double> gaveUpAtSeconds;  // stopped waiting for the grant
  bool grantedAtEnd = false;
};

// Runs one request in virtual time until Kestrune quits or stops waiting.
[[nodiscard]] PermissionsReport runPermissions(SimMac& mac, VirtualExecutors& executors,
                                               Duration timeout);
[[nodiscard]] std::string toText(const PermissionsReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const PermissionsReport& report);

}  // namespace kestrune::sim
