// Index keys of non-text values (layout in index_key.h).
#include "jet/index_key.h"

#include <cstring>

namespace jet::detail {

namespace {

constexpr std::uint8_t kAscStart = 0x7F;
constexpr std::uint8_t kDescStart = 0x80;
constexpr std::uint8_t kAscNull = 0x00;
constexpr std::uint8_t kDescNull = 0xFF;

template <class T>
void appendBigEndian(std::vector<std::uint8_t>& out, T value) {
    std::uint8_t le[sizeof(T)];
    std::memcpy(le, &value, sizeof(T));  // the engine builds on little-endian hosts only
    for (std::size_t i = sizeof(T); i-- > 0;) out.push_back(le[i]);
}

void flip(std::vector<std::uint8_t>& out, std::size_t from) {
    for (std::size_t i = from; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
}

void integerKey(std::vector<std::uint8_t>& out, std::size_t start, bool ascending) {
    out[start] ^= 0x80;
    if (!ascending) flip(out, start);
}

void floatKey(std::vector<std::uint8_t>& out, std::size_t start, bool ascending) {
    bool negative = (out[start] & 0x80) != 0;
    if (!negative) out[start] ^= 0x80;
    if (negative == ascending) flip(out, start);
}

void binaryKey(std::vector<std::uint8_t>& out, const std::uint8_t* data, std::size_t size, bool ascending) {
    std::size_t pos = 0;
    while (size - pos > 8) {
        for (std::size_t i = 0; i < 8; ++i) {
            std::uint8_t b = data[pos + i];
            out.push_back(ascending ? b : static_cast<std::uint8_t>(~b));
        }
        out.push_back(9);
        pos += 8;
    }
    if (size > pos) {
        std::size_t rest = size - pos;
        std::uint8_t group[9] = {};
        std::memcpy(group, data + pos, rest);
        group[8] = static_cast<std::uint8_t>(rest);
        for (std::uint8_t b : group) out.push_back(ascending ? b : static_cast<std::uint8_t>(~b));
    }
}

}  // namespace

void appendColumnKey(std::vector<std::uint8_t>& out, const KeyContext& ctx, const Column& column,
                     bool ascending, const Value& value) {
    if (column.type == ColumnType::Boolean) {
        bool v = value.getIf<bool>() && *value.getIf<bool>();
        out.push_back(ascending ? kAscStart : kDescStart);
        out.push_back((v == ascending) ? 0x00 : 0xFF);
        return;
    }
    if (value.isNull()) {
        out.push_back(ascending ? kAscNull : kDescNull);
        return;
    }
    out.push_back(ascending ? kAscStart : kDescStart);
    const std::size_t start = out.size();
    switch (column.type) {
        case ColumnType::Byte: {
            out.push_back(value.get<std::uint8_t>());
            if (!ascending) flip(out, start);
            return;
        }
        case ColumnType::Integer:
            appendBigEndian(out, value.get<std::int16_t>());
            integerKey(out, start, ascending);
            return;
        case ColumnType::Long:
            appendBigEndian(out, value.get<std::int32_t>());
            integerKey(out, start, ascending);
            return;
        case ColumnType::Currency:
            appendBigEndian(out, value.get<Currency>().scaled);
            integerKey(out, start, ascending);
            return;
        case ColumnType::Single:
            appendBigEndian(out, value.get<float>());
            floatKey(out, start, ascending);
            return;
        case ColumnType::Double:
            appendBigEndian(out, value.get<double>());
            floatKey(out, start, ascending);
            return;
        case ColumnType::DateTime:
            appendBigEndian(out, value.get<DateTime>().days);
            floatKey(out, start, ascending);
            return;
        case ColumnType::GUID: {
            // Keyed in the text form's order: the first three groups big-endian.
            const auto& b = value.get<Guid>().bytes;
            std::uint8_t g[16] = {b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6]};
            std::memcpy(g + 8, b.data() + 8, 8);
            binaryKey(out, g, 16, ascending);
            return;
        }
        case ColumnType::Binary: {
            const auto& b = value.get<Bytes>();
            binaryKey(out, b.data(), b.size(), ascending);
            return;
        }
        case ColumnType::Text:
        case ColumnType::Memo:
            if (!ctx.jet3 && column.collation != 0x0409 && column.collation != 0)
                throw KeyUnsupported("text column '" + column.name + "' uses sort order " +
                                     std::to_string(column.collation) + ", not General");
            if (!ctx.jet3 && column.collationVersion != 0)
                throw KeyUnsupported("text column '" + column.name +
                                     "' uses the General sort order of Access 2010, not General Legacy");
            appendTextKey(out, ctx, value.get<std::string>(), ascending);
            return;
        default:
            throw KeyUnsupported("no index key form for column '" + column.name + "' of type " +
                                 std::string(typeName(column.type)));
    }
}

namespace {

// `valueAt(position)` gives a Value or a reference to one.
template <class ValueAt>
std::vector<std::uint8_t> buildRowKey(const KeyContext& ctx, const std::vector<Column>& columns,
                                      const RealIndex& index, const ValueAt& valueAt, bool* allNull) {
    std::vector<std::uint8_t> key;
    key.reserve(64);  // most keys fit: one allocation rather than one per growth
    bool nulls = true;
    for (const auto& ic : index.columns) {
        std::size_t pos = columns.size();
        for (std::size_t c = 0; c < columns.size(); ++c)
            if (columns[c].number == ic.columnNumber) pos = c;
        if (pos == columns.size())
            throw KeyUnsupported("the index names column number " + std::to_string(ic.columnNumber) +
                                 ", which the table lacks");
        decltype(auto) v = valueAt(pos);
        if (!v.isNull()) nulls = false;
        appendColumnKey(key, ctx, columns[pos], ic.ascending, v);
    }
    if (allNull) *allNull = nulls;
    return key;
}

}  // namespace

std::vector<std::uint8_t> rowIndexKey(const KeyContext& ctx, const std::vector<Column>& columns,
                                      const RealIndex& index,
                                      const std::function<Value(std::size_t)>& valueAt, bool* allNull) {
    return buildRowKey(ctx, columns, index, valueAt, allNull);
}

std::vector<std::uint8_t> rowIndexKey(const KeyContext& ctx, const std::vector<Column>& columns,
                                      const RealIndex& index, const std::vector<Value>& row, bool* allNull) {
    return buildRowKey(
        ctx, columns, index, [&row](std::size_t p) -> const Value& { return row.at(p); }, allNull);
}

}  // namespace jet::detail
