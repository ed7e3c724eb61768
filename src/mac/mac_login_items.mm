#include "mac/mac_login_items.hpp"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

constexpr const char* kNeedsMacOS13 = "Launch at login needs macOS 13 or later.";

// A failure without an error object still needs words for the alert; the
// service's own advice, when it gives one, goes with it.
PlatformError describe(NSError* _Nullable error) {
  return {fromNSString(error.localizedDescription).value_or("The login item could not be changed."),
          fromNSString(error.localizedRecoverySuggestion)};
}

}  // namespace

bool MacLoginItems::isAvailable() {
  if (@available(macOS 13.0, *)) return true;
  return false;
}

LoginItems::Status MacLoginItems::status() {
  if (@available(macOS 13.0, *)) {
    @autoreleasepool {
      switch (SMAppService.mainAppService.status) {
        case SMAppServiceStatusNotRegistered:
          return Status::notRegistered;
        case SMAppServiceStatusEnabled:
          return Status::enabled;
        case SMAppServiceStatusRequiresApproval:
          return Status::requiresApproval;
        case SMAppServiceStatusNotFound:
          return Status::notFound;
      }
      return Status::notFound;  // a state newer than this code
    }
  }
  return Status::notFound;
}

std::optional<PlatformError> MacLoginItems::registerMainApp() {
  if (@available(macOS 13.0, *)) {
    @autoreleasepool {
      NSError* error = nil;
      if ([SMAppService.mainAppService registerAndReturnError:&error]) return std::nullopt;
      return describe(error);
    }
  }
  return PlatformError{kNeedsMacOS13, std::nullopt};
}

std::optional<PlatformError> MacLoginItems::unregisterMainApp() {
  if (@available(macOS 13.0, *)) {
    @autoreleasepool {
      NSError* error = nil;
      if ([SMAppService.mainAppService unregisterAndReturnError:&error]) return std::nullopt;
      return describe(error);
    }
  }
  return PlatformError{kNeedsMacOS13, std::nullopt};
}

}  // namespace kestrune
