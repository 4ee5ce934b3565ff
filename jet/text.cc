// Text as the file stores it, to UTF-8.
//
// The converters write into caller-provided room (textCapacity(n) bytes for n stored bytes) and
// return the end of what they wrote, so that a cursor can convert into one reused buffer without
// clearing or growing it for every value.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "jet/store.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace jet::detail {

namespace {

// Windows-1252 0x80..0x9F; the rest of the page is Latin-1. Unassigned positions map to the C1
// control of the same number, as Windows' own conversion does.
constexpr std::uint16_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                           0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                           0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                           0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// UTF-16 units to UTF-8, pairing surrogates; a lone surrogate becomes U+FFFD. At most 3 bytes
// per unit are written (a pair of units gives 4).
class Utf8Writer {
  public:
    explicit Utf8Writer(char* dst) : w_(dst) {}
    char* finish() {
        if (high_) put3(0xFFFD);
        high_ = 0;
        return w_;
    }
    bool plain() const noexcept { return high_ == 0; }
    char*& cursor() noexcept { return w_; }
    void ascii4(char a, char b, char c, char d) noexcept {
        w_[0] = a;
        w_[1] = b;
        w_[2] = c;
        w_[3] = d;
        w_ += 4;
    }
    void unit(std::uint32_t u) {
        if (u < 0x80 && !high_) {
            *w_++ = static_cast<char>(u);
            return;
        }
        if (high_) {
            if (u >= 0xDC00 && u <= 0xDFFF) {
                std::uint32_t cp = 0x10000 + ((high_ - 0xD800) << 10) + (u - 0xDC00);
                *w_++ = static_cast<char>(0xF0 | (cp >> 18));
                *w_++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
                *w_++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
                *w_++ = static_cast<char>(0x80 | (cp & 0x3F));
                high_ = 0;
                return;
            }
            put3(0xFFFD);
            high_ = 0;
        }
        if (u < 0x80) {
            *w_++ = static_cast<char>(u);
        } else if (u < 0x800) {
            *w_++ = static_cast<char>(0xC0 | (u >> 6));
            *w_++ = static_cast<char>(0x80 | (u & 0x3F));
        } else if (u >= 0xD800 && u <= 0xDBFF) {
            high_ = u;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            put3(0xFFFD);
        } else {
            put3(u);
        }
    }

  private:
    void put3(std::uint32_t u) {
        *w_++ = static_cast<char>(0xE0 | (u >> 12));
        *w_++ = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
        *w_++ = static_cast<char>(0x80 | (u & 0x3F));
    }
    char* w_;
    std::uint32_t high_ = 0;
};

template <class Write>
void appendWith(std::string& out, std::size_t length, Write write) {
    std::size_t base = out.size();
    out.resize(base + textCapacity(length));
    char* end = write(out.data() + base);
    out.resize(static_cast<std::size_t>(end - out.data()));
}

}  // namespace

char* writeUcs2(char* dst, const std::uint8_t* data, std::size_t length) {
    Utf8Writer w(dst);
    std::size_t i = 0;
    // Most text is ASCII: eight units at a time (SSE2) while they are all below 0x80, then four.
#if defined(__SSE2__)
    {
        char*& out = w.cursor();
        const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
        while (i + 16 <= length) {
            __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, high), _mm_setzero_si128())) != 0xFFFF)
                break;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(v, v));
            out += 8;
            i += 16;
        }
    }
#endif
    while (i + 8 <= length && w.plain()) {
        std::uint64_t v;
        std::memcpy(&v, data + i, 8);
        if ((v & 0xFF80FF80FF80FF80ull) != 0) break;
        w.ascii4(static_cast<char>(data[i]), static_cast<char>(data[i + 2]), static_cast<char>(data[i + 4]),
                 static_cast<char>(data[i + 6]));
        i += 8;
    }
    for (; i + 1 < length; i += 2) w.unit(static_cast<std::uint32_t>(data[i] | (data[i + 1] << 8)));
    return w.finish();
}

