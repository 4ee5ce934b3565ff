// The "Database Counts" page and the unlock form on the real widgets: a double click and a key
// press in the listing, the grid showing the table by windows of rows, the Security menu's check
// mark, and frmGridSecurity driven by its widgets' object names.
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <string>

#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

int rowOf(QListWidget* list, const std::string& line) {
    for (int i = 0; i < list->count(); ++i)
        if (s(list->item(i)->text()) == line) return i;
    return -1;
}

QPoint centreOf(QListWidget* list, int row) {
    list->scrollToItem(list->item(row));
    return list->visualItemRect(list->item(row)).center();
}

class CountsWindow : public ::testing::Test {
  protected:
    void SetUp() override {
        user.platform().clock().set({2028, 2, 29, 10, 0, 0});
        ASSERT_TRUE(user.start());
        user.chooseTab(1);
        list = user.find<QListWidget>("lstTableListing");
        ASSERT_NE(list, nullptr);
        ASSERT_TRUE(list->isVisible());
        grid = user.find<QTableView>("grdListing");
        ASSERT_NE(grid, nullptr);
    }
    void doubleClickLine(const std::string& line) {
        const int row = rowOf(list, line);
        ASSERT_GE(row, 0) << line;
        doubleClick(list->viewport(), centreOf(list, row));
    }

    Session user;
    QListWidget* list = nullptr;
    QTableView* grid = nullptr;
};

TEST_F(CountsWindow, ArrivingListsEveryDatabase) {
    const auto items = user.items("lstTableListing");
    ASSERT_EQ(items.size(), user.app().frmMain().lstTableListing.listCount());
    EXPECT_EQ(items.front(), "Database Tables within Office.mdb");
    EXPECT_EQ(items.back(), "kelcom-SharedLibrary");
    EXPECT_EQ(user.text("lblTableCount"), "TableCount:");
}

TEST_F(CountsWindow, ADoubleClickOnATableLineShowsTheTableAndItsCounts) {
    doubleClickLine("office-Client");
    const int row = rowOf(list, "office-Client");
    EXPECT_EQ(user.text("lblLocation"), "Location = C:\\KELDATA\\");
    EXPECT_EQ(user.text("lblDatabaseName"), "Database = office.mdb");
    EXPECT_EQ(user.text("lblTableName"), "Table Name = Client");
    EXPECT_EQ(user.text("lblTableCount"), "Table count = " + std::to_string(row));
    const forms::Grid& model = user.app().frmMain().grdListing;
    EXPECT_EQ(user.text("lblFieldCount"), "Field Count =" + std::to_string(model.columns().size()));
    EXPECT_EQ(user.text("lblRecordCount"), "Record Count =" + std::to_string(model.rowCount()));
    // The selection is back on the line after the walk up to the location line.
    EXPECT_EQ(list->currentRow(), row);
    const GridTableModel& shown = *gridModel(grid);
    ASSERT_GT(model.rowCount(), 0u);
    EXPECT_EQ(static_cast<std::size_t>(shown.rowCount()), model.rowCount());
    EXPECT_EQ(shown.columns(), model.columns());
    EXPECT_EQ(shown.rowTexts(0), model.rowTexts(0));
    EXPECT_EQ(shown.rowTexts(model.rowCount() - 1), model.rowTexts(model.rowCount() - 1));
    EXPECT_TRUE(user.boxes().empty());
}

TEST_F(CountsWindow, AKeyPressInTheListRunsTheViewer) {
    const int row = rowOf(list, "kelret-Transfer");
    ASSERT_GE(row, 0);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, centreOf(list, row));
    ASSERT_EQ(user.app().frmMain().lstTableListing.listIndex(), row);
    EXPECT_EQ(user.text("lblTableName"), "Table Name:");
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(user.text("lblTableName"), "Table Name = Transfer");
    EXPECT_EQ(user.text("lblLocation"), "Location = C:\\KEL\\");
    EXPECT_EQ(user.text("lblTableCount"), "Table count = " + std::to_string(row));
    EXPECT_NE(user.text("lblRecordCount"), "Record Count:");
    // A letter too: the viewer runs on the line selected when the key came.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, centreOf(list, 0));
    QTest::keyClick(list, Qt::Key_Q);
    EXPECT_EQ(user.text("lblTableName"), "Table Name: ");
    EXPECT_EQ(user.text("lblTableCount"), "Table count = 0");
}

