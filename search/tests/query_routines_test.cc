// The statements the search builds, the data-control binding, and releasing it, on a copy of the
// suite's installation.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ado/adodc.h"
#include "jet/database.h"
#include "jet/table.h"
#include "platform/errors.h"
#include "search/query_routines.h"
#include "search/tests/search_program.h"

namespace qx::search {
namespace {

// The routines on their own: the boxes are set without the tab's change handlers.
class SearchTest : public ::testing::Test, public testing::SearchProgram {
  protected:
    SearchTest() : SearchProgram(false) {}

    // Rows of `table` in the suite's Office.mdb whose `column` text contains `needle` exactly
    // (case and all), counted straight from the engine.
    std::size_t countContaining(const std::string& table, const std::string& column,
                                const std::string& needle) {
        const jet::Database db = jet::Database::open(host.drive().host("KELDATA\\Office.mdb"));
        const jet::Table t = db.openTable(table);
        const auto col = static_cast<std::size_t>(t.findColumn(column));
        jet::Cursor c = t.cursor();
        std::size_t n = 0;
        while (c.next())
            if (!c.isNull(col) && std::string(c.text(col)).find(needle) != std::string::npos) ++n;
        return n;
    }

    // Selects a category as the category option does: table name, binding, counts.
    void choose(const std::string& table, std::int16_t index) {
        main.searchTableName = table;
        main.searchCategoryIndex = index;
        main.boundGridName = "grdData";
        AdoConnectTableANDDatabase(program, table, "office.mdb", g.dataDir);
    }

    std::pair<std::int32_t, std::string> searchFailure(std::int16_t index) {
        try {
            RunSearch(program, index);
        } catch (const RuntimeError& e) {
            return {e.number(), e.description()};
        }
        return {0, ""};
    }
};

// ---- Statements -----------------------------------------------------------------------------

TEST_F(SearchTest, TheExampleStatements) {
    EXPECT_EQ(BuildSearchSQL(main, "Company", 9), "SELECT * FROM Company");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0), "SELECT * FROM Property");
    main.txtCity(0).setText("york");
    main.txtZip(0).setText("12");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0),
              "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%' AND UCASE(ZIP) LIKE '%12%'");
    main.txtCheckNum(1).setText("105");
    EXPECT_EQ(
        BuildSearchSQL(main, "Invoice", 1),
        "SELECT * FROM Invoice WHERE (check1 like '%105%' or check2 like '%105%' or check3 like '%105%')");
    main.txtFileNumber(1).setText("a7");
    EXPECT_EQ(BuildSearchSQL(main, "Invoice", 1),
              "SELECT * FROM Invoice WHERE UCASE(FILENUMBER) LIKE '%A7%'AND (check1 like '%105%' or check2 "
              "like '%105%' or check3 like '%105%')");
    main.txtPhoneNum(4).setText("555");
    EXPECT_EQ(BuildSearchSQL(main, "ClientContact", 4),
              "SELECT * FROM ClientContact WHERE UCASE(PHONE) LIKE '%555%'");
}

TEST_F(SearchTest, FileNumberWithBlanksThenACity) {
    main.txtFileNumber(0).setText("ab 12 ");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0),
              "SELECT * FROM Property WHERE UCASE(FILENUMBER) LIKE '%AB 12%'");
    main.txtCity(0).setText("york");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0),
              "SELECT * FROM Property WHERE UCASE(FILENUMBER) LIKE '%AB 12%' AND UCASE(CITY) LIKE '%YORK%'");
}

