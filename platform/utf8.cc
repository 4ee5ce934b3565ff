#include "platform/utf8.h"

#include "platform/cp1252.h"

namespace qx::platform {

char32_t decodeUtf8(std::string_view text, std::size_t& pos) {
    const auto b0 = static_cast<unsigned char>(text[pos]);
    if (b0 < 0x80) {
        ++pos;
        return b0;
    }
    std::size_t need = 0;
    char32_t cp = 0;
    char32_t min = 0;
    if ((b0 & 0xE0) == 0xC0) {
        need = 1, cp = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        need = 2, cp = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        need = 3, cp = b0 & 0x07, min = 0x10000;
    } else {
        ++pos;
        return kInvalidUtf8;
    }
    if (pos + need >= text.size()) {
        ++pos;
        return kInvalidUtf8;
    }
    for (std::size_t k = 1; k <= need; ++k) {
        const auto b = static_cast<unsigned char>(text[pos + k]);
        if ((b & 0xC0) != 0x80) {
            ++pos;
            return kInvalidUtf8;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++pos;
        return kInvalidUtf8;
    }
    pos += need + 1;
    return cp;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

std::size_t utf8Length(std::string_view text) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < text.size(); ++n) decodeUtf8(text, i);
    return n;
}

std::size_t utf8Offset(std::string_view text, std::size_t chars) {
    std::size_t i = 0;
    for (std::size_t n = 0; n < chars && i < text.size(); ++n) decodeUtf8(text, i);
    return i;
}

}  // namespace qx::platform

namespace qx::platform {
namespace {

bool globMatch(const std::u32string& s, const std::u32string& p) {
    // Iterative glob with single-star backtracking: linear in practice, never exponential.
    std::size_t si = 0, pi = 0, starP = std::u32string::npos, starS = 0;
    while (si < s.size()) {
        if (pi < p.size() && (p[pi] == U'?' || p[pi] == s[si])) {
            ++si, ++pi;
        } else if (pi < p.size() && p[pi] == U'*') {
            starP = pi++;
            starS = si;
        } else if (starP != std::u32string::npos) {
            pi = starP + 1;
            si = ++starS;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == U'*') ++pi;
    return pi == p.size();
}

}  // namespace

std::u32string foldForCompare(std::string_view text) {
    std::u32string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        char32_t c = decodeUtf8(text, i);
        if (c == kInvalidUtf8) c = 0xDC00 + static_cast<unsigned char>(text[start]);  // keeps it distinct
        out.push_back(upperCp1252Letter(c));
    }
    return out;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return foldForCompare(a) == foldForCompare(b);
}

bool matchesWildcard(std::string_view name, std::string_view pattern) {
    if (pattern == "*" || pattern == "*.*") return true;
    const std::u32string s = foldForCompare(name);
    std::u32string p = foldForCompare(pattern);
    if (!p.empty() && p.back() == U'.') {
        if (s.find(U'.') != std::u32string::npos) return false;
        p.pop_back();
    }
    return globMatch(s, p);
}

}  // namespace qx::platform
