// The data grids on the real window: the rows the shared data control holds are the rows the grid
// shows, and a grid that lets go of the data (tab change, Clear) shows nothing.
#include <QHeaderView>
#include <QTableView>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/errors.h"
#include "search/query_routines.h"
#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

std::string cell(const GridTableModel& model, int row, int column) {
    return s(model.data(model.index(row, column)).toString());
}

// The search page's grid bound to a whole table of the central database, as choosing a category
// does it.
void bindSearchTable(Session& user, const std::string& table) {
    ASSERT_TRUE(user.windows().binder().dispatch([&] {
        auto& program = user.app().program();
        search::AdoConnectTableANDDatabase(program, table, "office.mdb", user.app().globals().dataDir);
        user.app().frmMain().grdData.refresh();
    }));
}

TEST(GridWindow, TheSearchGridShowsTheRowsOfTheBoundTable) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    bindSearchTable(user, "Property");
    const forms::Grid& grid = user.app().frmMain().grdData;
    auto* view = user.find<QTableView>("grdData");
    ASSERT_NE(view, nullptr);
    const GridTableModel& model = *gridModel(view);
    ASSERT_GT(grid.rowCount(), 0u);
    ASSERT_EQ(static_cast<std::size_t>(model.rowCount()), grid.rowCount());
    const auto columns = grid.columns();
    ASSERT_EQ(static_cast<std::size_t>(model.columnCount()), columns.size());
    for (std::size_t c = 0; c < columns.size(); ++c) {
        EXPECT_EQ(s(model.headerData(static_cast<int>(c), Qt::Horizontal).toString()), columns[c]);
    }
    const std::size_t last = grid.rowCount() - 1;
    for (std::size_t r : {std::size_t{0}, last}) {
        const auto texts = grid.rowTexts(r);
        for (std::size_t c = 0; c < texts.size(); ++c) {
            EXPECT_EQ(cell(model, static_cast<int>(r), static_cast<int>(c)), texts[c]) << r << "," << c;
        }
    }
}

TEST(GridWindow, LeavingTheSearchTabForTheCountsTabEmptiesTheSearchGrid) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    bindSearchTable(user, "Client");
    auto* view = user.find<QTableView>("grdData");
    ASSERT_GT(gridModel(view)->rowCount(), 0);
    user.chooseTab(1);
    EXPECT_EQ(user.app().frmMain().boundGridName, "grdListing");
    EXPECT_EQ(gridModel(view)->rowCount(), 0);
    EXPECT_EQ(gridModel(view)->columnCount(), 0);
}

TEST(GridWindow, ComingBackToTheSearchTabClearsTheCriteriaTypedBefore) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    user.click("optSearch(0)");
    // The property criteria are shown; the user types a city.
    ASSERT_TRUE(user.widget("fraSearch(0)")->isVisible());
    user.typeInto("txtCity(0)", "york");
    ASSERT_EQ(user.app().frmMain().txtCity(0).text(), "york");
    user.chooseTab(1);
    user.chooseTab(2);
    EXPECT_EQ(user.text("txtCity(0)"), "");
    EXPECT_EQ(user.app().frmMain().txtCity(0).text(), "");
    EXPECT_EQ(user.app().frmMain().boundGridName, "grdData");
    EXPECT_TRUE(user.app().frmMain().optSearch(11).value());
}

TEST(GridWindow, TheGridsCarryTheEditingPermissionsTheProgramSets) {
    Session user;
    ASSERT_TRUE(user.start());
    auto* view = user.find<QTableView>("grdListing");
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(view->property("allowUpdate").toBool());
    ASSERT_TRUE(user.windows().binder().dispatch([&] { user.app().frmMain().grdListing.setEditing(true); }));
    EXPECT_TRUE(view->property("allowAddNew").toBool());
    EXPECT_TRUE(view->property("allowDelete").toBool());
    EXPECT_TRUE(view->property("allowUpdate").toBool());
    // The window never writes to a database itself.
    EXPECT_EQ(view->editTriggers(), QAbstractItemView::NoEditTriggers);
}

TEST(GridWindow, ThePagesClearEmptiesTheSearchGrid) {
    Session user;
    ASSERT_TRUE(user.start());
    user.chooseTab(2);
    bindSearchTable(user, "Company");
    auto* view = user.find<QTableView>("grdData");
    ASSERT_GT(gridModel(view)->rowCount(), 0);
    user.click("cmdClear(2)");
    EXPECT_EQ(gridModel(view)->rowCount(), 0);
    EXPECT_EQ(user.text("lblCount"), "Record Count:");
    EXPECT_EQ(user.text("lblFCount"), "Field Count:");
}

// A row the source cannot read shows "#Error" in each cell with the error as its tooltip; the
// other rows of its window still show, and rows are read a window at a time.
TEST(GridWindow, ARowThatCannotBeReadShowsTheErrorNotABlankRow) {
    Session user;  // a QApplication for the model
    GridTableModel model;
    std::vector<std::pair<std::size_t, std::size_t>> reads;
    model.setSource({"A", "B"}, 200, [&reads](std::size_t first, std::size_t count) {
        reads.emplace_back(first, count);
        std::vector<std::vector<std::string>> rows;
        for (std::size_t r = first; r < first + count; ++r) {
            if (r == 70) throw RuntimeError(-2147467259, "Cannot open database 'x'.");
            rows.push_back({std::to_string(r), "b"});
        }
        return rows;
    });
    EXPECT_EQ(cell(model, 3, 0), "3");
    EXPECT_EQ(cell(model, 63, 1), "b");
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_EQ(reads[0], std::make_pair(std::size_t{0}, GridTableModel::kWindow));
    EXPECT_EQ(cell(model, 70, 0), GridTableModel::kErrorCell);
    EXPECT_EQ(cell(model, 70, 1), GridTableModel::kErrorCell);
    EXPECT_EQ(s(model.data(model.index(70, 0), Qt::ToolTipRole).toString()),
              "Run-time error '-2147467259': Cannot open database 'x'.");
    EXPECT_EQ(model.rowError(70), "Run-time error '-2147467259': Cannot open database 'x'.");
    EXPECT_EQ(cell(model, 71, 0), "71");
    EXPECT_EQ(model.rowError(71), "");
    EXPECT_FALSE(model.data(model.index(71, 0), Qt::ToolTipRole).isValid());
    EXPECT_EQ(cell(model, 199, 0), "199");
}

}  // namespace
}  // namespace qx::ui::testing
