// The "Database Search" page on the real window: the category options, the criteria boxes that
// narrow the grid on every key stroke, and the invoice-date calendar.
#include <QCalendarWidget>
#include <QGroupBox>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

int shownRows(Session& user) {
    auto* view = user.find<QTableView>("grdData");
    return view ? gridModel(view)->rowCount() : -1;
}

TEST(SearchWindow, ChoosingACategoryShowsItsFrameAndTheWholeTable) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    // The Users category is not offered while the support lock is closed.
    ASSERT_NE(user.widget("optSearch(10)"), nullptr);
    EXPECT_FALSE(user.widget("optSearch(10)")->isVisible());
    // No frame before a category is chosen: the criteria boxes are out of reach.
    EXPECT_FALSE(user.widget("txtCity(0)")->isVisible());
    user.click("optSearch(0)");
    EXPECT_TRUE(user.widget("fraSearch(0)")->isVisible());
    EXPECT_EQ(user.text("lblCount"), "Record Count = 400");
    EXPECT_EQ(user.text("lblFCount"), "Field Count = 12");
    EXPECT_EQ(shownRows(user), 400);
    user.click("optSearch(3)");
    EXPECT_TRUE(user.widget("fraSearch(3)")->isVisible());
    EXPECT_TRUE(user.widget("fraSearch(0)")->isVisible());
    EXPECT_FALSE(user.widget("fraSearch(1)")->isVisible());
}

TEST(SearchWindow, EachKeyStrokeNarrowsTheGridAndTheCountsStay) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    user.click("optSearch(0)");
    std::vector<int> rows;
    for (char c : std::string("spring")) {
        user.typeInto("txtCity(0)", std::string(1, c));
        rows.push_back(shownRows(user));
    }
    ASSERT_EQ(rows.size(), 6u);
    EXPECT_LT(rows.front(), 400);
    for (std::size_t i = 1; i < rows.size(); ++i) EXPECT_LE(rows[i], rows[i - 1]);
    EXPECT_GT(rows.back(), 0);
    EXPECT_EQ(user.app().frmMain().grdData.rowCount(), static_cast<std::size_t>(rows.back()));
    EXPECT_EQ(user.text("lblCount"), "Record Count = 400");
    EXPECT_EQ(user.app().frmMain().txtCity(0).text(), "spring");
}

TEST(SearchWindow, ADayPickedInTheCalendarSearchesTheInvoices) {
    Session user;
    user.platform().clock().set({2006, 11, 20, 9, 30, 0});
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    user.click("optSearch(1)");
    user.click("imgInvoiceDate(1)");
    auto* calendar = user.find<QCalendarWidget>("calcCalendar", "frmDate");
    ASSERT_NE(calendar, nullptr);
    ASSERT_TRUE(calendar->isVisible());
    EXPECT_EQ(calendar->selectedDate(), QDate(2006, 11, 20));
    // The main window stays usable while the calendar is up.
    EXPECT_TRUE(user.widget("txtCheckNum(1)")->isVisible());
    emit calendar->clicked(QDate(2006, 1, 5));
    EXPECT_EQ(user.text("txtInvoiceDate(1)"), "1/5/2006");
    EXPECT_FALSE(user.app().frmDate().loaded());
    EXPECT_EQ(shownRows(user), 1);
}

}  // namespace
}  // namespace qx::ui::testing
