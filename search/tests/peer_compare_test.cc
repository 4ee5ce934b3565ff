// Every search category of the suite's Office.mdb, run as the search tab runs it (criteria boxes,
// BuildSearchSQL, the binding's Refresh), compared row for row with the same criteria evaluated
// by peer_search.mjs over the rows an independent reader (mdb-reader) exports from the same file.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "common/vb.h"
#include "jet/sql/errors.h"
#include "platform/errors.h"
#include "search/query_routines.h"
#include "search/tests/search_program.h"

namespace qx::search {
namespace {

struct Category {
    std::int16_t index;
    const char* table;
    const char* key;
};

const std::map<std::int16_t, Category> kCategories{
    {0, {0, "Property", "PropertyID"}},     {1, {1, "Invoice", "InvoiceID"}},
    {2, {2, "Assigned", "AssignedID"}},     {3, {3, "Client", "ClientID"}},
    {4, {4, "ClientContact", "ContactID"}}, {5, {5, "ClientFee", "ClientFeeID"}},
    {6, {6, "Appraiser", "AppraiserID"}},   {7, {7, "AppraiserFee", "AppraiserFeeID"}},
    {8, {8, "FormTypes", "Form"}},          {9, {9, "Company", "CompanyName"}},
    {10, {10, "Users", "UserID"}},
};

// One search: the category and what is typed into which box (box name, column name, text).
struct Typed {
    std::string box, column, text;
};
struct Case {
    std::int16_t index;
    std::vector<Typed> typed;
    std::string checkNumber;  // category 1 only
};

std::string jsonString(std::string_view s) {
    std::string out = "\"";
    for (const char c : s) {
        if (c == '"' || c == '\\') out.push_back('\\');
        out.push_back(c);
    }
    return out + "\"";
}

// The criteria are set without the tab's change handlers; each case runs the search itself.
class PeerCompareTest : public ::testing::Test, public testing::SearchProgram {
  protected:
    PeerCompareTest() : SearchProgram(false) {}
    forms::TextBox& box(const std::string& name, int index) {
        forms::FrmMain& f = main;
        const std::map<std::string, forms::ControlArray<forms::TextBox>*> boxes{
            {"txtFileNumber", &f.txtFileNumber},
            {"txtAddress", &f.txtAddress},
            {"txtCity", &f.txtCity},
            {"txtState", &f.txtState},
            {"txtZip", &f.txtZip},
            {"txtInvoiceDate", &f.txtInvoiceDate},
            {"txtCheckNum", &f.txtCheckNum},
            {"txtAppraiser", &f.txtAppraiser},
            {"txtClient", &f.txtClient},
            {"txtContactName", &f.txtContactName},
            {"txtEmail", &f.txtEmail},
            {"txtPhoneNum", &f.txtPhoneNum},
            {"txtFormType", &f.txtFormType},
            {"txtCategory", &f.txtCategory},
        };
        return (*boxes.at(name))(index);
    }

    void clearBoxes() {
        for (forms::TextBox* b : main.criteriaInResetOrder()) b->setText("");
    }

    // The criteria as the peer evaluates them: text criteria trimmed and upper-cased inside
    // %...%, the check number as typed over the three check columns.
    static std::string peerCase(const Case& c) {
        const Category& cat = kCategories.at(c.index);
        std::string out =
            "{\"table\":" + jsonString(cat.table) + ",\"key\":" + jsonString(cat.key) + ",\"criteria\":[";
        bool first = true;
        for (const auto& t : c.typed) {
            if (vb::Trim(t.text).empty()) continue;
            if (!first) out += ",";
            first = false;
            out += "{\"columns\":[" + jsonString(t.column) +
                   "],\"pattern\":" + jsonString("%" + vb::UCase(vb::Trim(t.text)) + "%") + "}";
        }
        if (!vb::Trim(c.checkNumber).empty()) {
            if (!first) out += ",";
            out += "{\"columns\":[\"check1\",\"check2\",\"check3\"],\"pattern\":" +
                   jsonString("%" + c.checkNumber + "%") + "}";
        }
        return out + "]}";
    }

