// Unicode text through Core Foundation, as Foundation's strings see it.
#include <CoreFoundation/CoreFoundation.h>

#include "core/unicode.hpp"
#include "mac/cf_ref.hpp"

namespace kestrune::unicode {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// The length of the well-formed UTF-8 sequence at `i`, or 0.
size_t sequenceLength(std::string_view s, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char lead = byte(i);
  const size_t length = lead < 0x80                    ? 1
                        : lead >= 0xC2 && lead <= 0xDF ? 2
                        : lead >= 0xE0 && lead <= 0xEF ? 3
                        : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                       : 0;
  if (length == 0 || i + length > s.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates and code points past U+10FFFF.
  if ((lead == 0xE0 && byte(i + 1) < 0xA0) || (lead == 0xED && byte(i + 1) > 0x9F) ||
      (lead == 0xF0 && byte(i + 1) < 0x90) || (lead == 0xF4 && byte(i + 1) > 0x8F)) {
    return 0;
  }
  return length;
}

// Core Foundation refuses ill-formed UTF-8 whole: each bad byte becomes
// U+FFFD first.
std::string wellFormed(std::string_view utf8) {
  std::string text;
  text.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    const size_t length = sequenceLength(utf8, i);
    if (length == 0) {
      text += kReplacement;
      ++i;
    } else {
      text.append(utf8, i, length);
      i += length;
    }
  }
  return text;
}

CFRef<CFStringRef> stringOf(std::string_view utf8) {
  return cfString(wellFormed(utf8));
}

}  // namespace

std::string lowercased(std::string_view utf8) {
  const CFRef<CFStringRef> text = stringOf(utf8);
  if (!text) return std::string(utf8);
  const CFRef<CFMutableStringRef> lower(
      CFStringCreateMutableCopy(kCFAllocatorDefault, 0, text.get()));
  if (!lower) return std::string(utf8);
  CFStringLowercase(lower.get(), nullptr);
  CFStringNormalize(lower.get(), kCFStringNormalizationFormC);
  return toStdString(lower.get()).value_or(std::string(utf8));
}

std::vector<std::string> characters(std::string_view utf8) {
  const CFRef<CFStringRef> text = stringOf(utf8);
  std::vector<std::string> result;
  if (!text) return result;
  const CFIndex length = CFStringGetLength(text.get());
  for (CFIndex at = 0; at < length;) {
    const CFRange range = CFStringGetRangeOfComposedCharactersAtIndex(text.get(), at);
    const CFRef<CFStringRef> character(
        CFStringCreateWithSubstring(kCFAllocatorDefault, text.get(), range));
    if (auto piece = toStdString(character.get())) result.push_back(std::move(*piece));
    at = range.location + range.length;
  }
  return result;
}

bool isLetterOrNumber(std::string_view character) {
  const CFRef<CFStringRef> text = stringOf(character);
  if (!text || CFStringGetLength(text.get()) == 0) return false;
  UTF32Char first = CFStringGetCharacterAtIndex(text.get(), 0);
  if (CFStringIsSurrogateHighCharacter(static_cast<UniChar>(first)) &&
      CFStringGetLength(text.get()) > 1) {
    first = CFStringGetLongCharacterForSurrogatePair(static_cast<UniChar>(first),
                                                     CFStringGetCharacterAtIndex(text.get(), 1));
  }
  // Letters, marks and numbers, less the marks.
  return CFCharacterSetIsLongCharacterMember(
             CFCharacterSetGetPredefined(kCFCharacterSetAlphaNumeric), first) &&
         !CFCharacterSetIsLongCharacterMember(CFCharacterSetGetPredefined(kCFCharacterSetNonBase),
                                              first);
}

}  // namespace kestrune::unicode
