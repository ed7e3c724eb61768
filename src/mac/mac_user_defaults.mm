#include "mac/mac_user_defaults.hpp"

#import <Foundation/Foundation.h>

#include "mac/ns_string.hpp"

namespace kestrune {
namespace {

// The object under `key`; nil when missing, or when the key is not UTF-8
// (no such key can have been stored).
id objectFor(NSUserDefaults* defaults, const std::string& key) {
  NSString* nsKey = toNSString(key);
  return nsKey ? [defaults objectForKey:nsKey] : nil;
}

bool isBoolean(id object) {
  return CFGetTypeID((__bridge CFTypeRef)object) == CFBooleanGetTypeID();
}

}  // namespace

// nil for a suite Foundation refused: messages to nil keep nothing and read
// nothing.
struct MacUserDefaults::Domain {
  NSUserDefaults* defaults = nil;
};

MacUserDefaults::MacUserDefaults()
    : domain_(std::make_unique<Domain>(Domain{NSUserDefaults.standardUserDefaults})) {}

MacUserDefaults::MacUserDefaults(const std::string& suiteName)
    : domain_(std::make_unique<Domain>()) {
  @autoreleasepool {
    NSString* name = toNSString(suiteName);
    if (name) domain_->defaults = [[NSUserDefaults alloc] initWithSuiteName:name];
  }
}

MacUserDefaults::~MacUserDefaults() = default;

std::optional<std::string> MacUserDefaults::dataForKey(const std::string& key) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    NSData* data = nsKey ? [domain_->defaults dataForKey:nsKey] : nil;
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
    [domain_->defaults setObject:data forKey:nsKey];
  }
}

bool MacUserDefaults::boolForKey(const std::string& key) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    return nsKey && [domain_->defaults boolForKey:nsKey];
  }
}

void MacUserDefaults::setBool(const std::string& key, bool value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (nsKey) [domain_->defaults setBool:value forKey:nsKey];
  }
}

std::optional<int64_t> MacUserDefaults::integerForKey(const std::string& key) {
  @autoreleasepool {
    // The type check tells a missing key from 0 and keeps strings out;
    // integerForKey: then converts the number as it documents.
    NSString* nsKey = toNSString(key);
    if (!nsKey || ![[domain_->defaults objectForKey:nsKey] isKindOfClass:NSNumber.class]) {
      return std::nullopt;
    }
    return static_cast<int64_t>([domain_->defaults integerForKey:nsKey]);
  }
}

void MacUserDefaults::setInteger(const std::string& key, int64_t value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    if (nsKey) [domain_->defaults setInteger:static_cast<NSInteger>(value) forKey:nsKey];
  }
}

std::optional<std::string> MacUserDefaults::stringForKey(const std::string& key) {
  @autoreleasepool {
    // stringForKey: would turn numbers into text.
    id object = objectFor(domain_->defaults, key);
    if (![object isKindOfClass:NSString.class]) return std::nullopt;
    NSString* string = object;
    return fromNSString(string);
  }
}

void MacUserDefaults::setString(const std::string& key, std::string_view value) {
  @autoreleasepool {
    NSString* nsKey = toNSString(key);
    NSString* nsValue = toNSString(value);
    if (nsKey && nsValue) [domain_->defaults setObject:nsValue forKey:nsKey];
  }
}

std::optional<DefaultsObjectKind> MacUserDefaults::objectKind(const std::string& key) {
  @autoreleasepool {
    id object = objectFor(domain_->defaults, key);
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
    if (nsKey) [domain_->defaults removeObjectForKey:nsKey];
  }
}

bool MacUserDefaults::synchronize() {
  @autoreleasepool {
    return [domain_->defaults synchronize];
  }
}

std::shared_ptr<UserDefaults> MacDefaultsSuites::open(const std::string& suiteName) {
  return std::make_shared<MacUserDefaults>(suiteName);
}

void MacDefaultsSuites::remove(const std::string& suiteName) {
  @autoreleasepool {
    NSString* name = toNSString(suiteName);
    if (name) [NSUserDefaults.standardUserDefaults removePersistentDomainForName:name];
  }
}

}  // namespace kestrune
