#include "mac/mac_user_defaults.hpp"

#import <Foundation/Foundation.h>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

NSUserDefaults* standard() {
  return NSUserDefaults.standardUserDefaults;
}

// The object under `key`; nil when missing, or when the key is not UTF-8
// (no such key can have been stored).
id objectFor(const std::string& key) {
  NSString* nsKey = toNSString(key);
  return nsKey ? [standard() objectForKey:nsKey] : nil;
}

bool isBoolean(id object) {
  return CFGetTypeID((__bridge CFTypeRef)object) == CFBooleanGetTypeID();
}

}  // namespace

std::optional<std::string> MacUserDefaults::dataForKey(const std::string& key) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    NSData* data = nsKey ? [standard() dataForKey:nsKey] : nil;
    if (!data) return std::nullopt;
    if (data.length == 0) return std::string();  // bytes may be NULL then
    return std::string(static_cast<const char*>(data.bytes), data.length);
  }
}

void MacUserDefaults::setData(const std::string& key, std::string_view bytes) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (!nsKey) return;
    NSData* data =
        bytes.empty() ? [NSData data] : [NSData dataWithBytes:bytes.data() length:bytes.size()];
    [standard() setObject:data forKey:nsKey];
  }
}

bool MacUserDefaults::boolForKey(const std::string& key) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    return nsKey && [standard() boolForKey:nsKey];
  }
}

void MacUserDefaults::setBool(const std::string& key, bool value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (nsKey) [standard() setBool:value forKey:nsKey];
  }
}

std::optional<int64_t> MacUserDefaults::integerForKey(const std::string& key) {
  @autoreleasepool {
    // The type check tells a missing key from 0 and keeps strings out;
    // integerForKey: then converts the number as it documents.
    NSString* nsKey = toNSString(key);
    if (!nsKey || ![[standard() objectForKey:nsKey] isKindOfClass:NSNumber.class]) {
      return std::nullopt;
    }
    return static_cast<int64_t>([standard() integerForKey:nsKey]);
  }
}

void MacUserDefaults::setInteger(const std::string& key, int64_t value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (nsKey) [standard() setInteger:static_cast<NSInteger>(value) forKey:nsKey];
  }
}

std::optional<std::string> MacUserDefaults::stringForKey(const std::string& key) {
  @autoreleasepool {
    // stringForKey: would turn numbers into text.
    id object = objectFor(key);
    if (![object isKindOfClass:NSString.class]) return std::nullopt;
    NSString* string = object;
    return fromNSString(string);
  }
}

void MacUserDefaults::setString(const std::string& key, std::string_view value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    NSString* nsValue = toNSString(value);
    if (nsKey && nsValue) [standard() setObject:nsValue forKey:nsKey];
  }
}

std::optional<DefaultsObjectKind> MacUserDefaults::objectKind(const std::string& key) {
  @autoreleasepool {
    id object = objectFor(key);
    if (!object) return std::nullopt;
    if ([object isKindOfClass:NSData.class]) return DefaultsObjectKind::data;
    if ([object isKindOfClass:NSNumber.class]) {
      return isBoolean(object) ? DefaultsObjectKind::boolean : DefaultsObjectKind::number;
    }
    if ([object isKindOfClass:NSString.class]) return DefaultsObjectKind::string;
    return DefaultsObjectKind::other;
  }
}

void MacUserDefaults::removeObject(const std::string& key) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (nsKey) [standard() removeObjectForKey:nsKey];
  }
}

bool MacUserDefaults::synchronize() {
  @autoreleasepool {
    return [standard() synchronize];
  }
}

}  // namespace kestrune
