#include "jet/sql/query.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "jet/sql/column_cache.h"
#include "jet/sql/errors.h"
#include "jet/sql/parser.h"
#include "jet/sql/text.h"

namespace jet::sql {

namespace {

// What an expression yields, known before any row is read.
enum class Type { Null, Boolean, Number, Text, Date, Binary };

Type columnType(ColumnType t) {
    switch (t) {
        case ColumnType::Boolean: return Type::Boolean;
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long:
        case ColumnType::Currency:
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::Decimal: return Type::Number;
        case ColumnType::DateTime: return Type::Date;
        case ColumnType::Text:
        case ColumnType::Memo:
        case ColumnType::GUID: return Type::Text;
        default: return Type::Binary;
    }
}

enum class Tri { False, True, Null };

Tri notTri(Tri t) { return t == Tri::Null ? Tri::Null : (t == Tri::True ? Tri::False : Tri::True); }

// One value during evaluation.
struct Scalar {
    Type type = Type::Null;
    double number = 0;  // Number, Boolean (-1 / 0), Date (days)
    std::string text;   // Text, Binary
};

double numberOf(const Value& v) {
    const auto& s = v.storage();
    if (const auto* b = std::get_if<bool>(&s)) return *b ? -1.0 : 0.0;
    if (const auto* u8 = std::get_if<std::uint8_t>(&s)) return *u8;
    if (const auto* i16 = std::get_if<std::int16_t>(&s)) return *i16;
    if (const auto* i32 = std::get_if<std::int32_t>(&s)) return *i32;
    if (const auto* cy = std::get_if<Currency>(&s)) return static_cast<double>(cy->scaled) / 10000.0;
    if (const auto* f = std::get_if<float>(&s)) return static_cast<double>(*f);
    if (const auto* d = std::get_if<double>(&s)) return *d;
    if (const auto* dt = std::get_if<DateTime>(&s)) return dt->days;
    if (const auto* dec = std::get_if<Decimal>(&s)) return std::strtod(formatDecimal(*dec).c_str(), nullptr);
    return 0;
}

std::string numberText(double v) {
    Value value(ColumnType::Double, Value::Storage(v));
    return toText(value);
}

// The compiled condition: a tree whose column references are positions in the table's columns.
struct Node {
    enum class Op { Const, Column, Not, And, Or, Compare, Like, IsNull, Negate, Upper, Lower } op;
    Type type = Type::Null;
    CompareOp compare = CompareOp::Eq;
    bool negated = false;
    std::size_t column = 0;
    Scalar constant;
    std::unique_ptr<LikePattern> pattern;  // LIKE with a constant pattern
    std::vector<std::unique_ptr<Node>> kids;
};
using NodePtr = std::unique_ptr<Node>;

bool sameName(std::string_view a, std::string_view b) { return compareText(a, b) == 0; }

class Compiler {
public:
    Compiler(const Table& table, const SelectStatement& st) : table_(table), st_(st) {}

    NodePtr compile(const Expr& e) {
        return std::visit([&](const auto& n) { return build(n); }, e.node);
    }

private:
    static NodePtr node(Node::Op op, Type type) {
        auto n = std::make_unique<Node>();
        n->op = op;
        n->type = type;
        return n;
    }

    NodePtr build(const Literal& lit) {
        switch (lit.kind) {
            case Literal::Kind::Null: return node(Node::Op::Const, Type::Null);
            case Literal::Kind::Boolean: {
                auto n = node(Node::Op::Const, Type::Boolean);
                n->constant = Scalar{Type::Boolean, lit.boolean ? -1.0 : 0.0, {}};
                return n;
            }
            case Literal::Kind::Number: {
                auto n = node(Node::Op::Const, Type::Number);
                n->constant = Scalar{Type::Number, lit.number, {}};
                return n;
            }
            case Literal::Kind::Text: {
                auto n = node(Node::Op::Const, Type::Text);
                n->constant = Scalar{Type::Text, 0, lit.text};
                return n;
            }
        }
        return node(Node::Op::Const, Type::Null);
    }