    // Runs the peer over every case at once; one list of key texts per case.
    std::vector<std::vector<std::string>> peerResults(const std::vector<Case>& cases) {
        const auto dir = host.drive().root();
        const auto casesFile = dir / "peer_cases.json";
        {
            std::ofstream out(casesFile);
            out << "[";
            for (std::size_t i = 0; i < cases.size(); ++i) out << (i ? ",\n" : "") << peerCase(cases[i]);
            out << "]";
        }
        const std::string command = "node " + std::string(QX_SOURCE_DIR) + "/search/tests/peer_search.mjs '" +
                                    host.drive().host("KELDATA\\Office.mdb").string() + "' '" +
                                    casesFile.string() + "'";
        std::string output;
        FILE* pipe = ::popen(command.c_str(), "r");
        if (!pipe) return {};
        char buf[4096];
        std::size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) output.append(buf, n);
        const int status = ::pclose(pipe);
        EXPECT_EQ(status, 0) << "peer failed: " << command;
        std::vector<std::vector<std::string>> results;
        std::istringstream lines(output);
        std::string line;
        while (std::getline(lines, line)) {
            std::vector<std::string> keys;
            std::size_t at = line.find('\t');
            while (at != std::string::npos) {
                const auto next = line.find('\t', at + 1);
                keys.push_back(
                    line.substr(at + 1, next == std::string::npos ? std::string::npos : next - at - 1));
                at = next;
            }
            results.push_back(std::move(keys));
        }
        return results;
    }

    // Runs one case as the search tab does and returns the key texts of the grid's rows.
    std::vector<std::string> ours(const Case& c) {
        const Category& cat = kCategories.at(c.index);
        main.searchTableName = cat.table;
        AdoConnectTableANDDatabase(program, cat.table, "office.mdb", g.dataDir);
        clearBoxes();
        for (const auto& t : c.typed) box(t.box, c.index).setText(t.text);
        if (c.index == 1) box("txtCheckNum", 1).setText(c.checkNumber);
        RunSearch(program, c.index);
        const auto columns = main.grdData.columns();
        std::size_t keyAt = 0;
        while (keyAt < columns.size() && columns[keyAt] != cat.key) ++keyAt;
        EXPECT_LT(keyAt, columns.size());
        std::vector<std::string> keys;
        for (std::size_t r = 0; r < main.grdData.rowCount(); ++r)
            keys.push_back(main.grdData.rowTexts(r).at(keyAt));
        return keys;
    }
};

std::vector<Case> allCases() {
    std::vector<Case> cases;
    auto add = [&](std::int16_t index, std::vector<Typed> typed, std::string check = {}) {
        cases.push_back(Case{index, std::move(typed), std::move(check)});
    };
    // Property: every box alone, combinations, case, blanks, wildcards, bracket lists.
    add(0, {{"txtFileNumber", "FileNumber", "ab06"}});
    add(0, {{"txtFileNumber", "FileNumber", "  AB06-0001  "}});
    add(0, {{"txtAddress", "Address", "sunset way"}});
    add(0, {{"txtAddress", "Address", " Sunset  Way "}});
    add(0, {{"txtCity", "City", "york"}});
    add(0, {{"txtCity", "City", "YORK"}});
    add(0, {{"txtCity", "City", "y_rk"}});
    add(0, {{"txtCity", "City", "%"}});
    add(0, {{"txtCity", "City", "fr%in"}});
    add(0, {{"txtCity", "City", "[fs]"}});
    add(0, {{"txtCity", "City", "[!a-m]ork"}});
    add(0, {{"txtCity", "City", "*"}});
    add(0, {{"txtState", "ST", "pa"}});
    add(0, {{"txtZip", "Zip", "12"}});
    add(0, {{"txtZip", "Zip", "1_3"}});
    add(0, {{"txtZip", "Zip", "[0-3]9"}});
    add(0, {{"txtCity", "City", "york"}, {"txtState", "ST", "n"}});
    add(0, {{"txtFileNumber", "FileNumber", "ab"}, {"txtCity", "City", "field"}, {"txtZip", "Zip", "9"}});
    add(0, {{"txtFileNumber", "FileNumber", "   "}, {"txtCity", "City", "Fair"}});
    // Invoice: file number, a date typed as text, check numbers with and without a leading blank.
    add(1, {{"txtFileNumber", "FileNumber", "b07"}});
    add(1, {{"txtInvoiceDate", "InvoiceDate", "2006"}});
    add(1, {{"txtInvoiceDate", "InvoiceDate", "12/7/2007"}});
    add(1, {{"txtInvoiceDate", "InvoiceDate", "/2"}});
    add(1, {{"txtInvoiceDate", "InvoiceDate", "PM"}});
    add(1, {}, "105");
    add(1, {}, " 105");
    add(1, {}, "14");
    add(1, {}, "1_5");
    add(1, {{"txtFileNumber", "FileNumber", "ab05"}}, "1");
    add(1, {{"txtInvoiceDate", "InvoiceDate", "/2005"}}, "4");
    add(1, {{"txtFileNumber", "FileNumber", "AB0"}, {"txtInvoiceDate", "InvoiceDate", "1/"}}, "2");
    // The other categories.
    add(2, {{"txtFileNumber", "FileNumber", "ab06"}});
    add(2, {{"txtAppraiser", "Appraiser", "miller"}});
    add(2, {{"txtFileNumber", "FileNumber", "07"}, {"txtAppraiser", "Appraiser", "Steven"}});
    add(3, {{"txtClient", "Client", "bank"}});
    add(3, {{"txtClient", "Client", "MORTGAGE "}});
    add(4, {{"txtClient", "Client", "harbor"}});
    add(4, {{"txtContactName", "Contact", "moore"}});
    add(4, {{"txtEmail", "Email", "@EXAMPLE"}});
    add(4, {{"txtPhoneNum", "Phone", "(5"}});
    add(4, {{"txtClient", "Client", "a"},
            {"txtContactName", "Contact", "e"},
            {"txtEmail", "Email", "m"},
            {"txtPhoneNum", "Phone", "5"}});
    add(5, {{"txtClient", "Client", "first"}});
    add(5, {{"txtFormType", "Form", "1004c"}});
    add(5, {{"txtClient", "Client", "n"}, {"txtFormType", "Form", "d"}});
    add(6, {{"txtAppraiser", "Appraiser", "john"}});
    add(7, {{"txtAppraiser", "Appraiser", "miller"}, {"txtFormType", "Form", "d"}});
    add(7, {{"txtFormType", "Form", "1004"}});
    add(8, {{"txtFormType", "Form", "100"}});
    add(8, {{"txtCategory", "Category", "condo"}});
    add(8, {{"txtFormType", "Form", "1"}, {"txtCategory", "Category", "i"}});
    add(9, {});
    add(10, {});
    return cases;
}

TEST_F(PeerCompareTest, EverySearchCategoryAgreesWithTheIndependentReader) {
    const std::vector<Case> cases = allCases();
    const auto expected = peerResults(cases);
    ASSERT_EQ(expected.size(), cases.size());
    std::size_t nonEmpty = 0;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto got = ours(cases[i]);
        EXPECT_EQ(got, expected[i]) << "case " << i << ": " << binding(program).recordSource();
        EXPECT_EQ(static_cast<std::size_t>(binding(program).recordCount()), got.size()) << "case " << i;
        if (!got.empty()) ++nonEmpty;
    }
    // The cases are meant to find rows; a suite where nearly nothing matches proves little.
    EXPECT_GE(nonEmpty, cases.size() - 6);
}

