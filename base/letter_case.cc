#include "base/letter_case.h"

namespace qx::base {

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

char32_t upperCp1252Letter(char32_t c) noexcept {
    const bool inPage = c < 0x100 || c == 0x0161 || c == 0x0153 || c == 0x017E;
    return inPage ? upperChar(c) : c;
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

}  // namespace qx::base
