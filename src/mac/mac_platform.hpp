#pragma once

#include <memory>

#include "app/app_delegate.hpp"
#include "app/self_test.hpp"
#include "platform/platform.hpp"

namespace kestrune {

// The Apple implementation of every port, made once where the app is
// assembled. Make it on the main thread, after the shared application
// exists: some ports make AppKit objects as they are made. It must outlive
// whatever was handed its platform or its shell's ports.
class MacPlatform {
 public:
  MacPlatform();
  ~MacPlatform();
  MacPlatform(const MacPlatform&) = delete;
  MacPlatform& operator=(const MacPlatform&) = delete;

  [[nodiscard]] const Platform& platform() const { return platform_; }
  [[nodiscard]] ShellPorts shellPorts();
  [[nodiscard]] SelfTestPorts selfTestPorts();

 private:
  struct Ports;
  std::unique_ptr<Ports> ports_;
  Platform platform_;
};

}  // namespace kestrune