    NodePtr build(const ColumnRef& ref) {
        // A name Jet cannot bind to a column becomes a parameter, and an unset parameter is
        // the failure the program sees.
        if (!ref.qualifier.empty() && !sameName(ref.qualifier, st_.table) &&
            !(st_.alias.size() && sameName(ref.qualifier, st_.alias)))
            throw makeError(Failure::MissingParameter);
        const int index = table_.findColumn(ref.name);
        if (index < 0) throw makeError(Failure::MissingParameter);
        const auto& col = table_.columns()[static_cast<std::size_t>(index)];
        auto n = node(Node::Op::Column, columnType(col.type));
        n->column = static_cast<std::size_t>(index);
        return n;
    }

    static void requireLogical(const Node& n) {
        if (n.type == Type::Text || n.type == Type::Binary) throw makeError(Failure::TypeMismatch);
    }

    NodePtr build(const Not& x) {
        auto n = node(Node::Op::Not, Type::Boolean);
        n->kids.push_back(compile(*x.operand));
        requireLogical(*n->kids[0]);
        return n;
    }

    NodePtr build(const Logical& x) {
        auto n = node(x.isAnd ? Node::Op::And : Node::Op::Or, Type::Boolean);
        n->kids.push_back(compile(*x.left));
        n->kids.push_back(compile(*x.right));
        requireLogical(*n->kids[0]);
        requireLogical(*n->kids[1]);
        return n;
    }

    NodePtr build(const Compare& x) {
        auto n = node(Node::Op::Compare, Type::Boolean);
        n->compare = x.op;
        n->kids.push_back(compile(*x.left));
        n->kids.push_back(compile(*x.right));
        const Type a = n->kids[0]->type, b = n->kids[1]->type;
        auto numeric = [](Type t) { return t == Type::Number || t == Type::Boolean || t == Type::Date; };
        const bool ok = a == Type::Null || b == Type::Null || (numeric(a) && numeric(b)) ||
                        (a == Type::Text && b == Type::Text) || (a == Type::Binary && b == Type::Binary);
        if (!ok) throw makeError(Failure::TypeMismatch);
        return n;
    }

    NodePtr build(const Like& x) {
        auto n = node(Node::Op::Like, Type::Boolean);
        n->negated = x.negated;
        n->kids.push_back(compile(*x.subject));
        n->kids.push_back(compile(*x.pattern));
        const Node& p = *n->kids[1];
        if (p.op == Node::Op::Const && p.type != Type::Null) {
            const std::string text = p.type == Type::Text ? p.constant.text : numberText(p.constant.number);
            n->pattern = std::make_unique<LikePattern>(text);
        }
        return n;
    }

    NodePtr build(const IsNull& x) {
        auto n = node(Node::Op::IsNull, Type::Boolean);
        n->negated = x.negated;
        n->kids.push_back(compile(*x.operand));
        return n;
    }

    NodePtr build(const Negate& x) {
        auto n = node(Node::Op::Negate, Type::Number);
        n->kids.push_back(compile(*x.operand));
        const Type t = n->kids[0]->type;
        if (t == Type::Text || t == Type::Binary) throw makeError(Failure::TypeMismatch);
        if (t == Type::Date) n->type = Type::Date;
        return n;
    }

    NodePtr build(const Call& x) {
        auto n = node(x.name == "LCASE" ? Node::Op::Lower : Node::Op::Upper, Type::Text);
        n->kids.push_back(compile(*x.args.at(0)));
        return n;
    }

    const Table& table_;
    const SelectStatement& st_;
};

// Evaluates a compiled condition on the cursor's current row.
class Evaluator {
public:
    Evaluator(const Cursor& cursor, const std::vector<Column>& columns) : cursor_(cursor) {
        types_.reserve(columns.size());
        for (const auto& c : columns) types_.push_back(c.type);
    }

