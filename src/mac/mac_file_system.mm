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

// Empty when the file manager knows of none.
std::string MacFileSystem::cachesDirectory() {
  @autoreleasepool {
    NSURL* url = [NSFileManager.defaultManager URLsForDirectory:NSCachesDirectory
                                                      inDomains:NSUserDomainMask]
                     .firstObject;
    return fromNSString(url.path).value_or(std::string());
  }
}

// Judged by what is there afterwards rather than by the call's answer: a
// folder that already exists, or that another thread made meanwhile, counts.
bool MacFileSystem::createDirectory(const std::string& path) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    if (!nsPath) return false;
    NSFileManager* manager = NSFileManager.defaultManager;
    [manager createDirectoryAtPath:nsPath withIntermediateDirectories:YES attributes:nil error:nil];
    BOOL isDirectory = NO;
    return [manager fileExistsAtPath:nsPath isDirectory:&isDirectory] && isDirectory;
  }
}

std::optional<std::string> MacFileSystem::readFile(const std::string& path) {
  @autoreleasepool {
    NSString* nsPath = toNSString(path);
    if (!nsPath) return std::nullopt;
    NSData* data = [NSData dataWithContentsOfFile:nsPath options:0 error:nil];
    if (!data) return std::nullopt;
    if (data.length == 0) return std::string();  // bytes may be NULL then
    return std::string(static_cast<const char*>(data.bytes), data.length);
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
