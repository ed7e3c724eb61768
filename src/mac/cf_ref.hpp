#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "mac/scoped_ref.hpp"

namespace kestrune {

// Reference counting of CoreFoundation objects (and of the types toll-free
// with them: AXUIElementRef, AXValueRef, CGImageRef...).
template <class T>
struct CFTraits {
  static void retain(T value) { CFRetain(value); }
  static void release(T value) { CFRelease(value); }
  static constexpr T null() { return nullptr; }
};

// The one owner of a CoreFoundation reference: results of Create and Copy
// calls are adopted, those of Get calls retained with CFRef<T>::retain.
template <class T>
using CFRef = ScopedRef<T, CFTraits<T>>;

// A CFString from UTF-8 text; empty when the text is not valid UTF-8.
[[nodiscard]] inline CFRef<CFStringRef> cfString(std::string_view text) {
  static constexpr char kEmpty[] = "";
  const char* bytes = text.empty() ? kEmpty : text.data();
  return CFRef<CFStringRef>(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

// The UTF-8 text of a CFString of any length (embedded NULs included).
// Absent for NULL, or when the string holds what UTF-8 cannot encode (an
// unpaired surrogate).
[[nodiscard]] inline std::optional<std::string> toStdString(CFStringRef string) {
  if (!string) return std::nullopt;
  const CFIndex length = CFStringGetLength(string);
  const CFIndex capacity = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8);
  if (capacity == kCFNotFound) return std::nullopt;
  std::string text(static_cast<size_t>(capacity), '\0');
  CFIndex used = 0;
  const CFIndex converted =
      CFStringGetBytes(string, CFRangeMake(0, length), kCFStringEncodingUTF8, 0, false,
                       reinterpret_cast<UInt8*>(text.data()), capacity, &used);
  if (converted != length) return std::nullopt;
  text.resize(static_cast<size_t>(used));
  return text;
}

}  // namespace kestrune
