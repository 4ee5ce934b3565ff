// Small JSON helpers for the script driver's transcript: string escaping and reading the driver's
// double-quoted script strings (JSON escapes).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::driver::json {

// `text` (UTF-8) as a JSON string literal with its quotes. Control characters, '"' and '\' are
// escaped; everything else is copied as it is.
std::string quote(std::string_view text);

// "[\"a\",\"b\"]".
std::string stringArray(const std::vector<std::string>& items);

// Reads a JSON string literal starting at text[pos] (which must be '"'); on success moves pos past
// the closing quote and returns the decoded UTF-8 text. Nothing for a malformed literal.
std::optional<std::string> readString(std::string_view text, std::size_t& pos);

}  // namespace qx::driver::json
