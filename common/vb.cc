#include "common/vb.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/cp1252.h"
#include "platform/errors.h"
#include "platform/utf8.h"

namespace qx::vb {
namespace {

using platform::utf8Length;
using platform::utf8Offset;

char32_t upper(char32_t c) {
    return platform::upperCp1252Letter(c);
}
char32_t lower(char32_t c) {
    return platform::lowerCp1252Letter(c);
}

template <class F>
std::string mapChars(std::string_view s, F f) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t start = i;
        const char32_t c = platform::decodeUtf8(s, i);
        if (c == platform::kInvalidUtf8) {
            out.append(s.substr(start, i - start));
        } else {
            platform::appendUtf8(out, f(c));
        }
    }
    return out;
}

// The 15 significant digits VB keeps of a Double, as digits and a decimal exponent:
// value = 0.d1d2d3... * 10^exp10. Trailing zeros removed; "0" for zero.
struct Decimal {
    bool negative = false;
    std::string digits;
    int exp10 = 0;
};

Decimal toDecimal(double v, int significant) {
    if (v == 0 || !std::isfinite(v)) return Decimal{false, std::string(1, '0'), 1};
    Decimal d;
    d.negative = v < 0;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", significant - 1, std::fabs(v));
    // buf: "d.ddddde+XX"
    std::string mant;
    const char* p = buf;
    for (; *p && *p != 'e'; ++p) {
        if (*p != '.') mant.push_back(*p);
    }
    const int e = std::atoi(p + 1);
    while (mant.size() > 1 && mant.back() == '0') mant.pop_back();
    d.digits = mant;
    d.exp10 = e + 1;
    return d;
}

// Plain (not scientific) text of a decimal, with a leading zero or not.
std::string plain(const Decimal& d, bool leadingZero) {
    std::string s;
    if (d.exp10 <= 0) {
        s = leadingZero ? "0." : ".";
        s += std::string(static_cast<std::size_t>(-d.exp10), '0') + d.digits;
    } else if (static_cast<std::size_t>(d.exp10) >= d.digits.size()) {
        s = d.digits + std::string(static_cast<std::size_t>(d.exp10) - d.digits.size(), '0');
    } else {
        s = d.digits.substr(0, static_cast<std::size_t>(d.exp10)) + "." +
            d.digits.substr(static_cast<std::size_t>(d.exp10));
    }
    return s;
}

// "-" before `body` when `negative`. Appended rather than written as `"-" + body`: GCC 12 at -O3
// reports a false -Wrestrict overlap for a string literal joined in front of a string.
std::string signed_(bool negative, const std::string& body) {
    std::string out;
    out.reserve(body.size() + 1);
    if (negative) out.push_back('-');
    out.append(body);
    return out;
}

std::string general(double v, bool leadingZero) {
    const Decimal d = toDecimal(v, 15);
    if (d.digits == "0") return "0";
    const int e = d.exp10 - 1;  // exponent of the first digit
    std::string body;
    if (e >= 15 || e < -5) {
        body = d.digits.substr(0, 1);
        if (d.digits.size() > 1) {
            body += '.';
            body.append(d.digits, 1);
        }
        char ex[16];
        std::snprintf(ex, sizeof ex, "E%c%02d", e < 0 ? '-' : '+', std::abs(e));
        body += ex;
    } else {
        body = plain(d, leadingZero);
    }
    return signed_(d.negative, body);
}

