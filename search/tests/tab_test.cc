// The search tab's handlers: category options, the criteria boxes' change handlers and the
// invoice-date calendar, on a copy of the suite's installation.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ado/adodc.h"
#include "jet/database.h"
#include "jet/schema.h"
#include "platform/errors.h"
#include "search/query_routines.h"
#include "search/tab.h"
#include "search/tests/search_program.h"
#include "shell/search_categories.h"

namespace qx::search {
namespace {

class SearchTabTest : public ::testing::Test, public testing::SearchProgram {
  protected:
    std::vector<int> visibleFrames() const {
        std::vector<int> out;
        for (int i = 0; i < forms::FrmMain::kSearchCategories; ++i)
            if (main.fraSearch(i).visible()) out.push_back(i);
        return out;
    }
    std::size_t gridRows() const { return main.grdData.rowCount(); }
    std::int32_t failure(const std::function<void()>& action) {
        try {
            action();
        } catch (const RuntimeError& e) {
            return e.number();
        }
        return 0;
    }
};

TEST_F(SearchTabTest, CountCaptionsInTheSignedNumberForm) {
    EXPECT_EQ(countCaption("Field Count =", 7), "Field Count = 7");
    EXPECT_EQ(countCaption("Record Count =", 0), "Record Count = 0");
    EXPECT_EQ(countCaption("Record Count =", -1), "Record Count =-1");
    EXPECT_EQ(countCaption("Record Count =", 200000), "Record Count = 200000");
}

TEST_F(SearchTabTest, EachCategoryBindsItsWholeTableAndShowsItsFrameAndThePropertyFrame) {
    const auto& categories = forms::searchCategories();
    optSearch_Click(program, 0);
    // Criteria typed beforehand do not narrow the binding.
    main.txtCity(0).setText("zzz-no-such-city");
    ASSERT_EQ(gridRows(), 0u);
    for (std::int16_t i = 0; i < forms::FrmMain::kSearchCategories; ++i) {
        SCOPED_TRACE(i);
        optSearch_Click(program, i);
        EXPECT_EQ(main.searchTableName, categories[static_cast<std::size_t>(i)].table);
        EXPECT_EQ(main.searchCategoryIndex, i);
        EXPECT_EQ(main.boundGridName, "grdData");
        EXPECT_EQ(main.searchDatabaseName, "office.mdb");
        std::vector<int> expected = i == 0 ? std::vector<int>{0} : std::vector<int>{0, i};
        EXPECT_EQ(visibleFrames(), expected);
        ado::Adodc& data = binding(program);
        EXPECT_EQ(data.recordSource(), "Select * from " + main.searchTableName);
        EXPECT_EQ(main.lblCount.caption(), countCaption("Record Count =", data.recordCount()));
        EXPECT_EQ(main.lblFCount.caption(), countCaption("Field Count =", data.fieldsCount()));
        EXPECT_EQ(gridRows(), static_cast<std::size_t>(data.recordCount()));
        EXPECT_EQ(main.mousePointer(), 0);
    }
}

// Before any category was chosen there is no connection: a change fails inside the data control.
TEST_F(SearchTabTest, AChangeBeforeAnyCategoryFails) {
    EXPECT_EQ(failure([&] { main.txtCity(0).setText("x"); }), 3706);
    EXPECT_EQ(screen.mousePointer(), 11);
}

TEST_F(SearchTabTest, UsersAndCompanyFramesAreEmpty) {
    for (int i : {9, 10}) {
        for (forms::Control* c : main.controls())
            EXPECT_NE(c->container(), &main.fraSearch(i)) << c->path() << " lies in frame " << i;
        optSearch_Click(program, static_cast<std::int16_t>(i));
        EXPECT_TRUE(main.fraSearch(i).visible());
        EXPECT_GT(gridRows(), 0u);
    }
}

TEST_F(SearchTabTest, TheBlankOptionOnlyHidesTheFrames) {
    optSearch_Click(program, 4);
    const std::string count = main.lblCount.caption();
    const std::size_t rows = gridRows();
    const std::string source = binding(program).recordSource();
    optSearch_Click(program, forms::FrmMain::kBlankSearchOption);
    EXPECT_TRUE(visibleFrames().empty());
    EXPECT_EQ(main.searchTableName, "ClientContact");
    EXPECT_EQ(main.searchCategoryIndex, 4);
    EXPECT_EQ(main.lblCount.caption(), count);
    EXPECT_EQ(gridRows(), rows);
    EXPECT_TRUE(main.grdData.showingData());
    EXPECT_EQ(binding(program).recordSource(), source);
}

TEST_F(SearchTabTest, ABoxSearchesOnlyOnTheIndexesItServes) {
    optSearch_Click(program, 0);
    const std::size_t all = gridRows();
    // Index 3 is not one of txtCity's: the hourglass goes up and stays, nothing is searched.
    main.txtCity(0).setText("SPRING");
    const std::size_t narrowed = gridRows();
    EXPECT_LT(narrowed, all);
    EXPECT_EQ(screen.mousePointer(), 0);
    const std::int16_t served[] = {0};
    criterionChange(program, served, 3);
    EXPECT_EQ(screen.mousePointer(), 11);
    EXPECT_EQ(gridRows(), narrowed);
}

TEST_F(SearchTabTest, EveryBoxIsWiredToTheCategoriesThatShowIt) {
    // A change of each box of each category searches that category's table with its criteria:
    // a criterion nobody matches empties the grid.
    const auto& categories = forms::searchCategories();
    for (std::size_t i = 0; i < 9; ++i) {
        for (const auto& c : categories[i].criteria) {
            SCOPED_TRACE(std::string(categories[i].table) + " " + std::string(c.caption));
            optSearch_Click(program, static_cast<std::int16_t>(i));
            ASSERT_GT(gridRows(), 0u);
            forms::TextBox& box = (main.*c.box)(static_cast<int>(i));
            box.setText("\x01no such value\x01");
            EXPECT_EQ(gridRows(), 0u);
            box.setText("");
            EXPECT_GT(gridRows(), 0u);
        }
    }
}

TEST_F(SearchTabTest, AMissingTableFailsInsideTheHandler) {
    {
        jet::OpenOptions o;
        o.readOnly = false;
        jet::Database db = jet::Database::open(host.drive().host("KELDATA\\Office.mdb"), o);
        jet::dropTable(db, "ClientFee");
    }
    EXPECT_NE(failure([&] { optSearch_Click(program, 5); }), 0);
    // What was set before the failure stays: the frame, and the hourglass.
    EXPECT_TRUE(main.fraSearch(5).visible());
    EXPECT_EQ(main.mousePointer(), 11);
    // Another category still works.
    EXPECT_EQ(failure([&] { optSearch_Click(program, 3); }), 0);
    EXPECT_EQ(main.mousePointer(), 0);
}

TEST_F(SearchTabTest, TheCalendarOpensOnTodayAndWritesTheShortDate) {
    optSearch_Click(program, 1);
    host.clock().set({2026, 11, 23, 14, 5, 9});
    imgInvoiceDate_Click(program);
    EXPECT_TRUE(date.loaded());
    EXPECT_FALSE(date.modal());
    EXPECT_EQ(date.calcCalendar.value(), (forms::Date{2026, 11, 23}));
    date.calcCalendar.userClickDate({2006, 11, 3});
    EXPECT_EQ(main.txtInvoiceDate(1).text(), "11/3/2006");
    EXPECT_FALSE(date.loaded());
}

}  // namespace
}  // namespace qx::search
