#include "output/json_export.h"

#include <charconv>
#include <cmath>
#include <cstdint>

#include "base/utf8.h"
#include "jet/database.h"
#include "jet/table.h"

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

template <class F>
void appendNumber(std::string& out, F x) {
    if (!std::isfinite(x)) {
        out += "null";
        return;
    }
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, x);
    out.append(buf, r.ptr);
}

struct ValueWriter {
    std::string& out;
    void operator()(std::monostate) { out += "null"; }
    void operator()(bool b) { out += b ? "true" : "false"; }
    void operator()(std::uint8_t x) { out += std::to_string(x); }
    void operator()(std::int16_t x) { out += std::to_string(x); }
    void operator()(std::int32_t x) { out += std::to_string(x); }
    void operator()(Currency x) { appendString(out, formatCurrency(x)); }
    void operator()(float x) { appendNumber(out, x); }
    void operator()(double x) { appendNumber(out, x); }
    void operator()(DateTime x) { appendString(out, formatDateTime(x)); }
    void operator()(const std::string& s) { appendString(out, s); }
    void operator()(const Bytes& b) {
        out.push_back('"');
        out += base64(b.data(), b.size());
        out.push_back('"');
    }
    void operator()(const Guid& g) { appendString(out, formatGuid(g)); }
    void operator()(const Decimal& d) { appendString(out, formatDecimal(d)); }
};

}  // namespace

void appendValue(std::string& out, const Value& value) {
    std::visit(ValueWriter{out}, value.storage());
}

std::string columnsLine(const Table& table) {
    std::string out = "{\"columns\":[";
    bool first = true;
    for (const auto& c : table.columns()) {
        if (!first) out.push_back(',');
        first = false;
        out += "{\"name\":";
        appendString(out, c.name);
        out += ",\"type\":";
        appendString(out, typeName(c.type));
        out += ",\"size\":";
        out += std::to_string(c.size);
        out.push_back('}');
    }
    out += "]}";
    return out;
}

void appendRow(std::string& out, const Table& table, const Cursor& cursor) {
    out.push_back('[');
    std::size_t n = table.columns().size();
    for (std::size_t i = 0; i < n; ++i) {
        if (i) out.push_back(',');
        appendValue(out, cursor.value(i));
    }
    out.push_back(']');
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
    out << columnsLine(table) << '\n';
    Cursor cursor = table.cursor();
    std::string line;
    while (cursor.next()) {
        line.clear();
        appendRow(line, table, cursor);
        line.push_back('\n');
        out << line;
    }
}

}  // namespace jet::json