char* writeJet4Text(char* dst, const std::uint8_t* data, std::size_t length) {
    if (!(length >= 2 && data[0] == 0xFF && data[1] == 0xFE)) return writeUcs2(dst, data, length);
    // Compressed: single bytes (high byte zero) until a 0x00 switches to two-byte units, and back
    // at the next 0x00.
    Utf8Writer w(dst);
    bool single = true;
    std::size_t i = 2;
    while (i < length) {
        if (data[i] == 0) {
            single = !single;
            ++i;
            continue;
        }
        if (single) {
            w.unit(data[i]);
            ++i;
        } else {
            if (i + 1 >= length) break;
            w.unit(static_cast<std::uint32_t>(data[i] | (data[i + 1] << 8)));
            i += 2;
        }
    }
    return w.finish();
}

char* writeCodePageText(char* dst, const std::uint8_t* data, std::size_t length, std::uint16_t) {
    Utf8Writer w(dst);
    for (std::size_t i = 0; i < length; ++i) {
        std::uint8_t b = data[i];
        w.unit(b >= 0x80 && b < 0xA0 ? kCp1252High[b - 0x80] : b);
    }
    return w.finish();
}

char* writeText(const Store& store, char* dst, const std::uint8_t* data, std::size_t length) {
    return store.fmt->jet3 ? writeCodePageText(dst, data, length, store.codePage)
                           : writeJet4Text(dst, data, length);
}

void appendUcs2(std::string& out, const std::uint8_t* data, std::size_t length) {
    appendWith(out, length, [&](char* d) { return writeUcs2(d, data, length); });
}

void appendJet4Text(std::string& out, const std::uint8_t* data, std::size_t length) {
    appendWith(out, length, [&](char* d) { return writeJet4Text(d, data, length); });
}

void appendCodePageText(std::string& out, const std::uint8_t* data, std::size_t length,
                        std::uint16_t codePage) {
    appendWith(out, length, [&](char* d) { return writeCodePageText(d, data, length, codePage); });
}

void appendText(const Store& store, std::string& out, const std::uint8_t* data, std::size_t length) {
    appendWith(out, length, [&](char* d) { return writeText(store, d, data, length); });
}

namespace {

// Next code point of UTF-8 text (malformed bytes stand for themselves).
std::uint32_t nextCodePoint(std::string_view s, std::size_t& i) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    std::size_t n = c < 0xC0 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    if (i + n > s.size()) n = 1;
    std::uint32_t cp = n == 1 ? c : n == 2 ? (c & 0x1Fu) : n == 3 ? (c & 0x0Fu) : (c & 0x07u);
    for (std::size_t k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3Fu);
    i += n;
    return cp;
}

// Upper case as names are matched: ASCII, Latin-1 and Latin Extended-A letters, Greek and
// Cyrillic basic letters.
std::uint32_t foldCase(std::uint32_t c) {
    if (c >= 'a' && c <= 'z') return c - 32;
    if (c < 0x80) return c;
    if ((c >= 0xE0 && c <= 0xFE && c != 0xF7)) return c - 0x20;
    if (c == 0xFF) return 0x178;
    if (c >= 0x100 && c <= 0x17F) {
        // Pairs: even upper, odd lower, except the block 0x139..0x148 and 0x179..0x17E (odd upper).
        bool oddUpper = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
        if (oddUpper) return (c % 2 == 0) ? c - 1 : c;
        return (c % 2 == 1) ? c - 1 : c;
    }
    if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 0x20;
    if (c >= 0x430 && c <= 0x44F) return c - 0x20;
    if (c >= 0x450 && c <= 0x45F) return c - 0x50;
    return c;
}

}  // namespace

bool encodeCp1252(std::string_view utf8, std::string& out, std::uint32_t& missing) {
    for (std::size_t i = 0; i < utf8.size();) {
        const std::uint32_t cp = nextCodePoint(utf8, i);
        if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
            out.push_back(static_cast<char>(cp));
            continue;
        }
        const auto* at = std::find(std::begin(kCp1252High), std::end(kCp1252High), cp);
        if (at == std::end(kCp1252High)) {
            missing = cp;
            return false;
        }
        out.push_back(static_cast<char>(0x80 + (at - std::begin(kCp1252High))));
    }
    return true;
}

bool sameName(std::string_view a, std::string_view b) noexcept {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (foldCase(nextCodePoint(a, i)) != foldCase(nextCodePoint(b, j))) return false;
    }
    return i == a.size() && j == b.size();
}

}  // namespace jet::detail