TEST_F(PeerCompareTest, AQuoteInAnyCategoryGivesTheSyntaxErrorOfTheTable) {
    for (const auto& [index, cat] : kCategories) {
        if (index > 8) continue;
        Case c{index, {}, {}};
        if (index == 1) c.checkNumber = "o'b";
        try {
            main.searchTableName = cat.table;
            AdoConnectTableANDDatabase(program, cat.table, "office.mdb", g.dataDir);
            clearBoxes();
            if (index == 1)
                box("txtCheckNum", 1).setText("o'b");
            else if (index == 0 || index == 2)
                box("txtFileNumber", index).setText("o'b");
            else if (index == 3 || index == 4 || index == 5)
                box("txtClient", index).setText("o'b");
            else if (index == 6 || index == 7)
                box("txtAppraiser", index).setText("o'b");
            else
                box("txtFormType", index).setText("o'b");
            RunSearch(program, index);
            ADD_FAILURE() << "no error for category " << index;
        } catch (const RuntimeError& e) {
            const std::string statement = binding(program).recordSource();
            const std::string condition = statement.substr(statement.find(" WHERE ") + 7);
            EXPECT_EQ(e.number(), jet::sql::errorNumber(jet::sql::Failure::SyntaxErrorInString)) << index;
            EXPECT_EQ(e.description(), jet::sql::errorText(jet::sql::Failure::SyntaxErrorInString, condition))
                << index;
        }
    }
}

TEST_F(PeerCompareTest, MissingTableAndColumnGiveTheErrorsOfTheTable) {
    try {
        AdoConnectTableANDDatabase(program, "Invoices", "office.mdb", g.dataDir);
        ADD_FAILURE();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), jet::sql::errorNumber(jet::sql::Failure::NoSuchTable));
        EXPECT_EQ(e.description(), jet::sql::errorText(jet::sql::Failure::NoSuchTable, "Invoices"));
    }
    // The category of the file numbers bound to a table without that column.
    AdoConnectTableANDDatabase(program, "Client", "office.mdb", g.dataDir);
    main.searchTableName = "Client";
    main.txtFileNumber(0).setText("ab");
    try {
        RunSearch(program, 0);
        ADD_FAILURE();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), jet::sql::errorNumber(jet::sql::Failure::MissingParameter));
        EXPECT_EQ(e.description(), jet::sql::errorText(jet::sql::Failure::MissingParameter));
    }
}

}  // namespace
}  // namespace qx::search
