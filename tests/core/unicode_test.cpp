#include "core/unicode.hpp"

#include <gtest/gtest.h>

namespace kestrune {
namespace {

using Characters = std::vector<std::string>;

TEST(Unicode, LowercasesAllOfUnicodeNotJustAscii) {
  EXPECT_EQ(unicode::lowercased("ÉLAN"), "élan");
  EXPECT_EQ(unicode::lowercased("ПРИВЕТ"), "привет");
  EXPECT_EQ(unicode::lowercased("Ⅻ Straße"), "ⅻ straße");
  EXPECT_EQ(unicode::lowercased("Tool"), "tool");
  EXPECT_EQ(unicode::lowercased(""), "");
}

TEST(Unicode, LowercasedTextIsComposedSoEncodingsOfOneAccentAgree) {
  EXPECT_EQ(unicode::lowercased("E\u0301LAN"), "\u00E9lan");
  EXPECT_EQ(unicode::lowercased("e\u0301clair"), unicode::lowercased("\u00C9CLAIR"));
}

TEST(Unicode, LowercasedTextSortsAsFoundationSortsIt) {
  // Byte order of the lowercased text is code point order: "é" then "c"
  // before "é" then "l", and "z" (U+007A) before "é" (U+00E9).
  EXPECT_LT(unicode::lowercased("éclair"), unicode::lowercased("Élan"));
  EXPECT_LT(unicode::lowercased("Zed"), unicode::lowercased("éclair"));
}

TEST(Unicode, IllFormedBytesStandForTheReplacementCharacter) {
  EXPECT_EQ(unicode::lowercased("A\xff"), "a\uFFFD");
  EXPECT_EQ(unicode::characters("\xff\xfe"), (Characters{"\uFFFD", "\uFFFD"}));
}

TEST(Unicode, CharactersAreWhatTheUserReads) {
  EXPECT_EQ(unicode::characters("cafe\u0301!"), (Characters{"c", "a", "f", "e\u0301", "!"}));
  EXPECT_EQ(unicode::characters("\U0001F1EB\U0001F1F7x"),
            (Characters{"\U0001F1EB\U0001F1F7", "x"}));
  EXPECT_TRUE(unicode::characters("").empty());
}

TEST(Unicode, LettersAndNumbersAreTheirUnicodeCategories) {
  for (const char* yes : {"a", "Z", "é", "e\u0301", "ß", "Ж", "中", "7", "½", "\u0663", "Ⅻ"}) {
    EXPECT_TRUE(unicode::isLetterOrNumber(yes)) << yes;
  }
  for (const char* no : {"", " ", "-", ".", "_", "|", "€", "\u2011", "\u0301", "\uFFFD", "\xff"}) {
    EXPECT_FALSE(unicode::isLetterOrNumber(no)) << no;
  }
}

}  // namespace
}  // namespace kestrune
