// Text as the file stores it, to UTF-8.
//
// The converters write into caller-provided room (textCapacity(n) bytes for n stored bytes) and
// return the end of what they wrote, so that a cursor can convert into one reused buffer without
// clearing or growing it for every value.
#include <cstdint>
#include <cstring>
#include <string>

#include "base/cp1252.h"
#include "base/letter_case.h"
#include "base/utf8.h"
#include "jet/store.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace jet::detail {

namespace {

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
                w_ = qx::base::encodeUtf8(w_, 0x10000 + ((high_ - 0xD800) << 10) + (u - 0xDC00));
                high_ = 0;
                return;
            }
            put3(0xFFFD);
            high_ = 0;
        }
        if (u >= 0xD800 && u <= 0xDBFF) {
            high_ = u;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            put3(0xFFFD);
        } else {
            w_ = qx::base::encodeUtf8(w_, u);
        }
    }

  private:
    void put3(std::uint32_t u) { w_ = qx::base::encodeUtf8(w_, u); }
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
    if (!isCompressedJet4Text(data, length)) return writeUcs2(dst, data, length);
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
        w.unit(qx::base::cp1252ToUnicode(b));
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

bool encodeCp1252(std::string_view utf8, std::string& out, std::uint32_t& missing) {
    for (std::size_t i = 0; i < utf8.size();) {
        const char32_t cp = qx::base::decodeUtf8OrByte(utf8, i);
        const int byte = qx::base::unicodeToCp1252(cp);
        if (byte < 0) {
            missing = cp;
            return false;
        }
        out.push_back(static_cast<char>(byte));
    }
    return true;
}

bool appendCompressedJet4Text(std::string& out, std::string_view utf8) {
    const std::size_t at = out.size();
    out.append(reinterpret_cast<const char*>(kCompressedTextMark), 2);
    std::size_t characters = 0;
    for (std::size_t i = 0; i < utf8.size();) {
        const char32_t cp = qx::base::decodeUtf8(utf8, i);
        if (cp == qx::base::kInvalidUtf8 || cp == 0 || cp > 0xFF ||
            ++characters > kMostCompressedTextCharacters) {
            out.resize(at);
            return false;
        }
        out.push_back(static_cast<char>(cp));
    }
    if (characters <= 2) {
        out.resize(at);
        return false;
    }
    return true;
}

bool sameName(std::string_view a, std::string_view b) noexcept {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (qx::base::upperChar(qx::base::decodeUtf8OrByte(a, i)) !=
            qx::base::upperChar(qx::base::decodeUtf8OrByte(b, j)))
            return false;
    }
    return i == a.size() && j == b.size();
}

}  // namespace jet::detail