TEST_F(SearchTest, EveryCategoryNamesItsColumnsInOrder) {
    main.txtFileNumber(0).setText("f");
    main.txtAddress(0).setText("a");
    main.txtCity(0).setText("c");
    main.txtState(0).setText("s");
    main.txtZip(0).setText("z");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0),
              "SELECT * FROM Property WHERE UCASE(FILENUMBER) LIKE '%F%' AND UCASE(ADDRESS) LIKE '%A%' AND "
              "UCASE(CITY) LIKE '%C%' AND UCASE(ST) LIKE '%S%' AND UCASE(ZIP) LIKE '%Z%'");
    main.txtInvoiceDate(1).setText("11/20/2006");
    EXPECT_EQ(BuildSearchSQL(main, "Invoice", 1),
              "SELECT * FROM Invoice WHERE UCASE(INVOICEDATE) LIKE '%11/20/2006%'");
    main.txtFileNumber(2).setText("x");
    main.txtAppraiser(2).setText("y");
    EXPECT_EQ(BuildSearchSQL(main, "Assigned", 2),
              "SELECT * FROM Assigned WHERE UCASE(FILENUMBER) LIKE '%X%' AND UCASE(APPRAISER) LIKE '%Y%'");
    main.txtClient(3).setText("bank");
    EXPECT_EQ(BuildSearchSQL(main, "Client", 3), "SELECT * FROM Client WHERE UCASE(CLIENT) LIKE '%BANK%'");
    main.txtClient(4).setText("k");
    main.txtContactName(4).setText("m");
    main.txtEmail(4).setText("e");
    main.txtPhoneNum(4).setText("5");
    EXPECT_EQ(BuildSearchSQL(main, "ClientContact", 4),
              "SELECT * FROM ClientContact WHERE UCASE(CLIENT) LIKE '%K%' AND UCASE(CONTACT) LIKE '%M%' AND "
              "UCASE(EMAIL) LIKE '%E%' AND UCASE(PHONE) LIKE '%5%'");
    main.txtClient(5).setText("k");
    main.txtFormType(5).setText("1004");
    EXPECT_EQ(BuildSearchSQL(main, "ClientFee", 5),
              "SELECT * FROM ClientFee WHERE UCASE(CLIENT) LIKE '%K%' AND UCASE(FORM) LIKE '%1004%'");
    main.txtAppraiser(6).setText("miller");
    EXPECT_EQ(BuildSearchSQL(main, "Appraiser", 6),
              "SELECT * FROM Appraiser WHERE UCASE(APPRAISER) LIKE '%MILLER%'");
    main.txtAppraiser(7).setText("j");
    main.txtFormType(7).setText("c");
    EXPECT_EQ(BuildSearchSQL(main, "AppraiserFee", 7),
              "SELECT * FROM AppraiserFee WHERE UCASE(APPRAISER) LIKE '%J%' AND UCASE(FORM) LIKE '%C%'");
    main.txtFormType(8).setText("d");
    main.txtCategory(8).setText("condo");
    EXPECT_EQ(BuildSearchSQL(main, "FormTypes", 8),
              "SELECT * FROM FormTypes WHERE UCASE(FORM) LIKE '%D%' AND UCASE(CATEGORY) LIKE '%CONDO%'");
}

TEST_F(SearchTest, BlankCriteriaAddNothing) {
    main.txtFileNumber(0).setText("   ");
    main.txtCity(0).setText("");
    main.txtZip(0).setText(" ");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 0), "SELECT * FROM Property");
    main.txtCheckNum(1).setText("  ");
    EXPECT_EQ(BuildSearchSQL(main, "Invoice", 1), "SELECT * FROM Invoice");
}

TEST_F(SearchTest, BlanksAroundATextCriterionGoBlanksInsideStay) {
    EXPECT_EQ(AddSQLWhere("", " City ", "  new  york "), "UCASE(CITY) LIKE '%NEW  YORK%'");
}

TEST_F(SearchTest, CheckNumberIsUsedExactlyAsTyped) {
    EXPECT_EQ(LookAtChecks("", " 105"),
              "(check1 like '% 105%' or check2 like '% 105%' or check3 like '% 105%')");
    EXPECT_EQ(LookAtChecks("", "ab "), "(check1 like '%ab %' or check2 like '%ab %' or check3 like '%ab %')");
    const std::string after = LookAtChecks("UCASE(FILENUMBER) LIKE '%A7%'", "105");
    EXPECT_EQ(after.substr(0, 38), "UCASE(FILENUMBER) LIKE '%A7%'AND (chec");
    EXPECT_EQ(LookAtChecks("x", ""), "x");
}

TEST_F(SearchTest, OrSqlWhereUsesOr) {
    EXPECT_EQ(ORSQLWhere("", "Zip", "1"), "UCASE(ZIP) LIKE '%1%'");
    EXPECT_EQ(ORSQLWhere("UCASE(ZIP) LIKE '%1%'", "Zip", "2"),
              "UCASE(ZIP) LIKE '%1%' OR UCASE(ZIP) LIKE '%2%'");
    EXPECT_EQ(ORSQLWhere("a", "Zip", " "), "a");
}

TEST_F(SearchTest, CompanyUsersAndUnknownIndexesGiveTheWholeTable) {
    main.txtCity(0).setText("york");
    EXPECT_EQ(BuildSearchSQL(main, "Company", 9), "SELECT * FROM Company");
    EXPECT_EQ(BuildSearchSQL(main, "Users", 10), "SELECT * FROM Users");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 11), "SELECT * FROM Property");
    EXPECT_EQ(BuildSearchSQL(main, "Property", 42), "SELECT * FROM Property");
    EXPECT_EQ(BuildSearchSQL(main, "Property", -1), "SELECT * FROM Property");
}

