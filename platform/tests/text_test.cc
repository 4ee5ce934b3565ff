#include <gtest/gtest.h>

#include "platform/cp1252.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

TEST(Cp1252, UpperHalfBecomesItsCharacters) {
    EXPECT_EQ(cp1252ToUtf8("caf\xE9"), "caf\u00e9");
    EXPECT_EQ(cp1252ToUtf8("\x80"), "\u20ac");
    EXPECT_EQ(cp1252ToUtf8("\x93quoted\x94"), "\u201cquoted\u201d");
}

TEST(Cp1252, EveryByteSurvivesARoundTrip) {
    std::string all;
    for (int b = 0; b < 256; ++b) all.push_back(static_cast<char>(b));
    EXPECT_EQ(utf8ToCp1252(cp1252ToUtf8(all)), all);
}

TEST(Cp1252, CharacterOutsideTheCodePageBecomesQuestionMark) {
    EXPECT_EQ(utf8ToCp1252("a\u4e2db"), "a?b");
}

TEST(Utf8, CountsAndCutsCharacters) {
    const std::string s = "\u00e9t\u00e9";
    EXPECT_EQ(utf8Length(s), 3u);
    EXPECT_EQ(utf8Offset(s, 1), 2u);
    EXPECT_EQ(utf8Offset(s, 9), s.size());
}

TEST(Utf8, MalformedByteCountsAsOneCharacter) {
    EXPECT_EQ(utf8Length("a\xE9z"), 3u);
    EXPECT_EQ(utf8Length("\xE2\x82"), 2u);
}

TEST(Wildcards, StarDotStarMatchesEveryName) {
    EXPECT_TRUE(matchesWildcard("Office.mdb", "*.*"));
    EXPECT_TRUE(matchesWildcard("README", "*.*"));
}

TEST(Wildcards, ExtensionPatternIgnoresCase) {
    EXPECT_TRUE(matchesWildcard("Office.MDB", "*.mdb"));
    EXPECT_FALSE(matchesWildcard("Office.mdb.bak", "*.mdb"));
    EXPECT_FALSE(matchesWildcard("kel.ini", "*.mdb"));
}

TEST(Wildcards, ExactNameAndQuestionMark) {
    EXPECT_TRUE(matchesWildcard("TEST.LOG", "test.log"));
    EXPECT_FALSE(matchesWildcard("test.log1", "test.log"));
    EXPECT_TRUE(matchesWildcard("KelCom.mdb", "Kel???.mdb"));
    EXPECT_FALSE(matchesWildcard("KelRet1.mdb", "Kel???.mdb"));
}

TEST(Wildcards, TrailingDotMatchesNamesWithoutExtension) {
    EXPECT_TRUE(matchesWildcard("README", "*."));
    EXPECT_FALSE(matchesWildcard("readme.txt", "*."));
}

TEST(Wildcards, LatinLettersFoldToo) {
    EXPECT_TRUE(matchesWildcard("\u00e9t\u00e9.txt", "\u00c9T\u00c9.TXT"));
    EXPECT_TRUE(equalsIgnoringCase("CORVID Office Plus", "corvid office PLUS"));
}

}  // namespace
}  // namespace qx::platform
