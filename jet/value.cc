#include "jet/value.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/civil_date.h"

namespace jet {

std::string_view typeName(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::Boolean:
            return "Boolean";
        case ColumnType::Byte:
            return "Byte";
        case ColumnType::Integer:
            return "Integer";
        case ColumnType::Long:
            return "Long";
        case ColumnType::Currency:
            return "Currency";
        case ColumnType::Single:
            return "Single";
        case ColumnType::Double:
            return "Double";
        case ColumnType::DateTime:
            return "DateTime";
        case ColumnType::Binary:
            return "Binary";
        case ColumnType::Text:
            return "Text";
        case ColumnType::OLE:
            return "OLE";
        case ColumnType::Memo:
            return "Memo";
        case ColumnType::GUID:
            return "GUID";
        case ColumnType::Decimal:
            return "Decimal";
        case ColumnType::Unknown:
            break;
    }
    return "Unknown";
}

namespace {

// Stored dates within years 100..9999: -657434 is 0100-01-01, 2958465 is 9999-12-31.
constexpr double kMinDays = -657434.0;
constexpr double kMaxDays = 2958465.999988426;

}  // namespace

CivilTime toCivil(DateTime value) noexcept {
    double v = value.days;
    if (!std::isfinite(v)) v = 0.0;
    if (v < kMinDays) v = kMinDays;
    if (v > kMaxDays) v = kMaxDays;
    // Negative values: the integer part counts days backwards, the fraction is still the time.
    double whole = std::trunc(v);
    double frac = std::fabs(v - whole);
    long long seconds = std::llround(frac * 86400.0);
    long long day = static_cast<long long>(whole);
    if (seconds >= 86400) {
        // Rounded up to the next midnight, which is one day later for negative values too
        // (their fraction counts forward from the day's start).
        seconds -= 86400;
        day += 1;
    }
    CivilTime t;
    qx::base::civilFromDays(day - qx::base::kDays1899To1970, t.year, t.month, t.day);
    t.hour = static_cast<int>(seconds / 3600);
    t.minute = static_cast<int>((seconds / 60) % 60);
    t.second = static_cast<int>(seconds % 60);
    return t;
}

namespace {

// "00".."99", so two digits are one copy.
constexpr char kTwoDigits[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

char* two(char* out, int v) noexcept {
    std::memcpy(out, kTwoDigits + 2 * v, 2);
    return out + 2;
}

}  // namespace

char* writeDateTime(char* out, DateTime value) noexcept {
    const CivilTime t = toCivil(value);  // years 100..9999: always four digits
    out = two(out, t.year / 100);
    out = two(out, t.year % 100);
    *out++ = '-';
    out = two(out, t.month);
    *out++ = '-';
    out = two(out, t.day);
    *out++ = ' ';
    out = two(out, t.hour);
    *out++ = ':';
    out = two(out, t.minute);
    *out++ = ':';
    return two(out, t.second);
}

std::string formatDateTime(DateTime value) {
    char buf[kMaxValueText];
    return std::string(buf, writeDateTime(buf, value));
}

char* writeInteger(char* out, std::int64_t value) noexcept {
    return std::to_chars(out, out + kMaxValueText, value).ptr;
}

char* writeDouble(char* out, double value) noexcept {
    return std::to_chars(out, out + kMaxValueText, value).ptr;
}

char* writeSingle(char* out, float value) noexcept {
    return std::to_chars(out, out + kMaxValueText, value).ptr;
}

char* writeCurrency(char* out, Currency value) noexcept {
    const bool negative = value.scaled < 0;
    const std::uint64_t mag =
        negative ? 0 - static_cast<std::uint64_t>(value.scaled) : static_cast<std::uint64_t>(value.scaled);
    if (negative) *out++ = '-';
    out = std::to_chars(out, out + kMaxValueText, mag / 10000).ptr;
    *out++ = '.';
    const auto fraction = static_cast<int>(mag % 10000);
    out = two(out, fraction / 100);
    return two(out, fraction % 100);
}

std::string formatGuid(const Guid& g) {
    const auto& b = g.bytes;
    char buf[40];
    std::snprintf(buf, sizeof buf, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return buf;
}

namespace {

// Decimal digits of a 128-bit magnitude given as four 32-bit parts, most significant first.
std::string digits128(std::uint32_t top, std::uint32_t hi, std::uint32_t mid, std::uint32_t lo) {
    std::uint32_t parts[4] = {top, hi, mid, lo};
    char buf[48];  // 2^128 has 39 digits
    std::size_t n = 0;
    while (parts[0] != 0 || parts[1] != 0 || parts[2] != 0 || parts[3] != 0) {
        std::uint64_t rem = 0;
        for (auto& p : parts) {
            std::uint64_t cur = (rem << 32) | p;
            p = static_cast<std::uint32_t>(cur / 10);
            rem = cur % 10;
        }
        buf[n++] = static_cast<char>('0' + rem);
    }
    if (n == 0) buf[n++] = '0';
    std::string out(n, '0');
    for (std::size_t i = 0; i < n; ++i) out[i] = buf[n - 1 - i];
    return out;
}

// Inserts the decimal point `scale` digits from the right (padding with zeros) and the sign.
// Built character by character: GCC 12 misreports string assignment here at -O3.
std::string placePoint(const std::string& digits, unsigned scale, bool negative) {
    bool zero = digits.find_first_not_of('0') == std::string::npos;
    std::size_t intDigits = digits.size() > scale ? digits.size() - scale : 0;
    std::string out;
    out.reserve(digits.size() + scale + 3);
    if (negative && !zero) out.push_back('-');
    if (intDigits == 0) out.push_back('0');
    for (std::size_t i = 0; i < intDigits; ++i) out.push_back(digits[i]);
    if (scale > 0) {
        out.push_back('.');
        for (std::size_t i = digits.size() - intDigits; i < scale; ++i) out.push_back('0');
        for (std::size_t i = intDigits; i < digits.size(); ++i) out.push_back(digits[i]);
    }
    return out;
}

}  // namespace

std::string formatDecimal(const Decimal& value) {
    return placePoint(digits128(value.top, value.hi, value.mid, value.lo), value.scale, value.negative);
}

std::string formatCurrency(Currency value) {
    char buf[kMaxValueText];
    return std::string(buf, writeCurrency(buf, value));
}

}  // namespace jet
