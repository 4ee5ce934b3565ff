// Index keys computed from column values, byte for byte as Access writes them.
//
// Per column: a flag byte (0x7F ascending / 0x80 descending; Null: 0x00 ascending / 0xFF
// descending and nothing after it), then the value in an order-preserving form:
//   Byte: the byte. Integer, Long, Currency: big-endian with the sign bit flipped.
//   Single, Double, Date/Time: big-endian; non-negative values with the sign bit flipped,
//     negative ones with every bit flipped.
//   Boolean (never Null in a key): 0x00 True, 0xFF False.
//   GUID, Binary: 8-byte groups each followed by 9 (more follows) or the group's used length,
//     the last group padded with zeros.
//   Text, Memo (first 255 characters): the sort order's character codes (index_text.cc).
// A descending column has every byte after its flag flipped (Binary's inner 9s excepted).
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "jet/table.h"
#include "jet/value.h"

namespace jet::detail {

// A value whose key the engine cannot vouch for (a character whose code in the sort order is
// not known, a type Access does not index, a sort order other than General).
class KeyUnsupported : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct KeyContext {
    bool jet3 = false;
    std::uint16_t codePage = 1252;
};

// Appends the key part of one column. Throws KeyUnsupported.
void appendColumnKey(std::vector<std::uint8_t>& out, const KeyContext& ctx, const Column& column,
                     bool ascending, const Value& value);

// The whole key of a row in a real index: `valueAt(position)` gives the value of the column at
// that position of `columns` (Table::columns() order). Throws KeyUnsupported (also for an index
// naming a column the table lacks). `allNull` tells whether every key column is Null (indexes
// that ignore Nulls leave such rows out).
std::vector<std::uint8_t> rowIndexKey(const KeyContext& ctx, const std::vector<Column>& columns,
                                      const RealIndex& index,
                                      const std::function<Value(std::size_t)>& valueAt,
                                      bool* allNull = nullptr);
// The same from a whole row of values in Table::columns() order, read in place.
std::vector<std::uint8_t> rowIndexKey(const KeyContext& ctx, const std::vector<Column>& columns,
                                      const RealIndex& index, const std::vector<Value>& row,
                                      bool* allNull = nullptr);

// Appends the text key (codes only, without the column's flag byte) of UTF-8 `text` in the
// General sort order of Jet 3 or Jet 4 ("General Legacy"). Throws KeyUnsupported naming the
// first character it cannot encode.
void appendTextKey(std::vector<std::uint8_t>& out, const KeyContext& ctx, const std::string& text,
                   bool ascending);

}  // namespace jet::detail
