#include "mac/mac_file_system.hpp"

#import <Foundation/Foundation.h>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

NSData* toNSData(std::string_view bytes) {
  if (bytes.empty()) return [NSData data];
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

// Only the NSError-returning handle methods (macOS 10.15): the older ones
// raise an Objective-C exception on a failed write, which C++ cannot catch.
class MacWritableFile final : public WritableFile {
 public:
  explicit MacWritableFile(NSFileHandle* handle) : handle_(handle) {}

  bool seekToEnd() override {
    @autoreleasepool {
      return [handle_ seekToEndReturningOffset:nullptr error:nil];
    }
  }
  bool write(std::string_view bytes) override {
    @autoreleasepool {
      return [handle_ writeData:toNSData(bytes) error:nil];
    }
  }
  bool close() override {
    @autoreleasepool {
      return [handle_ closeAndReturnError:nil];
    }
  }

 private:
  // Strong under ARC. The handle owns its descriptor and closes it when it
  // goes, should close() never be called.
  NSFileHandle* handle_;
};

}  // namespace

std::string MacFileSystem::homeDirectory() {
  @autoreleasepool {
    return fromNSString(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path)
        .value_or(std::string());
  }
}

std::optional<uint64_t> MacFileSystem::fileSize(const std::string& path) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    if (!nsPath) return std::nullopt;
    NSDictionary<NSFileAttributeKey, id>* attributes =
        [NSFileManager.defaultManager attributesOfItemAtPath:nsPath error:nil];
    id size = attributes[NSFileSize];
    if (![size isKindOfClass:NSNumber.class]) return std::nullopt;
    return static_cast<uint64_t>([size unsignedLongLongValue]);
  }
}

bool MacFileSystem::removeItem(const std::string& path) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    return nsPath && [NSFileManager.defaultManager removeItemAtPath:nsPath error:nil];
  }
}

std::unique_ptr<WritableFile> MacFileSystem::openForWriting(const std::string& path) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    if (!nsPath) return nullptr;
    NSFileHandle* handle = [NSFileHandle fileHandleForWritingAtPath:nsPath];
    if (!handle) return nullptr;
    return std::make_unique<MacWritableFile>(handle);
  }
}

bool MacFileSystem::writeAtomically(const std::string& path, std::string_view bytes) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    return nsPath && [toNSData(bytes) writeToFile:nsPath options:NSDataWritingAtomic error:nil];
  }
}

}  // namespace kestrune
