#include "jet/sql/parser.h"

#include <gtest/gtest.h>

#include "jet/sql/errors.h"

namespace jet::sql {
namespace {

const SelectStatement& asSelect(const Statement& s) {
    return std::get<SelectStatement>(s);
}

// Runs the parser and returns the error it raises ("" when it accepts the statement).
std::pair<std::int32_t, std::string> failure(std::string_view sql) {
    try {
        parse(sql);
    } catch (const Error& e) {
        return {e.number(), e.description()};
    }
    return {0, ""};
}

constexpr std::int32_t kSyntax = -2147217900;

TEST(Parser, TheStatementTheSearchSendsWithNoBlankBeforeAnd) {
    const auto st = parse(
        "SELECT * FROM Invoice WHERE UCASE(FILENUMBER) LIKE '%A7%'AND (check1 like '%105%' or "
        "check2 like '%105%' or check3 like '%105%')");
    const auto& sel = asSelect(st);
    EXPECT_EQ(sel.table, "Invoice");
    ASSERT_TRUE(sel.where);
    const auto& top = std::get<Logical>(sel.where->node);
    EXPECT_TRUE(top.isAnd);
    const auto& left = std::get<Like>(top.left->node);
    EXPECT_EQ(std::get<Call>(left.subject->node).name, "UCASE");
    EXPECT_EQ(std::get<Literal>(left.pattern->node).text, "%A7%");
    const auto& right = std::get<Logical>(top.right->node);
    EXPECT_FALSE(right.isAnd);
    EXPECT_EQ(sel.whereText,
              "UCASE(FILENUMBER) LIKE '%A7%'AND (check1 like '%105%' or check2 like '%105%' or check3 "
              "like '%105%')");
}

TEST(Parser, KeywordsInAnyCaseAndBracketedNames) {
    const auto st = parse("select * from [Rates-2006] where [Form] = 'x' ;");
    EXPECT_EQ(asSelect(st).table, "Rates-2006");
    EXPECT_EQ(std::get<ColumnRef>(std::get<Compare>(asSelect(st).where->node).left->node).name, "Form");
    EXPECT_EQ(asSelect(parse("Select * from Company")).table, "Company");
    EXPECT_FALSE(asSelect(parse("Select * from Company")).where);
}

TEST(Parser, DoubledQuotesStandForOne) {
    const auto st = parse("SELECT * FROM Client WHERE Client LIKE '%O''BRIEN%'");
    EXPECT_EQ(std::get<Literal>(std::get<Like>(asSelect(st).where->node).pattern->node).text, "%O'BRIEN%");
}

TEST(Parser, PrecedenceNotBelowComparisonAndBelowOr) {
    const auto st = parse("SELECT * FROM t WHERE NOT a LIKE 'x' OR b = 1 AND c <> 2");
    const auto& top = std::get<Logical>(asSelect(st).where->node);
    EXPECT_FALSE(top.isAnd);
    EXPECT_TRUE(std::holds_alternative<Like>(std::get<Not>(top.left->node).operand->node));
    EXPECT_TRUE(std::get<Logical>(top.right->node).isAnd);
}

TEST(Parser, NotLikeIsNullAndNumbers) {
    const auto st = parse("SELECT * FROM t WHERE a NOT LIKE '%1%' AND b IS NOT NULL AND c >= -1.5");
    const auto& top = std::get<Logical>(asSelect(st).where->node);
    const auto& inner = std::get<Logical>(top.left->node);
    EXPECT_TRUE(std::get<Like>(inner.left->node).negated);
    EXPECT_TRUE(std::get<IsNull>(inner.right->node).negated);
    const auto& cmp = std::get<Compare>(top.right->node);
    EXPECT_EQ(cmp.op, CompareOp::Ge);
    EXPECT_DOUBLE_EQ(std::get<Literal>(std::get<Negate>(cmp.right->node).operand->node).number, 1.5);
}

TEST(Parser, DropTableIsParsed) {
    const auto st = parse("DROP TABLE [temp report 1]");
    EXPECT_EQ(std::get<DropTableStatement>(st).table, "temp report 1");
    EXPECT_EQ(std::get<DropTableStatement>(parse("drop table tmpA;")).table, "tmpA");
}

TEST(Parser, AQuoteTypedIntoACriterionLeavesTheStringOpen) {
    const auto [n, text] = failure("SELECT * FROM Property WHERE UCASE(CITY) LIKE '%O'BRIEN%'");
    EXPECT_EQ(n, kSyntax);
    EXPECT_EQ(text, "Syntax error in string in query expression 'UCASE(CITY) LIKE '%O'BRIEN%''.");
}

TEST(Parser, TwoQuotesLeaveAnOperatorMissing) {
    const auto [n, text] = failure("SELECT * FROM Property WHERE UCASE(CITY) LIKE '%O'B'%'");
    EXPECT_EQ(n, kSyntax);
    EXPECT_EQ(text, "Syntax error (missing operator) in query expression 'UCASE(CITY) LIKE '%O'B'%''.");
}

TEST(Parser, ParenthesisErrors) {
    EXPECT_EQ(failure("SELECT * FROM t WHERE (a = 1").second,
              "Missing ), ], or Item in query expression '(a = 1'.");
    EXPECT_EQ(failure("SELECT * FROM t WHERE a = 1)").second, "Extra ) in query expression 'a = 1)'.");
}

TEST(Parser, StatementLevelErrors) {
    EXPECT_EQ(failure("SELEKT * FROM t").second,
              "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.");
    EXPECT_EQ(failure("").first, kSyntax);
    EXPECT_EQ(failure("SELECT * FROM").second, "Syntax error in FROM clause.");
    EXPECT_EQ(failure("Select * from Rates-2006").second, "Syntax error in FROM clause.");
    EXPECT_EQ(failure("SELECT * FROM t; x").second, "Characters found after end of SQL statement.");
    EXPECT_EQ(failure("SELECT FROM t").first, kSyntax);
    EXPECT_EQ(failure("DROP TABLE").second, "Syntax error in DROP TABLE or DROP INDEX.");
    EXPECT_EQ(failure("SELECT * FROM [Property").second, "Invalid bracketing of name '[Property'.");
    EXPECT_EQ(failure("DELETE FROM t").first, -2147467263);
}

TEST(Parser, ExpressionErrors) {
    EXPECT_EQ(failure("SELECT * FROM t WHERE").second,
              "Syntax error (missing operator) in query expression ''.");
    EXPECT_EQ(failure("SELECT * FROM t WHERE a LIKE").second,
              "Syntax error (missing operator) in query expression 'a LIKE'.");
    EXPECT_EQ(failure("SELECT * FROM t WHERE MID(a) = 'x'").second,
              "Undefined function 'MID' in expression.");
    EXPECT_EQ(failure("SELECT * FROM t WHERE UCASE(a, b) = 'x'").second,
              "Wrong number of arguments used with function in query expression 'UCASE(a, b) = 'x''.");
}

// Whatever is typed, the parser answers with a statement or a numbered error, never anything else.
TEST(Parser, MangledStatementsGiveAStatementOrANumberedError) {
    const std::string base =
        "SELECT * FROM Invoice WHERE UCASE(FILENUMBER) LIKE '%A7%'AND (check1 like '%105%' or check2 "
        "like '[!a-c]_%' or NOT check3 IS NULL) ; DROP TABLE [x] ";
    const std::string alphabet = "'\"[]()%_!-,;.* <>=aZ09\xC3\xA9\xFF";
    std::uint32_t seed = 12345;
    auto next = [&] {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) & 0xFFFF;
    };
    int parsed = 0, refused = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string s = base.substr(0, next() % (base.size() + 1));
        for (int edits = static_cast<int>(next() % 4); edits > 0 && !s.empty(); --edits) {
            const std::size_t at = next() % s.size();
            s[at] = alphabet[next() % alphabet.size()];
        }
        try {
            parse(s);
            ++parsed;
        } catch (const Error& e) {
            EXPECT_NE(e.number(), 0) << s;
            EXPECT_FALSE(e.description().empty()) << s;
            ++refused;
        }
    }
    EXPECT_GT(parsed, 0);
    EXPECT_GT(refused, 0);
}

TEST(Errors, EveryFailureHasItsNumberAndText) {
    EXPECT_EQ(errorNumber(Failure::NoSuchTable), -2147217865);
    EXPECT_EQ(errorText(Failure::NoSuchTable, "Invoices"),
              "The Microsoft Jet database engine cannot find the input table or query 'Invoices'.  Make "
              "sure it exists and that its name is spelled correctly.");
    EXPECT_EQ(errorNumber(Failure::MissingParameter), -2147217904);
    EXPECT_EQ(errorText(Failure::MissingParameter), "No value given for one or more required parameters.");
    EXPECT_EQ(errorNumber(Failure::TypeMismatch), -2147217913);
    // A failure missing from the table would borrow the last row's text.
    const std::string last = errorText(Failure::NoCurrentRecord, "x");
    for (int f = 0; f < static_cast<int>(Failure::NoCurrentRecord); ++f) {
        EXPECT_NE(errorNumber(static_cast<Failure>(f)), 0) << f;
        EXPECT_NE(errorText(static_cast<Failure>(f), "x"), last) << f;
    }
}

}  // namespace
}  // namespace jet::sql
