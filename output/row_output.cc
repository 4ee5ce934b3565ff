#include "output/row_output.h"

#include <unistd.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <cerrno>
#include <cmath>
#include <cstring>
#include <iostream>

#include "output/json_export.h"

namespace jet::output {

namespace {

// Bytes a JSON string cannot hold as they are.
struct EscapeTable {
    bool needs[256] = {};
    constexpr EscapeTable() {
        for (int c = 0; c < 0x20; ++c) needs[c] = true;
        needs[static_cast<unsigned char>('"')] = true;
        needs[static_cast<unsigned char>('\\')] = true;
    }
};
constexpr EscapeTable kEscape;

template <class T>
T load(const char* p) noexcept {
    T v;
    std::memcpy(&v, p, sizeof v);  // the engine only builds on little-endian hosts
    return v;
}

}  // namespace

bool takeFormatOption(std::vector<std::string>& args, OutputFormat& format, std::string& error) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string value;
        std::size_t words = 0;
        if (args[i] == "--format") {
            if (i + 1 >= args.size()) {
                error = "--format needs json or csv";
                return false;
            }
            value = args[i + 1];
            words = 2;
        } else if (args[i].rfind("--format=", 0) == 0) {
            value = args[i].substr(9);
            words = 1;
        } else {
            continue;
        }
        if (value == "json") {
            format = OutputFormat::JsonLines;
        } else if (value == "csv") {
            format = OutputFormat::Csv;
        } else {
            error = "unknown format '" + value + "' (json or csv)";
            return false;
        }
        args.erase(args.begin() + static_cast<std::ptrdiff_t>(i),
                   args.begin() + static_cast<std::ptrdiff_t>(i + words));
        --i;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// OutputBuffer

OutputBuffer::OutputBuffer(std::ostream& out, std::size_t capacity)
    : out_(out), data_(std::make_unique_for_overwrite<char[]>(capacity)), capacity_(capacity) {
    if (&out == &std::cout) {
        std::cout.flush();
        fd_ = STDOUT_FILENO;
    }
}

OutputBuffer::~OutputBuffer() {
    flush();
}

void OutputBuffer::append(std::string_view s) {
    char* at = room(s.size());
    std::memcpy(at, s.data(), s.size());
    commit(at + s.size());
}

bool OutputBuffer::flush() {
    if (used_ > 0 && !failed_) {
        if (fd_ >= 0) {
            const char* p = data_.get();
            std::size_t left = used_;
            while (left > 0) {
                const ssize_t n = ::write(fd_, p, left);
                if (n < 0) {
                    if (errno == EINTR) continue;
                    failed_ = true;
                    break;
                }
                p += n;
                left -= static_cast<std::size_t>(n);
            }
        } else {
            out_.write(data_.get(), static_cast<std::streamsize>(used_));
            out_.flush();
            failed_ = !out_;
        }
    }
    used_ = 0;
    return !failed_;
}

void OutputBuffer::makeRoom(std::size_t n) {
    flush();
    if (capacity_ < n) {
        data_ = std::make_unique_for_overwrite<char[]>(n);
        capacity_ = n;
    }
}

// ---------------------------------------------------------------------------------------------
// RowWriter

RowWriter::RowWriter(OutputBuffer& out, OutputFormat format, const std::vector<jet::Column>& fields)
    : out_(out), format_(format), fields_(fields) {}

void RowWriter::header() {
    if (format_ == OutputFormat::JsonLines) {
        std::string line = "{\"columns\":[";
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            if (i) line.push_back(',');
            line += "{\"name\":";
            jet::json::appendString(line, fields_[i].name);
            line += ",\"type\":";
            jet::json::appendString(line, jet::typeName(fields_[i].type));
            line += ",\"size\":";
            line += std::to_string(fields_[i].size);
            line.push_back('}');
        }
        line += "]}\n";
        out_.append(line);
        return;
    }
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (i) out_.put(',');
        text(fields_[i].name);
    }
    out_.append("\r\n");
}

void RowWriter::separator(std::size_t k) {
    if (k) {
        out_.put(',');
    } else if (format_ == OutputFormat::JsonLines) {
        out_.put('[');
    }
}

void RowWriter::endRow() {
    if (format_ == OutputFormat::JsonLines) {
        char* at = out_.room(2);
        at[0] = ']';
        at[1] = '\n';
        out_.commit(at + 2);
    } else {
        char* at = out_.room(2);
        at[0] = '\r';
        at[1] = '\n';
        out_.commit(at + 2);
    }
}

