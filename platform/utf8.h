// UTF-8 helpers for counting and cutting text in characters, as the original counted them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::platform {

// Returned by decodeUtf8 for a byte that does not start a well-formed sequence; the caller has then
// advanced past exactly that one byte.
inline constexpr char32_t kInvalidUtf8 = 0xFFFFFFFF;

// Decodes the character at text[pos] and advances pos past it. REQUIRES: pos < text.size().
char32_t decodeUtf8(std::string_view text, std::size_t& pos);

void appendUtf8(std::string& out, char32_t cp);

// Number of characters (a malformed byte counts as one).
std::size_t utf8Length(std::string_view text);

// Byte offset of character number `chars` (0-based); text.size() when the text is shorter.
std::size_t utf8Offset(std::string_view text, std::size_t chars);

}  // namespace qx::platform

namespace qx::platform {

// Upper case as Windows compares file, section and key names: ASCII letters and the Latin-1
// letters (and the Windows-1252 letters with carons and ligatures) are folded; everything else is
// kept. Used for comparison only, never to change what is shown.
std::u32string foldForCompare(std::string_view text);
bool equalsIgnoringCase(std::string_view a, std::string_view b);

// Windows wildcard match of a file name, without regard to case: "*" any run, "?" one character;
// "*" and "*.*" match every name; a pattern ending in "." matches only names without a dot.
bool matchesWildcard(std::string_view name, std::string_view pattern);

}  // namespace qx::platform
