#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/alerts.hpp"

namespace kestrune::sim {

// Modal alerts on the simulated Mac, answered by the simulated user: each
// alert takes the next scripted answer (a button's title), or its default
// (first) button when none is scripted. Every alert is recorded.
class SimAlerts final : public Alerts {
 public:
  struct Shown {
    AlertRequest request;
    std::string answer;  // the button chosen; "(error)" for an error alert
  };

  // The user will click the button with this title in the next alert.
  void answerNext(std::string buttonTitle) { answers_.push_back(std::move(buttonTitle)); }
  // Called while each alert is up, before it is answered.
  void onShow(std::function<void(const AlertRequest&)> observer) {
    observer_ = std::move(observer);
  }

  [[nodiscard]] size_t runModal(const AlertRequest& request) override;
  void showError(const PlatformError& error) override;

  [[nodiscard]] const std::vector<Shown>& shown() const { return shown_; }

 private:
  std::deque<std::string> answers_;
  std::vector<Shown> shown_;
  std::function<void(const AlertRequest&)> observer_;
};

}  // namespace kestrune::sim
