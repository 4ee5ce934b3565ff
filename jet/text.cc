// Text as the file stores it, to UTF-8.
#include <cstdint>
#include <string>

#include "jet/store.h"

namespace jet::detail {

namespace {

// Windows-1252 0x80..0x9F; the rest of the page is Latin-1. Unassigned positions map to the C1
// control of the same number, as Windows' own conversion does.
constexpr std::uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

namespace {

// Writes UTF-16 units as UTF-8 straight into a buffer sized for the worst case (3 bytes a unit),
// which keeps per-character work to a few instructions on the scan path.
class Utf8Writer {
public:
    Utf8Writer(std::string& out, std::size_t maxUnits) : out_(out), base_(out.size()) {
        out_.resize(base_ + maxUnits * 3 + 3);
        w_ = out_.data() + base_;
    }
    ~Utf8Writer() {
        if (high_) put3(0xFFFD);
        out_.resize(static_cast<std::size_t>(w_ - out_.data()));
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
    std::string& out_;
    std::size_t base_;
    char* w_;
    std::uint32_t high_ = 0;
};

}  // namespace

void appendUcs2(std::string& out, const std::uint8_t* data, std::size_t length) {
    Utf8Writer w(out, length / 2);
    for (std::size_t i = 0; i + 1 < length; i += 2) w.unit(static_cast<std::uint32_t>(data[i] | (data[i + 1] << 8)));
}

void appendJet4Text(std::string& out, const std::uint8_t* data, std::size_t length) {
    if (length >= 2 && data[0] == 0xFF && data[1] == 0xFE) {
        // Compressed: single bytes (high byte zero) until a 0x00 switches to two-byte units, and
        // back at the next 0x00.
        Utf8Writer w(out, length);
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
        return;
    }
    appendUcs2(out, data, length);
}

void appendCodePageText(std::string& out, const std::uint8_t* data, std::size_t length, std::uint16_t) {
    Utf8Writer w(out, length);
    for (std::size_t i = 0; i < length; ++i) {
        std::uint8_t b = data[i];
        w.unit(b >= 0x80 && b < 0xA0 ? kCp1252High[b - 0x80] : b);
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