TEST_F(CountsWindow, UsersIsRefusedWithAMessageBoxAndTheGridKeepsItsTable) {
    doubleClickLine("office-Client");
    const std::size_t rows = static_cast<std::size_t>(gridModel(grid)->rowCount());
    user.answer(QMessageBox::Ok);
    doubleClickLine("office-Users");
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].title, "Permission Denied");
    EXPECT_EQ(user.boxes()[0].text, "You do not have sufficient SECURITY ACCESS to view this database table");
    EXPECT_EQ(user.boxes()[0].buttons, QMessageBox::Ok);
    EXPECT_EQ(user.text("lblTableName"), "Table Name = Users");
    EXPECT_EQ(static_cast<std::size_t>(gridModel(grid)->rowCount()), rows);
}

TEST_F(CountsWindow, TheSecurityFormDrivenByItsWidgets) {
    QAction* security = user.main().action("mnuFileSecurity");
    ASSERT_NE(security, nullptr);
    EXPECT_TRUE(security->isCheckable());
    EXPECT_TRUE(security->isChecked());
    EXPECT_TRUE(grid->property("allowUpdate").isValid());
    EXPECT_FALSE(grid->property("allowUpdate").toBool());

    user.menu("mnuFileSecurity");
    QWidget* form = user.windows().view("frmGridSecurity");
    ASSERT_NE(form, nullptr);
    ASSERT_TRUE(form->isVisible());
    EXPECT_EQ(s(form->windowTitle()), "Database Grid - Security");
    EXPECT_EQ(form->windowModality(), Qt::ApplicationModal);
    auto* code = user.find<QLineEdit>("txtPassword", "frmGridSecurity");
    ASSERT_NE(code, nullptr);

    // A wrong code, submitted with Enter: refused in the labels, the box emptied and focused.
    user.typeInto("txtPassword", "12345678", "frmGridSecurity");
    QTest::keyClick(code, Qt::Key_Return);
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(user.text("lblPassword", "frmGridSecurity"), "Invalid Unlock Code");
    EXPECT_EQ(user.text("lblPassword2", "frmGridSecurity"), "Please Re-Enter 8-digit Unlock Code");
    EXPECT_EQ(user.text("txtPassword", "frmGridSecurity"), "");
    EXPECT_EQ(form->focusWidget(), code);
    // The main window takes no clicks meanwhile.
    EXPECT_FALSE(user.app().screen().acceptsInput(user.app().frmMain()));

    // The day's code with the Enter button.
    user.typeInto("txtPassword", "28292002", "frmGridSecurity");
    user.click("cmdEnter", "frmGridSecurity");
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(security->isChecked());
    EXPECT_TRUE(grid->property("allowUpdate").toBool());
    EXPECT_TRUE(user.widget("optSearch(10)") != nullptr);
    doubleClickLine("office-Users");
    EXPECT_TRUE(user.boxes().empty());
    EXPECT_EQ(user.text("lblRecordCount"), "Record Count =2");

    // The menu locks again, check mark and all.
    user.menu("mnuFileSecurity");
    EXPECT_TRUE(security->isChecked());
    EXPECT_FALSE(grid->property("allowUpdate").toBool());
}

TEST_F(CountsWindow, AFailedBindingIsReportedAndTheLabelsStay) {
    std::filesystem::remove(user.platform().drive().host("KEL\\KelRet.mdb"));
    user.answer(QMessageBox::Ok);
    doubleClickLine("kelret-Transfer");
    ASSERT_EQ(user.boxes().size(), 1u);
    EXPECT_EQ(user.boxes()[0].title, "Corvid Office Plus - QX Test");
    EXPECT_EQ(user.boxes()[0].text.rfind("Run-time error '", 0), 0u) << user.boxes()[0].text;
    EXPECT_EQ(user.text("lblTableName"), "Table Name = Transfer");
    EXPECT_EQ(user.text("lblLocation"), "Location = C:\\KEL\\");
    EXPECT_EQ(user.text("lblRecordCount"), "Record Count:");
}

}  // namespace
}  // namespace qx::ui::testing
