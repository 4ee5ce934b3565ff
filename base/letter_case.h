// Letter case: the one case table of the engine and the tool.
//
// Case is folded one character at a time to its simple (one-to-one) upper case, as Windows'
// tables map it: "ß" and "µ" have no single capital and stay as they are.
#pragma once

namespace qx::base {

// The upper case of one character, or the character itself when it has none. Covers the scripts
// the suite's data can hold: Latin (with the extensions used in Europe and Vietnam), Greek,
// Cyrillic, Armenian and the full-width Latin letters.
char32_t upperChar(char32_t c) noexcept;

// The case of the Windows-1252 letters only: ASCII, the Latin-1 letters and the four letters with
// carons and ligatures (S, Z, OE with their small forms, and Y with diaeresis), the mapping VB's
// UCase and LCase and the file system's name comparison apply. Every other character is its own
// upper and lower case.
char32_t upperCp1252Letter(char32_t c) noexcept;
char32_t lowerCp1252Letter(char32_t c) noexcept;

}  // namespace qx::base
