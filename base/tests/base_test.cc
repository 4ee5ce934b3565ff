#include <gtest/gtest.h>

#include <string>

#include "base/civil_date.h"
#include "base/cp1252.h"
#include "base/letter_case.h"
#include "base/utf8.h"

namespace qx::base {
namespace {

std::string encoded(char32_t cp) {
    std::string out;
    appendUtf8(out, cp);
    return out;
}

TEST(Utf8, EveryScalarValueRoundTrips) {
    for (char32_t cp : {0x0u, 0x41u, 0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xE000u, 0xFFFDu, 0xFFFFu,
                        0x10000u, 0x10FFFFu}) {
        const std::string s = encoded(cp);
        std::size_t pos = 0;
        EXPECT_EQ(decodeUtf8(s, pos), cp);
        EXPECT_EQ(pos, s.size());
    }
    EXPECT_EQ(encoded(0xE9), "\xC3\xA9");
    EXPECT_EQ(encoded(0x20AC), "\xE2\x82\xAC");
    EXPECT_EQ(encoded(0x1F600), "\xF0\x9F\x98\x80");
}

TEST(Utf8, MalformedBytesAreRefusedOneAtATime) {
    // Overlong, a surrogate, beyond U+10FFFF, truncated, a lone continuation byte.
    for (std::string bad : {std::string("\xC0\xAF"), std::string("\xED\xA0\x80"),
                            std::string("\xF4\x90\x80\x80"), std::string("\xE2\x82"), std::string("\x80")}) {
        std::size_t pos = 0;
        EXPECT_EQ(decodeUtf8(bad, pos), kInvalidUtf8) << bad.size();
        EXPECT_EQ(pos, 1u);
    }
}

TEST(Utf8, StrayBytesComeBackAsThemselves) {
    const std::string text = std::string("a\xFF") + "\xC3\xA9" + "\xC3";
    std::string out;
    for (std::size_t pos = 0; pos < text.size();) {
        const char32_t c = decodeUtf8OrByte(text, pos);
        EXPECT_NE(c, kInvalidUtf8);
        appendUtf8OrByte(out, c);
    }
    EXPECT_EQ(out, text);
    std::size_t pos = 1;
    EXPECT_EQ(decodeUtf8OrByte(text, pos), kStrayByte + 0xFF);
    EXPECT_TRUE(isStrayByte(kStrayByte + 0xFF));
    EXPECT_FALSE(isStrayByte(0xE9));
}

TEST(Utf8, CountsAndCutsInCharacters) {
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xFF";
    EXPECT_EQ(utf8Length(text), 4u);
    EXPECT_EQ(utf8Offset(text, 2), 3u);
    EXPECT_EQ(utf8Offset(text, 9), text.size());
}

TEST(Utf8, Utf16leHasSurrogatePairsAndReplacesMalformedBytes) {
    std::string out;
    appendUtf16le(out, "A\xC3\xA9\xF0\x9F\x98\x80\xFF");
    const std::string want("A\0\xE9\0\x3D\xD8\x00\xDE\xFD\xFF", 10);
    EXPECT_EQ(out, want);
}

// Long ASCII runs go sixteen at a time: every length around that step, a non-ASCII character at
// every place of a run, and text appended after what the string holds, against a plain
// character-by-character widening.
TEST(Utf8, Utf16leOfLongRunsMatchesOneCharacterAtATime) {
    auto slow = [](std::string_view text) {
        std::string out;
        for (std::size_t i = 0; i < text.size();) {
            char32_t cp = decodeUtf8(text, i);
            if (cp == kInvalidUtf8) cp = 0xFFFD;
            auto unit = [&out](char32_t u) {
                out.push_back(static_cast<char>(u & 0xFF));
                out.push_back(static_cast<char>(u >> 8));
            };
            if (cp >= 0x10000) {
                unit(0xD800 + ((cp - 0x10000) >> 10));
                unit(0xDC00 + ((cp - 0x10000) & 0x3FF));
            } else {
                unit(cp);
            }
        }
        return out;
    };
    for (std::size_t length = 0; length <= 50; ++length) {
        std::string ascii;
        for (std::size_t k = 0; k < length; ++k) ascii.push_back(static_cast<char>('!' + (k * 7) % 90));
        std::string out = "xy";
        appendUtf16le(out, ascii);
        EXPECT_EQ(out, "xy" + slow(ascii)) << length;
        for (std::size_t at = 0; at < length; ++at) {
            for (const char* odd : {"\xC3\xA9", "\xF0\x9F\x98\x80", "\xFF", "\x7F"}) {
                std::string text = ascii;
                text.insert(at, odd);
                std::string got;
                appendUtf16le(got, text);
                EXPECT_EQ(got, slow(text)) << length << " " << at;
            }
        }
    }
}

TEST(Cp1252, EveryByteRoundTrips) {
    for (int b = 0; b < 256; ++b) {
        const char32_t cp = cp1252ToUnicode(static_cast<std::uint8_t>(b));
        EXPECT_EQ(unicodeToCp1252(cp), b) << b;
    }
    EXPECT_EQ(cp1252ToUnicode(0x80), 0x20ACu);
    EXPECT_EQ(cp1252ToUnicode(0x9F), 0x178u);
    EXPECT_EQ(cp1252ToUnicode(0x8D), 0x8Du);
    EXPECT_EQ(unicodeToCp1252(0x3A9), -1);  // Greek Omega is not on the page
    EXPECT_EQ(unicodeToCp1252(0x80), -1);   // the C1 control where the euro sign sits
}

TEST(LetterCase, UpperCaseCoversTheScriptsOfTheData) {
    EXPECT_EQ(upperChar(U'a'), U'A');
    EXPECT_EQ(upperChar(0xE9), 0xC9u);
    EXPECT_EQ(upperChar(0xFF), 0x178u);
    EXPECT_EQ(upperChar(0xDF), 0xDFu);    // ß has no single capital
    EXPECT_EQ(upperChar(0x142), 0x141u);  // ł
    EXPECT_EQ(upperChar(0x3C2), 0x3A3u);  // final sigma
    EXPECT_EQ(upperChar(0x451), 0x401u);  // ё
    EXPECT_EQ(upperChar(U'1'), U'1');
}

TEST(LetterCase, Cp1252LettersOnlyFoldOnThePage) {
    EXPECT_EQ(upperCp1252Letter(0x161), 0x160u);
    EXPECT_EQ(lowerCp1252Letter(0x160), 0x161u);
    EXPECT_EQ(upperCp1252Letter(0xFF), 0x178u);
    EXPECT_EQ(lowerCp1252Letter(0x178), 0xFFu);
    EXPECT_EQ(lowerCp1252Letter(0xD7), 0xD7u);    // the multiplication sign
    EXPECT_EQ(upperCp1252Letter(0x142), 0x142u);  // ł is not on the page
    EXPECT_EQ(upperCp1252Letter(0x3B1), 0x3B1u);
    for (char32_t c = 0; c < 0x100; ++c) {
        const char32_t u = upperCp1252Letter(c);
        if (u != c) {
            EXPECT_EQ(lowerCp1252Letter(u), c) << static_cast<unsigned>(c);
        }
    }
}

TEST(CivilDate, CountsFrom1970BothWays) {
    EXPECT_EQ(daysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(daysFromCivil(1899, 12, 30), -kDays1899To1970);
    EXPECT_EQ(daysFromCivil(2000, 3, 1) - daysFromCivil(2000, 2, 28), 2);
    EXPECT_EQ(daysFromCivil(1900, 3, 1) - daysFromCivil(1900, 2, 28), 1);
    for (long long z : {-719468LL, -25569LL, -1LL, 0LL, 11016LL, 2932896LL}) {
        int y = 0, m = 0, d = 0;
        civilFromDays(z, y, m, d);
        EXPECT_EQ(daysFromCivil(y, m, d), z);
    }
    int y = 0, m = 0, d = 0;
    civilFromDays(-kDays1899To1970, y, m, d);
    EXPECT_EQ(y * 10000 + m * 100 + d, 18991230);
    EXPECT_TRUE(isLeapYear(2000));
    EXPECT_FALSE(isLeapYear(1900));
    EXPECT_TRUE(isLeapYear(2024));
}

}  // namespace
}  // namespace qx::base
