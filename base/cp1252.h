// Windows-1252, the single-byte code page of Jet 3 text and of the suite's own files: its one table.
#pragma once

#include <array>
#include <cstdint>

namespace qx::base {

// Code points of bytes 0x80..0x9F; below and above, the page equals Latin-1. The five bytes the
// page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the C1 control of the same value, as
// Windows' own conversion does, so that reading never fails and a round trip keeps every byte.
inline constexpr std::array<char32_t, 32> kCp1252High{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

inline constexpr char32_t cp1252ToUnicode(std::uint8_t byte) noexcept {
    return byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : static_cast<char32_t>(byte);
}

// The byte of `cp` in the page, or -1 when the page lacks it.
inline constexpr int unicodeToCp1252(char32_t cp) noexcept {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
    for (std::size_t k = 0; k < kCp1252High.size(); ++k) {
        if (kCp1252High[k] == cp) return static_cast<int>(0x80 + k);
    }
    return -1;
}

}  // namespace qx::base
