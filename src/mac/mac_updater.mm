#include "mac/mac_updater.hpp"

#import <Foundation/Foundation.h>
#import <Sparkle/Sparkle.h>

// Sparkle's updater delegate. Kestrune has no state in which a check would
// get in the way, so every check may go ahead.
@interface KestruneUpdaterDelegate : NSObject <SPUUpdaterDelegate>
@end

@implementation KestruneUpdaterDelegate

- (BOOL)updater:(SPUUpdater*)updater
    mayPerformUpdateCheck:(SPUUpdateCheck)updateCheck
                    error:(NSError* _Nullable* _Nullable)error {
  return YES;
}

@end

namespace kestrune {

struct MacUpdater::Objects {
  // The controller holds its delegate weakly: this is what keeps it.
  KestruneUpdaterDelegate* delegate = [[KestruneUpdaterDelegate alloc] init];
  SPUStandardUpdaterController* controller = nil;
};

MacUpdater::MacUpdater() : objects_(std::make_unique<Objects>()) {
  objects_->controller =
      [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                    updaterDelegate:objects_->delegate
                                                 userDriverDelegate:nil];
}

MacUpdater::~MacUpdater() = default;

void MacUpdater::checkForUpdates() {
  [objects_->controller checkForUpdates:nil];
}

bool MacUpdater::canCheckForUpdates() {
  return objects_->controller.updater.canCheckForUpdates;
}

}  // namespace kestrune
