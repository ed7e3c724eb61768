// Unicode text through ICU, for every system but the Mac.
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

#include "core/unicode.hpp"

namespace kestrune::unicode {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

std::u16string toUTF16(std::string_view utf8) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  u_strFromUTF8WithSub(nullptr, 0, &length, utf8.data(), static_cast<int32_t>(utf8.size()),
                       kReplacement, nullptr, &status);
  std::u16string text(static_cast<size_t>(length), u'\0');
  status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(text.data(), length, nullptr, utf8.data(), static_cast<int32_t>(utf8.size()),
                       kReplacement, nullptr, &status);
  return U_SUCCESS(status) ? text : std::u16string();
}

std::string toUTF8(const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  u_strToUTF8(nullptr, 0, &length, text.data(), static_cast<int32_t>(text.size()), &status);
  std::string utf8(static_cast<size_t>(length), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8(utf8.data(), length, nullptr, text.data(), static_cast<int32_t>(text.size()),
              &status);
  return U_SUCCESS(status) ? utf8 : std::string();
}

// ICU's pattern: ask for the length, then fill a buffer of that length.
template <class Fill>
std::u16string transformed(const std::u16string& text, Fill fill) {
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = fill(nullptr, 0, &status);
  std::u16string out(static_cast<size_t>(length), u'\0');
  status = U_ZERO_ERROR;
  fill(out.data(), length, &status);
  return U_SUCCESS(status) ? out : text;
}

}  // namespace

std::string lowercased(std::string_view utf8) {
  const std::u16string text = toUTF16(utf8);
  const auto size = static_cast<int32_t>(text.size());
  const std::u16string lower =
      transformed(text, [&](UChar* out, int32_t capacity, UErrorCode* status) {
        return u_strToLower(out, capacity, text.data(), size, "", status);
      });
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
  if (U_FAILURE(status)) return toUTF8(lower);
  const std::u16string composed =
      transformed(lower, [&](UChar* out, int32_t capacity, UErrorCode* error) {
        return unorm2_normalize(nfc, lower.data(), static_cast<int32_t>(lower.size()), out,
                                capacity, error);
      });
  return toUTF8(composed);
}

std::vector<std::string> characters(std::string_view utf8) {
  // Ill-formed bytes become U+FFFD first, so that boundaries fall between
  // whole characters of well-formed text.
  const std::string text = toUTF8(toUTF16(utf8));
  std::vector<std::string> result;
  UErrorCode status = U_ZERO_ERROR;
  UText* ut = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
  const std::unique_ptr<UText, decltype(&utext_close)> owned(ut, utext_close);
  UBreakIterator* it = ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status);
  const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> iterator(it, ubrk_close);
  ubrk_setUText(it, ut, &status);
  if (U_FAILURE(status)) return {text};
  for (int32_t start = ubrk_first(it), end = ubrk_next(it); end != UBRK_DONE;
       start = end, end = ubrk_next(it)) {
    result.push_back(text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start)));
  }
  return result;
}

bool isLetterOrNumber(std::string_view character) {
  if (character.empty()) return false;
  int32_t i = 0;
  UChar32 c = 0;
  U8_NEXT(character.data(), i, static_cast<int32_t>(character.size()), c);
  if (c < 0) return false;
  return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

}  // namespace kestrune::unicode
