#include "jet/sql/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace jet::sql {

char32_t decodeUtf8(std::string_view text, std::size_t& pos) noexcept {
    const auto b0 = static_cast<unsigned char>(text[pos]);
    if (b0 < 0x80) {
        ++pos;
        return b0;
    }
    auto cont = [&](std::size_t i) -> int {
        if (pos + i >= text.size()) return -1;
        const auto b = static_cast<unsigned char>(text[pos + i]);
        return (b & 0xC0) == 0x80 ? (b & 0x3F) : -1;
    };
    if ((b0 & 0xE0) == 0xC0) {
        const int c1 = cont(1);
        if (c1 >= 0) {
            const char32_t c = (static_cast<char32_t>(b0 & 0x1F) << 6) | static_cast<char32_t>(c1);
            if (c >= 0x80) {
                pos += 2;
                return c;
            }
        }
    } else if ((b0 & 0xF0) == 0xE0) {
        const int c1 = cont(1), c2 = c1 >= 0 ? cont(2) : -1;
        if (c2 >= 0) {
            const char32_t c = (static_cast<char32_t>(b0 & 0x0F) << 12) | (static_cast<char32_t>(c1) << 6) |
                               static_cast<char32_t>(c2);
            if (c >= 0x800) {
                pos += 3;
                return c;
            }
        }
    } else if ((b0 & 0xF8) == 0xF0) {
        const int c1 = cont(1), c2 = c1 >= 0 ? cont(2) : -1, c3 = c2 >= 0 ? cont(3) : -1;
        if (c3 >= 0) {
            const char32_t c = (static_cast<char32_t>(b0 & 0x07) << 18) | (static_cast<char32_t>(c1) << 12) |
                               (static_cast<char32_t>(c2) << 6) | static_cast<char32_t>(c3);
            if (c >= 0x10000 && c <= 0x10FFFF) {
                pos += 4;
                return c;
            }
        }
    }
    // A stray byte stands for itself, kept apart from real characters by the private range, so
    // that invalid input still round-trips through upper().
    ++pos;
    return 0xDC00 + b0;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c >= 0xDC80 && c <= 0xDCFF) {  // a stray byte (see decodeUtf8)
        out.push_back(static_cast<char>(c - 0xDC00));
    } else if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

namespace {

// Pairs laid out as upper at even, lower at odd code points (or the other way round).
char32_t pairedUpper(char32_t c, bool upperEven) {
    const bool even = (c % 2) == 0;
    if (upperEven) return even ? c : c - 1;
    return even ? c - 1 : c;
}

}  // namespace

char32_t upperChar(char32_t c) noexcept {
    if (c < 0x80) return (c >= 'a' && c <= 'z') ? c - 0x20 : c;
    if (c < 0x100) {
        // Latin-1: à..þ without ÷; ÿ has its capital in Latin Extended-A. µ and ß have no
        // single-character capital in the Windows tables and stay.
        if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 0x20;
        if (c == 0xFF) return 0x178;
        return c;
    }
    if (c <= 0x17F) {
        if (c == 0x131) return 'I';
        if (c == 0x17F) return 'S';
        if (c == 0x138 || c == 0x149) return c;
        if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return pairedUpper(c, true);
        if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return pairedUpper(c, false);
        return c;
    }
    if (c <= 0x24F) {
        switch (c) {
            case 0x180:
                return 0x243;
            case 0x183:
            case 0x185:
            case 0x188:
            case 0x18C:
            case 0x192:
            case 0x199:
            case 0x1A1:
            case 0x1A3:
            case 0x1A5:
            case 0x1A8:
            case 0x1AD:
            case 0x1B0:
            case 0x1B4:
            case 0x1B6:
            case 0x1B9:
            case 0x1BD:
                return c == 0x192 ? 0x191 : c - 1;
            case 0x1C6:
            case 0x1C9:
            case 0x1CC:
            case 0x1F3:
                return c - 2;
            case 0x1C5:
            case 0x1C8:
            case 0x1CB:
            case 0x1F2:
                return c - 1;
            case 0x1DD:
                return 0x18E;
            default:
                break;
        }
        if (c >= 0x1CD && c <= 0x1DC) return pairedUpper(c, false);
        if ((c >= 0x1DE && c <= 0x1EF) || (c >= 0x1F8 && c <= 0x21F) || (c >= 0x222 && c <= 0x233) ||
            (c >= 0x246 && c <= 0x24F) || c == 0x1F4 || c == 0x1F5)
            return pairedUpper(c, true);
        return c;
    }
    if (c >= 0x370 && c <= 0x3FF) {
        if (c >= 0x3B1 && c <= 0x3CB && c != 0x3C2) return c - 0x20;
        switch (c) {
            case 0x3C2:
                return 0x3A3;
            case 0x3AC:
                return 0x386;
            case 0x3AD:
            case 0x3AE:
            case 0x3AF:
                return c - 0x25;
            case 0x3CC:
                return 0x38C;
            case 0x3CD:
            case 0x3CE:
                return c - 0x3F;
            default:
                break;
        }
        if (c >= 0x3D8 && c <= 0x3EF) return pairedUpper(c, true);
        return c;
    }
    if (c >= 0x400 && c <= 0x52F) {
        if (c >= 0x430 && c <= 0x44F) return c - 0x20;
        if (c >= 0x450 && c <= 0x45F) return c - 0x50;
        if ((c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) || (c >= 0x4D0 && c <= 0x52F))
            return pairedUpper(c, true);
        if (c >= 0x4C1 && c <= 0x4CE) return pairedUpper(c, false);
        if (c == 0x4CF) return 0x4C0;
        return c;
    }
    if (c >= 0x561 && c <= 0x586) return c - 0x30;
    if (c >= 0x1E00 && c <= 0x1EFF) {
        if ((c >= 0x1E00 && c <= 0x1E95) || c >= 0x1EA0) return pairedUpper(c, true);
        return c;
    }
    if (c >= 0x1F00 && c <= 0x1FFF) {
        // Greek with breathings: lower-case blocks sit 8 below their capitals.
        const char32_t low = c & 0xF;
        const char32_t row = c & 0xFFF0;
        const bool hasCapitals = row == 0x1F00 || row == 0x1F10 || row == 0x1F20 || row == 0x1F30 ||
                                 row == 0x1F40 || row == 0x1F60;
        if (hasCapitals && low < 8) {
            if ((row == 0x1F10 || row == 0x1F40) && low >= 6) return c;
            return c + 8;
        }
        if (row == 0x1F50 && low < 8 && (low % 2) == 1) return c + 8;
        return c;
    }
    if (c >= 0x2170 && c <= 0x217F) return c - 0x10;  // small Roman numerals
    if (c >= 0x24D0 && c <= 0x24E9) return c - 0x1A;  // circled letters
    if (c >= 0xFF41 && c <= 0xFF5A) return c - 0x20;  // full-width Latin
    return c;
}

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
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t c = static_cast<char32_t>(bytes[i] | (bytes[i + 1] << 8));
        if (c >= 0xD800 && c <= 0xDBFF && i + 3 < bytes.size()) {
            const char32_t lo = static_cast<char32_t>(bytes[i + 2] | (bytes[i + 3] << 8));
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (lo - 0xDC00);
                i += 2;
            } else {
                c = 0xFFFD;
            }
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD;
        }
        appendUtf8(out, c);
    }
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
