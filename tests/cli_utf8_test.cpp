// Text that goes into the JSON report is made valid UTF-8: each byte that is not part of a
// well-formed sequence becomes U+FFFD, and valid text passes unchanged.
#include <gtest/gtest.h>

#include <string>

#include "cli/utf8.h"

namespace {

const std::string kReplacement = "\xEF\xBF\xBD";

TEST(ToValidUtf8, KeepsAsciiAndEmptyText) {
  EXPECT_EQ(ToValidUtf8(""), "");
  EXPECT_EQ(ToValidUtf8("CheckTable succees! table:'player'"),
            "CheckTable succees! table:'player'");
}

TEST(ToValidUtf8, KeepsWellFormedMultiByteCharacters) {
  // Two, three and four byte forms, the full-width comma of the checker's messages included.
  const std::string text = "caf\xC3\xA9 \xEF\xBC\x8C \xE4\xB8\xAD \xF0\x9F\x98\x80";
  EXPECT_EQ(ToValidUtf8(text), text);
}

TEST(ToValidUtf8, KeepsTheEdgesOfTheCodeSpace) {
  const std::string text = std::string("\x00", 1) + "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF" +
                           "\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(ToValidUtf8(text), text);
}

TEST(ToValidUtf8, ReplacesEachByteOfACharacterCutAtTheEnd) {
  // A message cut inside a three-byte character keeps one or two of its bytes.
  EXPECT_EQ(ToValidUtf8("ab\xE4"), "ab" + kReplacement);
  EXPECT_EQ(ToValidUtf8("ab\xE4\xB8"), "ab" + kReplacement + kReplacement);
  EXPECT_EQ(ToValidUtf8("\xF0\x9F\x98"), kReplacement + kReplacement + kReplacement);
}

TEST(ToValidUtf8, ReplacesStrayContinuationBytesOneByOne) {
  EXPECT_EQ(ToValidUtf8("a\x80\xBF"
                        "b"),
            "a" + kReplacement + kReplacement + "b");
}

TEST(ToValidUtf8, ReplacesBytesThatNeverStartACharacter) {
  EXPECT_EQ(ToValidUtf8("\xC0\xC1\xF5\xFF"),
            kReplacement + kReplacement + kReplacement + kReplacement);
}

TEST(ToValidUtf8, ReplacesOverlongForms) {
  // "/" written in two and three bytes, and a four-byte form of a three-byte character.
  EXPECT_EQ(ToValidUtf8("\xC0\xAF"), kReplacement + kReplacement);
  EXPECT_EQ(ToValidUtf8("\xE0\x80\xAF"), kReplacement + kReplacement + kReplacement);
  EXPECT_EQ(ToValidUtf8("\xF0\x8F\xBF\xBF"),
            kReplacement + kReplacement + kReplacement + kReplacement);
}

TEST(ToValidUtf8, ReplacesSurrogatesAndCodePointsBeyondTheRange) {
  EXPECT_EQ(ToValidUtf8("\xED\xA0\x80"), kReplacement + kReplacement + kReplacement);
  EXPECT_EQ(ToValidUtf8("\xF4\x90\x80\x80"),
            kReplacement + kReplacement + kReplacement + kReplacement);
}

TEST(ToValidUtf8, ReplacesALeadByteFollowedByAnAsciiByte) {
  // The lead byte alone is bad; the byte after it is a character of its own.
  EXPECT_EQ(ToValidUtf8("\xE4"
                        "A\xB8"),
            kReplacement + "A" + kReplacement);
}

TEST(ToValidUtf8, ReplacesGbkBytes) {
  // "中文" in GBK: neither pair is a UTF-8 sequence.
  EXPECT_EQ(ToValidUtf8("\xD6\xD0\xCE\xC4"),
            kReplacement + kReplacement + kReplacement + kReplacement);
}

TEST(ToValidUtf8, KeepsValidTextAroundInvalidBytes) {
  EXPECT_EQ(ToValidUtf8("\xE4\xB8\xAD\xFF\xE4\xB8\xAD"),
            "\xE4\xB8\xAD" + kReplacement + "\xE4\xB8\xAD");
}

}  // namespace
