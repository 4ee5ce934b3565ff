#include "jet/sql/text.h"

#include <gtest/gtest.h>

namespace jet::sql {
namespace {

TEST(Upper, ConvertsLettersOfEveryScriptTheDataHolds) {
    EXPECT_EQ(upper("new york 12b"), "NEW YORK 12B");
    EXPECT_EQ(upper("acción über façade"), "ACCIÓN ÜBER FAÇADE");
    EXPECT_EQ(upper("œuvre šíp žák ÿ"), "ŒUVRE ŠÍP ŽÁK Ÿ");
    EXPECT_EQ(upper("łódź"), "ŁÓDŹ");
    EXPECT_EQ(upper("αβγ ς ά"), "ΑΒΓ Σ Ά");
    EXPECT_EQ(upper("москва ё"), "МОСКВА Ё");
    EXPECT_EQ(upper("ｗｉｄｅ"), "ＷＩＤＥ");
}

TEST(Upper, LeavesEverythingElseAsItIs) {
    EXPECT_EQ(upper("ß µ 1-2_3 %[]"), "ß µ 1-2_3 %[]");
    EXPECT_EQ(upper("ALREADY"), "ALREADY");
    EXPECT_EQ(upper(""), "");
    // A stray byte that is not UTF-8 comes out unchanged.
    EXPECT_EQ(upper(std::string("a\xFF"
                                "b")),
              std::string("A\xFF"
                          "B"));
}

namespace {
std::string utf16le(std::u16string_view s) {
    std::string out;
    for (char16_t u : s) {
        out.push_back(static_cast<char>(u & 0xFF));
        out.push_back(static_cast<char>(u >> 8));
    }
    return out;
}
}  // namespace

TEST(UpperAsciiUtf16, FoldsAsciiOfEveryLengthAndRefusesAnythingElse) {
    for (std::size_t length = 0; length <= 35; ++length) {
        std::u16string text;
        std::string ascii;
        for (std::size_t i = 0; i < length; ++i) {
            // Every printable ASCII character and the letters' neighbours ('`', '{', '@', '[').
            const char c = static_cast<char>(0x20 + (i * 37 + length) % 0x5F);
            text.push_back(static_cast<char16_t>(c));
            ascii.push_back(c);
        }
        std::string out(length, '\0');
        ASSERT_TRUE(upperAsciiUtf16(utf16le(text), out.data())) << length;
        EXPECT_EQ(out, upper(ascii)) << length;
        // One unit outside ASCII anywhere refuses the whole text.
        for (std::size_t at = 0; at < length; ++at) {
            for (char16_t other : {u'\u0080', u'\u00e9', u'\u0178', u'\uff41', u'\u0100'}) {
                std::u16string changed = text;
                changed[at] = other;
                EXPECT_FALSE(upperAsciiUtf16(utf16le(changed), out.data())) << length << " at " << at;
            }
        }
    }
}

TEST(UpperAsciiBytes, FoldsAsciiOfEveryLengthAndRefusesAnythingElse) {
    for (std::size_t length = 0; length <= 40; ++length) {
        std::string ascii;
        for (std::size_t i = 0; i < length; ++i)
            ascii.push_back(static_cast<char>(0x01 + (i * 37 + length) % 0x7F));
        std::string out(length, '\0');
        ASSERT_TRUE(upperAsciiBytes(ascii, out.data())) << length;
        EXPECT_EQ(out, upper(ascii)) << length;
        // A compression mode switch or a byte above ASCII anywhere refuses the whole text.
        for (std::size_t at = 0; at < length; ++at) {
            for (char other : {'\0', '\x80', '\xe9', '\xff'}) {
                std::string changed = ascii;
                changed[at] = other;
                EXPECT_FALSE(upperAsciiBytes(changed, out.data())) << length << " at " << at;
            }
        }
    }
}

TEST(CompareText, IgnoresCaseButNotAccents) {
    EXPECT_EQ(compareText("Acción", "ACCIÓN"), 0);
    EXPECT_NE(compareText("acción", "accion"), 0);
    EXPECT_LT(compareText("apple", "Banana"), 0);
    EXPECT_GT(compareText("b", "A"), 0);
}

bool like(std::string_view text, std::string_view pattern) {
    return LikePattern(pattern).matches(text);
}

TEST(Like, PercentMatchesAnyRunAndUnderscoreOneCharacter) {
    EXPECT_TRUE(like("New York", "%YORK%"));
    EXPECT_TRUE(like("York", "%york%"));
    EXPECT_FALSE(like("Yonkers", "%YORK%"));
    EXPECT_TRUE(like("", "%"));
    EXPECT_TRUE(like("", "%%"));
    EXPECT_FALSE(like("", "_"));
    EXPECT_TRUE(like("A7-1005", "A_-%"));
    EXPECT_FALSE(like("A-1005", "A_-%"));
    EXPECT_TRUE(like("abc", "abc"));
    EXPECT_FALSE(like("abcd", "abc"));
    EXPECT_TRUE(like("abcd", "abc%"));
    EXPECT_TRUE(like("xabc", "%abc"));
    EXPECT_FALSE(like("xabcx", "%abc"));
    EXPECT_TRUE(like("mississippi", "%iss%ip_i"));
    EXPECT_FALSE(like("mississippi", "%iss%ip_"));
}

TEST(Like, StarAndQuestionMarkAreOrdinaryCharacters) {
    EXPECT_FALSE(like("York", "Y*"));
    EXPECT_TRUE(like("Y*", "Y*"));
    EXPECT_FALSE(like("Yo", "Y?"));
    EXPECT_TRUE(like("Y?", "%?"));
}

TEST(Like, BracketGroups) {
    EXPECT_TRUE(like("B12", "[abc]%"));
    EXPECT_FALSE(like("D12", "[abc]%"));
    EXPECT_TRUE(like("D12", "[!abc]%"));
    EXPECT_FALSE(like("a12", "[!abc]%"));
    EXPECT_TRUE(like("m", "[a-z]"));
    EXPECT_TRUE(like("M", "[a-z]"));  // without regard to case
    EXPECT_FALSE(like("5", "[a-z]"));
    EXPECT_TRUE(like("5", "[0-9]"));
    EXPECT_TRUE(like("-", "[-a]"));
    EXPECT_TRUE(like("-", "[a-]"));
    EXPECT_FALSE(like("b", "[-a]"));
    EXPECT_TRUE(like("q7", "[a-cq][0-9]"));
}

TEST(Like, BracketedWildcardsMatchThemselves) {
    EXPECT_TRUE(like("50%", "%[%]"));
    EXPECT_FALSE(like("500", "%[%]"));
    EXPECT_TRUE(like("a_b", "a[_]b"));
    EXPECT_FALSE(like("axb", "a[_]b"));
    EXPECT_TRUE(like("[x", "[[]x"));
    EXPECT_TRUE(like("x]", "x]"));
}

TEST(Like, EmptyGroupMatchesNothingAndConsumesNothing) {
    EXPECT_TRUE(like("ab", "a[]b"));
    EXPECT_FALSE(like("axb", "a[]b"));
}

TEST(Like, UnclosedGroupOrDescendingRangeMatchesNothing) {
    EXPECT_FALSE(like("[abc", "[abc"));
    EXPECT_FALSE(like("abc", "%[%"));
    EXPECT_FALSE(like("m", "[z-a]"));
}

TEST(Like, IgnoresCaseKeepsAccents) {
    EXPECT_TRUE(like("Acción", "%ACCIÓN%"));
    EXPECT_FALSE(like("Accion", "%ACCIÓN%"));
    EXPECT_TRUE(like("ÉCOLE", "_cole"));
}

TEST(Like, BlanksAreSignificant) {
    EXPECT_TRUE(like("CK 105", "% 105%"));
    EXPECT_FALSE(like("105", "% 105%"));
    EXPECT_FALSE(like("abc ", "abc"));
}

// A deliberately plain reference: recursion over the pattern, ASCII only, groups without ranges.
bool referenceLike(std::string_view t, std::string_view p) {
    if (p.empty()) return t.empty();
    const auto up = [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; };
    if (p[0] == '%') {
        for (std::size_t k = 0; k <= t.size(); ++k)
            if (referenceLike(t.substr(k), p.substr(1))) return true;
        return false;
    }
    if (t.empty()) return false;
    if (p[0] == '_') return referenceLike(t.substr(1), p.substr(1));
    if (p[0] == '[') {
        const auto close = p.find(']', 1);
        std::string_view body = p.substr(1, close - 1);
        const bool negated = !body.empty() && body[0] == '!';
        if (negated) body.remove_prefix(1);
        bool in = false;
        for (char c : body) in = in || up(c) == up(t[0]);
        return in != negated && referenceLike(t.substr(1), p.substr(close + 1));
    }
    return up(p[0]) == up(t[0]) && referenceLike(t.substr(1), p.substr(1));
}

TEST(Like, AgreesWithAPlainReferenceOnRandomPatterns) {
    std::uint32_t seed = 7;
    auto next = [&] {
        seed = seed * 1664525u + 1013904223u;
        return seed >> 16;
    };
    const std::string letters = "abAB";
    int matched = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text, pattern;
        for (int i = static_cast<int>(next() % 7); i > 0; --i) text += letters[next() % letters.size()];
        for (int i = static_cast<int>(next() % 6); i > 0; --i) {
            switch (next() % 6) {
                case 0:
                    pattern += '%';
                    break;
                case 1:
                    pattern += '_';
                    break;
                case 2:
                    pattern += (next() % 2) ? "[ab]" : "[!a]";
                    break;
                default:
                    pattern += letters[next() % letters.size()];
                    break;
            }
        }
        const bool expected = referenceLike(text, pattern);
        EXPECT_EQ(LikePattern(pattern).matches(text), expected)
            << "'" << text << "' LIKE '" << pattern << "'";
        matched += expected ? 1 : 0;
    }
    EXPECT_GT(matched, 1000);
}

Value dateValue(double days) {
    return Value(ColumnType::DateTime, Value::Storage(DateTime{days}));
}

TEST(ToText, DatesInTheUnitedStatesGeneralForm) {
    // 2006-11-20 is day 39041.
    EXPECT_EQ(toText(dateValue(39041.0)), "11/20/2006");
    EXPECT_EQ(toText(dateValue(39041.0 + 13.75 / 24.0)), "11/20/2006 1:45:00 PM");
    EXPECT_EQ(toText(dateValue(39041.0 + 0.5 / 24.0)), "11/20/2006 12:30:00 AM");
    EXPECT_EQ(toText(dateValue(39041.5)), "11/20/2006 12:00:00 PM");
    EXPECT_EQ(toText(dateValue(0.25)), "6:00:00 AM");
    EXPECT_EQ(toText(dateValue(1.0)), "12/31/1899");
    EXPECT_EQ(toText(dateValue(2.0)), "1/1/1900");
}

TEST(ToText, NumbersWithoutSeparatorsOrSuperfluousZeros) {
    EXPECT_EQ(toText(Value(ColumnType::Long, Value::Storage(std::int32_t{1234567}))), "1234567");
    EXPECT_EQ(toText(Value(ColumnType::Integer, Value::Storage(std::int16_t{-12}))), "-12");
    EXPECT_EQ(toText(Value(ColumnType::Byte, Value::Storage(std::uint8_t{200}))), "200");
    EXPECT_EQ(toText(Value(ColumnType::Currency, Value::Storage(Currency{12345000}))), "1234.5");
    EXPECT_EQ(toText(Value(ColumnType::Currency, Value::Storage(Currency{-100}))), "-0.01");
    EXPECT_EQ(toText(Value(ColumnType::Currency, Value::Storage(Currency{2500000}))), "250");
    EXPECT_EQ(toText(Value(ColumnType::Double, Value::Storage(0.1))), "0.1");
    EXPECT_EQ(toText(Value(ColumnType::Double, Value::Storage(1.0 / 3.0))), "0.333333333333333");
    EXPECT_EQ(toText(Value(ColumnType::Double, Value::Storage(1e20))), "1E+20");
    EXPECT_EQ(toText(Value(ColumnType::Double, Value::Storage(-2.5e-7))), "-2.5E-07");
    EXPECT_EQ(toText(Value(ColumnType::Double, Value::Storage(123456.0))), "123456");
    EXPECT_EQ(toText(Value(ColumnType::Single, Value::Storage(0.1f))), "0.1");
    EXPECT_EQ(toText(Value(ColumnType::Boolean, Value::Storage(true))), "-1");
    EXPECT_EQ(toText(Value(ColumnType::Boolean, Value::Storage(false))), "0");
}

TEST(ToText, TextStaysAndNullIsEmpty) {
    EXPECT_EQ(toText(Value(ColumnType::Text, Value::Storage(std::string("Main St")))), "Main St");
    EXPECT_EQ(toText(Value()), "");
}

}  // namespace
}  // namespace jet::sql
