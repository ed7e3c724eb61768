#pragma once

#include "core/observable.hpp"

namespace kestrune {

enum class SettingsTab { general, arrange };

// Which tab the settings window shows. The status bar controller writes it;
// the open window follows it.
class SettingsTabSelection {
 public:
  ObjectWillChange objectWillChange;
  Published<SettingsTab> tab{SettingsTab::general, &objectWillChange};
};

}  // namespace kestrune
