// Text as the file stores it, to UTF-8.
#include <cstdint>
#include <string>

#include "jet/store.h"

namespace jet::detail {

namespace {

void appendCodePoint(std::string& out, std::uint32_t cp) {
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

// Windows-1252 0x80..0x9F; the rest of the page is Latin-1. Unassigned positions map to the C1
// control of the same number, as Windows' own conversion does.
constexpr std::uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// UTF-16 units to UTF-8, pairing surrogates; a lone surrogate becomes U+FFFD.
struct Utf16Sink {
    std::string& out;
    std::uint32_t pendingHigh = 0;
    void put(std::uint16_t unit) {
        if (pendingHigh) {
            if (unit >= 0xDC00 && unit <= 0xDFFF) {
                appendCodePoint(out, 0x10000 + ((pendingHigh - 0xD800) << 10) + (unit - 0xDC00u));
                pendingHigh = 0;
                return;
            }
            appendCodePoint(out, 0xFFFD);
            pendingHigh = 0;
        }
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            pendingHigh = unit;
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            appendCodePoint(out, 0xFFFD);
        } else {
            appendCodePoint(out, unit);
        }
    }
    void finish() {
        if (pendingHigh) appendCodePoint(out, 0xFFFD);
        pendingHigh = 0;
    }
};

}  // namespace

void appendUcs2(std::string& out, const std::uint8_t* data, std::size_t length) {
    Utf16Sink sink{out};
    for (std::size_t i = 0; i + 1 < length; i += 2) {
        std::uint16_t unit = u16(data + i);
        if (unit < 0x80 && sink.pendingHigh == 0) {
            out.push_back(static_cast<char>(unit));
        } else {
            sink.put(unit);
        }
    }
    sink.finish();
}

void appendJet4Text(std::string& out, const std::uint8_t* data, std::size_t length) {
    if (length >= 2 && data[0] == 0xFF && data[1] == 0xFE) {
        // Compressed: single bytes (high byte zero) until a 0x00 switches to two-byte units, and
        // back at the next 0x00.
        Utf16Sink sink{out};
        bool single = true;
        std::size_t i = 2;
        while (i < length) {
            if (data[i] == 0) {
                single = !single;
                ++i;
                continue;
            }
            if (single) {
                sink.put(data[i]);
                ++i;
            } else {
                if (i + 1 >= length) break;
                sink.put(u16(data + i));
                i += 2;
            }
        }
        sink.finish();
        return;
    }
    appendUcs2(out, data, length);
}

void appendCodePageText(std::string& out, const std::uint8_t* data, std::size_t length, std::uint16_t) {
    for (std::size_t i = 0; i < length; ++i) {
        std::uint8_t b = data[i];
        if (b < 0x80) {
            out.push_back(static_cast<char>(b));
        } else if (b < 0xA0) {
            appendCodePoint(out, kCp1252High[b - 0x80]);
        } else {
            appendCodePoint(out, b);
        }
    }
}

void appendText(const Store& store, std::string& out, const std::uint8_t* data, std::size_t length) {
    if (store.fmt->jet3) {
        appendCodePageText(out, data, length, store.codePage);
    } else {
        appendJet4Text(out, data, length);
    }
}

bool sameName(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]);
        unsigned char y = static_cast<unsigned char>(b[i]);
        if (x >= 'a' && x <= 'z') x = static_cast<unsigned char>(x - 32);
        if (y >= 'a' && y <= 'z') y = static_cast<unsigned char>(y - 32);
        if (x != y) return false;
    }
    return true;
}

}  // namespace jet::detail
