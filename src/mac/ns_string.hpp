#pragma once

// Text between Foundation and the core. Objective-C++ only.
#ifdef __OBJC__

#if !__has_feature(objc_arc)
#error "ns_string.hpp hands out objects by ARC's rules: compile with -fobjc-arc"
#endif

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "mac/cf_ref.hpp"

namespace kestrune {

// Absent for nil, like the optional properties it reads.
[[nodiscard]] inline std::optional<std::string> fromNSString(NSString* _Nullable string) {
  return toStdString((__bridge CFStringRef)string);
}

// nil when the text is not valid UTF-8.
[[nodiscard]] inline NSString* _Nullable toNSString(std::string_view text) {
  static constexpr char kEmpty[] = "";
  return [[NSString alloc] initWithBytes:(text.empty() ? kEmpty : text.data())
                                  length:text.size()
                                encoding:NSUTF8StringEncoding];
}

// What a label shows: the text, or nothing when it is not valid UTF-8.
[[nodiscard]] inline NSString* _Nonnull nsText(std::string_view text) {
  NSString* string = toNSString(text);
  return string ? string : @"";
}

}  // namespace kestrune

#endif  // __OBJC__