    Tri test(const Node& n) {
        switch (n.op) {
            case Node::Op::And: {
                const Tri a = test(*n.kids[0]);
                if (a == Tri::False) return Tri::False;
                const Tri b = test(*n.kids[1]);
                if (b == Tri::False) return Tri::False;
                return (a == Tri::Null || b == Tri::Null) ? Tri::Null : Tri::True;
            }
            case Node::Op::Or: {
                const Tri a = test(*n.kids[0]);
                if (a == Tri::True) return Tri::True;
                const Tri b = test(*n.kids[1]);
                if (b == Tri::True) return Tri::True;
                return (a == Tri::Null || b == Tri::Null) ? Tri::Null : Tri::False;
            }
            case Node::Op::Not: return notTri(test(*n.kids[0]));
            case Node::Op::Like: return like(n);
            case Node::Op::IsNull: {
                const bool isNull = value(*n.kids[0]).type == Type::Null;
                return (isNull != n.negated) ? Tri::True : Tri::False;
            }
            case Node::Op::Compare: return compare(n);
            default: {
                const Scalar v = value(n);
                if (v.type == Type::Null) return Tri::Null;
                if (v.type == Type::Text || v.type == Type::Binary) throw makeError(Failure::TypeMismatch);
                return v.number != 0 ? Tri::True : Tri::False;
            }
        }
    }

private:
    Tri like(const Node& n) {
        const Node& subject = *n.kids[0];
        // The common shape, column or UCASE(column) of a text column against a constant pattern,
        // folds the stored text straight into a reused buffer.
        if (n.pattern) {
            const Node* col = &subject;
            while (col->op == Node::Op::Upper || col->op == Node::Op::Lower) col = col->kids[0].get();
            if (col->op == Node::Op::Column && col->type == Type::Text &&
                columnIsPlainText(col->column)) {
                if (cursor_.isNull(col->column)) return Tri::Null;
                folded_.clear();
                appendUpper(folded_, cursor_.text(col->column));
                return n.pattern->matchesFolded(folded_) != n.negated ? Tri::True : Tri::False;
            }
        }
        const Scalar s = value(subject);
        if (s.type == Type::Null) return Tri::Null;
        const std::string text = asText(s);
        bool matched;
        if (n.pattern) {
            matched = n.pattern->matches(text);
        } else {
            const Scalar p = value(*n.kids[1]);
            if (p.type == Type::Null) return Tri::Null;
            matched = LikePattern(asText(p)).matches(text);
        }
        return matched != n.negated ? Tri::True : Tri::False;
    }

    Tri compare(const Node& n) {
        const Scalar a = value(*n.kids[0]);
        if (a.type == Type::Null) return Tri::Null;
        const Scalar b = value(*n.kids[1]);
        if (b.type == Type::Null) return Tri::Null;
        int c;
        if (a.type == Type::Text || a.type == Type::Binary) {
            c = a.type == Type::Text ? compareText(a.text, b.text) : a.text.compare(b.text);
            c = c < 0 ? -1 : (c > 0 ? 1 : 0);
        } else {
            c = a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
        }
        bool r = false;
        switch (n.compare) {
            case CompareOp::Eq: r = c == 0; break;
            case CompareOp::Ne: r = c != 0; break;
            case CompareOp::Lt: r = c < 0; break;
            case CompareOp::Gt: r = c > 0; break;
            case CompareOp::Le: r = c <= 0; break;
            case CompareOp::Ge: r = c >= 0; break;
        }
        return r ? Tri::True : Tri::False;
    }

    static std::string asText(const Scalar& s) {
        switch (s.type) {
            case Type::Text:
            case Type::Binary: return s.text;
            case Type::Boolean: return s.number != 0 ? "-1" : "0";
            case Type::Date: return formatGeneralDate(DateTime{s.number});
            case Type::Number: return numberText(s.number);
            case Type::Null: break;
        }
        return {};
    }

    bool columnIsPlainText(std::size_t column) const {
        const ColumnType t = cursorColumnType(column);
        return t == ColumnType::Text || t == ColumnType::Memo;
    }

    ColumnType cursorColumnType(std::size_t column) const {
        return column < types_.size() ? types_[column] : ColumnType::Unknown;
    }

