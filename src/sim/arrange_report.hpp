#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/virtual_executors.hpp"
#include "sim/sim_mac.hpp"

namespace kestrune::sim {

// What the user asks the arrangement for, by item names.
struct ArrangeRequest {
  enum class Kind { order, reverse, move };
  Kind kind = Kind::reverse;
  // order: the named items take one another's places in this order, left
  // to right; the others stay where they are.
  std::vector<std::string> order;
  // move: `moving` goes immediately left of `before`.
  std::string moving;
  std::string before;
};

struct ArrangeReport {
  std::string scenario;
  std::vector<std::string> before;   // the real order, left to right
  std::vector<std::string> desired;  // what was asked
  std::vector<std::string> log;      // the "arrange:" lines of the diagnostic log
  std::vector<std::string> after;    // the real order once done
  std::optional<std::string> error;
  double seconds = 0;   // how long Apply took, in simulated time
  std::string picture;  // arrange.png: the list after Apply
};

// Scans the simulated bar, edits the order as asked and applies it, in
// simulated time. Throws std::runtime_error for a name the bar lacks.
[[nodiscard]] ArrangeReport runArrange(SimMac& mac, VirtualExecutors& executors,
                                       const ArrangeRequest& request, const std::string& outDir);
[[nodiscard]] std::string toText(const ArrangeReport& report);
[[nodiscard]] nlohmann::ordered_json toJson(const ArrangeReport& report);

}  // namespace kestrune::sim
