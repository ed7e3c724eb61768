#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace kestrune::sim {

struct BuiltinScenario {
  std::string_view name;  // the file name without ".json"
  std::string_view json;
};

// The scenarios compiled into the simulator; the first is the default.
[[nodiscard]] const std::vector<BuiltinScenario>& builtinScenarios();
[[nodiscard]] std::optional<BuiltinScenario> builtinScenario(std::string_view name);

}  // namespace kestrune::sim
