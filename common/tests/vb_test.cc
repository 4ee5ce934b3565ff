#include "common/vb.h"

#include <gtest/gtest.h>

#include "platform/errors.h"

namespace qx::vb {
namespace {

int errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

TEST(VbTrim, RemovesBlanksOnly) {
    EXPECT_EQ(Trim("  C:\\Data  "), "C:\\Data");
    EXPECT_EQ(Trim("\tC:\\Data\t"), "\tC:\\Data\t");
    EXPECT_EQ(Trim(std::string("C:\\WINDOWS\0  ", 13)), std::string("C:\\WINDOWS\0", 11));
    EXPECT_EQ(LTrim("  a  "), "a  ");
    EXPECT_EQ(RTrim("  a  "), "  a");
    EXPECT_EQ(Trim("   "), "");
}

TEST(VbCase, UpperAndLowerIncludingLatinLetters) {
    EXPECT_EQ(UCase("c:\\keldata\\office.mdb"), "C:\\KELDATA\\OFFICE.MDB");
    EXPECT_EQ(UCase("caf\u00e9 \u0153"), "CAF\u00c9 \u0152");
    EXPECT_EQ(LCase("KEL.INI \u00c9"), "kel.ini \u00e9");
    EXPECT_EQ(UCase("\u00f7\u00df"), "\u00f7\u00df");
}

TEST(VbStrings, LengthsAndPositionsCountCharacters) {
    const std::string s = "\u00e9t\u00e9-x";
    EXPECT_EQ(Len(s), 5);
    EXPECT_EQ(Left(s, 2), "\u00e9t");
    EXPECT_EQ(Right(s, 3), "\u00e9-x");
    EXPECT_EQ(Mid(s, 3, 2), "\u00e9-");
    EXPECT_EQ(Mid(s, 4), "-x");
    EXPECT_EQ(Mid(s, 9), "");
    EXPECT_EQ(InStr(s, "-"), 4);
    EXPECT_EQ(InStr(5, s, "-"), 0);
    EXPECT_EQ(InStr(s, ""), 1);
    EXPECT_EQ(InStr("abc", "z"), 0);
    EXPECT_EQ(Left("ab", 10), "ab");
    EXPECT_EQ(Right("ab", 10), "ab");
}

TEST(VbStrings, InvalidArgumentsRaise5) {
    EXPECT_EQ(errorOf([] { Left("a", -1); }), 5);
    EXPECT_EQ(errorOf([] { Mid("a", 0); }), 5);
    EXPECT_EQ(errorOf([] { InStr(0, "a", "a"); }), 5);
}

TEST(VbStr, LeadingBlankForNonNegativeNumbers) {
    EXPECT_EQ(Str(61), " 61");
    EXPECT_EQ(Str(0), " 0");
    EXPECT_EQ(Str(-5), "-5");
    EXPECT_EQ(Str(0.5), " .5");
    EXPECT_EQ(Str(-0.25), "-.25");
    EXPECT_EQ(Str(3.25), " 3.25");
}

TEST(VbCStr, ShortestGeneralText) {
    EXPECT_EQ(CStr(61.0), "61");
    EXPECT_EQ(CStr(0.5), "0.5");
    EXPECT_EQ(CStr(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(CStr(123456789012345.0), "123456789012345");
    EXPECT_EQ(CStr(1e15), "1E+15");
    EXPECT_EQ(CStr(0.0001), "0.0001");
    EXPECT_EQ(CStr(0.000001), "1E-06");
    EXPECT_EQ(CStr(-2147483648.0), "-2147483648");
    EXPECT_EQ(CStr(Long{-1}), "-1");
    EXPECT_EQ(CStr(4294967295.0), "4294967295");
}

TEST(VbVal, LenientLeadingNumber) {
    EXPECT_EQ(Val("12ab"), 12);
    EXPECT_EQ(Val("abc"), 0);
    EXPECT_EQ(Val("  7"), 7);
    EXPECT_EQ(Val("1 2 3"), 123);
    EXPECT_EQ(Val("-3.5x"), -3.5);
    EXPECT_EQ(Val("1.5e2"), 150);
    EXPECT_EQ(Val("2e"), 2);
    EXPECT_EQ(Val(""), 0);
    EXPECT_EQ(Val(".5"), 0.5);
}

TEST(VbInteger, SixteenBitArithmeticOverflowsWithError6) {
    EXPECT_EQ(addInt(32767, -1), 32766);
    EXPECT_EQ(errorOf([] { addInt(32767, 1); }), 6);
    EXPECT_EQ(errorOf([] { mulInt(256, 128); }), 6);
    EXPECT_EQ(mulInt(256, 127), 32512);
    EXPECT_EQ(errorOf([] { subInt(-32768, 1); }), 6);
    EXPECT_EQ(errorOf([] { CInt(32767.5); }), 6);
    EXPECT_EQ(CInt(2.5), 2);
    EXPECT_EQ(CInt(3.5), 4);
    EXPECT_EQ(CInt(-32768), -32768);
}

TEST(VbLong, ThirtyTwoBitArithmeticOverflowsWithError6) {
    EXPECT_EQ(addLong(2147483646, 1), 2147483647);
    EXPECT_EQ(errorOf([] { addLong(2147483647, 1); }), 6);
    EXPECT_EQ(errorOf([] { CLng(4294967295.0); }), 6);
}

TEST(VbBoolean, TrueIsMinusOne) {
    EXPECT_EQ(toBoolean(true), -1);
    EXPECT_EQ(toBoolean(false), 0);
    EXPECT_EQ(True, -1);
}

TEST(VbFormat, PercentWithTwoDecimals) {
    EXPECT_EQ(Format(0.4567, "0.00%"), "45.67%");
    EXPECT_EQ(Format(0, "0.00%"), "0.00%");
    EXPECT_EQ(Format(1, "0.00%"), "100.00%");
    EXPECT_EQ(Format(0.00005, "0.00%"), "0.01%");
    EXPECT_EQ(Format(0.123456, "0.00%"), "12.35%");
    EXPECT_EQ(Format(-0.5, "0.00%"), "-50.00%");
}

TEST(VbFormat, HashPatternHasNoLeadingZero) {
    EXPECT_EQ(Format(0.44, "###.#"), ".4");
    EXPECT_EQ(Format(12, "###.#"), "12.");
    EXPECT_EQ(Format(45.25, "###.#"), "45.3");
    EXPECT_EQ(Format(-3.25, "###.#"), "-3.3");
    EXPECT_EQ(Format(-0.04, "###.#"), ".");
    EXPECT_EQ(Format(12345.67, "###.#"), "12345.7");
    EXPECT_EQ(Format(99.96, "###.#"), "100.");
}

TEST(VbFormat, OtherPatternsAreRefused) {
    EXPECT_EQ(errorOf([] { Format(1, "#,##0"); }), 5);
}

TEST(VbDates, EnglishUnitedStatesForms) {
    const platform::LocalTime t{2006, 11, 20, 13, 45, 0};
    EXPECT_EQ(ShortDate(t), "11/20/2006");
    EXPECT_EQ(GeneralDate(t), "11/20/2006 1:45:00 PM");
    EXPECT_EQ(ShortDate({2007, 1, 5, 0, 0, 0}), "1/5/2007");
    EXPECT_EQ(GeneralDate({2007, 1, 5, 0, 0, 0}), "1/5/2007");
    EXPECT_EQ(GeneralDate({2007, 1, 5, 0, 5, 9}), "1/5/2007 12:05:09 AM");
    EXPECT_EQ(GeneralDate({2007, 1, 5, 12, 0, 0}), "1/5/2007 12:00:00 PM");
}

}  // namespace
}  // namespace qx::vb
