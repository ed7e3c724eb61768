#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "core/virtual_executors.hpp"
#include "sim/picker_stack.hpp"
#include "sim/sim_mac.hpp"
#include "support/temp_home.hpp"

namespace kestrune::testing {

// A fixture with the picker's model running on a simulated Mac whose home
// folder is a fresh temporary one. The test owns the model, so it may drop
// it.
class SimPicker : public ::testing::Test {
 protected:
  void make(sim::Scenario scenario) {
    mac_ = std::make_unique<sim::SimMac>(std::move(scenario), ex_, home_.path());
    stack_ = std::make_unique<sim::PickerStack>(mac_->platform(), ex_, out_);
    layout_ = &stack_->layout;
    store_ = &stack_->store;
    model_ = std::move(stack_->model);
  }

  TempHome home_;
  VirtualExecutors ex_;
  std::ostringstream out_;
  std::unique_ptr<sim::SimMac> mac_;
  std::unique_ptr<sim::PickerStack> stack_;
  MenuBarLayout* layout_ = nullptr;
  SettingsStore* store_ = nullptr;
  std::shared_ptr<OverflowModel> model_;
};

}  // namespace kestrune::testing
