// Text index keys in the General sort orders.
//
// Jet 4 "General Legacy" (Access 2000-2007), per value of at most 255 characters:
//   inline codes of every character | 01 | accent codes | [01 01 01 unprintable group] | 00
// Accent codes: one per character that has inline codes, 02 for a plain one, the accent's code
// for an accented one; trailing 02s are dropped, and the whole group when nothing is left.
// Unprintable characters (controls, soft hyphen, ...) have no inline code; each adds to the
// last group the big-endian 16-bit number 0x8000 | (7 + 4 * position) followed by 06 and its
// code, position counting the accent group's entries up to it. A descending column has 00
// appended and every byte so far flipped, then the final 00.
//
// Jet 3 "General" (Access 97), on the Windows-1252 byte of each character:
//   inline codes of every character | accent nibbles, or 00 when there are none
// Accent nibbles: a 0 nibble, then per accented character 2s for the letters ('G' kind) since
// the previous accented character and its accent nibble, then a 0 nibble; padded to whole bytes.
// A descending column has every byte flipped.
#include <algorithm>
#include <cstdio>
#include <span>

#include "base/utf8.h"
#include "jet/index_key.h"
#include "jet/index_text_codes.h"

namespace jet::detail {

namespace {

using textcodes::TextCode;

constexpr std::size_t kMaxKeyCharacters = 255;

std::string describe(char32_t c) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "U+%04X", static_cast<unsigned>(c));
    return buf;
}

// Decodes UTF-8; invalid sequences are refused (a key of a guessed character would be wrong).
// The first kMaxKeyCharacters characters of `s` into `out` (a key sorts by no more); returns how
// many. The rest is still checked: text that is not UTF-8 gets no key at all.
std::size_t decodeKeyCharacters(const std::string& s, char32_t (&out)[kMaxKeyCharacters]) {
    std::size_t n = 0;
    for (std::size_t i = 0; i < s.size();) {
        const char32_t c = qx::base::decodeUtf8(s, i);
        if (c == qx::base::kInvalidUtf8) throw KeyUnsupported("text that is not valid UTF-8");
        if (n < kMaxKeyCharacters) out[n++] = c;
    }
    return n;
}

template <std::size_t N>
const TextCode* findCode(const TextCode (&table)[N], char32_t c) {
    if (c < 256) return &table[c];  // the first 256 rows are U+0000..U+00FF in order
    for (std::size_t i = 256; i < N; ++i)
        if (table[i].ch == c) return &table[i];
    return nullptr;
}

