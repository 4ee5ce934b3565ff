// The Visual Basic runtime semantics the logic relies on, in one place.
//
// Strings are UTF-8; every length and position counts characters, not bytes, and positions are
// 1-based as in VB. Numbers follow VB's types: Integer is 16 bits, Long 32 bits, both raising
// error 6 (overflow) where VB would; Booleans stored or compared are -1 / 0.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/system.h"

namespace qx::vb {

using Integer = std::int16_t;
using Long = std::int32_t;
using Boolean = std::int16_t;

inline constexpr Boolean True = -1;
inline constexpr Boolean False = 0;
inline constexpr Boolean toBoolean(bool b) {
    return b ? True : False;
}

// Trim, LTrim, RTrim: blanks (U+0020) only; tabs, NULs and line ends stay.
std::string Trim(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);

// UCase / LCase: ASCII and the letters of Windows-1252 (Latin-1 letters, Š, Œ, Ž, Ÿ); other
// characters unchanged.
std::string UCase(std::string_view s);
std::string LCase(std::string_view s);

Long Len(std::string_view s);
// Left/Right with a negative length raise 5; lengths beyond the text give the whole text.
std::string Left(std::string_view s, Long length);
std::string Right(std::string_view s, Long length);
// Mid(s, start[, length]): start < 1 or length < 0 raise 5; start past the end gives "".
std::string Mid(std::string_view s, Long start);
std::string Mid(std::string_view s, Long start, Long length);
// InStr([start,] s, find): 1-based position or 0; an empty `find` gives start (when start <= Len + 1).
// start < 1 raises 5. Binary (case-sensitive) comparison, as the default Option Compare Binary.
Long InStr(std::string_view s, std::string_view find);
Long InStr(Long start, std::string_view s, std::string_view find);
// Space(n), String(n, c).
std::string Space(Long n);

// Str(number): a leading blank for non-negative numbers, "-" for negative; no leading zero before
// the decimal point (Str(0.5) = " .5", Str(-0.25) = "-.25"); up to 15 significant digits.
std::string Str(double number);
// CStr / the text a number becomes when joined to a string: the shortest general form with up to
// 15 significant digits, no thousands separator, scientific form ("1E+15", "1E-05") where VB uses it.
std::string CStr(double number);
std::string CStr(Long number);

// Val: the leading number of the text, leniently (blanks anywhere are skipped, as VB does;
// "12ab" = 12, "abc" = 0, "  7" = 7, "1.5e2" = 150, "-3" = -3).
double Val(std::string_view s);

// Conversions with VB's rounding (half to even) and range checks (6 when out of range).
Integer CInt(double v);
Long CLng(double v);

// Integer and Long arithmetic that raises 6 on overflow.
Integer addInt(Integer a, Integer b);
Integer subInt(Integer a, Integer b);
Integer mulInt(Integer a, Integer b);
Long addLong(Long a, Long b);
Long subLong(Long a, Long b);
Long mulLong(Long a, Long b);

// Format(number, pattern) for the patterns the program uses:
//   "0.00%"  the number times 100 with two decimals and "%" (0.4567 -> "45.67%")
//   "###.#"  no leading zero, at most one decimal, the decimal point always shown
//            (12 -> "12.", 0.44 -> ".4", -3.25 -> "-3.3", 0 -> ".")
// Rounding is half away from zero on the decimal value, as Format does. Other patterns raise 5.
std::string Format(double number, std::string_view pattern);

// Dates in the English (United States) forms: short date "11/20/2006" (M/D/YYYY, no leading
// zeros) and general date "11/20/2006 1:45:00 PM"; a general date at midnight shows the date only.
std::string ShortDate(const platform::LocalTime& t);
std::string GeneralDate(const platform::LocalTime& t);
std::string LongTime(const platform::LocalTime& t);

}  // namespace qx::vb