    Scalar value(const Node& n) {
        switch (n.op) {
            case Node::Op::Const: return n.constant;
            case Node::Op::Column: {
                if (cursor_.isNull(n.column)) return {};
                const ColumnType t = cursorColumnType(n.column);
                if (t == ColumnType::Text || t == ColumnType::Memo)
                    return Scalar{Type::Text, 0, std::string(cursor_.text(n.column))};
                const Value v = cursor_.value(n.column);
                switch (n.type) {
                    case Type::Text: return Scalar{Type::Text, 0, toText(v)};
                    case Type::Binary: return Scalar{Type::Binary, 0, toText(v)};
                    default: return Scalar{n.type, numberOf(v), {}};
                }
            }
            case Node::Op::Upper:
            case Node::Op::Lower: {
                Scalar s = value(*n.kids[0]);
                if (s.type == Type::Null) return s;
                const std::string text = asText(s);
                if (n.op == Node::Op::Upper) return Scalar{Type::Text, 0, upper(text)};
                return Scalar{Type::Text, 0, lower(text)};
            }
            case Node::Op::Negate: {
                Scalar s = value(*n.kids[0]);
                if (s.type != Type::Null) s.number = -s.number;
                if (s.type == Type::Boolean) s.type = Type::Number;
                return s;
            }
            default: {
                const Tri t = test(n);
                if (t == Tri::Null) return {};
                return Scalar{Type::Boolean, t == Tri::True ? -1.0 : 0.0, {}};
            }
        }
    }

private:
    static std::string lower(std::string_view text) {
        // LCASE: the inverse of the upper-case mapping, for the characters that have one.
        std::string out;
        std::size_t pos = 0;
        while (pos < text.size()) {
            const char32_t c = decodeUtf8(text, pos);
            char32_t l = c;
            if (c < 0x80) {
                if (c >= 'A' && c <= 'Z') l = c + 0x20;
            } else {
                for (const char32_t candidate : {c + 0x20, c + 0x50, c + 0x30, c + 1, c + 2, c + 8,
                                                 c + 0x25, c + 0x3F, c + 0x10, c + 0x1A}) {
                    if (candidate != c && upperChar(candidate) == c && upperChar(c) == c) {
                        l = candidate;
                        break;
                    }
                }
            }
            appendUtf8(out, l);
        }
        return out;
    }