void generalLegacyKey(std::vector<std::uint8_t>& out, std::span<const char32_t> chars, bool ascending) {
    const std::size_t start = out.size();
    std::vector<std::uint8_t> extra;
    std::size_t extraChars = 0;  // characters the accent group accounts for
    bool haveExtra = false;
    std::vector<std::uint8_t> unprintable;
    std::size_t position = 0;  // characters with inline codes so far
    for (char32_t c : chars) {
        const TextCode* code = findCode(textcodes::kGeneralLegacyCodes, c);
        if (!code || c == 0) throw KeyUnsupported("no index key code for character " + describe(c));
        const std::size_t here = position;
        switch (code->kind) {
            case 'X':
                break;
            case 'S':
                out.insert(out.end(), code->inlineCodes, code->inlineCodes + code->inlineLength);
                ++position;
                break;
            case 'I':
                out.insert(out.end(), code->inlineCodes, code->inlineCodes + code->inlineLength);
                ++position;
                if (extraChars < here) {
                    extra.insert(extra.end(), here - extraChars, 0x02);
                    extraChars = here;
                }
                extra.insert(extra.end(), code->extraCodes, code->extraCodes + code->extraLength);
                ++extraChars;
                haveExtra = true;
                break;
            case 'U': {
                std::size_t at = haveExtra ? extra.size() + (here - extraChars) : here;
                unsigned number = static_cast<unsigned>((7 + 4 * at) | 0x8000);
                unprintable.push_back(static_cast<std::uint8_t>(number >> 8));
                unprintable.push_back(static_cast<std::uint8_t>(number));
                unprintable.push_back(0x06);
                unprintable.insert(unprintable.end(), code->inlineCodes,
                                   code->inlineCodes + code->inlineLength);
                break;
            }
            default:
                throw KeyUnsupported("no index key code for character " + describe(c));
        }
    }
    out.push_back(0x01);
    while (!extra.empty() && extra.back() <= 0x02) extra.pop_back();
    out.insert(out.end(), extra.begin(), extra.end());
    if (!unprintable.empty()) {
        out.push_back(0x01);
        out.push_back(0x01);
        out.push_back(0x01);
        out.insert(out.end(), unprintable.begin(), unprintable.end());
    }
    if (!ascending) {
        out.push_back(0x00);
        for (std::size_t i = start; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
    }
    out.push_back(0x00);
}

void general97Key(std::vector<std::uint8_t>& out, std::span<const char32_t> chars, bool ascending) {
    const std::size_t start = out.size();
    std::vector<std::uint8_t> nibbles;
    std::size_t letters = 0;  // 'G' characters since the last accented one
    for (char32_t c : chars) {
        std::uint32_t byte = c;
        if (c > 0xFF) {
            byte = 0;
            for (const auto& m : textcodes::kGeneral97Mappings)
                if (m.ch == c) byte = m.byte;
            if (byte == 0) throw KeyUnsupported("no index key code for character " + describe(c));
        }
        // The two characters of Windows-1252 that no Access-written key of the corpus shows.
        if (byte == 0x00 || byte == 0x1A)
            throw KeyUnsupported("no index key code for character " + describe(c));
        const TextCode& code = textcodes::kGeneral97Codes[byte];
        switch (code.kind) {
            case 'X':
                break;
            case 'S':
                out.insert(out.end(), code.inlineCodes, code.inlineCodes + code.inlineLength);
                break;
            case 'G':
                out.insert(out.end(), code.inlineCodes, code.inlineCodes + code.inlineLength);
                ++letters;
                break;
            case 'I':
                out.insert(out.end(), code.inlineCodes, code.inlineCodes + code.inlineLength);
                if (nibbles.empty()) nibbles.push_back(0);
                nibbles.insert(nibbles.end(), letters, 0x02);
                nibbles.push_back(code.extraCodes[0] & 0x0F);
                letters = 0;
                break;
            default:
                throw KeyUnsupported("no index key code for character " + describe(c));
        }
    }
    if (nibbles.empty()) {
        out.push_back(0x00);
    } else {
        nibbles.push_back(0);
        for (std::size_t i = 0; i < nibbles.size(); i += 2) {
            std::uint8_t hi = nibbles[i];
            std::uint8_t lo = i + 1 < nibbles.size() ? nibbles[i + 1] : 0;
            out.push_back(static_cast<std::uint8_t>((hi << 4) | lo));
        }
    }
    if (!ascending)
        for (std::size_t i = start; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
}

}  // namespace

void appendTextKey(std::vector<std::uint8_t>& out, const KeyContext& ctx, const std::string& text,
                   bool ascending) {
    char32_t buffer[kMaxKeyCharacters];
    const std::span<const char32_t> chars(buffer, decodeKeyCharacters(text, buffer));
    // Most characters take one or two bytes of key: one allocation for the whole key.
    out.reserve(out.size() + 2 * chars.size() + 8);
    if (ctx.jet3) {
        if (ctx.codePage != 1252 && ctx.codePage != 0)
            throw KeyUnsupported("text keys of code page " + std::to_string(ctx.codePage));
        general97Key(out, chars, ascending);
    } else {
        generalLegacyKey(out, chars, ascending);
    }
}

}  // namespace jet::detail
