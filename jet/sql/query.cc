#include "jet/sql/query.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "jet/format.h"
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
        case ColumnType::Boolean:
            return Type::Boolean;
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long:
        case ColumnType::Currency:
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::Decimal:
            return Type::Number;
        case ColumnType::DateTime:
            return Type::Date;
        case ColumnType::Text:
        case ColumnType::Memo:
        case ColumnType::GUID:
            return Type::Text;
        default:
            return Type::Binary;
    }
}

enum class Tri { False, True, Null };

Tri notTri(Tri t) {
    return t == Tri::Null ? Tri::Null : (t == Tri::True ? Tri::False : Tri::True);
}

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

// Orders two non-Null values of comparable types: text without regard to case, binary by its
// bytes, everything else by number. -1, 0 or 1.
int compareScalars(const Scalar& a, const Scalar& b) {
    int c;
    if (a.type == Type::Text || a.type == Type::Binary) {
        c = a.type == Type::Text ? compareText(a.text, b.text) : a.text.compare(b.text);
    } else {
        c = a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
    }
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

// The compiled condition: a tree whose column references are positions in the table's columns.
struct Node {
    enum class Op {
        Const,
        Column,
        Not,
        And,
        Or,
        Compare,
        Like,
        IsNull,
        Negate,
        Upper,
        Lower,
        In,
        Between,
        Aggregate
    } op;
    Type type = Type::Null;
    CompareOp compare = CompareOp::Eq;
    bool negated = false;
    std::size_t column = 0;
    Scalar constant;
    std::unique_ptr<LikePattern> pattern;  // LIKE with a constant pattern
    std::vector<std::unique_ptr<Node>> kids;
    AggregateFn aggregate = AggregateFn::Count;  // Aggregate: kids[0] is the argument (none for COUNT(*))
    std::size_t slot = 0;                        // Aggregate: its place among the statement's aggregates
};
using NodePtr = std::unique_ptr<Node>;

bool sameName(std::string_view a, std::string_view b) {
    return compareText(a, b) == 0;
}

bool numericType(Type t) {
    return t == Type::Number || t == Type::Boolean || t == Type::Date;
}

// Can values of these types be compared (=, <, IN, BETWEEN)? Otherwise Jet reports a type mismatch.
bool comparable(Type a, Type b) {
    return a == Type::Null || b == Type::Null || (numericType(a) && numericType(b)) ||
           (a == Type::Text && b == Type::Text) || (a == Type::Binary && b == Type::Binary);
}

class Compiler {
  public:
    // Where the expression stands decides whether aggregates may appear in it: the select list
    // and ORDER BY collect them (aggregates() lists them in order); WHERE and GROUP BY refuse
    // them with Jet's texts.
    enum class Place { Where, GroupBy, Select };

    Compiler(const Table& table, const SelectStatement& st) : table_(table), st_(st) {}

    NodePtr compile(const Expr& e, Place place = Place::Where, std::string_view text = {}) {
        place_ = place;
        text_ = text;
        return visit(e);
    }

    const std::vector<const Node*>& aggregates() const noexcept { return aggregates_; }

  private:
    NodePtr visit(const Expr& e) {
        return std::visit([&](const auto& n) { return build(n); }, e.node);
    }

    static NodePtr node(Node::Op op, Type type) {
        auto n = std::make_unique<Node>();
        n->op = op;
        n->type = type;
        return n;
    }

    NodePtr build(const Literal& lit) {
        switch (lit.kind) {
            case Literal::Kind::Null:
                return node(Node::Op::Const, Type::Null);
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
        n->kids.push_back(visit(*x.operand));
        requireLogical(*n->kids[0]);
        return n;
    }

    NodePtr build(const Logical& x) {
        auto n = node(x.isAnd ? Node::Op::And : Node::Op::Or, Type::Boolean);
        n->kids.push_back(visit(*x.left));
        n->kids.push_back(visit(*x.right));
        requireLogical(*n->kids[0]);
        requireLogical(*n->kids[1]);
        return n;
    }

    NodePtr build(const Compare& x) {
        auto n = node(Node::Op::Compare, Type::Boolean);
        n->compare = x.op;
        n->kids.push_back(visit(*x.left));
        n->kids.push_back(visit(*x.right));
        if (!comparable(n->kids[0]->type, n->kids[1]->type)) throw makeError(Failure::TypeMismatch);
        return n;
    }

    NodePtr build(const Like& x) {
        auto n = node(Node::Op::Like, Type::Boolean);
        n->negated = x.negated;
        n->kids.push_back(visit(*x.subject));
        n->kids.push_back(visit(*x.pattern));
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
        n->kids.push_back(visit(*x.operand));
        return n;
    }

    NodePtr build(const Negate& x) {
        auto n = node(Node::Op::Negate, Type::Number);
        n->kids.push_back(visit(*x.operand));
        const Type t = n->kids[0]->type;
        if (t == Type::Text || t == Type::Binary) throw makeError(Failure::TypeMismatch);
        if (t == Type::Date) n->type = Type::Date;
        return n;
    }

    NodePtr build(const Call& x) {
        auto n = node(x.name == "LCASE" ? Node::Op::Lower : Node::Op::Upper, Type::Text);
        n->kids.push_back(visit(*x.args.at(0)));
        return n;
    }

    NodePtr build(const InList& x) {
        auto n = node(Node::Op::In, Type::Boolean);
        n->negated = x.negated;
        n->kids.push_back(visit(*x.subject));
        for (const auto& item : x.items) {
            n->kids.push_back(visit(*item));
            if (!comparable(n->kids[0]->type, n->kids.back()->type)) throw makeError(Failure::TypeMismatch);
        }
        return n;
    }

    NodePtr build(const Between& x) {
        auto n = node(Node::Op::Between, Type::Boolean);
        n->negated = x.negated;
        n->kids.push_back(visit(*x.subject));
        n->kids.push_back(visit(*x.low));
        n->kids.push_back(visit(*x.high));
        for (std::size_t k = 1; k < 3; ++k)
            if (!comparable(n->kids[0]->type, n->kids[k]->type)) throw makeError(Failure::TypeMismatch);
        return n;
    }

    NodePtr build(const Aggregate& x) {
        if (place_ == Place::Where) throw makeError(Failure::AggregateInWhere, st_.whereText);
        if (place_ == Place::GroupBy) throw makeError(Failure::AggregateInGroupBy, text_);
        if (insideAggregate_) throw makeError(Failure::NestedAggregate, text_);
        auto n = node(Node::Op::Aggregate, Type::Number);
        n->aggregate = x.fn;
        if (x.arg) {
            insideAggregate_ = true;
            n->kids.push_back(visit(*x.arg));
            insideAggregate_ = false;
            const Type t = n->kids[0]->type;
            if ((x.fn == AggregateFn::Sum || x.fn == AggregateFn::Avg) &&
                (t == Type::Text || t == Type::Binary))
                throw makeError(Failure::TypeMismatch);
            if (x.fn == AggregateFn::Min || x.fn == AggregateFn::Max) n->type = t;
        }
        n->slot = aggregates_.size();
        aggregates_.push_back(n.get());
        return n;
    }

    const Table& table_;
    const SelectStatement& st_;
    Place place_ = Place::Where;
    std::string_view text_;
    bool insideAggregate_ = false;
    std::vector<const Node*> aggregates_;
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
            case Node::Op::Not:
                return notTri(test(*n.kids[0]));
            case Node::Op::Like:
                return like(n);
            case Node::Op::IsNull: {
                const bool isNull = value(*n.kids[0]).type == Type::Null;
                return (isNull != n.negated) ? Tri::True : Tri::False;
            }
            case Node::Op::Compare:
                return compare(n);
            case Node::Op::In:
                return in(n);
            case Node::Op::Between:
                return between(n);
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
            if (col->op == Node::Op::Column && col->type == Type::Text && columnIsPlainText(col->column)) {
                std::string_view data;
                const Cursor::Stored stored = cursor_.stored(col->column, data);
                if (stored != Cursor::Stored::Other) {
                    const bool wide = stored == Cursor::Stored::Utf16;
                    const std::size_t count = wide ? data.size() / 2 : data.size();
                    if (folded_.size() < count) folded_.resize(std::max(count, 2 * folded_.size()));
                    if (wide ? upperAsciiUtf16(data, folded_.data()) : upperAsciiBytes(data, folded_.data()))
                        return n.pattern->matchesFolded(std::string_view(folded_.data(), count)) != n.negated
                                   ? Tri::True
                                   : Tri::False;
                }
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

    Tri in(const Node& n) {
        const Scalar a = value(*n.kids[0]);
        if (a.type == Type::Null) return Tri::Null;
        bool unknown = false;
        for (std::size_t k = 1; k < n.kids.size(); ++k) {
            const Scalar b = value(*n.kids[k]);
            if (b.type == Type::Null) {
                unknown = true;
            } else if (compareScalars(a, b) == 0) {
                return n.negated ? Tri::False : Tri::True;
            }
        }
        if (unknown) return Tri::Null;
        return n.negated ? Tri::True : Tri::False;
    }

    Tri between(const Node& n) {
        const Scalar a = value(*n.kids[0]);
        if (a.type == Type::Null) return Tri::Null;
        const Scalar low = value(*n.kids[1]), high = value(*n.kids[2]);
        const Tri aboveLow =
            low.type == Type::Null ? Tri::Null : (compareScalars(a, low) >= 0 ? Tri::True : Tri::False);
        const Tri belowHigh =
            high.type == Type::Null ? Tri::Null : (compareScalars(a, high) <= 0 ? Tri::True : Tri::False);
        Tri r;
        if (aboveLow == Tri::False || belowHigh == Tri::False)
            r = Tri::False;
        else if (aboveLow == Tri::Null || belowHigh == Tri::Null)
            r = Tri::Null;
        else
            r = Tri::True;
        return n.negated ? notTri(r) : r;
    }

    Tri compare(const Node& n) {
        const Scalar a = value(*n.kids[0]);
        if (a.type == Type::Null) return Tri::Null;
        const Scalar b = value(*n.kids[1]);
        if (b.type == Type::Null) return Tri::Null;
        const int c = compareScalars(a, b);
        bool r = false;
        switch (n.compare) {
            case CompareOp::Eq:
                r = c == 0;
                break;
            case CompareOp::Ne:
                r = c != 0;
                break;
            case CompareOp::Lt:
                r = c < 0;
                break;
            case CompareOp::Gt:
                r = c > 0;
                break;
            case CompareOp::Le:
                r = c <= 0;
                break;
            case CompareOp::Ge:
                r = c >= 0;
                break;
        }
        return r ? Tri::True : Tri::False;
    }

  public:
    static std::string asText(const Scalar& s) {
        switch (s.type) {
            case Type::Text:
            case Type::Binary:
                return s.text;
            case Type::Boolean:
                return s.number != 0 ? "-1" : "0";
            case Type::Date:
                return formatGeneralDate(DateTime{s.number});
            case Type::Number:
                return numberText(s.number);
            case Type::Null:
                break;
        }
        return {};
    }

  private:
    bool columnIsPlainText(std::size_t column) const {
        const ColumnType t = cursorColumnType(column);
        return t == ColumnType::Text || t == ColumnType::Memo;
    }

    ColumnType cursorColumnType(std::size_t column) const {
        return column < types_.size() ? types_[column] : ColumnType::Unknown;
    }

  public:
    Scalar value(const Node& n) {
        switch (n.op) {
            case Node::Op::Const:
                return n.constant;
            case Node::Op::Aggregate:
                return {};  // aggregates are computed per group, not per row
            case Node::Op::Column: {
                if (cursor_.isNull(n.column)) return {};
                const ColumnType t = cursorColumnType(n.column);
                if (t == ColumnType::Text || t == ColumnType::Memo)
                    return Scalar{Type::Text, 0, std::string(cursor_.text(n.column))};
                const Value v = cursor_.value(n.column);
                switch (n.type) {
                    case Type::Text:
                        return Scalar{Type::Text, 0, toText(v)};
                    case Type::Binary:
                        return Scalar{Type::Binary, 0, toText(v)};
                    default:
                        return Scalar{n.type, numberOf(v), {}};
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
                for (const char32_t candidate : {c + 0x20, c + 0x50, c + 0x30, c + 1, c + 2, c + 8, c + 0x25,
                                                 c + 0x3F, c + 0x10, c + 0x1A}) {
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
        case Node::Op::Const:
            return n.type != Type::Text && n.type != Type::Binary;
        default:
            return false;
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
                        o[r] =
                            static_cast<std::uint8_t>(w[r] & static_cast<std::uint8_t>(left[r] != settled));
                } else {
                    for (std::size_t r = 0; r < rows; ++r)
                        o[r] = static_cast<std::uint8_t>(left[r] != settled);
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
                    verdict[d] =
                        (literal.empty() ? n.pattern->matchesFolded(v) : v.find(literal) != std::string::npos)
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
                    found =
                        std::string_view(text + begin, end - begin).find(literal) != std::string_view::npos;
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
            return std::vector<std::uint8_t>(rows,
                                             n.type == Type::Null ? U : (n.constant.number != 0 ? T : F));
        default:
            return std::vector<std::uint8_t>(rows, U);  // excluded by likeOnly
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
                if (t == ColumnType::Text || t == ColumnType::Memo)
                    appendUpper(value, cursor.text(c));
                else
                    appendUpper(value, toText(cursor.value(c)));
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

// A result field's Jet type for an expression of type `t`.
ColumnType fieldType(Type t) {
    switch (t) {
        case Type::Boolean:
            return ColumnType::Boolean;
        case Type::Number:
            return ColumnType::Double;
        case Type::Date:
            return ColumnType::DateTime;
        case Type::Binary:
            return ColumnType::Binary;
        case Type::Text:
        case Type::Null:
            break;
    }
    return ColumnType::Text;
}

// The defined size of a result field: a Yes/No field reports one byte and a computed text 255
// characters of two bytes each.
std::uint16_t fieldSize(ColumnType t) {
    if (t == ColumnType::Boolean) return 1;
    if (t == ColumnType::Text) return 510;
    return jet::detail::fixedValueSize(t);
}

// The value a result field of type `type` holds for `s`.
Value toValue(const Scalar& s, ColumnType type) {
    if (s.type == Type::Null) return Value(type, std::monostate{});
    switch (type) {
        case ColumnType::Boolean:
            return Value(type, s.number != 0);
        case ColumnType::Byte:
            return Value(type, static_cast<std::uint8_t>(s.number));
        case ColumnType::Integer:
            return Value(type, static_cast<std::int16_t>(s.number));
        case ColumnType::Long:
            return Value(type, static_cast<std::int32_t>(s.number));
        case ColumnType::Currency:
            return Value(type, Currency{std::llround(s.number * 10000.0)});
        case ColumnType::Single:
            return Value(type, static_cast<float>(s.number));
        case ColumnType::DateTime:
            return Value(type, DateTime{s.number});
        case ColumnType::Text:
        case ColumnType::Memo:
            return Value(type, s.type == Type::Text ? s.text : Evaluator::asText(s));
        case ColumnType::Binary:
            return Value(type, Bytes(s.text.begin(), s.text.end()));
        default:
            break;
    }
    return Value(ColumnType::Double, s.number);
}

// One value of an ORDER BY, GROUP BY or DISTINCT key as it sorts and groups: Null first, text
// by its upper case (byte order of upper-cased UTF-8 is code point order), the rest by number.
struct SortKey {
    std::vector<std::uint8_t> nulls;
    std::vector<double> numbers;
    std::vector<std::string> texts;  // folded text (Text) or bytes (Binary)
    bool descending = false;

    void push(const Scalar& s) {
        nulls.push_back(s.type == Type::Null ? 1 : 0);
        numbers.push_back(s.type == Type::Null ? 0.0 : s.number);
        if (s.type == Type::Text)
            texts.push_back(upper(s.text));
        else if (s.type == Type::Binary)
            texts.push_back(s.text);
        else
            texts.emplace_back();
    }
    int compare(std::size_t a, std::size_t b) const {
        int c;
        if (nulls[a] || nulls[b]) {
            c = nulls[a] == nulls[b] ? 0 : (nulls[a] ? -1 : 1);
        } else if (numbers[a] != numbers[b]) {
            c = numbers[a] < numbers[b] ? -1 : 1;
        } else {
            c = texts[a].compare(texts[b]);
            c = c < 0 ? -1 : (c > 0 ? 1 : 0);
        }
        return descending ? -c : c;
    }
};

// Positions 0..rows-1 in the order the keys give, ties kept in their original order.
std::vector<std::uint32_t> sortedPositions(const std::vector<SortKey>& keys, std::size_t rows) {
    std::vector<std::uint32_t> order(rows);
    for (std::size_t i = 0; i < rows; ++i) order[i] = static_cast<std::uint32_t>(i);
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        for (const auto& k : keys) {
            const int c = k.compare(a, b);
            if (c) return c < 0;
        }
        return false;
    });
    return order;
}

bool sameKeys(const std::vector<SortKey>& keys, std::size_t a, std::size_t b) {
    for (const auto& k : keys)
        if (k.compare(a, b) != 0) return false;
    return true;
}

// How many of `rows` ordered rows TOP keeps: n, or n percent rounded up; with ORDER BY, rows
// that tie with the last one kept are kept too, as Jet does.
std::size_t topCount(const SelectStatement& st, std::size_t rows, const std::vector<SortKey>* keys,
                     const std::vector<std::uint32_t>* order) {
    if (!st.top) return rows;
    std::uint64_t n = *st.top;
    if (st.topPercent) n = (static_cast<std::uint64_t>(rows) * n + 99) / 100;
    if (n >= rows) return rows;
    std::size_t keep = static_cast<std::size_t>(n);
    if (keys && order && !keys->empty() && keep > 0) {
        while (keep < rows && sameKeys(*keys, (*order)[keep - 1], (*order)[keep])) ++keep;
    }
    return keep;
}

// Appends `s` to a grouping key: equal keys for values Jet puts in one group (text without
// regard to case).
void appendGroupKey(std::string& key, const Scalar& s) {
    key.push_back(static_cast<char>(
        s.type == Type::Null ? 0 : (s.type == Type::Text || s.type == Type::Binary ? 1 : 2)));
    if (s.type == Type::Null) return;
    if (s.type == Type::Text || s.type == Type::Binary) {
        const std::string text = s.type == Type::Text ? upper(s.text) : s.text;
        const auto size = static_cast<std::uint32_t>(text.size());
        key.append(reinterpret_cast<const char*>(&size), sizeof size);
        key += text;
        return;
    }
    const double d = s.number == 0 ? 0.0 : s.number;  // -0 and 0 are one value
    key.append(reinterpret_cast<const char*>(&d), sizeof d);
}

// Running state of one aggregate over one group.
struct AggregateState {
    std::int64_t count = 0;
    double sum = 0;
    std::int64_t currencySum = 0;
    bool any = false;
    Scalar best;
    Value bestValue;
};

bool containsAggregate(const Node& n) {
    if (n.op == Node::Op::Aggregate) return true;
    for (const auto& k : n.kids)
        if (containsAggregate(*k)) return true;
    return false;
}

void columnsOf(const Node& n, std::vector<std::size_t>& out) {
    if (n.op == Node::Op::Column) out.push_back(n.column);
    for (const auto& k : n.kids) columnsOf(*k, out);
}

}  // namespace

struct RowSet::Impl {
    Table table;
    std::string name;
    std::vector<Column> fields;
    // Rows of the table: field k is column fieldColumns[k] of the table, or when that is kNone
    // the expression fieldExprs[k] evaluated on the row.
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::vector<std::size_t> fieldColumns;
    std::vector<NodePtr> fieldExprs;
    bool plainFields = true;
    bool streamed = false;  // the rows went to a RowSink during open
    // Result row i is scan ordinal keyset[i]; without a keyset, result row i is scan ordinal i.
    bool keyed = false;
    std::vector<std::uint32_t> keyset;
    // Or, for rows found by a scan of their own, where each result row lives.
    bool byRowId = false;
    std::vector<RowId> rowIds;
    std::size_t count = 0;
    // Computed rows (GROUP BY, aggregates, DISTINCT) are kept whole.
    bool computed = false;
    std::vector<std::vector<Value>> rows;

    // Reading: the data pages and live row counts (found on first need), and a cursor that
    // stands on scan ordinal readerOrdinal when onRow.
    std::shared_ptr<const RowDirectory> directory;
    // The file's state when the result was made and its name: the directory is shared through
    // the column cache by every result on the same state of the file, so that a grid that reads
    // a new result after each key stroke does not read the table's pages again.
    std::optional<detail::FileStamp> stamp;
    std::string path;
    std::optional<Cursor> reader;
    std::unique_ptr<Evaluator> eval;
    bool onRow = false;
    std::uint64_t readerOrdinal = 0;

    std::size_t readerIndex = 0;  // byRowId: the result row the reader stands on when onRow

    std::uint64_t ordinal(std::size_t index) const { return keyed ? keyset[index] : index; }

    const RowDirectory& rowDirectory() {
        if (directory) return *directory;
        auto& cache = detail::ColumnCache::instance();
        const std::uint32_t page = table.definitionPage();
        if (stamp) directory = cache.findRowDirectory(*stamp, page);
        if (!directory) {
            directory = std::make_shared<const RowDirectory>(table.rowDirectory());
            if (stamp && detail::settled(*stamp) && detail::stampOf(path) == stamp)
                cache.storeRowDirectory(*stamp, page, directory);
        }
        return *directory;
    }

    void makeReader() {
        if (reader) return;
        reader.emplace(table.cursor());
        eval = std::make_unique<Evaluator>(*reader, table.columns());
    }

    // Puts the reader on result row `index`.
    void moveToRow(std::size_t index) {
        if (!byRowId) return moveTo(ordinal(index));
        makeReader();
        if (onRow && readerIndex == index) return;
        onRow = false;
        // A row that has gone since the statement was opened.
        if (!reader->seek(rowIds[index])) throw makeError(Failure::NoCurrentRecord);
        readerIndex = index;
        onRow = true;
    }

    // Puts the reader on scan ordinal `target`: the next row when it is the one after the
    // current, otherwise straight onto its page, so the cost does not depend on the distance.
    void moveTo(std::uint64_t target) {
        makeReader();
        if (onRow && target == readerOrdinal) return;
        if (onRow && target == readerOrdinal + 1) {
            onRow = false;
            if (!reader->next()) throw makeError(Failure::NoCurrentRecord);
            readerOrdinal = target;
            onRow = true;
            return;
        }
        onRow = false;
        const RowDirectory& dir = rowDirectory();
        const auto& first = dir.firstOrdinal;
        if (target >= dir.rowCount()) throw makeError(Failure::NoCurrentRecord);
        const auto p =
            static_cast<std::size_t>(std::upper_bound(first.begin(), first.end(), target) - first.begin()) -
            1;
        // A row that has gone since the keyset was taken.
        if (!reader->seek(dir.pages[p], static_cast<std::uint32_t>(target - first[p])))
            throw makeError(Failure::NoCurrentRecord);
        readerOrdinal = target;
        onRow = true;
    }

    std::vector<Value> current() const {
        std::vector<Value> values;
        values.reserve(fieldColumns.size());
        for (std::size_t k = 0; k < fieldColumns.size(); ++k) {
            if (fieldColumns[k] != kNone)
                values.push_back(reader->value(fieldColumns[k]));
            else
                values.push_back(toValue(eval->value(*fieldExprs[k]), fields[k].type));
        }
        return values;
    }

    explicit Impl(Table t) : table(std::move(t)) {}
};

namespace {

// The result fields of the select list, and what each holds.
struct SelectPlan {
    struct Item {
        NodePtr node;
        std::size_t column = RowSet::npos;  // table column for * and plain column references
        Column field;
        std::string text;
        bool aggregate = false;  // the item is one aggregate
    };
    std::vector<Item> items;
    std::vector<NodePtr> groupBy;
    std::vector<NodePtr> orderBy;
    std::vector<const Node*> aggregates;
    bool star = false;
};

SelectPlan plan(const Table& table, const SelectStatement& st, NodePtr& condition) {
    SelectPlan plan;
    Compiler compiler(table, st);
    if (st.where) condition = compiler.compile(*st.where, Compiler::Place::Where);
    for (const auto& key : st.groupBy)
        plan.groupBy.push_back(compiler.compile(*key.expr, Compiler::Place::GroupBy, key.text));
    const auto& columns = table.columns();
    for (const auto& item : st.items) {
        if (!item.expr) {
            if (!item.starOf.empty() && !sameName(item.starOf, st.table) &&
                !(st.alias.size() && sameName(item.starOf, st.alias)))
                throw makeError(Failure::MissingParameter);
            plan.star = true;
            for (std::size_t c = 0; c < columns.size(); ++c) {
                SelectPlan::Item it;
                it.node = std::make_unique<Node>();
                it.node->op = Node::Op::Column;
                it.node->type = columnType(columns[c].type);
                it.node->column = c;
                it.column = c;
                it.field = columns[c];
                it.text = columns[c].name;
                plan.items.push_back(std::move(it));
            }
            continue;
        }
        SelectPlan::Item it;
        it.node = compiler.compile(*item.expr, Compiler::Place::Select, item.text);
        it.text = item.text;
        const Node& n = *it.node;
        if (n.op == Node::Op::Column) {
            it.column = n.column;
            it.field = columns[n.column];
        } else if (n.op == Node::Op::Aggregate) {
            it.aggregate = true;
            const Node* arg = n.kids.empty() ? nullptr : n.kids[0].get();
            ColumnType type = ColumnType::Double;
            switch (n.aggregate) {
                case AggregateFn::Count:
                    type = ColumnType::Long;
                    break;
                case AggregateFn::Min:
                case AggregateFn::Max:
                    type = arg && arg->op == Node::Op::Column ? columns[arg->column].type : fieldType(n.type);
                    break;
                case AggregateFn::Sum:
                    type = arg && arg->op == Node::Op::Column &&
                                   columns[arg->column].type == ColumnType::Currency
                               ? ColumnType::Currency
                               : ColumnType::Double;
                    break;
                case AggregateFn::Avg:
                    type = ColumnType::Double;
                    break;
            }
            const bool ownColumn = (n.aggregate == AggregateFn::Min || n.aggregate == AggregateFn::Max) &&
                                   arg && arg->op == Node::Op::Column;
            if (ownColumn) {
                it.field = columns[arg->column];  // MIN and MAX keep the column's type and size
            } else {
                it.field.type = type;
                it.field.size = fieldSize(type);
            }
        } else {
            if (containsAggregate(n))
                throw makeError(Failure::NotSupported, "an aggregate inside an expression");
            it.field.type = fieldType(n.type);
            it.field.size = fieldSize(it.field.type);
        }
        if (!item.alias.empty()) {
            it.field.name = item.alias;
        } else if (n.op != Node::Op::Column) {
            it.field.name = "Expr" + std::to_string(1000 + plan.items.size());
        }
        plan.items.push_back(std::move(it));
    }
    for (const auto& key : st.orderBy) {
        plan.orderBy.push_back(compiler.compile(*key.expr, Compiler::Place::Select, key.text));
        const Node& n = *plan.orderBy.back();
        if (n.op != Node::Op::Aggregate && containsAggregate(n))
            throw makeError(Failure::NotSupported, "an aggregate inside an expression");
    }
    plan.aggregates = compiler.aggregates();
    return plan;
}

// Grouped results: one row per group (one row in all without GROUP BY), ordered by ORDER BY or
// else by the group keys.
void runGrouped(RowSet::Impl& d, const SelectStatement& st, const SelectPlan& plan, const Node* condition) {
    const auto& columns = d.table.columns();
    if (plan.star) throw makeError(Failure::GroupOnStar, st.table);
    // What may stand outside an aggregate: a grouped column or an expression written as grouped.
    std::vector<std::size_t> grouped;
    for (const auto& g : plan.groupBy)
        if (g->op == Node::Op::Column) grouped.push_back(g->column);
    auto isGrouped = [&](const Node& n, const std::string& text) {
        for (const auto& key : st.groupBy)
            if (sameName(key.text, text)) return true;
        std::vector<std::size_t> used;
        columnsOf(n, used);
        for (const std::size_t c : used)
            if (std::find(grouped.begin(), grouped.end(), c) == grouped.end()) return false;
        return true;
    };
    for (const auto& it : plan.items)
        if (!it.aggregate && !isGrouped(*it.node, it.text)) throw makeError(Failure::NotInAggregate, it.text);
    for (std::size_t k = 0; k < plan.orderBy.size(); ++k) {
        const Node& n = *plan.orderBy[k];
        if (n.op != Node::Op::Aggregate && !isGrouped(n, st.orderBy[k].text))
            throw makeError(Failure::NotInAggregate, st.orderBy[k].text);
    }

    struct Group {
        std::vector<Scalar> keys;
        std::vector<Value> plain;        // non-aggregate items, from the group's first row
        std::vector<Scalar> plainOrder;  // non-aggregate ORDER BY keys, from the first row
        std::vector<AggregateState> aggregates;
        bool filled = false;  // plain values taken from the first row
    };
    std::vector<Group> groups;
    std::unordered_map<std::string, std::size_t> index;
    Cursor cursor = d.table.cursor();
    Evaluator eval(cursor, columns);
    auto newGroup = [&](std::vector<Scalar> keys) {
        Group g;
        g.keys = std::move(keys);
        g.aggregates.resize(plan.aggregates.size());
        groups.push_back(std::move(g));
        return groups.size() - 1;
    };
    if (plan.groupBy.empty()) newGroup({});
    std::string key;
    while (cursor.next()) {
        if (condition && eval.test(*condition) != Tri::True) continue;
        std::size_t g = 0;
        if (!plan.groupBy.empty()) {
            std::vector<Scalar> keys;
            key.clear();
            for (const auto& n : plan.groupBy) {
                keys.push_back(eval.value(*n));
                appendGroupKey(key, keys.back());
            }
            const auto [it, added] = index.try_emplace(key, groups.size());
            if (added) newGroup(std::move(keys));
            g = it->second;
        }
        Group& group = groups[g];
        if (!group.filled) {
            group.filled = true;
            for (const auto& it : plan.items)
                if (!it.aggregate)
                    group.plain.push_back(it.column != RowSet::npos
                                              ? cursor.value(it.column)
                                              : toValue(eval.value(*it.node), it.field.type));
            for (const auto& n : plan.orderBy)
                if (n->op != Node::Op::Aggregate) group.plainOrder.push_back(eval.value(*n));
        }
        for (std::size_t a = 0; a < plan.aggregates.size(); ++a) {
            const Node& agg = *plan.aggregates[a];
            AggregateState& state = group.aggregates[a];
            if (agg.kids.empty()) {
                ++state.count;
                continue;
            }
            const Node& arg = *agg.kids[0];
            const Scalar v = eval.value(arg);
            if (v.type == Type::Null) continue;
            ++state.count;
            switch (agg.aggregate) {
                case AggregateFn::Count:
                    break;
                case AggregateFn::Sum:
                case AggregateFn::Avg:
                    if (arg.op == Node::Op::Column && columns[arg.column].type == ColumnType::Currency)
                        state.currencySum += cursor.value(arg.column).get<Currency>().scaled;
                    state.sum += v.number;
                    break;
                case AggregateFn::Min:
                case AggregateFn::Max: {
                    const int c = state.any ? compareScalars(v, state.best) : 0;
                    if (!state.any || (agg.aggregate == AggregateFn::Min ? c < 0 : c > 0)) {
                        state.best = v;
                        state.bestValue = arg.op == Node::Op::Column ? cursor.value(arg.column) : Value();
                    }
                    break;
                }
            }
            state.any = true;
        }
    }
    // A grouped statement over no rows has no groups; an aggregate one has its one row.
    auto finalValue = [&](const Node& agg, const AggregateState& state,
                          ColumnType type) -> std::pair<Value, Scalar> {
        switch (agg.aggregate) {
            case AggregateFn::Count: {
                const Scalar s{Type::Number, static_cast<double>(state.count), {}};
                return {Value(ColumnType::Long, static_cast<std::int32_t>(state.count)), s};
            }
            case AggregateFn::Sum: {
                if (!state.any) return {Value(type, std::monostate{}), Scalar{}};
                if (type == ColumnType::Currency) {
                    const double n = static_cast<double>(state.currencySum) / 10000.0;
                    return {Value(type, Currency{state.currencySum}), Scalar{Type::Number, n, {}}};
                }
                return {Value(ColumnType::Double, state.sum), Scalar{Type::Number, state.sum, {}}};
            }
            case AggregateFn::Avg: {
                if (!state.any) return {Value(type, std::monostate{}), Scalar{}};
                const double avg = state.sum / static_cast<double>(state.count);
                return {Value(ColumnType::Double, avg), Scalar{Type::Number, avg, {}}};
            }
            case AggregateFn::Min:
            case AggregateFn::Max:
                if (!state.any) return {Value(type, std::monostate{}), Scalar{}};
                if (!state.bestValue.isNull()) return {state.bestValue, state.best};
                return {toValue(state.best, type), state.best};
        }
        return {};
    };
    std::vector<SortKey> keys(plan.orderBy.empty() ? plan.groupBy.size() : plan.orderBy.size());
    for (std::size_t k = 0; k < st.orderBy.size(); ++k) keys[k].descending = st.orderBy[k].descending;
    std::vector<std::vector<Value>> rows;
    rows.reserve(groups.size());
    for (const Group& g : groups) {
        std::vector<Value> row;
        std::size_t plain = 0;
        for (const auto& it : plan.items) {
            if (it.aggregate)
                row.push_back(finalValue(*it.node, g.aggregates[it.node->slot], it.field.type).first);
            else
                row.push_back(g.plain.at(plain++));
        }
        if (plan.orderBy.empty()) {
            for (std::size_t k = 0; k < g.keys.size(); ++k) keys[k].push(g.keys[k]);
        } else {
            std::size_t plainKey = 0;
            for (std::size_t k = 0; k < plan.orderBy.size(); ++k) {
                const Node& n = *plan.orderBy[k];
                if (n.op == Node::Op::Aggregate)
                    keys[k].push(finalValue(n, g.aggregates[n.slot], ColumnType::Double).second);
                else
                    keys[k].push(g.plainOrder.at(plainKey++));
            }
        }
        rows.push_back(std::move(row));
    }
    const auto order = sortedPositions(keys, rows.size());
    const std::size_t keep = topCount(st, rows.size(), plan.orderBy.empty() ? nullptr : &keys, &order);
    d.rows.reserve(keep);
    for (std::size_t i = 0; i < keep; ++i) d.rows.push_back(std::move(rows[order[i]]));
}

// DISTINCT: the first row of each set of equal values (text without regard to case), ordered
// by ORDER BY or else by the values.
void runDistinct(RowSet::Impl& d, const SelectStatement& st, const SelectPlan& plan, const Node* condition) {
    const auto& columns = d.table.columns();
    // Each ORDER BY key must be one of the selected values.
    std::vector<std::size_t> orderItem;
    for (std::size_t k = 0; k < plan.orderBy.size(); ++k) {
        const Node& n = *plan.orderBy[k];
        std::size_t found = RowSet::npos;
        for (std::size_t i = 0; i < plan.items.size() && found == RowSet::npos; ++i) {
            const auto& it = plan.items[i];
            if ((n.op == Node::Op::Column && it.column == n.column) || sameName(it.text, st.orderBy[k].text))
                found = i;
        }
        if (found == RowSet::npos) throw makeError(Failure::DistinctOrderBy, st.orderBy[k].text);
        orderItem.push_back(found);
    }
    Cursor cursor = d.table.cursor();
    Evaluator eval(cursor, columns);
    std::unordered_map<std::string, std::size_t> seen;
    std::vector<std::vector<Value>> rows;
    std::vector<SortKey> keys(plan.orderBy.empty() ? plan.items.size() : plan.orderBy.size());
    for (std::size_t k = 0; k < st.orderBy.size(); ++k) keys[k].descending = st.orderBy[k].descending;
    std::string key;
    std::vector<Scalar> values(plan.items.size());
    while (cursor.next()) {
        if (condition && eval.test(*condition) != Tri::True) continue;
        key.clear();
        for (std::size_t i = 0; i < plan.items.size(); ++i) {
            const auto& it = plan.items[i];
            values[i] = eval.value(*it.node);
            appendGroupKey(key, values[i]);
        }
        if (!seen.try_emplace(key, rows.size()).second) continue;
        std::vector<Value> row;
        for (std::size_t i = 0; i < plan.items.size(); ++i) {
            const auto& it = plan.items[i];
            row.push_back(it.column != RowSet::npos ? cursor.value(it.column)
                                                    : toValue(values[i], it.field.type));
        }
        rows.push_back(std::move(row));
        if (plan.orderBy.empty()) {
            for (std::size_t i = 0; i < values.size(); ++i) keys[i].push(values[i]);
        } else {
            for (std::size_t k = 0; k < orderItem.size(); ++k) keys[k].push(values[orderItem[k]]);
        }
    }
    const auto order = sortedPositions(keys, rows.size());
    const std::size_t keep = topCount(st, rows.size(), plan.orderBy.empty() ? nullptr : &keys, &order);
    d.rows.reserve(keep);
    for (std::size_t i = 0; i < keep; ++i) d.rows.push_back(std::move(rows[order[i]]));
}

// Plain rows with ORDER BY: one scan finds the rows and their keys; the result is the rows'
// scan ordinals in key order.
void runSorted(RowSet::Impl& d, const SelectStatement& st, const SelectPlan& plan, const Node* condition) {
    Cursor cursor = d.table.cursor();
    Evaluator eval(cursor, d.table.columns());
    std::vector<SortKey> keys(plan.orderBy.size());
    for (std::size_t k = 0; k < keys.size(); ++k) keys[k].descending = st.orderBy[k].descending;
    std::vector<RowId> matches;
    while (cursor.next()) {
        if (!condition || eval.test(*condition) == Tri::True) {
            matches.push_back(cursor.rowId());
            for (std::size_t k = 0; k < keys.size(); ++k) keys[k].push(eval.value(*plan.orderBy[k]));
        }
    }
    const auto order = sortedPositions(keys, matches.size());
    const std::size_t keep = topCount(st, matches.size(), &keys, &order);
    d.byRowId = true;
    d.rowIds.resize(keep);
    for (std::size_t i = 0; i < keep; ++i) d.rowIds[i] = matches[order[i]];
    d.count = keep;
}

}  // namespace

RowSet::RowSet(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
RowSet::RowSet(RowSet&&) noexcept = default;
RowSet& RowSet::operator=(RowSet&&) noexcept = default;
RowSet::~RowSet() = default;

RowSet RowSet::open(const Database& db, std::string_view sql) {
    return open(db, sql, OpenOptions{});
}

RowSet RowSet::open(const Database& db, std::string_view sql, const OpenOptions& options) {
    return open(db, sql, options, nullptr);
}

void RowSet::stream(const Database& db, std::string_view sql, RowSink& sink) {
    OpenOptions options;
    options.keepColumnText = false;
    RowSet rs = open(db, sql, options, &sink);
    if (rs.impl_->streamed) return;
    sink.fields(rs.fields());
    std::vector<std::size_t> columns(rs.fields().size());
    for (std::size_t k = 0; k < columns.size(); ++k) columns[k] = rs.fieldColumn(k);
    for (std::size_t i = 0; i < rs.recordCount(); ++i) {
        if (const Cursor* cursor = rs.tableRow(i))
            sink.row(*cursor, columns);
        else
            sink.row(rs.row(i));
    }
}

RowSet RowSet::open(const Database& db, std::string_view sql, const OpenOptions& options, RowSink* sink) {
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

    NodePtr condition;
    SelectPlan selected = plan(impl->table, st, condition);
    for (const auto& it : selected.items) {
        impl->fields.push_back(it.field);
        impl->fieldColumns.push_back(
            it.column != npos && (!it.node || it.node->op == Node::Op::Column) ? it.column : Impl::kNone);
        if (impl->fieldColumns.back() == Impl::kNone) impl->plainFields = false;
    }
    const bool grouped = !selected.aggregates.empty() || !selected.groupBy.empty();
    if (!grouped && !st.distinct)
        for (auto& it : selected.items) impl->fieldExprs.push_back(std::move(it.node));

    try {
        if (grouped || st.distinct) {
            impl->computed = true;
            if (grouped)
                runGrouped(*impl, st, selected, condition.get());
            else
                runDistinct(*impl, st, selected, condition.get());
            impl->count = impl->rows.size();
            return RowSet(std::move(impl));
        }
        if (!selected.orderBy.empty()) {
            runSorted(*impl, st, selected, condition.get());
            return RowSet(std::move(impl));
        }
        if (sink && impl->plainFields) {
            // Rows in scan order, each handed on as the scan finds it: one pass, nothing kept.
            impl->streamed = true;
            sink->fields(impl->fields);
            Cursor cursor = impl->table.cursor();
            Evaluator eval(cursor, columns);
            const std::uint64_t limit = st.top && !st.topPercent ? *st.top : ~std::uint64_t{0};
            std::uint64_t percentOf = 0;
            if (st.topPercent) {
                // n percent of the rows found: count them first, then hand out that many.
                while (cursor.next())
                    if (!condition || eval.test(*condition) == Tri::True) ++percentOf;
                cursor = impl->table.cursor();
            }
            const std::uint64_t keep =
                st.topPercent ? topCount(st, static_cast<std::size_t>(percentOf), nullptr, nullptr) : limit;
            std::uint64_t handed = 0;
            while (handed < keep && cursor.next()) {
                if (condition && eval.test(*condition) != Tri::True) continue;
                sink->row(cursor, impl->fieldColumns);
                ++handed;
            }
            return RowSet(std::move(impl));
        }
        const std::uint32_t page = impl->table.definitionPage();
        const std::optional<detail::FileStamp> stamp = detail::stampOf(db.path());
        impl->stamp = stamp;
        impl->path = db.path();
        auto& cache = detail::ColumnCache::instance();
        std::vector<std::size_t> likeColumns;
        if (!condition) {
            // The count costs the pages' row tables, not the rows.
            std::size_t n = 0;
            if (const auto cached = stamp ? cache.findRowCount(*stamp, page) : std::nullopt) {
                n = *cached;
            } else {
                n = static_cast<std::size_t>(impl->rowDirectory().rowCount());
                if (stamp && detail::settled(*stamp) && detail::stampOf(db.path()) == stamp)
                    cache.storeRowCount(*stamp, page, n);
            }
            impl->count = topCount(st, n, nullptr, nullptr);
            return RowSet(std::move(impl));
        }
        impl->keyed = true;
        if (options.keepColumnText && stamp && likeOnly(*condition, likeColumns) && !likeColumns.empty()) {
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
                    for (const std::size_t c : missing)
                        cache.storeColumn(*stamp, page, columns[c].name, data[c]);
                }
            }
            std::size_t rows = ready ? data[likeColumns[0]]->rows() : 0;
            for (const std::size_t c : likeColumns) ready = ready && data[c]->rows() == rows;
            if (ready) {
                const std::vector<std::uint8_t> result = testAllCached(*condition, rows, data, nullptr);
                for (std::size_t r = 0; r < rows; ++r)
                    if (result[r] == 1) impl->keyset.push_back(static_cast<std::uint32_t>(r));
                impl->keyset.resize(topCount(st, impl->keyset.size(), nullptr, nullptr));
                impl->count = impl->keyset.size();
                return RowSet(std::move(impl));
            }
        }
        {
            Cursor cursor = impl->table.cursor();
            Evaluator eval(cursor, columns);
            // Without PERCENT, TOP n needs no more than the first n rows found.
            const std::uint64_t limit = st.top && !st.topPercent ? *st.top : ~std::uint64_t{0};
            impl->keyed = false;
            impl->byRowId = true;
            while (impl->rowIds.size() < limit && cursor.next()) {
                if (eval.test(*condition) == Tri::True) impl->rowIds.push_back(cursor.rowId());
            }
            impl->rowIds.resize(topCount(st, impl->rowIds.size(), nullptr, nullptr));
            impl->count = impl->rowIds.size();
        }
    } catch (const Error& e) {
        if (e.number() < 0 || e.number() == 3704) throw;
        throw throughProvider(e);
    }
    return RowSet(std::move(impl));
}

const std::vector<Column>& RowSet::fields() const noexcept {
    return impl_->fields;
}
std::size_t RowSet::recordCount() const noexcept {
    return impl_->count;
}
const std::string& RowSet::tableName() const noexcept {
    return impl_->name;
}

std::vector<Value> RowSet::row(std::size_t index) {
    Impl& d = *impl_;
    if (index >= d.count) throw makeError(Failure::NoCurrentRecord);
    if (d.computed) return d.rows[index];
    try {
        d.moveToRow(index);
        return d.current();
    } catch (const Error& e) {
        d.onRow = false;
        if (e.number() < 0 || e.number() == 3021) throw;
        throw throughProvider(e);
    }
}

std::vector<std::vector<Value>> RowSet::rows(std::size_t first, std::size_t count) {
    if (first > impl_->count || count > impl_->count - first) throw makeError(Failure::NoCurrentRecord);
    std::vector<std::vector<Value>> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) out.push_back(row(first + i));
    return out;
}

const Cursor* RowSet::tableRow(std::size_t index) {
    Impl& d = *impl_;
    if (d.computed || !d.plainFields) return nullptr;
    if (index >= d.count) throw makeError(Failure::NoCurrentRecord);
    try {
        d.moveToRow(index);
        return &*d.reader;
    } catch (const Error& e) {
        d.onRow = false;
        if (e.number() < 0 || e.number() == 3021) throw;
        throw throughProvider(e);
    }
}

std::size_t RowSet::fieldColumn(std::size_t field) const noexcept {
    const Impl& d = *impl_;
    return field < d.fieldColumns.size() && d.fieldColumns[field] != Impl::kNone ? d.fieldColumns[field]
                                                                                 : npos;
}

}  // namespace jet::sql