// Rounds |v| to `decimals` places, half away from zero, on its 15-digit decimal value.
std::string fixed(double v, int decimals, bool& negative, bool& zero) {
    const Decimal d = toDecimal(v, 15);
    negative = d.negative;
    // Integer digits + decimals as one digit string, rounded on the next digit.
    std::string digits = d.digits;
    int exp10 = d.exp10;
    if (digits == "0") exp10 = 1;
    const int keep = exp10 + decimals;  // digits kept counting from the first significant one
    std::string kept;
    bool roundUp = false;
    if (keep <= 0) {
        kept = "";
        roundUp = keep == 0 && digits != "0" && digits[0] >= '5';
    } else {
        kept = digits.substr(0, std::min<std::size_t>(digits.size(), static_cast<std::size_t>(keep)));
        kept += std::string(static_cast<std::size_t>(keep) - kept.size(), '0');
        roundUp =
            static_cast<std::size_t>(keep) < digits.size() && digits[static_cast<std::size_t>(keep)] >= '5';
    }
    if (roundUp) {
        int i = static_cast<int>(kept.size()) - 1;
        while (i >= 0 && kept[static_cast<std::size_t>(i)] == '9') kept[static_cast<std::size_t>(i--)] = '0';
        if (i >= 0) {
            ++kept[static_cast<std::size_t>(i)];
        } else {
            kept.insert(kept.begin(), '1');
            ++exp10;
        }
    }
    // Pad to at least `decimals` fraction digits.
    int intDigits = static_cast<int>(kept.size()) - decimals;
    if (intDigits < 0) {
        kept.insert(0, static_cast<std::size_t>(-intDigits), '0');
        intDigits = 0;
    }
    std::string intPart = kept.substr(0, static_cast<std::size_t>(intDigits));
    std::string frac = kept.substr(static_cast<std::size_t>(intDigits));
    const auto nz = intPart.find_first_not_of('0');
    intPart = nz == std::string::npos ? "" : intPart.substr(nz);
    zero = intPart.empty() && frac.find_first_not_of('0') == std::string::npos;
    return intPart + (decimals > 0 ? "." + frac : "");
}

}  // namespace

std::string LTrim(std::string_view s) {
    const auto p = s.find_first_not_of(' ');
    return p == std::string_view::npos ? std::string() : std::string(s.substr(p));
}

std::string RTrim(std::string_view s) {
    const auto p = s.find_last_not_of(' ');
    return p == std::string_view::npos ? std::string() : std::string(s.substr(0, p + 1));
}

std::string Trim(std::string_view s) {
    return LTrim(RTrim(s));
}

std::string UCase(std::string_view s) {
    return mapChars(s, upper);
}
std::string LCase(std::string_view s) {
    return mapChars(s, lower);
}

Long Len(std::string_view s) {
    return static_cast<Long>(utf8Length(s));
}

std::string Left(std::string_view s, Long length) {
    if (length < 0) raise(err::kInvalidProcedureCall);
    return std::string(s.substr(0, utf8Offset(s, static_cast<std::size_t>(length))));
}

std::string Right(std::string_view s, Long length) {
    if (length < 0) raise(err::kInvalidProcedureCall);
    const Long n = Len(s);
    if (length >= n) return std::string(s);
    return std::string(s.substr(utf8Offset(s, static_cast<std::size_t>(n - length))));
}

std::string Mid(std::string_view s, Long start) {
    if (start < 1) raise(err::kInvalidProcedureCall);
    return std::string(s.substr(utf8Offset(s, static_cast<std::size_t>(start - 1))));
}

std::string Mid(std::string_view s, Long start, Long length) {
    if (start < 1 || length < 0) raise(err::kInvalidProcedureCall);
    const std::string rest = Mid(s, start);
    return Left(rest, length);
}

Long InStr(std::string_view s, std::string_view find) {
    return InStr(1, s, find);
}

Long InStr(Long start, std::string_view s, std::string_view find) {
    if (start < 1) raise(err::kInvalidProcedureCall);
    const Long n = Len(s);
    if (start > n) return 0;
    if (find.empty()) return start;
    const std::size_t from = utf8Offset(s, static_cast<std::size_t>(start - 1));
    const std::size_t at = s.find(find, from);
    if (at == std::string_view::npos) return 0;
    return static_cast<Long>(utf8Length(s.substr(0, at))) + 1;
}

std::string Space(Long n) {
    if (n < 0) raise(err::kInvalidProcedureCall);
    return std::string(static_cast<std::size_t>(n), ' ');
}

std::string Str(double number) {
    const std::string g = general(number, false);
    return g.front() == '-' ? g : " " + g;
}