    const Cursor& cursor_;
    std::vector<ColumnType> types_;  // the table's column types, by position
    std::string folded_;
};

// The column under any UCASE / LCASE wrapping, or null when the subject is something else.
const Node* likeColumn(const Node& subject) {
    const Node* n = &subject;
    while (n->op == Node::Op::Upper || n->op == Node::Op::Lower) n = n->kids[0].get();
    return n->op == Node::Op::Column ? n : nullptr;
}

// Can the condition be decided from the folded text of its columns alone? That holds for
// AND / OR / NOT over LIKE tests of a (possibly upper- or lower-cased) column against a constant
// pattern and IS NULL tests of a column: case never matters to LIKE, so the folded text is all
// it needs. Collects the columns.
bool likeOnly(const Node& n, std::vector<std::size_t>& columns) {
    switch (n.op) {
        case Node::Op::And:
        case Node::Op::Or:
        case Node::Op::Not:
            for (const auto& k : n.kids)
                if (!likeOnly(*k, columns)) return false;
            return true;
        case Node::Op::Like: {
            if (!n.pattern) return false;
            const Node* col = likeColumn(*n.kids[0]);
            if (!col) return false;
            columns.push_back(col->column);
            return true;
        }
        case Node::Op::IsNull:
            if (n.kids[0]->op != Node::Op::Column) return false;
            columns.push_back(n.kids[0]->column);
            return true;
        case Node::Op::Const: return n.type != Type::Text && n.type != Type::Binary;
        default: return false;
    }
}

using CachedColumns = std::vector<std::shared_ptr<const detail::TextColumn>>;

// The condition for all rows at once, one column test at a time: 0 false, 1 true, 2 unknown per
// row. Only rows marked in `need` (all rows when it is null) are decided; the others come out
// false. AND and OR pass on to their right side only the rows the left side left open, so later
// criteria cost little once earlier ones have narrowed the rows down.
std::vector<std::uint8_t> testAllCached(const Node& n, std::size_t rows, const CachedColumns& data,
                                        const std::vector<std::uint8_t>* need) {
    constexpr std::uint8_t F = 0, T = 1, U = 2;
    auto wanted = [need](std::size_t r) { return need == nullptr || (*need)[r] != 0; };
    switch (n.op) {
        case Node::Op::And:
        case Node::Op::Or: {
            const bool isAnd = n.op == Node::Op::And;
            std::vector<std::uint8_t> a = testAllCached(*n.kids[0], rows, data, need);
            std::vector<std::uint8_t> open(rows);
            const std::uint8_t settled = isAnd ? F : T;
            // Plain loops over raw arrays, so that the compiler can run them many rows at a time.
            {
                const std::uint8_t* left = a.data();
                std::uint8_t* o = open.data();
                if (need) {
                    const std::uint8_t* w = need->data();
                    for (std::size_t r = 0; r < rows; ++r)
                        o[r] = static_cast<std::uint8_t>(w[r] & static_cast<std::uint8_t>(left[r] != settled));
                } else {
                    for (std::size_t r = 0; r < rows; ++r) o[r] = static_cast<std::uint8_t>(left[r] != settled);
                }
            }
            const std::vector<std::uint8_t> b = testAllCached(*n.kids[1], rows, data, &open);
            // Three-valued AND and OR as tables indexed by 3 * left + right.
            static constexpr std::uint8_t kAnd[9] = {F, F, F, F, T, U, F, U, U};
            static constexpr std::uint8_t kOr[9] = {F, T, U, T, T, T, U, T, U};
            const std::uint8_t* table = isAnd ? kAnd : kOr;
            std::uint8_t* left = a.data();
            const std::uint8_t* right = b.data();
            for (std::size_t r = 0; r < rows; ++r) left[r] = table[3 * left[r] + right[r]];
            return a;
        }
        case Node::Op::Not: {
            std::vector<std::uint8_t> a = testAllCached(*n.kids[0], rows, data, need);
            for (auto& x : a) x = x == U ? U : static_cast<std::uint8_t>(1 - x);
            return a;
        }
        case Node::Op::Like: {
            const Node* ref = likeColumn(*n.kids[0]);
            std::vector<std::uint8_t> out(rows, F);
            if (!ref) return out;  // excluded by likeOnly
            const auto& col = *data[ref->column];
            const std::uint8_t hit = n.negated ? F : T, miss = n.negated ? T : F;
            const std::string_view literal = n.pattern->containedLiteral();
            if (col.coded()) {
                // One test per distinct text, then one look-up per row.
                std::vector<std::uint8_t> verdict(col.distinct.size());
                for (std::size_t d = 0; d < col.distinct.size(); ++d) {
                    const std::string& v = col.distinct[d];
                    verdict[d] = (literal.empty() ? n.pattern->matchesFolded(v)
                                                  : v.find(literal) != std::string::npos)
                                     ? hit
                                     : miss;
                }
                const std::uint8_t* nulls = col.nulls.data();
                const std::uint32_t* codes = col.codes.data();
                const std::uint8_t* v = verdict.data();
                std::uint8_t* o = out.data();
                const std::uint8_t* w = need ? need->data() : nullptr;
                for (std::size_t r = 0; r < rows; ++r) {
                    const std::uint8_t result = nulls[r] ? U : v[codes[r]];
                    o[r] = (w == nullptr || w[r]) ? result : F;
                }
                return out;
            }
            const char* text = col.folded.data();
            // Values are tested one by one, which suits a literal found in most values, early,
            // and conditions that leave few rows to test. When a sample shows the literal to be
            // found in fewer than half the values while most rows are to be tested, the rest of
            // the column is searched as one block, the search skipping what lies between hits.
            const std::size_t kSample = std::min<std::size_t>(2048, std::max<std::size_t>(16, rows / 4));
            std::size_t seen = 0, sampled = 0, hits = 0;
            std::size_t r = 0;
            for (; r < rows; ++r) {
                if (!literal.empty() && seen == kSample) {
                    if (hits * 2 < sampled && sampled * 4 > seen) break;
                    seen = kSample + 1;  // decided: stay with one value at a time
                }
                if (seen < kSample) ++seen;
                if (!wanted(r)) continue;
                if (col.nulls[r]) {
                    out[r] = U;
                    continue;
                }
                const std::uint32_t begin = r == 0 ? 0 : col.ends[r - 1], end = col.ends[r];
                bool found;
                if (literal.empty()) {
                    found = n.pattern->matchesFolded(std::string_view(text + begin, end - begin));
                } else if (end - begin < literal.size()) {
                    found = false;
                } else if (end - begin > 64) {
                    // Long values (memos): the library's search.
                    found = std::string_view(text + begin, end - begin).find(literal) != std::string_view::npos;
                } else {
                    const char first = literal.front();
                    const std::size_t rest = literal.size() - 1;
                    found = false;
                    const char* last = text + end - literal.size();
                    for (const char* p = text + begin; p <= last && !found; ++p) {
                        if (*p != first) continue;
                        std::size_t i = 0;
                        while (i < rest && p[1 + i] == literal[1 + i]) ++i;
                        found = i == rest;
                    }
                }
                out[r] = found ? hit : miss;
                if (seen <= kSample) {
                    ++sampled;
                    hits += found ? 1 : 0;
                }
            }
            if (r < rows) {
                for (std::size_t k = r; k < rows; ++k)
                    if (wanted(k)) out[k] = col.nulls[k] ? U : miss;
                const std::size_t total = col.folded.size();
                std::size_t pos = r == 0 ? 0 : col.ends[r - 1];
                std::size_t row = r;
                while (row < rows && pos < total) {
                    const void* found = ::memmem(text + pos, total - pos, literal.data(), literal.size());
                    if (!found) break;
                    const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - text);
                    while (row < rows && col.ends[row] <= at) ++row;
                    if (row == rows) break;
                    if (at + literal.size() <= col.ends[row]) {
                        if (wanted(row)) out[row] = hit;
                        pos = col.ends[row];
                        ++row;
                    } else {
                        pos = at + 1;  // straddles two values
                    }
                }
            }
            return out;
        }
        case Node::Op::IsNull: {
            const auto& nulls = data[n.kids[0]->column]->nulls;
            std::vector<std::uint8_t> out(rows);
            for (std::size_t r = 0; r < rows; ++r) out[r] = (nulls[r] != 0) != n.negated ? T : F;
            return out;
        }
        case Node::Op::Const:
            return std::vector<std::uint8_t>(rows, n.type == Type::Null ? U : (n.constant.number != 0 ? T : F));
        default: return std::vector<std::uint8_t>(rows, U);  // excluded by likeOnly
    }
}

// Reads the folded LIKE text of `wanted` columns for every row of the table in one scan.
// Returns false (and builds nothing) when the text would not fit the cache.
bool buildColumns(const Table& table, const std::vector<std::size_t>& wanted, CachedColumns& out) {
    const auto& columns = table.columns();
    struct Building {
        std::shared_ptr<detail::TextColumn> column = std::make_shared<detail::TextColumn>();
        std::unordered_map<std::string, std::uint32_t> seen;  // text -> code while coding pays
        bool coding = true;
    };
    std::vector<Building> built(wanted.size());
    // Beyond this many distinct texts a column is kept plain.
    const std::size_t codeLimit = std::max<std::size_t>(64, table.rowCount() / 8);
    std::size_t total = 0;
    Cursor cursor = table.cursor();
    std::string value;
    while (cursor.next()) {
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const std::size_t c = wanted[i];
            Building& b = built[i];
            detail::TextColumn& col = *b.column;
            const std::size_t before = col.folded.size();
            value.clear();
            if (cursor.isNull(c)) {
                col.nulls.push_back(1);
            } else {
                col.nulls.push_back(0);
                const ColumnType t = columns[c].type;
                if (t == ColumnType::Text || t == ColumnType::Memo) appendUpper(value, cursor.text(c));
                else appendUpper(value, toText(cursor.value(c)));
            }
            col.folded += value;
            col.ends.push_back(static_cast<std::uint32_t>(col.folded.size()));
            total += col.folded.size() - before + 9;
            if (total > detail::ColumnCache::kBudgetBytes) return false;
            if (b.coding) {
                const auto [it, added] = b.seen.try_emplace(value, static_cast<std::uint32_t>(b.seen.size()));
                if (added) total += value.size() + 48;
                col.codes.push_back(it->second);
                if (b.seen.size() > codeLimit) {
                    b.coding = false;
                    b.seen = {};
                    col.codes = {};
                }
            }
        }
    }
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        Building& b = built[i];
        detail::TextColumn& col = *b.column;
        if (b.coding && !col.codes.empty()) {
            col.distinct.resize(b.seen.size());
            for (auto& [text, code] : b.seen) col.distinct[code] = text;
            col.folded = {};
            col.ends = {};
        } else {
            col.codes = {};
        }
        out[wanted[i]] = std::move(b.column);
    }
    return true;
}

}  // namespace