// Text as a JSON string, or as a CSV field quoted only when it has to be.
void RowWriter::text(std::string_view s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t n = s.size();
    if (format_ == OutputFormat::Csv) {
        bool quote = n > 0 && (s.front() == ' ' || s.back() == ' ' || s.front() == '\t' || s.back() == '\t');
        for (std::size_t i = 0; i < n && !quote; ++i)
            quote = p[i] == ',' || p[i] == '"' || p[i] == '\r' || p[i] == '\n';
        if (!quote && n > 0) {
            out_.append(s);
            return;
        }
        char* at = out_.room(2 * n + 2);
        *at++ = '"';
        for (std::size_t i = 0; i < n; ++i) {
            if (p[i] == '"') *at++ = '"';
            *at++ = static_cast<char>(p[i]);
        }
        *at++ = '"';
        out_.commit(at);
        return;
    }
    static constexpr char hex[] = "0123456789abcdef";
    char* at = out_.room(6 * n + 2);
    *at++ = '"';
    std::size_t i = 0;
    while (i < n) {
        // Copy the run of bytes that need nothing in one go.
        std::size_t j = i;
        // Eight bytes at a time while none is a quote, a backslash or a control character.
        while (j + 8 <= n) {
            std::uint64_t w;
            std::memcpy(&w, p + j, 8);
            constexpr std::uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull;
            const std::uint64_t quote = w ^ (ones * '"'), slash = w ^ (ones * '\\');
            const std::uint64_t hit =
                (((w - ones * 0x20) & ~w) | ((quote - ones) & ~quote) | ((slash - ones) & ~slash)) & highs;
            if (hit) break;
            j += 8;
        }
        while (j < n && !kEscape.needs[p[j]]) ++j;
        std::memcpy(at, p + i, j - i);
        at += j - i;
        if (j == n) break;
        const unsigned char c = p[j];
        *at++ = '\\';
        switch (c) {
            case '"':
                *at++ = '"';
                break;
            case '\\':
                *at++ = '\\';
                break;
            case '\n':
                *at++ = 'n';
                break;
            case '\r':
                *at++ = 'r';
                break;
            case '\t':
                *at++ = 't';
                break;
            case '\b':
                *at++ = 'b';
                break;
            case '\f':
                *at++ = 'f';
                break;
            default:
                *at++ = 'u';
                *at++ = '0';
                *at++ = '0';
                *at++ = hex[c >> 4];
                *at++ = hex[c & 15];
        }
        i = j + 1;
    }
    *at++ = '"';
    out_.commit(at);
}

bool RowWriter::plainText(std::string_view units) {
    const auto* p = reinterpret_cast<const unsigned char*>(units.data());
    const std::size_t n = units.size() / 2;
    const bool json = format_ == OutputFormat::JsonLines;
    // The characters each form escapes or quotes besides control characters (and, in CSV, the
    // empty text and white space at either end, which must be quoted).
    const unsigned first = json ? '"' : ',';
    const unsigned second = json ? '\\' : '"';
    if (!json) {
        if (n == 0) return false;
        const unsigned a = p[0] | (p[1] << 8), z = p[2 * n - 2] | (p[2 * n - 1] << 8);
        if (a == ' ' || a == '\t' || z == ' ' || z == '\t') return false;
    }
    char* const start = out_.room(n + 2);
    char* at = start;
    if (json) *at++ = '"';
#if defined(__SSE2__)
    // Eight units a test: ASCII, not a control character and neither of the two specials.
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i space = _mm_set1_epi16(0x20);
    const __m128i one = _mm_set1_epi16(static_cast<short>(first));
    const __m128i two = _mm_set1_epi16(static_cast<short>(second));
    auto plain = [&](__m128i v) {
        const __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(v, high), _mm_setzero_si128());
        const __m128i bad = _mm_or_si128(_mm_or_si128(_mm_cmplt_epi16(v, space), _mm_cmpeq_epi16(v, one)),
                                         _mm_cmpeq_epi16(v, two));
        return _mm_movemask_epi8(_mm_andnot_si128(bad, ascii)) == 0xFFFF;
    };
    auto load8 = [&](std::size_t unit) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2 * unit));
    };
    auto load4 = [&](std::size_t unit) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 2 * unit));
    };
    if (n >= 8) {
        // Whole vectors, then one more that ends with the last unit (it overlaps the one before).
        std::size_t i = 0;
        for (; i + 8 <= n; i += 8) {
            const __m128i v = load8(i);
            if (!plain(v)) return false;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(at + i), _mm_packus_epi16(v, v));
        }
        if (i < n) {
            const __m128i v = load8(n - 8);
            if (!plain(v)) return false;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(at + n - 8), _mm_packus_epi16(v, v));
        }
        at += n;
    } else if (n >= 4) {
        // The first four units and the last four (overlapping) in one test.
        const __m128i v = _mm_unpacklo_epi64(load4(0), load4(n - 4));
        if (!plain(v)) return false;
        const __m128i packed = _mm_packus_epi16(v, v);
        const std::uint32_t head = static_cast<std::uint32_t>(_mm_cvtsi128_si32(packed));
        const std::uint32_t tail = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(packed, 4)));
        std::memcpy(at, &head, 4);
        std::memcpy(at + n - 4, &tail, 4);
        at += n;
    } else
