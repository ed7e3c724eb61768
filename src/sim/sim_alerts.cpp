#include "sim/sim_alerts.hpp"

#include <algorithm>
#include <stdexcept>

namespace kestrune::sim {

size_t SimAlerts::runModal(const AlertRequest& request) {
  if (request.buttons.empty()) throw std::logic_error("an alert without buttons");
  if (observer_) observer_(request);
  size_t index = 0;
  if (!answers_.empty()) {
    const std::string wanted = answers_.front();
    answers_.pop_front();
    const auto it = std::find(request.buttons.begin(), request.buttons.end(), wanted);
    if (it == request.buttons.end()) {
      throw std::runtime_error("the alert \"" + request.message + "\" has no button \"" + wanted +
                               "\"");
    }
    index = static_cast<size_t>(it - request.buttons.begin());
  }
  shown_.push_back({request, request.buttons[index]});
  return index;
}

void SimAlerts::showError(const PlatformError& error) {
  shown_.push_back({{error.description, error.recoverySuggestion.value_or(""), {"OK"}}, "(error)"});
}

}  // namespace kestrune::sim
