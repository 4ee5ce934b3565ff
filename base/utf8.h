// UTF-8 coding, the one codec of the engine and the tool.
//
// Two ways to meet a malformed byte, because callers need both: decodeUtf8 reports it as
// kInvalidUtf8 (counting, cutting, converting to a code page), while decodeUtf8OrByte hands it
// back as a "stray byte" character in 0xDC80..0xDCFF that appendUtf8OrByte writes back as the
// byte itself, so that text passed through a character-wise transformation (upper case, LIKE)
// keeps every byte it came with. Either way the decoder advances past exactly that one byte.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qx::base {

inline constexpr char32_t kInvalidUtf8 = 0xFFFFFFFF;
// A stray byte b decodes (decodeUtf8OrByte) as kStrayByte + b; only bytes 0x80..0xFF can be stray.
inline constexpr char32_t kStrayByte = 0xDC00;

inline bool isStrayByte(char32_t c) noexcept {
    return c >= kStrayByte + 0x80 && c <= kStrayByte + 0xFF;
}

// Decodes the character at text[pos] and advances pos past it: a well-formed sequence (shortest
// form, no surrogates, at most U+10FFFF), or else kInvalidUtf8 after one byte.
// REQUIRES: pos < text.size().
inline char32_t decodeUtf8(std::string_view text, std::size_t& pos) noexcept {
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

// As decodeUtf8, but a malformed byte b comes back as the stray character kStrayByte + b.
inline char32_t decodeUtf8OrByte(std::string_view text, std::size_t& pos) noexcept {
    const std::size_t at = pos;
    const char32_t c = decodeUtf8(text, pos);
    return c == kInvalidUtf8 ? kStrayByte + static_cast<unsigned char>(text[at]) : c;
}

// Writes the UTF-8 form of `cp` (at most 4 bytes) at dst and returns the end of what it wrote.
inline char* encodeUtf8(char* dst, char32_t cp) noexcept {
    if (cp < 0x80) {
        *dst++ = static_cast<char>(cp);
    } else if (cp < 0x800) {
        *dst++ = static_cast<char>(0xC0 | (cp >> 6));
        *dst++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        *dst++ = static_cast<char>(0xE0 | (cp >> 12));
        *dst++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *dst++ = static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        *dst++ = static_cast<char>(0xF0 | (cp >> 18));
        *dst++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        *dst++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        *dst++ = static_cast<char>(0x80 | (cp & 0x3F));
    }
    return dst;
}

inline void appendUtf8(std::string& out, char32_t cp) {
    char buf[4];
    out.append(buf, static_cast<std::size_t>(encodeUtf8(buf, cp) - buf));
}

// As appendUtf8, but a stray character (see decodeUtf8OrByte) is written back as its byte.
inline void appendUtf8OrByte(std::string& out, char32_t cp) {
    if (isStrayByte(cp)) {
        out.push_back(static_cast<char>(cp - kStrayByte));
    } else {
        appendUtf8(out, cp);
    }
}

// Number of characters (a malformed byte counts as one).
inline std::size_t utf8Length(std::string_view text) noexcept {
    std::size_t n = 0;
    for (std::size_t i = 0; i < text.size(); ++n) decodeUtf8(text, i);
    return n;
}

// Byte offset of character number `chars` (0-based); text.size() when the text is shorter.
inline std::size_t utf8Offset(std::string_view text, std::size_t chars) noexcept {
    std::size_t i = 0;
    for (std::size_t n = 0; n < chars && i < text.size(); ++n) decodeUtf8(text, i);
    return i;
}

// Appends the UTF-16LE form of UTF-8 text (characters beyond U+FFFF as surrogate pairs), as Jet 4
// stores names and text. A malformed byte becomes U+FFFD: the file gets no half character.
inline void appendUtf16le(std::string& out, std::string_view text) {
    // No UTF-8 byte gives more than one UTF-16 unit (four bytes give two), so twice the input
    // is room enough: the units are written in place and the string cut to what was written.
    const std::size_t at = out.size();
    out.resize(at + 2 * text.size());
    char* const begin = out.data() + at;
    char* o = begin;
    std::size_t i = 0;
#if defined(__SSE2__)
    // Runs of ASCII, the common case, sixteen characters at a time (a large import notices).
    const __m128i zero = _mm_setzero_si128();
    while (i + 16 <= text.size()) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + i));
        if (_mm_movemask_epi8(v) != 0) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(v, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm_unpackhi_epi8(v, zero));
        o += 32;
        i += 16;
    }
#endif
    auto unit = [&o](char32_t u) {
        o[0] = static_cast<char>(u & 0xFF);
        o[1] = static_cast<char>(u >> 8);
        o += 2;
    };
    while (i < text.size()) {
        if (static_cast<unsigned char>(text[i]) < 0x80) {
            unit(static_cast<unsigned char>(text[i++]));
            continue;
        }
        char32_t cp = decodeUtf8(text, i);
        if (cp == kInvalidUtf8) cp = 0xFFFD;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            unit(0xD800 + (cp >> 10));
            unit(0xDC00 + (cp & 0x3FF));
        } else {
            unit(cp);
        }
    }
    out.resize(at + static_cast<std::size_t>(o - begin));
}

}  // namespace qx::base