std::string CStr(double number) {
    return general(number, true);
}
std::string CStr(Long number) {
    return std::to_string(number);
}

double Val(std::string_view s) {
    // VB's Val ignores blanks, tabs and line feeds anywhere in the number.
    std::string t;
    for (char c : s) {
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') t.push_back(c);
    }
    std::size_t i = 0;
    std::string num;
    if (i < t.size() && (t[i] == '-' || t[i] == '+')) num.push_back(t[i++]);
    bool digits = false;
    while (i < t.size() && std::isdigit(static_cast<unsigned char>(t[i])))
        num.push_back(t[i++]), digits = true;
    if (i < t.size() && t[i] == '.') {
        num.push_back(t[i++]);
        while (i < t.size() && std::isdigit(static_cast<unsigned char>(t[i])))
            num.push_back(t[i++]), digits = true;
    }
    if (!digits) return 0.0;
    if (i < t.size() && (t[i] == 'e' || t[i] == 'E' || t[i] == 'd' || t[i] == 'D')) {
        std::string ex = "e";
        std::size_t k = i + 1;
        if (k < t.size() && (t[k] == '-' || t[k] == '+')) ex.push_back(t[k++]);
        bool expDigits = false;
        while (k < t.size() && std::isdigit(static_cast<unsigned char>(t[k])))
            ex.push_back(t[k++]), expDigits = true;
        if (expDigits) num += ex;
    }
    const double v = std::strtod(num.c_str(), nullptr);
    if (!std::isfinite(v)) raise(err::kOverflow);
    return v;
}

Integer CInt(double v) {
    const double r = std::nearbyint(v);  // the default rounding mode is half to even, as VB's
    if (!(r >= -32768.0 && r <= 32767.0)) raise(err::kOverflow);
    return static_cast<Integer>(r);
}

Long CLng(double v) {
    const double r = std::nearbyint(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) raise(err::kOverflow);
    return static_cast<Long>(r);
}

Integer addInt(Integer a, Integer b) {
    return CInt(double(a) + double(b));
}
Integer subInt(Integer a, Integer b) {
    return CInt(double(a) - double(b));
}
Integer mulInt(Integer a, Integer b) {
    return CInt(double(a) * double(b));
}
Long addLong(Long a, Long b) {
    return CLng(double(a) + double(b));
}
Long subLong(Long a, Long b) {
    return CLng(double(a) - double(b));
}
Long mulLong(Long a, Long b) {
    return CLng(double(a) * double(b));
}

std::string Format(double number, std::string_view pattern) {
    bool negative = false, zero = false;
    if (pattern == "0.00%") {
        std::string s = fixed(number * 100.0, 2, negative, zero);
        std::string out = signed_(negative && !zero, s.front() == '.' ? "0" + s : s);
        out += '%';
        return out;
    }
    if (pattern == "###.#") {
        const std::string s = fixed(number, 1, negative, zero);
        std::string t = s;
        if (t.size() >= 2 && t.compare(t.size() - 2, 2, ".0") == 0) t.pop_back();
        return signed_(negative && !zero, t);
    }
    raise(err::kInvalidProcedureCall);
}

std::string ShortDate(const platform::LocalTime& t) {
    return std::to_string(t.month) + "/" + std::to_string(t.day) + "/" + std::to_string(t.year);
}

std::string LongTime(const platform::LocalTime& t) {
    const int h12 = t.hour % 12 == 0 ? 12 : t.hour % 12;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%d:%02d:%02d %s", h12, t.minute, t.second, t.hour < 12 ? "AM" : "PM");
    return buf;
}

std::string GeneralDate(const platform::LocalTime& t) {
    const bool midnight = t.hour == 0 && t.minute == 0 && t.second == 0;
    const bool noDate = t.year == 1899 && t.month == 12 && t.day == 30;
    if (noDate && !midnight) return LongTime(t);
    if (midnight) return ShortDate(t);
    return ShortDate(t) + " " + LongTime(t);
}

}  // namespace qx::vb
