#include "driver/json.h"

#include <cstdint>

#include "output/json_export.h"
#include "platform/utf8.h"

namespace qx::driver::json {

std::string quote(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    jet::json::appendString(out, text);
    return out;
}

std::string stringArray(const std::vector<std::string>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) out += ',';
        out += quote(items[i]);
    }
    out += ']';
    return out;
}

namespace {

std::optional<std::uint32_t> hex4(std::string_view text, std::size_t pos) {
    if (pos + 4 > text.size()) return std::nullopt;
    std::uint32_t v = 0;
    for (std::size_t i = pos; i < pos + 4; ++i) {
        const char c = text[i];
        v <<= 4;
        if (c >= '0' && c <= '9')
            v |= static_cast<std::uint32_t>(c - '0');
        else if (c >= 'a' && c <= 'f')
            v |= static_cast<std::uint32_t>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            v |= static_cast<std::uint32_t>(c - 'A' + 10);
        else
            return std::nullopt;
    }
    return v;
}

}  // namespace

std::optional<std::string> readString(std::string_view text, std::size_t& pos) {
    if (pos >= text.size() || text[pos] != '"') return std::nullopt;
    std::size_t i = pos + 1;
    std::string out;
    while (i < text.size()) {
        const char c = text[i];
        if (c == '"') {
            pos = i + 1;
            return out;
        }
        if (static_cast<unsigned char>(c) < 0x20) return std::nullopt;
        if (c != '\\') {
            out += c;
            ++i;
            continue;
        }
        if (i + 1 >= text.size()) return std::nullopt;
        const char e = text[i + 1];
        i += 2;
        switch (e) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                auto cp = hex4(text, i);
                if (!cp) return std::nullopt;
                i += 4;
                if (*cp >= 0xD800 && *cp < 0xDC00) {
                    // A high surrogate must be followed by its low half.
                    if (i + 6 > text.size() || text[i] != '\\' || text[i + 1] != 'u') return std::nullopt;
                    auto low = hex4(text, i + 2);
                    if (!low || *low < 0xDC00 || *low > 0xDFFF) return std::nullopt;
                    i += 6;
                    *cp = 0x10000 + ((*cp - 0xD800) << 10) + (*low - 0xDC00);
                } else if (*cp >= 0xDC00 && *cp <= 0xDFFF) {
                    return std::nullopt;
                }
                platform::appendUtf8(out, *cp);
                break;
            }
            default:
                return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace qx::driver::json
