// Windows-1252, the single-byte character set of the suite's files (kel.ini, test.log).
//
// The logic works in UTF-8; text crosses into Windows-1252 only where a file is read or written.
#pragma once

#include <string>
#include <string_view>

#include "base/letter_case.h"

namespace qx::platform {

// Every byte becomes one character. The five bytes Windows-1252 leaves undefined (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) map to the C1 control characters of the same value, as Windows' own conversion does,
// so that reading never fails and a round trip keeps every byte.
std::string cp1252ToUtf8(std::string_view bytes);

// Each character becomes one byte; a character the code page lacks becomes "?", as the system's
// best-fit-free conversion writes it. Malformed UTF-8 bytes are taken as Windows-1252 bytes.
std::string utf8ToCp1252(std::string_view text);

// The case of the code page's letters (base/letter_case.h).
using base::lowerCp1252Letter;
using base::upperCp1252Letter;

}  // namespace qx::platform
