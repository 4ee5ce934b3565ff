#include "output/json_export.h"

#include <cstdint>
#include <sstream>
#include <vector>

#include "base/utf8.h"
#include "jet/database.h"
#include "jet/table.h"
#include "output/row_output.h"

namespace jet::json {

void appendString(std::string& out, std::string_view text) {
    static const char* hex = "0123456789abcdef";
    out.push_back('"');
    for (char ch : text) {
        unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            default:
                if (c < 0x20) {
                    out += "\\u00";
                    out.push_back(hex[c >> 4]);
                    out.push_back(hex[c & 15]);
                } else {
                    out.push_back(ch);
                }
        }
    }
    out.push_back('"');
}

namespace {

std::optional<std::uint32_t> hex4(std::string_view text, std::size_t pos) {
    if (pos + 4 > text.size()) return std::nullopt;
    std::uint32_t v = 0;
    for (std::size_t i = pos; i < pos + 4; ++i) {
        const char c = text[i];
        v <<= 4;
        if (c >= '0' && c <= '9')
            v |= static_cast<std::uint32_t>(c - '0');
        else if (c >= 'a' && c <= 'f')
            v |= static_cast<std::uint32_t>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            v |= static_cast<std::uint32_t>(c - 'A' + 10);
        else
            return std::nullopt;
    }
    return v;
}

}  // namespace

std::optional<std::string> readString(std::string_view text, std::size_t& pos) {
    if (pos >= text.size() || text[pos] != '"') return std::nullopt;
    std::size_t i = pos + 1;
    std::string out;
    while (i < text.size()) {
        const char c = text[i];
        if (c == '"') {
            pos = i + 1;
            return out;
        }
        if (static_cast<unsigned char>(c) < 0x20) return std::nullopt;
        if (c != '\\') {
            // Plain characters go over in one piece: most strings hold no escape at all.
            const char* p = text.data() + i + 1;
            const char* const stop = text.data() + text.size();
            while (p < stop && *p != '"' && *p != '\\' && static_cast<unsigned char>(*p) >= 0x20) ++p;
            const std::size_t end = static_cast<std::size_t>(p - text.data());
            out.append(text.data() + i, end - i);
            i = end;
            continue;
        }
        if (i + 1 >= text.size()) return std::nullopt;
        const char e = text[i + 1];
        i += 2;
        switch (e) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                auto cp = hex4(text, i);
                if (!cp) return std::nullopt;
                i += 4;
                if (*cp >= 0xD800 && *cp < 0xDC00) {
                    // A high surrogate must be followed by its low half.
                    if (i + 6 > text.size() || text[i] != '\\' || text[i + 1] != 'u') return std::nullopt;
                    auto low = hex4(text, i + 2);
                    if (!low || *low < 0xDC00 || *low > 0xDFFF) return std::nullopt;
                    i += 6;
                    *cp = 0x10000 + ((*cp - 0xD800) << 10) + (*low - 0xDC00);
                } else if (*cp >= 0xDC00 && *cp <= 0xDFFF) {
                    return std::nullopt;
                }
                qx::base::appendUtf8(out, *cp);
                break;
            }
            default:
                return std::nullopt;
        }
    }
    return std::nullopt;
}

std::string base64(const void* data, std::size_t size) {
    static const char* table = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto* p = static_cast<const unsigned char*>(data);
    std::string out;
    out.reserve((size + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 2 < size; i += 3) {
        unsigned v = (p[i] << 16) | (p[i + 1] << 8) | p[i + 2];
        out.push_back(table[(v >> 18) & 63]);
        out.push_back(table[(v >> 12) & 63]);
        out.push_back(table[(v >> 6) & 63]);
        out.push_back(table[v & 63]);
    }
    if (i + 1 == size) {
        unsigned v = p[i] << 16;
        out.push_back(table[(v >> 18) & 63]);
        out.push_back(table[(v >> 12) & 63]);
        out += "==";
    } else if (i + 2 == size) {
        unsigned v = (p[i] << 16) | (p[i + 1] << 8);
        out.push_back(table[(v >> 18) & 63]);
        out.push_back(table[(v >> 12) & 63]);
        out.push_back(table[(v >> 6) & 63]);
        out.push_back('=');
    }
    return out;
}

namespace {

// What a JSON Lines row writer over `fields` writes when `write` is run on it: the same writer
// the command line's export and query use, so that values have one form everywhere.
template <class F>
std::string written(const std::vector<Column>& fields, F write) {
    std::ostringstream text;
    {
        output::OutputBuffer buffer(text, 4096);
        output::RowWriter writer(buffer, output::OutputFormat::JsonLines, fields);
        write(writer);
    }
    return text.str();
}

std::vector<std::size_t> allColumns(const Table& table) {
    std::vector<std::size_t> columns(table.columns().size());
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
    return columns;
}

}  // namespace

void appendValue(std::string& out, const Value& value) {
    static const std::vector<Column> noFields;
    const std::string line =
        written(noFields, [&](output::RowWriter& w) { w.row(std::vector<Value>{value}); });
    out.append(line, 1, line.size() - 3);  // without "[" and "]\n"
}

std::string columnsLine(const Table& table) {
    std::string line = written(table.columns(), [](output::RowWriter& w) { w.header(); });
    line.pop_back();
    return line;
}

void appendRow(std::string& out, const Table& table, const Cursor& cursor) {
    const std::string line =
        written(table.columns(), [&](output::RowWriter& w) { w.row(cursor, allColumns(table)); });
    out.append(line, 0, line.size() - 1);
}

std::string errorLine(const Error& error) {
    std::string out = "{\"error\":{\"number\":";
    out += std::to_string(error.number());
    out += ",\"description\":";
    appendString(out, error.description());
    out += "}}";
    return out;
}

void writeTables(std::ostream& out, const Database& db) {
    std::string line;
    for (const auto& t : db.tableDefs()) {
        std::size_t fields = 0;
        std::uint64_t records = 0;
        if (t.type == 1) {
            Table table = db.openTable(t.name);
            fields = table.fieldCount();
            records = table.rowCount();
        }
        line = "{\"name\":";
        appendString(line, t.name);
        line += ",\"attributes\":" + std::to_string(t.attributes);
        line += ",\"fields\":" + std::to_string(fields);
        line += ",\"records\":" + std::to_string(records);
        line += "}\n";
        out << line;
    }
}

void writeExport(std::ostream& out, const Table& table) {
    output::OutputBuffer buffer(out);
    output::writeTable(buffer, output::OutputFormat::JsonLines, table);
}

}  // namespace jet::json
