#include "mac/mac_window_server.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <utility>

#include "mac/cf_ref.hpp"

namespace kestrune {
namespace {

// The value under `key` when it is of the type `typeID` names, else NULL.
CFTypeRef typedValue(CFDictionaryRef dictionary, CFStringRef key, CFTypeID typeID) {
  const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
  return value && CFGetTypeID(value) == typeID ? value : nullptr;
}

// Integers only when the number holds exactly that integer.
template <class Integer>
std::optional<Integer> integerValue(CFDictionaryRef dictionary, CFStringRef key) {
  const auto number = static_cast<CFNumberRef>(typedValue(dictionary, key, CFNumberGetTypeID()));
  int64_t value = 0;
  if (!number || !CFNumberGetValue(number, kCFNumberSInt64Type, &value)) return std::nullopt;
  if (!std::in_range<Integer>(value)) return std::nullopt;
  return static_cast<Integer>(value);
}

// A double even when that rounds the number.
std::optional<double> doubleValue(CFDictionaryRef dictionary, CFStringRef key) {
  const auto number = static_cast<CFNumberRef>(typedValue(dictionary, key, CFNumberGetTypeID()));
  if (!number) return std::nullopt;
  double value = 0;
  CFNumberGetValue(number, kCFNumberDoubleType, &value);
  return value;
}

std::optional<bool> boolValue(CFDictionaryRef dictionary, CFStringRef key) {
  const auto boolean = static_cast<CFBooleanRef>(typedValue(dictionary, key, CFBooleanGetTypeID()));
  if (!boolean) return std::nullopt;
  return CFBooleanGetValue(boolean) != 0;
}

std::optional<std::string> stringValue(CFDictionaryRef dictionary, CFStringRef key) {
  return toStdString(static_cast<CFStringRef>(typedValue(dictionary, key, CFStringGetTypeID())));
}

// Key by key rather than CGRectMakeWithDictionaryRepresentation, which fails
// unless every key is there.
std::optional<WindowBounds> boundsValue(CFDictionaryRef dictionary, CFStringRef key) {
  const auto bounds =
      static_cast<CFDictionaryRef>(typedValue(dictionary, key, CFDictionaryGetTypeID()));
  if (!bounds) return std::nullopt;
  return WindowBounds{doubleValue(bounds, CFSTR("X")), doubleValue(bounds, CFSTR("Y")),
                      doubleValue(bounds, CFSTR("Width")), doubleValue(bounds, CFSTR("Height"))};
}

WindowInfo readWindow(CFTypeRef entry) {
  WindowInfo window;
  if (!entry || CFGetTypeID(entry) != CFDictionaryGetTypeID()) return window;
  const auto dictionary = static_cast<CFDictionaryRef>(entry);
  window.layer = integerValue<int64_t>(dictionary, kCGWindowLayer);
  window.number = integerValue<uint32_t>(dictionary, kCGWindowNumber);
  window.bounds = boundsValue(dictionary, kCGWindowBounds);
  window.alpha = doubleValue(dictionary, kCGWindowAlpha);
  window.isOnscreen = boolValue(dictionary, kCGWindowIsOnscreen);
  window.name = stringValue(dictionary, kCGWindowName);
  window.ownerName = stringValue(dictionary, kCGWindowOwnerName);
  window.ownerPID = integerValue<pid_t>(dictionary, kCGWindowOwnerPID);
  return window;
}

}  // namespace

// An entry that is not a dictionary keeps its place, with every key absent.
std::optional<std::vector<WindowInfo>> MacWindowServer::copyWindowInfo(WindowListOption option,
                                                                       uint32_t relativeToWindow) {
  const CFRef<CFArrayRef> list(
      CGWindowListCopyWindowInfo(static_cast<CGWindowListOption>(option), relativeToWindow));
  if (!list) return std::nullopt;
  const CFIndex count = CFArrayGetCount(list.get());
  std::vector<WindowInfo> windows;
  windows.reserve(static_cast<size_t>(count));
  for (CFIndex i = 0; i < count; ++i) {
    windows.push_back(readWindow(CFArrayGetValueAtIndex(list.get(), i)));
  }
  return windows;
}

}  // namespace kestrune