struct RowSet::Impl {
    Table table;
    std::string name;
    std::vector<Column> fields;
    std::vector<std::size_t> fieldColumns;  // position in table.columns() of each field
    bool filtered = false;
    std::vector<std::uint32_t> matches;  // scan ordinals of the rows that satisfy the condition
    std::size_t count = 0;
    // The reading position for row().
    std::optional<Cursor> reader;
    std::uint64_t readerOrdinal = 0;  // ordinal of the row the reader stands on; valid if started
    bool readerStarted = false;
    // Rows read lately, by result index. A grid that scrolls backwards asks for rows behind the
    // reader; rather than restart the scan for each of them, a restart reads the kWindow rows up
    // to the one asked for and keeps them.
    static constexpr std::size_t kWindow = 128;
    std::map<std::size_t, std::vector<Value>> recent;

    std::uint64_t ordinal(std::size_t index) const { return filtered ? matches[index] : index; }
    // Moves the reader onto scan ordinal `target`, restarting the scan when it lies behind.
    void moveTo(std::uint64_t target) {
        if (!reader || !readerStarted || readerOrdinal > target) {
            reader.emplace(table.cursor());
            readerStarted = false;
        }
        while (!readerStarted || readerOrdinal < target) {
            if (!reader->next()) {
                // The table lost rows since the keyset was taken.
                reader.reset();
                throw makeError(Failure::NoCurrentRecord);
            }
            if (readerStarted) {
                ++readerOrdinal;
            } else {
                readerStarted = true;
                readerOrdinal = 0;
            }
        }
    }
    std::vector<Value> current() const {
        std::vector<Value> values;
        values.reserve(fieldColumns.size());
        for (const std::size_t c : fieldColumns) values.push_back(reader->value(c));
        return values;
    }