// ---- Binding ----------------------------------------------------------------------------------

TEST_F(SearchTest, ConnectBindsTheWholeTable) {
    choose("Property", 0);
    const AdoBinding& b = binding(program);
    EXPECT_EQ(
        b.connectionString(),
        "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\KELDATA\\office.mdb;Persist Security Info=False");
    EXPECT_EQ(b.recordSource(), "Select * from Property");
    EXPECT_EQ(g.adoOpen, kVbTrue);
    const jet::Database db = jet::Database::open(host.drive().host("KELDATA\\Office.mdb"));
    const jet::Table t = db.openTable("Property");
    EXPECT_EQ(b.fieldsCount(), static_cast<std::int32_t>(t.fieldCount()));
    EXPECT_EQ(b.recordCount(), static_cast<std::int32_t>(t.countRows()));
    EXPECT_EQ(main.grdData.rowCount(), t.countRows());
    EXPECT_EQ(main.grdData.columns().front(), "PropertyID");
    EXPECT_EQ(main.grdData.rowTexts(0).size(), t.fieldCount());
}

TEST_F(SearchTest, DirectoryWithoutBackslashGetsOneButTheCallersTextStays) {
    const std::string directory = "C:\\KELDATA";
    AdoConnectTableANDDatabase(program, "Client", "office.mdb", directory);
    EXPECT_EQ(directory, "C:\\KELDATA");
    EXPECT_EQ(
        binding(program).connectionString(),
        "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\KELDATA\\office.mdb;Persist Security Info=False");
    EXPECT_GT(binding(program).recordCount(), 0);
}

TEST_F(SearchTest, AdoConnectTableUsesTheDataDirectory) {
    AdoConnectTable(program, "FormTypes");
    EXPECT_EQ(binding(program).dataSource(), "C:\\KELDATA\\office.mdb");
    EXPECT_EQ(binding(program).recordSource(), "Select * from FormTypes");
    EXPECT_EQ(g.adoOpen, kVbTrue);
}

TEST_F(SearchTest, EveryConnectShowsThePropertyFrame) {
    main.fraSearch(0).setVisible(false);
    AdoConnectTableANDDatabase(program, "Users", "office.mdb", "C:\\KELDATA\\");
    EXPECT_TRUE(main.fraSearch(0).visible());
    main.fraSearch(0).setVisible(false);
    // Also when the binding then fails.
    EXPECT_THROW(AdoConnectTableANDDatabase(program, "Nowhere", "office.mdb", "C:\\KELDATA\\"), RuntimeError);
    EXPECT_TRUE(main.fraSearch(0).visible());
}

TEST_F(SearchTest, BindingFailures) {
    auto failure = [&](const std::string& table, const std::string& file, const std::string& dir) {
        try {
            AdoConnectTableANDDatabase(program, table, file, dir);
        } catch (const RuntimeError& e) {
            return std::make_pair(e.number(), e.description());
        }
        return std::make_pair(0, std::string());
    };
    EXPECT_EQ(failure("Property", "nothere.mdb", "C:\\KELDATA"),
              std::make_pair(-2147467259, std::string("Could not find file 'C:\\KELDATA\\nothere.mdb'.")));
    EXPECT_EQ(
        failure("Property", "office.mdb", "C:\\NOFOLDER"),
        std::make_pair(-2147467259, std::string("'C:\\NOFOLDER\\office.mdb' is not a valid path.  Make sure "
                                                "that the path name is spelled correctly and that you are "
                                                "connected to the server on which the file resides.")));
    EXPECT_EQ(failure("Invoices", "office.mdb", "C:\\KELDATA").first, -2147217865);
    // A table whose name needs brackets cannot be opened with the plain statement.
    EXPECT_EQ(failure("Rates-2006", "office.mdb", "C:\\KELDATA"),
              std::make_pair(-2147217900, std::string("Syntax error in FROM clause.")));
}

TEST_F(SearchTest, OtherProvidersAreRefused) {
    AdoBinding& b = binding(program);
    b.setConnectionString("Provider=SQLOLEDB;Data Source=C:\\KELDATA\\office.mdb");
    b.setRecordSource("Select * from Property");
    try {
        b.refresh();
        ADD_FAILURE() << "refresh accepted another provider";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3706);
        EXPECT_EQ(e.description(), "Provider cannot be found. It may not be properly installed.");
    }
    EXPECT_FALSE(b.recordsetOpen());
}

