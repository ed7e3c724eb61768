#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace kestrune {

// Why an arrangement failed, with the message the user reads. A closed set
// of cases; the message is fixed by the case and its names.
class ArrangeError : public std::exception {
 public:
  enum class Case { dragFailed, missing, cannotGrab, accessibility };

  // macOS did not take the drop of `moving` left of `target`.
  [[nodiscard]] static ArrangeError dragFailed(std::string moving, std::string target);
  // The window of `name` was gone from the menu bar.
  [[nodiscard]] static ArrangeError missing(std::string name);
  // macOS does not draw these items, so they cannot be dragged. `isModern`
  // chooses between the hidden overflow and the notch in the wording.
  [[nodiscard]] static ArrangeError cannotGrab(std::vector<std::string> names, bool isModern);
  // The process is not trusted for Accessibility.
  [[nodiscard]] static ArrangeError accessibility();

  [[nodiscard]] Case which() const noexcept { return data_->which; }
  // The names the error carries: moving and target for dragFailed, the one
  // name for missing, every name for cannotGrab, none for accessibility.
  [[nodiscard]] const std::vector<std::string>& names() const noexcept { return data_->names; }
  [[nodiscard]] bool isModern() const noexcept { return data_->isModern; }
  [[nodiscard]] const std::string& message() const noexcept { return data_->message; }
  [[nodiscard]] const char* what() const noexcept override { return data_->message.c_str(); }

 private:
  struct Data {
    Case which;
    std::vector<std::string> names;
    bool isModern = false;
    std::string message;
  };
  explicit ArrangeError(Data data);

  // Shared so that copying an error, as throwing does, cannot throw.
  std::shared_ptr<const Data> data_;
};

}  // namespace kestrune
