#include "jet/sql/convert.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

namespace jet::sql {

namespace {

__extension__ typedef unsigned __int128 U128;

// A number's text split into sign, digits and the position of the decimal point (an exponent
// moves the point). "-12.5e1" -> negative, "125", point 3.
struct DecimalText {
    bool negative = false;
    std::string digits;  // without leading zeros
    long point = 0;      // digits before the decimal point
};

std::optional<DecimalText> splitNumber(const std::string& s) {
    DecimalText d;
    std::size_t i = 0;
    while (i < s.size() && s[i] == ' ') ++i;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) d.negative = s[i++] == '-';
    std::string digits;
    long point = -1;
    bool any = false;
    for (; i < s.size(); ++i) {
        char c = s[i];
        if (c >= '0' && c <= '9') {
            digits.push_back(c);
            any = true;
        } else if (c == '.' && point < 0) {
            point = static_cast<long>(digits.size());
        } else {
            break;
        }
    }
    if (!any) return std::nullopt;
    if (point < 0) point = static_cast<long>(digits.size());
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        bool neg = false;
        if (i < s.size() && (s[i] == '-' || s[i] == '+')) neg = s[i++] == '-';
        long e = 0;
        bool ed = false;
        for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
            e = std::min(e * 10 + (s[i] - '0'), 100000L);
            ed = true;
        }
        if (!ed) return std::nullopt;
        point += neg ? -e : e;
    }
    while (i < s.size() && s[i] == ' ') ++i;
    if (i != s.size()) return std::nullopt;
    std::size_t lead = 0;
    while (lead < digits.size() && digits[lead] == '0') ++lead;
    d.digits = digits.substr(lead);
    d.point = point - static_cast<long>(lead);
    return d;
}

// The magnitude times 10^scale, rounded half away from zero, when it fits 128 bits.
bool scaledMagnitude(const DecimalText& d, int scale, U128& out) {
    out = 0;
    const U128 limit = ~static_cast<U128>(0) / 10 - 10;
    long keep = d.point + scale;  // digits kept before rounding
    for (long i = 0; i < keep; ++i) {
        int digit = i < static_cast<long>(d.digits.size()) ? d.digits[static_cast<std::size_t>(i)] - '0' : 0;
        if (out > limit) return false;
        out = out * 10 + static_cast<unsigned>(digit);
    }
    if (keep >= 0 && keep < static_cast<long>(d.digits.size()) &&
        d.digits[static_cast<std::size_t>(keep)] >= '5')
        ++out;
    return true;
}

[[noreturn]] void mismatch() {
    throw Error::typeMismatch();
}
[[noreturn]] void tooLarge() {
    throw Error::valueTooLong();
}

double toDouble(const IncomingValue& v) {
    switch (v.kind) {
        case IncomingValue::Kind::Boolean:
            return v.boolean ? -1.0 : 0.0;
        case IncomingValue::Kind::Date:
            return v.date.days;
        case IncomingValue::Kind::Number:
        case IncomingValue::Kind::Text: {
            if (!splitNumber(v.text)) mismatch();
            return std::strtod(v.text.c_str(), nullptr);
        }
        default:
            mismatch();
    }
}

std::int64_t toWhole(const IncomingValue& v, std::int64_t lo, std::int64_t hi) {
    double d = toDouble(v);
    // Jet rounds half to even on the way to a whole number.
    double r = std::nearbyint(d);
    if (!(r >= static_cast<double>(lo) && r <= static_cast<double>(hi))) tooLarge();
    return static_cast<std::int64_t>(r);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

Guid parseGuid(const std::string& s) {
    // {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}; the first three groups are stored little-endian.
    std::string hex;
    for (char c : s)
        if (hexDigit(c) >= 0)
            hex.push_back(c);
        else if (c != '{' && c != '}' && c != '-')
            mismatch();
    if (hex.size() != 32) mismatch();
    std::uint8_t b[16];
    for (int i = 0; i < 16; ++i)
        b[i] = static_cast<std::uint8_t>(hexDigit(hex[2 * i]) << 4 | hexDigit(hex[2 * i + 1]));
    Guid g;
    const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    for (int i = 0; i < 16; ++i) g.bytes[static_cast<std::size_t>(i)] = b[order[i]];
    return g;
}

}  // namespace

IncomingValue incomingOf(const InsertValue& v) {
    IncomingValue l;
    switch (v.kind) {
        case InsertValue::Kind::Null:
            l.kind = IncomingValue::Kind::Null;
            break;
        case InsertValue::Kind::Boolean:
            l.kind = IncomingValue::Kind::Boolean;
            l.boolean = v.boolean;
            break;
        case InsertValue::Kind::Number:
            l.kind = IncomingValue::Kind::Number;
            l.text = v.number;
            break;
        case InsertValue::Kind::Text:
            l.kind = IncomingValue::Kind::Text;
            l.text = v.text;
            break;
        case InsertValue::Kind::Date:
            l.kind = IncomingValue::Kind::Date;
            l.date = v.date;
            break;
    }
    return l;
}