    explicit Impl(Table t) : table(std::move(t)) {}
};

RowSet::RowSet(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
RowSet::RowSet(RowSet&&) noexcept = default;
RowSet& RowSet::operator=(RowSet&&) noexcept = default;
RowSet::~RowSet() = default;

RowSet RowSet::open(const Database& db, std::string_view sql) {
    Statement statement = parse(sql);
    if (const auto* drop = std::get_if<DropTableStatement>(&statement)) {
        if (!db.hasTable(drop->table)) throw makeError(Failure::TableDoesNotExist, drop->table);
        throw makeError(Failure::NotSupported, "DROP TABLE");
    }
    const auto& st = std::get<SelectStatement>(statement);
    if (!db.hasTable(st.table)) throw makeError(Failure::NoSuchTable, st.table);
    std::unique_ptr<Impl> impl;
    try {
        impl = std::make_unique<Impl>(db.openTable(st.table));
    } catch (const Error& e) {
        throw throughProvider(e);
    }
    impl->name = impl->table.name();
    const auto& columns = impl->table.columns();
    if (st.columns.empty()) {
        impl->fields = columns;
        for (std::size_t i = 0; i < columns.size(); ++i) impl->fieldColumns.push_back(i);
    } else {
        for (const auto& name : st.columns) {
            const int index = impl->table.findColumn(name);
            if (index < 0) throw makeError(Failure::MissingParameter);
            impl->fieldColumns.push_back(static_cast<std::size_t>(index));
            impl->fields.push_back(columns[static_cast<std::size_t>(index)]);
        }
    }

    NodePtr condition;
    if (st.where) condition = Compiler(impl->table, st).compile(*st.where);

    try {
        const std::uint32_t page = impl->table.definitionPage();
        const std::optional<detail::FileStamp> stamp = detail::stampOf(db.path());
        auto& cache = detail::ColumnCache::instance();
        std::vector<std::size_t> likeColumns;
        if (!condition) {
            if (const auto cached = stamp ? cache.findRowCount(*stamp, page) : std::nullopt) {
                impl->count = *cached;
                return RowSet(std::move(impl));
            }
            Cursor cursor = impl->table.cursor();
            std::size_t n = 0;
            while (cursor.next()) ++n;
            impl->count = n;
            if (stamp && detail::settled(*stamp) && detail::stampOf(db.path()) == stamp)
                cache.storeRowCount(*stamp, page, n);
            return RowSet(std::move(impl));
        }
        impl->filtered = true;
        if (stamp && likeOnly(*condition, likeColumns) && !likeColumns.empty()) {
            CachedColumns data(columns.size());
            std::vector<std::size_t> missing;
            for (const std::size_t c : likeColumns) {
                if (data[c]) continue;
                data[c] = cache.findColumn(*stamp, page, columns[c].name);
                if (!data[c] && std::find(missing.begin(), missing.end(), c) == missing.end())
                    missing.push_back(c);
            }
            bool ready = missing.empty();
            if (!ready && buildColumns(impl->table, missing, data)) {
                ready = true;
                if (detail::settled(*stamp) && detail::stampOf(db.path()) == stamp) {
                    for (const std::size_t c : missing) cache.storeColumn(*stamp, page, columns[c].name, data[c]);
                }
            }
            std::size_t rows = ready ? data[likeColumns[0]]->rows() : 0;
            for (const std::size_t c : likeColumns) ready = ready && data[c]->rows() == rows;
            if (ready) {
                const std::vector<std::uint8_t> result = testAllCached(*condition, rows, data, nullptr);
                for (std::size_t r = 0; r < rows; ++r)
                    if (result[r] == 1) impl->matches.push_back(static_cast<std::uint32_t>(r));
                impl->count = impl->matches.size();
                return RowSet(std::move(impl));
            }
        }
        {
            Cursor cursor = impl->table.cursor();
            impl->filtered = true;
            Evaluator eval(cursor, columns);
            std::uint32_t ordinal = 0;
            while (cursor.next()) {
                if (eval.test(*condition) == Tri::True) impl->matches.push_back(ordinal);
                ++ordinal;
            }
            impl->count = impl->matches.size();
        }
    } catch (const Error& e) {
        if (e.number() < 0 || e.number() == 3704) throw;
        throw throughProvider(e);
    }
    return RowSet(std::move(impl));
}

const std::vector<Column>& RowSet::fields() const noexcept { return impl_->fields; }
std::size_t RowSet::recordCount() const noexcept { return impl_->count; }
const std::string& RowSet::tableName() const noexcept { return impl_->name; }

std::vector<Value> RowSet::row(std::size_t index) {
    Impl& d = *impl_;
    if (index >= d.count) throw makeError(Failure::NoCurrentRecord);
    if (const auto kept = d.recent.find(index); kept != d.recent.end()) return kept->second;
    try {
        const std::uint64_t target = d.ordinal(index);
        std::size_t from = index;
        if (d.readerStarted && d.reader && d.readerOrdinal > target)
            from = index >= Impl::kWindow - 1 ? index - (Impl::kWindow - 1) : 0;
        // Keep only rows near the one asked for.
        for (auto it = d.recent.begin(); it != d.recent.end();) {
            const std::size_t k = it->first;
            const bool near = k + 2 * Impl::kWindow >= index && k <= index + 2 * Impl::kWindow;
            it = near ? std::next(it) : d.recent.erase(it);
        }
        for (std::size_t k = from; k <= index; ++k) {
            d.moveTo(d.ordinal(k));
            d.recent[k] = d.current();
        }
        return d.recent[index];
    } catch (const Error& e) {
        if (e.number() < 0 || e.number() == 3021) throw;
        throw throughProvider(e);
    }
}

}  // namespace jet::sql
