#pragma once

#include <memory>
#include <ostream>

#include "discovery/menu_bar_layout.hpp"
#include "picker/overflow_model.hpp"
#include "settings/diag.hpp"
#include "settings/settings_store.hpp"

namespace kestrune::sim {

// The long-lived objects the app makes at launch for the picker, over any
// platform: the layout reading, the settings store, the log and the model.
// Nothing runs until the caller starts the model.
struct PickerStack {
  PickerStack(const Platform& platform, Executors& executors, std::ostream& debugOut)
      : layout(platform),
        store(platform.defaults),
        diag(platform.fileSystem, platform.system, executors),
        model(OverflowModel::create(platform, layout, store, diag, debugOut)) {}

  MenuBarLayout layout;
  SettingsStore store;
  Diag diag;
  std::shared_ptr<OverflowModel> model;
};

}  // namespace kestrune::sim
