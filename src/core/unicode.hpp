#pragma once

#include <string>
#include <string_view>
#include <vector>

// Text as Unicode text, the way the platform's own string functions see it:
// Core Foundation on the Mac, ICU elsewhere. One small interface; neither
// keeps tables of its own. Bytes that are not UTF-8 stand for U+FFFD, one
// for each ill-formed sequence.
namespace kestrune::unicode {

// Full Unicode lowercasing, without a locale, then composed (NFC): texts
// that differ only in case or in how an accent is encoded give the same
// bytes, and their byte order is the order of their code points, the order
// in which Foundation's strings compare ("éclair" before "Élan", and both
// after "zed").
[[nodiscard]] std::string lowercased(std::string_view utf8);

// The user-perceived characters (grapheme clusters) of the text, in order:
// "e" with a combining accent is one character.
[[nodiscard]] std::vector<std::string> characters(std::string_view utf8);

// Whether a character's first scalar is a letter or a number: of a Unicode
// letter (L*) or number (N*) category ("½" is a number).
[[nodiscard]] bool isLetterOrNumber(std::string_view character);

}  // namespace kestrune::unicode
