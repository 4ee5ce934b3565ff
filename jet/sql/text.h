// Text rules of Jet SQL: upper-casing, comparison without regard to case, the ANSI-92 LIKE
// pattern language, and the text a non-text value turns into before LIKE sees it.
//
// All strings are UTF-8. Case is folded by mapping each character to its upper case (the simple,
// one-to-one mapping: "ß" stays "ß"), which is what makes 'Acción' equal 'ACCIÓN' while 'acción'
// stays different from 'accion': accents are significant, case is not.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/letter_case.h"
#include "base/utf8.h"
#include "jet/value.h"

namespace jet::sql {

// The upper case of one character (base/letter_case.h).
using qx::base::upperChar;

// UCASE: every character that has an upper case replaced by it. Invalid UTF-8 bytes pass through.
std::string upper(std::string_view text);
// Appends upper(text) to `out` (no allocation when `out` has room).
void appendUpper(std::string& out, std::string_view text);

// upper() of text given as little-endian UTF-16 `units` (an odd last byte ignored), written to
// `out` (at least units.size() / 2 bytes), when every unit is ASCII; false otherwise, with `out`
// left in an unspecified state. For reading stored Jet 4 text without building UTF-8 first.
bool upperAsciiUtf16(std::string_view units, char* out) noexcept;
// The same for text stored a byte a character: true when every byte is from 0x01 to 0x7F.
bool upperAsciiBytes(std::string_view bytes, char* out) noexcept;

// Three-way comparison without regard to case (by code point after folding).
int compareText(std::string_view a, std::string_view b);

// A compiled LIKE pattern. Construction never fails: an unterminated "[" group or a descending
// range makes a pattern that matches nothing.
class LikePattern {
  public:
    explicit LikePattern(std::string_view pattern);

    // Does `text` match, without regard to case? `text` need not be folded.
    bool matches(std::string_view text) const;
    // Same, for text already passed through upper().
    bool matchesFolded(std::string_view folded) const;
    // For a pattern of the form '%literal%' with a non-empty literal and no other wildcard: the
    // folded literal, which a text matches exactly when it contains it. Empty otherwise.
    std::string_view containedLiteral() const noexcept {
        return valid_ && shortcut_ == Shortcut::Contains ? std::string_view(literal_) : std::string_view();
    }

  private:
    enum class Kind : std::uint8_t { AnyRun, One, Char, Set };
    struct Element {
        Kind kind;
        bool negated = false;
        char32_t ch = 0;                                    // Char (folded)
        std::vector<std::pair<char32_t, char32_t>> ranges;  // Set (folded, inclusive)
    };
    bool matchElements(std::u32string_view text) const;

    std::vector<Element> elements_;
    bool valid_ = true;
    // '%literal%', 'literal%', '%literal', 'literal' with no other wildcard: a plain substring
    // or prefix test on folded UTF-8, which is what nearly every search statement needs.
    enum class Shortcut : std::uint8_t { None, Contains, Prefix, Suffix, Equals, All };
    Shortcut shortcut_ = Shortcut::None;
    std::string literal_;  // folded UTF-8 of the shortcut's literal
};

// The text Jet makes of a value before LIKE or UCASE: Text and Memo unchanged; whole numbers in
// decimal; Single and Double with 7 and 15 significant digits (exponent form outside the range
// a plain figure can show); Currency and Decimal with their significant decimals only ("12.5");
// Boolean -1 / 0; Date/Time as the English (United States) general date: 11/20/2006, with
// " 1:45:00 PM" appended when the time is not midnight, the time alone for day zero; GUID in
// braces; Binary and OLE bytes read as UTF-16LE text. Null gives "" (callers test for Null first).
std::string toText(const Value& value);

// The general date text of a stored date (see toText).
std::string formatGeneralDate(DateTime value);

// UTF-8 as the parser and the evaluator read it (base/utf8.h): an invalid byte decodes as a stray
// character of its own and is written back as that byte, so that text keeps every byte it had.
inline char32_t decodeUtf8(std::string_view text, std::size_t& pos) noexcept {
    return qx::base::decodeUtf8OrByte(text, pos);
}
inline void appendUtf8(std::string& out, char32_t c) {
    qx::base::appendUtf8OrByte(out, c);
}

}  // namespace jet::sql
