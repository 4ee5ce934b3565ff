#include "platform/cp1252.h"

#include "base/cp1252.h"
#include "base/utf8.h"

namespace qx::platform {

std::string cp1252ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (char c : bytes) base::appendUtf8(out, base::cp1252ToUnicode(static_cast<std::uint8_t>(c)));
    return out;
}

std::string utf8ToCp1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t start = i;
        const char32_t cp = base::decodeUtf8(text, i);
        if (cp == base::kInvalidUtf8) {
            out.push_back(text[start]);
            continue;
        }
        const int byte = base::unicodeToCp1252(cp);
        out.push_back(byte < 0 ? '?' : static_cast<char>(byte));
    }
    return out;
}

}  // namespace qx::platform
