#include "platform/cp1252.h"

#include <array>
#include <cstdint>

#include "platform/utf8.h"

namespace qx::platform {
namespace {

// Code points of bytes 0x80..0x9F; the rest of the upper half equals Latin-1.
constexpr std::array<char32_t, 32> kHigh{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                         0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

char32_t upperCp1252Letter(char32_t c) noexcept {
    if (c >= U'a' && c <= U'z') return c - 32;
    if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
    switch (c) {
        case 0x0161:
            return 0x0160;
        case 0x0153:
            return 0x0152;
        case 0x017E:
            return 0x017D;
        case 0x00FF:
            return 0x0178;
        default:
            return c;
    }
}

char32_t lowerCp1252Letter(char32_t c) noexcept {
    if (c >= U'A' && c <= U'Z') return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    switch (c) {
        case 0x0160:
            return 0x0161;
        case 0x0152:
            return 0x0153;
        case 0x017D:
            return 0x017E;
        case 0x0178:
            return 0x00FF;
        default:
            return c;
    }
}

std::string cp1252ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        const char32_t cp = (b >= 0x80 && b < 0xA0) ? kHigh[b - 0x80] : static_cast<char32_t>(b);
        appendUtf8(out, cp);
    }
    return out;
}

std::string utf8ToCp1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t start = i;
        const char32_t cp = decodeUtf8(text, i);
        if (cp == kInvalidUtf8) {
            out.push_back(text[start]);
            continue;
        }
        if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
            out.push_back(static_cast<char>(cp));
            continue;
        }
        char byte = '?';
        for (std::size_t k = 0; k < kHigh.size(); ++k) {
            if (kHigh[k] == cp) {
                byte = static_cast<char>(0x80 + k);
                break;
            }
        }
        out.push_back(byte);
    }
    return out;
}

}  // namespace qx::platform