#endif
    {
        for (std::size_t i = 0; i < n; ++i) {
            const unsigned u = p[2 * i] | (p[2 * i + 1] << 8);
            if (u >= 0x80 || u < 0x20 || u == first || u == second) return false;
            *at++ = static_cast<char>(u);
        }
    }
    if (json) *at++ = '"';
    out_.commit(at);
    return true;
}

bool RowWriter::plainNarrow(std::string_view bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t n = bytes.size();
    const bool json = format_ == OutputFormat::JsonLines;
    const char first = json ? '"' : ',';
    const char second = json ? '\\' : '"';
    if (!json) {
        if (n == 0) return false;
        if (p[0] == ' ' || p[0] == '\t' || p[n - 1] == ' ' || p[n - 1] == '\t') return false;
    }
    std::size_t i = 0;
#if defined(__SSE2__)
    // Sixteen bytes a test. As signed bytes, everything from 0x80 up is negative, so one
    // comparison with the blank finds both control characters and non-ASCII bytes. Shorter texts
    // are tested as two overlapping halves of eight or four bytes.
    const __m128i space = _mm_set1_epi8(0x20);
    const __m128i one = _mm_set1_epi8(first);
    const __m128i two = _mm_set1_epi8(second);
    // One bit for each byte that is not plain.
    auto badBits = [&](__m128i v) {
        return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(_mm_cmplt_epi8(v, space), _mm_cmpeq_epi8(v, one)),
                                              _mm_cmpeq_epi8(v, two)));
    };
    auto bad = [&](__m128i v) { return badBits(v) != 0; };
    auto load16 = [&](std::size_t at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + at)); };
    auto load8 = [&](std::size_t at) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + at)); };
    auto load4 = [&](std::size_t at) {
        std::int32_t x;
        std::memcpy(&x, p + at, 4);
        return _mm_cvtsi32_si128(x);
    };
    if (n >= 16) {
        for (; i + 16 <= n; i += 16)
            if (bad(load16(i))) return false;
        if (i < n && bad(load16(n - 16))) return false;
    } else if (n >= 8) {
        if (bad(_mm_unpacklo_epi64(load8(0), load8(n - 8)))) return false;
    } else if (n >= 4) {
        // The two halves fill the low eight bytes; the zeros above them are masked out.
        if ((badBits(_mm_unpacklo_epi32(load4(0), load4(n - 4))) & 0xFF) != 0) return false;
    }
    if (n >= 4) i = n;
#endif
    for (; i < n; ++i) {
        const unsigned char c = p[i];
        if (c < 0x20 || c >= 0x80 || c == static_cast<unsigned char>(first) ||
            c == static_cast<unsigned char>(second))
            return false;
    }
    char* at = out_.room(n + 2);
    if (json) *at++ = '"';
    if (n != 0) std::memcpy(at, p, n);
    at += n;
    if (json) *at++ = '"';
    out_.commit(at);
    return true;
}

void RowWriter::value(const jet::Value& v) {
    const bool json = format_ == OutputFormat::JsonLines;
    struct Visitor {
        RowWriter& w;
        bool json;
        void operator()(std::monostate) {
            if (json) w.out_.append("null");
        }
        void operator()(bool b) { w.out_.append(b ? "true" : "false"); }
        void operator()(std::uint8_t x) { integer(x); }
        void operator()(std::int16_t x) { integer(x); }
        void operator()(std::int32_t x) { integer(x); }
        void integer(std::int64_t x) {
            char* at = w.out_.room(jet::kMaxValueText);
            w.out_.commit(jet::writeInteger(at, x));
        }
        void operator()(jet::Currency x) {
            char* at = w.out_.room(jet::kMaxValueText + 2);
            if (json) *at++ = '"';
            at = jet::writeCurrency(at, x);
            if (json) *at++ = '"';
            w.out_.commit(at);
        }
        void operator()(float x) {
            if (!std::isfinite(x)) return (*this)(std::monostate{});
            char* at = w.out_.room(jet::kMaxValueText);
            w.out_.commit(jet::writeSingle(at, x));
        }
        void operator()(double x) {
            if (!std::isfinite(x)) return (*this)(std::monostate{});
            char* at = w.out_.room(jet::kMaxValueText);
            w.out_.commit(jet::writeDouble(at, x));
        }
        void operator()(jet::DateTime x) {
            char* at = w.out_.room(jet::kMaxValueText + 2);
            if (json) *at++ = '"';
            at = jet::writeDateTime(at, x);
            if (json) *at++ = '"';
            w.out_.commit(at);
        }
        void operator()(const std::string& s) { w.text(s); }
        void operator()(const jet::Bytes& b) { plain(jet::json::base64(b.data(), b.size())); }
        void operator()(const jet::Guid& g) { plain(jet::formatGuid(g)); }
        void operator()(const jet::Decimal& d) { plain(jet::formatDecimal(d)); }
        // A text that needs no escaping or quoting in either form.
        void plain(const std::string& s) {
            if (json) w.out_.put('"');
            w.out_.append(s);
            if (json) w.out_.put('"');
        }
    };
    std::visit(Visitor{*this, json}, v.storage());
}

