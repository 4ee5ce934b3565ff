#include "jet/sql/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "jet/store.h"

namespace jet::sql {

void appendUpper(std::string& out, std::string_view text) {
    // Runs of ASCII, by far the most common text, are folded in place without per-byte appends.
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t run = pos;
        while (run < text.size() && static_cast<unsigned char>(text[run]) < 0x80) ++run;
        if (run > pos) {
            const std::size_t at = out.size();
            out.resize(at + (run - pos));
            char* dst = out.data() + at;
            for (std::size_t i = pos; i < run; ++i) {
                const char c = text[i];
                *dst++ = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 0x20) : c;
            }
            pos = run;
            continue;
        }
        appendUtf8(out, upperChar(decodeUtf8(text, pos)));
    }
}

bool upperAsciiUtf16(std::string_view units, char* out) noexcept {
    const auto* p = reinterpret_cast<const unsigned char*>(units.data());
    const std::size_t n = units.size() / 2;
    std::size_t i = 0;
#if defined(__SSE2__)
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i beforeA = _mm_set1_epi16('a' - 1);
    const __m128i afterZ = _mm_set1_epi16('z' + 1);
    const __m128i caseBit = _mm_set1_epi16(0x20);
    for (; i + 8 <= n; i += 8) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2 * i));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, high), _mm_setzero_si128())) != 0xFFFF)
            return false;
        const __m128i lower = _mm_and_si128(_mm_cmpgt_epi16(v, beforeA), _mm_cmplt_epi16(v, afterZ));
        v = _mm_sub_epi16(v, _mm_and_si128(lower, caseBit));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(v, v));
    }
#endif
    for (; i < n; ++i) {
        const unsigned u = p[2 * i] | (p[2 * i + 1] << 8);
        if (u >= 0x80) return false;
        out[i] = static_cast<char>(u >= 'a' && u <= 'z' ? u - 0x20 : u);
    }
    return true;
}

bool upperAsciiBytes(std::string_view bytes, char* out) noexcept {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    std::size_t i = 0;
#if defined(__SSE2__)
    // As signed bytes, 0x80 and up are negative: one comparison with 1 finds them and 0x00.
    const __m128i one = _mm_set1_epi8(1);
    const __m128i beforeA = _mm_set1_epi8('a' - 1);
    const __m128i afterZ = _mm_set1_epi8('z' + 1);
    const __m128i caseBit = _mm_set1_epi8(0x20);
    for (; i + 16 <= n; i += 16) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        if (_mm_movemask_epi8(_mm_cmplt_epi8(v, one)) != 0) return false;
        const __m128i lower = _mm_and_si128(_mm_cmpgt_epi8(v, beforeA), _mm_cmplt_epi8(v, afterZ));
        v = _mm_sub_epi8(v, _mm_and_si128(lower, caseBit));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), v);
    }
#endif
    for (; i < n; ++i) {
        const unsigned char c = p[i];
        if (c == 0 || c >= 0x80) return false;
        out[i] = static_cast<char>(c >= 'a' && c <= 'z' ? c - 0x20 : c);
    }
    return true;
}

std::string upper(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendUpper(out, text);
    return out;
}