Value convertForColumn(const Column& c, const IncomingValue& v) {
    if (v.kind == IncomingValue::Kind::Null) return Value(c.type, std::monostate{});
    switch (c.type) {
        case ColumnType::Boolean:
            if (v.kind == IncomingValue::Kind::Boolean) return Value(c.type, v.boolean);
            if (v.kind == IncomingValue::Kind::Text &&
                (v.text == "True" || v.text == "true" || v.text == "Yes"))
                return Value(c.type, true);
            if (v.kind == IncomingValue::Kind::Text &&
                (v.text == "False" || v.text == "false" || v.text == "No"))
                return Value(c.type, false);
            return Value(c.type, toDouble(v) != 0.0);
        case ColumnType::Byte:
            return Value(c.type, static_cast<std::uint8_t>(toWhole(v, 0, 255)));
        case ColumnType::Integer:
            return Value(c.type, static_cast<std::int16_t>(toWhole(v, -32768, 32767)));
        case ColumnType::Long:
            return Value(c.type,
                         static_cast<std::int32_t>(toWhole(v, std::numeric_limits<std::int32_t>::min(),
                                                           std::numeric_limits<std::int32_t>::max())));
        case ColumnType::Single: {
            double d = toDouble(v);
            if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) tooLarge();
            return Value(c.type, static_cast<float>(d));
        }
        case ColumnType::Double:
            return Value(c.type, toDouble(v));
        case ColumnType::DateTime: {
            if (v.kind == IncomingValue::Kind::Date) return Value(c.type, v.date);
            if (v.kind == IncomingValue::Kind::Text) {
                if (auto d = parseDateLiteral(v.text)) return Value(c.type, *d);
                mismatch();
            }
            return Value(c.type, DateTime{toDouble(v)});
        }
        case ColumnType::Currency: {
            if (v.kind == IncomingValue::Kind::Number || v.kind == IncomingValue::Kind::Text) {
                auto d = splitNumber(v.text);
                if (!d) mismatch();
                U128 m = 0;
                // The negative range reaches one further than the positive one.
                const U128 most =
                    static_cast<U128>(std::numeric_limits<std::int64_t>::max()) + (d->negative ? 1 : 0);
                if (!scaledMagnitude(*d, 4, m) || m > most) tooLarge();
                const std::uint64_t u = static_cast<std::uint64_t>(m);
                const std::int64_t s =
                    d->negative ? static_cast<std::int64_t>(0 - u) : static_cast<std::int64_t>(u);
                return Value(c.type, Currency{s});
            }
            double x = toDouble(v) * 10000.0;
            return Value(c.type, Currency{static_cast<std::int64_t>(std::llround(x))});
        }
        case ColumnType::Decimal: {
            std::string text = v.text;
            if (v.kind == IncomingValue::Kind::Boolean)
                text = v.boolean ? "-1" : "0";
            else if (v.kind != IncomingValue::Kind::Number && v.kind != IncomingValue::Kind::Text)
                mismatch();
            auto d = splitNumber(text);
            if (!d) mismatch();
            U128 m = 0;
            if (!scaledMagnitude(*d, c.scale, m) || (m >> 96) != 0) tooLarge();
            // Digits beyond the column's precision do not fit.
            U128 cap = 1;
            for (int i = 0; i < c.precision && i < 38; ++i) cap *= 10;
            if (c.precision > 0 && m >= cap) tooLarge();
            Decimal out;
            out.negative = d->negative && m != 0;
            out.scale = c.scale;
            out.precision = c.precision;
            out.lo = static_cast<std::uint32_t>(m);
            out.mid = static_cast<std::uint32_t>(m >> 32);
            out.hi = static_cast<std::uint32_t>(m >> 64);
            return Value(c.type, out);
        }
        case ColumnType::Text:
        case ColumnType::Memo:
            switch (v.kind) {
                case IncomingValue::Kind::Text:
                case IncomingValue::Kind::Number:
                    return Value(c.type, v.text);
                case IncomingValue::Kind::Boolean:
                    return Value(c.type, std::string(v.boolean ? "True" : "False"));
                case IncomingValue::Kind::Date:
                    return Value(c.type, formatDateTime(v.date));
                case IncomingValue::Kind::Bytes:
                    return Value(c.type, std::string(v.bytes.begin(), v.bytes.end()));
                default:
                    mismatch();
            }
        case ColumnType::GUID:
            if (v.kind != IncomingValue::Kind::Text) mismatch();
            return Value(c.type, parseGuid(v.text));
        case ColumnType::Binary:
        case ColumnType::OLE:
            if (v.kind == IncomingValue::Kind::Bytes) return Value(c.type, v.bytes);
            if (v.kind == IncomingValue::Kind::Text)
                return Value(c.type, Bytes(v.text.begin(), v.text.end()));
            mismatch();
        default:
            mismatch();
    }
}

}  // namespace jet::sql