void RowWriter::row(const std::vector<jet::Value>& values) {
    for (std::size_t k = 0; k < values.size(); ++k) {
        separator(k);
        value(values[k]);
    }
    if (values.empty() && format_ == OutputFormat::JsonLines) out_.put('[');
    endRow();
}

void RowWriter::row(const jet::Cursor& cursor, const std::vector<std::size_t>& columns) {
    const bool json = format_ == OutputFormat::JsonLines;
    for (std::size_t k = 0; k < columns.size(); ++k) {
        separator(k);
        const std::size_t c = columns[k];
        const jet::ColumnType type = fields_[k].type;
        if (type == jet::ColumnType::Boolean) {
            value(cursor.value(c));
            continue;
        }
        if (type == jet::ColumnType::Text || type == jet::ColumnType::Memo) {
            std::string_view data;
            const jet::Cursor::Stored stored = cursor.stored(c, data);
            if (stored == jet::Cursor::Stored::Utf16 && plainText(data)) continue;
            if (stored == jet::Cursor::Stored::Narrow && plainNarrow(data)) continue;
            // Null and the empty text both come back empty; only then is the difference asked.
            const std::string_view s = cursor.text(c);
            if (s.empty() && cursor.isNull(c)) {
                if (json) out_.append("null");
            } else {
                text(s);
            }
            continue;
        }
        // A fixed-size value present in the row is never empty: empty means Null (or absent).
        const std::string_view raw = cursor.raw(c);
        if (raw.empty() && type != jet::ColumnType::Binary && type != jet::ColumnType::Unknown &&
            type != jet::ColumnType::OLE) {
            if (json) out_.append("null");
            continue;
        }
        const char* d = raw.data();
        char* at = out_.room(jet::kMaxValueText + 2);
        switch (type) {
            case jet::ColumnType::Byte:
                if (raw.size() < 1) break;
                out_.commit(jet::writeInteger(at, static_cast<unsigned char>(d[0])));
                continue;
            case jet::ColumnType::Integer:
                if (raw.size() < 2) break;
                out_.commit(jet::writeInteger(at, load<std::int16_t>(d)));
                continue;
            case jet::ColumnType::Long:
                if (raw.size() < 4) break;
                out_.commit(jet::writeInteger(at, load<std::int32_t>(d)));
                continue;
            case jet::ColumnType::Currency:
                if (raw.size() < 8) break;
                if (json) *at++ = '"';
                at = jet::writeCurrency(at, jet::Currency{load<std::int64_t>(d)});
                if (json) *at++ = '"';
                out_.commit(at);
                continue;
            case jet::ColumnType::DateTime:
                if (raw.size() < 8) break;
                if (json) *at++ = '"';
                at = jet::writeDateTime(at, jet::DateTime{load<double>(d)});
                if (json) *at++ = '"';
                out_.commit(at);
                continue;
            case jet::ColumnType::Double: {
                if (raw.size() < 8) break;
                const double x = load<double>(d);
                if (!std::isfinite(x)) {
                    if (json) out_.append("null");
                } else {
                    out_.commit(jet::writeDouble(at, x));
                }
                continue;
            }
            case jet::ColumnType::Single: {
                if (raw.size() < 4) break;
                const float x = load<float>(d);
                if (!std::isfinite(x)) {
                    if (json) out_.append("null");
                } else {
                    out_.commit(jet::writeSingle(at, x));
                }
                continue;
            }
            default:
                break;
        }
        // Other types, and values shorter than their type (the engine reports the damage).
        value(cursor.value(c));
    }
    if (columns.empty() && json) out_.put('[');
    endRow();
}

void writeTable(OutputBuffer& out, OutputFormat format, const jet::Table& table) {
    RowWriter writer(out, format, table.columns());
    writer.header();
    std::vector<std::size_t> columns(table.columns().size());
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
    jet::Cursor cursor = table.cursor();
    while (cursor.next()) writer.row(cursor, columns);
}

}  // namespace jet::output