int compareText(std::string_view a, std::string_view b) {
    // UTF-8 byte order is code point order, so folded strings compare as bytes.
    const std::string fa = upper(a), fb = upper(b);
    const int r = fa.compare(fb);
    return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

// ---------------------------------------------------------------------------------------------
// LIKE

LikePattern::LikePattern(std::string_view pattern) {
    std::size_t pos = 0;
    while (pos < pattern.size()) {
        const char32_t c = decodeUtf8(pattern, pos);
        if (c == '%') {
            if (elements_.empty() || elements_.back().kind != Kind::AnyRun)
                elements_.push_back(Element{Kind::AnyRun, false, 0, {}});
        } else if (c == '_') {
            elements_.push_back(Element{Kind::One, false, 0, {}});
        } else if (c == '[') {
            // Gather the group up to the first ']' (a ']' right after '[' or '[!' closes an empty
            // group, which matches the empty string).
            std::vector<char32_t> group;
            bool closed = false;
            while (pos < pattern.size()) {
                const char32_t g = decodeUtf8(pattern, pos);
                if (g == ']') {
                    closed = true;
                    break;
                }
                group.push_back(upperChar(g));
            }
            if (!closed) {
                valid_ = false;
                return;
            }
            Element e{Kind::Set, false, 0, {}};
            std::size_t i = 0;
            if (!group.empty() && group[0] == '!') {
                e.negated = true;
                i = 1;
            }
            if (i == group.size()) {
                if (!e.negated) continue;  // "[]": matches nothing, consumes nothing
                // "[!]": any one character but none listed, that is any character.
                elements_.push_back(Element{Kind::One, false, 0, {}});
                continue;
            }
            for (; i < group.size(); ++i) {
                if (i + 2 < group.size() && group[i + 1] == '-') {
                    const char32_t lo = group[i], hi = group[i + 2];
                    if (hi < lo) {
                        valid_ = false;
                        return;
                    }
                    e.ranges.emplace_back(lo, hi);
                    i += 2;
                } else {
                    e.ranges.emplace_back(group[i], group[i]);
                }
            }
            elements_.push_back(std::move(e));
        } else {
            elements_.push_back(Element{Kind::Char, false, upperChar(c), {}});
        }
    }

    // Find the literal shortcuts.
    std::size_t first = 0, last = elements_.size();
    const bool leading = !elements_.empty() && elements_.front().kind == Kind::AnyRun;
    const bool trailing = elements_.size() > (leading ? 1u : 0u) && elements_.back().kind == Kind::AnyRun;
    if (leading) ++first;
    if (trailing) --last;
    bool literalOnly = true;
    for (std::size_t i = first; i < last; ++i) {
        if (elements_[i].kind != Kind::Char) {
            literalOnly = false;
            break;
        }
        appendUtf8(literal_, elements_[i].ch);
    }
    if (!literalOnly) {
        literal_.clear();
        return;
    }
    if (leading && first >= last && elements_.size() == 1)
        shortcut_ = Shortcut::All;
    else if (leading && trailing)
        shortcut_ = Shortcut::Contains;
    else if (leading)
        shortcut_ = Shortcut::Suffix;
    else if (trailing)
        shortcut_ = Shortcut::Prefix;
    else
        shortcut_ = Shortcut::Equals;
}

bool LikePattern::matches(std::string_view text) const {
    thread_local std::string folded;
    folded.clear();
    appendUpper(folded, text);
    return matchesFolded(folded);
}

bool LikePattern::matchesFolded(std::string_view folded) const {
    if (!valid_) return false;
    switch (shortcut_) {
        case Shortcut::All:
            return true;
        case Shortcut::Contains:
            return literal_.empty() || folded.find(literal_) != std::string_view::npos;
        case Shortcut::Prefix:
            return folded.starts_with(literal_);
        case Shortcut::Suffix:
            return folded.ends_with(literal_);
        case Shortcut::Equals:
            return folded == literal_;
        case Shortcut::None:
            break;
    }
    thread_local std::u32string chars;
    chars.clear();
    std::size_t pos = 0;
    while (pos < folded.size()) chars.push_back(decodeUtf8(folded, pos));
    return matchElements(chars);
}

bool LikePattern::matchElements(std::u32string_view text) const {
    auto one = [](const Element& e, char32_t c) {
        switch (e.kind) {
            case Kind::One:
                return true;
            case Kind::Char:
                return e.ch == c;
            case Kind::Set: {
                bool in = false;
                for (const auto& [lo, hi] : e.ranges) {
                    if (c >= lo && c <= hi) {
                        in = true;
                        break;
                    }
                }
                return in != e.negated;
            }
            case Kind::AnyRun:
                break;
        }
        return false;
    };
    const std::size_t n = text.size(), m = elements_.size();
    std::size_t t = 0, p = 0, starP = std::string::npos, starT = 0;
    while (t < n) {
        if (p < m && elements_[p].kind == Kind::AnyRun) {
            starP = p++;
            starT = t;
        } else if (p < m && one(elements_[p], text[t])) {
            ++p;
            ++t;
        } else if (starP != std::string::npos) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < m && elements_[p].kind == Kind::AnyRun) ++p;
    return p == m;
}

// ---------------------------------------------------------------------------------------------
// Values as text

namespace {

// VB's figure for a floating value: `digits` significant digits, trailing zeros dropped, the
// exponent form when the exponent reaches `digits` or falls below -4.
std::string formatFloating(double v, int digits) {
    if (!std::isfinite(v)) return std::isnan(v) ? "NaN" : (v < 0 ? "-Infinity" : "Infinity");
    if (v == 0) return "0";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*E", digits - 1, v);
    // buf: [-]d.dddE[+-]xx
    std::string s(buf);
    const auto ePos = s.find('E');
    std::string mant = s.substr(0, ePos);
    const int exp = std::atoi(s.c_str() + ePos + 1);
    const bool neg = mant[0] == '-';
    if (neg) mant.erase(0, 1);
    std::string ds;  // significant digits
    for (char ch : mant)
        if (ch != '.') ds.push_back(ch);
    while (ds.size() > 1 && ds.back() == '0') ds.pop_back();
    std::string out = neg ? "-" : "";
    if (exp >= digits || exp < -4) {
        out += ds[0];
        if (ds.size() > 1) {
            out += '.';
            out += ds.substr(1);
        }
        char eb[16];
        std::snprintf(eb, sizeof eb, "E%c%02d", exp < 0 ? '-' : '+', exp < 0 ? -exp : exp);
        out += eb;
    } else if (exp < 0) {
        out += "0.";
        out.append(static_cast<std::size_t>(-exp - 1), '0');
        out += ds;
    } else {
        const auto intDigits = static_cast<std::size_t>(exp + 1);
        if (ds.size() <= intDigits) {
            out += ds;
            out.append(intDigits - ds.size(), '0');
        } else {
            out += ds.substr(0, intDigits);
            out += '.';
            out += ds.substr(intDigits);
        }
    }
    return out;
}

std::string trimDecimals(std::string s) {
    if (s.find('.') == std::string::npos) return s;
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    if (s == "-0") s = "0";
    return s;
}

std::string utf16leBytesAsText(const Bytes& bytes) {
    std::string out;
    jet::detail::appendUcs2(out, bytes.data(), bytes.size());
    return out;
}

}  // namespace

std::string formatGeneralDate(DateTime value) {
    const CivilTime t = toCivil(value);
    char buf[64];
    const bool dayZero = t.year == 1899 && t.month == 12 && t.day == 30;
    const bool midnight = t.hour == 0 && t.minute == 0 && t.second == 0;
    const int h12 = t.hour % 12 == 0 ? 12 : t.hour % 12;
    const char* ampm = t.hour < 12 ? "AM" : "PM";
    if (dayZero) {
        std::snprintf(buf, sizeof buf, "%d:%02d:%02d %s", h12, t.minute, t.second, ampm);
    } else if (midnight) {
        std::snprintf(buf, sizeof buf, "%d/%d/%d", t.month, t.day, t.year);
    } else {
        std::snprintf(buf, sizeof buf, "%d/%d/%d %d:%02d:%02d %s", t.month, t.day, t.year, h12, t.minute,
                      t.second, ampm);
    }
    return buf;
}

std::string toText(const Value& value) {
    const auto& s = value.storage();
    if (const auto* text = std::get_if<std::string>(&s)) return *text;
    if (std::holds_alternative<std::monostate>(s)) return {};
    if (const auto* b = std::get_if<bool>(&s)) return *b ? "-1" : "0";
    if (const auto* u8 = std::get_if<std::uint8_t>(&s)) return std::to_string(*u8);
    if (const auto* i16 = std::get_if<std::int16_t>(&s)) return std::to_string(*i16);
    if (const auto* i32 = std::get_if<std::int32_t>(&s)) return std::to_string(*i32);
    if (const auto* cy = std::get_if<Currency>(&s)) return trimDecimals(formatCurrency(*cy));
    if (const auto* f = std::get_if<float>(&s)) return formatFloating(static_cast<double>(*f), 7);
    if (const auto* d = std::get_if<double>(&s)) return formatFloating(*d, 15);
    if (const auto* dt = std::get_if<DateTime>(&s)) return formatGeneralDate(*dt);
    if (const auto* bytes = std::get_if<Bytes>(&s)) return utf16leBytesAsText(*bytes);
    if (const auto* g = std::get_if<Guid>(&s)) return formatGuid(*g);
    if (const auto* dec = std::get_if<Decimal>(&s)) return trimDecimals(formatDecimal(*dec));
    return {};
}

}  // namespace jet::sql
