// UTF-8 helpers for counting and cutting text in characters, as the original counted them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/utf8.h"

namespace qx::platform {

// The codec is the one of base/utf8.h.
using base::appendUtf8;
using base::decodeUtf8;
using base::kInvalidUtf8;
using base::utf8Length;
using base::utf8Offset;

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
