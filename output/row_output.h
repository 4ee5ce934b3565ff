// How `qxtest-cli jet export` and `jet query` write rows: JSON Lines (the default) or CSV, into
// one large buffer that goes to the standard output in big writes.
//
// JSON Lines: a columns line {"columns":[{"name":N,"type":T,"size":S},...]}, then one array per
// row, values in the forms of output/json_export.h (null; true/false; whole numbers; Single and Double
// as the shortest text that reads back the same, non-finite values as null; Currency and Decimal as
// strings of exact digits, Currency with 4 decimals; Date/Time as "YYYY-MM-DD HH:MM:SS"; text as
// strings; Binary, OLE and unknown types as base64 strings; GUID as "{XXXXXXXX-...}").
//
// CSV (RFC 4180): a header line of the column names, then one line per row; lines end in CRLF;
// fields are separated by commas; a field that holds a comma, a double quote, CR or LF, or that
// begins or ends with a blank, is enclosed in double quotes with its quotes doubled. Null is an
// empty field; the empty text is "" (quoted), so the two stay apart. Values: Yes/No as true and
// false; whole numbers in decimal; Single and Double as the shortest text that reads back the same
// (non-finite values as an empty field); Currency with 4 decimals and Decimal with its scale, a
// point as the separator and no grouping; Date/Time as YYYY-MM-DD HH:MM:SS; text as UTF-8;
// Binary, OLE and unknown types as base64; GUID as {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
//
// Values come straight from a cursor's stored bytes where the type allows (numbers, dates, text),
// so a row costs no allocation.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "jet/table.h"
#include "jet/value.h"

namespace jet::output {

enum class OutputFormat { JsonLines, Csv };

// Takes "--format json|csv" (or "--format=...") out of `args`. False, with a message in `error`,
// for a missing or unknown format.
bool takeFormatOption(std::vector<std::string>& args, OutputFormat& format, std::string& error);

// A large output buffer. Writing to std::cout goes to file descriptor 1 directly (after flushing
// what the stream holds); any other stream gets the buffer through write().
class OutputBuffer {
  public:
    // `capacity`: bytes gathered before a write (1 MiB unless told; it grows for a larger item).
    explicit OutputBuffer(std::ostream& out, std::size_t capacity = kDefaultCapacity);
    static constexpr std::size_t kDefaultCapacity = 1u << 20;
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;
    ~OutputBuffer();  // flushes; write errors are lost here (call flush() to see them)

    // At least `n` bytes of room; write into it and hand the end to commit().
    char* room(std::size_t n) {
        if (capacity_ - used_ < n) makeRoom(n);
        return data_.get() + used_;
    }
    void commit(char* end) noexcept { used_ = static_cast<std::size_t>(end - data_.get()); }
    void append(std::string_view s);
    void put(char c) { *room(1) = c, ++used_; }
    // Writes out what is buffered. False when the output refused it.
    bool flush();

  private:
    void makeRoom(std::size_t n);

    std::ostream& out_;
    int fd_ = -1;
    std::unique_ptr<char[]> data_;
    std::size_t capacity_ = 0;
    std::size_t used_ = 0;
    bool failed_ = false;
};

class RowWriter {
  public:
    RowWriter(OutputBuffer& out, OutputFormat format, const std::vector<jet::Column>& fields);

    // The JSON columns line or the CSV header line.
    void header();
    // One row: field k is column columns[k] of the cursor's current row.
    void row(const jet::Cursor& cursor, const std::vector<std::size_t>& columns);
    // One row of values in field order.
    void row(const std::vector<jet::Value>& values);

  private:
    void value(const jet::Value& v);
    void text(std::string_view s);
    // Writes UTF-16LE `units` that are all plain ASCII needing no escaping or quoting, converted
    // in one pass; false (nothing written) for anything else, which text() then handles.
    bool plainText(std::string_view units);
    // The same for text stored a byte a character (see jet::Cursor::Stored::Narrow): written as
    // it stands when every byte is plain ASCII.
    bool plainNarrow(std::string_view bytes);
    void separator(std::size_t k);
    void endRow();

    OutputBuffer& out_;
    OutputFormat format_;
    const std::vector<jet::Column>& fields_;
};

// The header and every row of `table` in scan order. A failure reading a row propagates with the
// rows before it in `out` (its destructor writes them out).
void writeTable(OutputBuffer& out, OutputFormat format, const jet::Table& table);

}  // namespace jet::output