TEST_F(SearchTest, RecordsetBeforeAnyRefreshAndAfterClose) {
    AdoBinding& b = binding(program);
    try {
        (void)b.recordCount();
        ADD_FAILURE();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 91);
    }
    choose("Client", 3);
    b.closeRecordset();
    for (int which = 0; which < 3; ++which) {
        try {
            if (which == 0) (void)b.recordCount();
            if (which == 1) (void)b.fieldsCount();
            if (which == 2) b.closeRecordset();
            ADD_FAILURE() << which;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 3704);
            EXPECT_EQ(e.description(), "Operation is not allowed when the object is closed.");
        }
    }
}

// ---- Search sequence --------------------------------------------------------------------------

TEST_F(SearchTest, LowerAndUpperCaseInputFindTheSameRows) {
    choose("Property", 0);
    main.txtCity(0).setText("york");
    RunSearch(program, 0);
    const std::size_t lower = main.grdData.rowCount();
    main.txtCity(0).setText("YORK");
    RunSearch(program, 0);
    EXPECT_EQ(main.grdData.rowCount(), lower);
    EXPECT_EQ(lower, countContaining("Property", "City", "York"));
    EXPECT_GT(lower, 0u);
    EXPECT_EQ(screen.mousePointer(), 0);
    EXPECT_EQ(binding(program).recordSource(), "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'");
}

TEST_F(SearchTest, CheckNumberWithALeadingBlankFindsOnlyValuesWithTheBlank) {
    choose("Invoice", 1);
    main.txtCheckNum(1).setText(" 1");
    RunSearch(program, 1);
    const std::size_t withBlank = main.grdData.rowCount();
    main.txtCheckNum(1).setText("1");
    RunSearch(program, 1);
    const std::size_t without = main.grdData.rowCount();
    EXPECT_LT(withBlank, without);
    EXPECT_GT(without, 0u);
}

TEST_F(SearchTest, PercentAndUnderscoreActAsWildcards) {
    choose("Property", 0);
    main.txtCity(0).setText("y_rk");
    RunSearch(program, 0);
    const std::size_t underscore = main.grdData.rowCount();
    EXPECT_EQ(underscore, countContaining("Property", "City", "York"));
    main.txtCity(0).setText("%");
    RunSearch(program, 0);
    EXPECT_EQ(main.grdData.rowCount(), static_cast<std::size_t>(binding(program).recordCount()));
    EXPECT_GT(main.grdData.rowCount(), underscore);
}

TEST_F(SearchTest, AQuoteMakesTheRefreshFail) {
    choose("Client", 3);
    main.txtClient(3).setText("o'b");
    const auto [n, text] = searchFailure(3);
    EXPECT_EQ(n, -2147217900);
    EXPECT_EQ(text, "Syntax error in string in query expression 'UCASE(CLIENT) LIKE '%O'B%''.");
    EXPECT_EQ(screen.mousePointer(), 11);  // the error left the handler before the reset
    EXPECT_EQ(main.grdData.rowCount(), 0u);
    EXPECT_EQ(g.adoOpen, kVbTrue);
}

TEST_F(SearchTest, CountLabelsDoNotFollowTheCriteria) {
    choose("Property", 0);
    main.lblCount.setCaption("Record Count = 400");
    main.lblFCount.setCaption("Field Count = 12");
    main.txtCity(0).setText("york");
    RunSearch(program, 0);
    EXPECT_EQ(main.lblCount.caption(), "Record Count = 400");
    EXPECT_EQ(main.lblFCount.caption(), "Field Count = 12");
}

TEST_F(SearchTest, CloseADOifOpenTwiceDoesNothingTheSecondTime) {
    choose("Property", 0);
    ASSERT_TRUE(main.grdData.showingData());
    CloseADOifOpen(program, main.grdData);
    EXPECT_EQ(g.adoOpen, kVbFalse);
    EXPECT_FALSE(main.grdData.showingData());
    EXPECT_FALSE(binding(program).recordsetOpen());
    EXPECT_NO_THROW(CloseADOifOpen(program, main.grdData));
    EXPECT_EQ(g.adoOpen, kVbFalse);
}

TEST_F(SearchTest, CloseWithTheFlagSetButTheRecordsetClosedFails) {
    choose("Property", 0);
    binding(program).closeRecordset();
    try {
        CloseADOifOpen(program, main.grdData);
        ADD_FAILURE();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3704);
    }
    EXPECT_EQ(g.adoOpen, kVbTrue);
}

TEST_F(SearchTest, TheShellsRoutineReleasesTheBinding) {
    choose("Company", 9);
    CloseADOifOpen(program, main.grdData);
    EXPECT_EQ(g.adoOpen, kVbFalse);
}

}  // namespace
}  // namespace qx::search
