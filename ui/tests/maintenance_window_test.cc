// The "Data Maintenance" page, the backup warning and the compaction form on the real windows:
// the buttons reach their forms, and while a compaction runs the form keeps repainting its
// working label and its progress bar (the window is serviced between tables), ignores a close of
// its window until the run is done, and ends with the status line and the closing message.
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/frmWarning.h"
#include "ui/tests/session.h"

namespace qx::ui::testing {
namespace {

std::string str(const QString& text) {
    return text.toUtf8().toStdString();
}

void clickLine(QListWidget* list, int row) {
    ASSERT_NE(list, nullptr);
    ASSERT_TRUE(list->isVisible());
    ASSERT_LT(row, list->count());
    const QRect r = list->visualItemRect(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, r.center());
}

TEST(MaintenanceWindow, CleanupYearAndListingFillTheListInTheWindow) {
    Session s;
    ASSERT_TRUE(s.start());
    s.chooseTab(3);
    s.click("cmdFix(3)");
    EXPECT_EQ(s.items("lstDetails"),
              (std::vector<std::string>{"This utility deletes temporary", "database tables used in the",
                                        "creation of output reports"}));
    s.click("cmdFix(5)");
    const auto listing = s.items("lstDetails");
    ASSERT_FALSE(listing.empty());
    EXPECT_EQ(listing.front(), "Database Tables within Office.mdb");
    EXPECT_EQ(listing.back(), "Settings");
    s.click("cmdFix(7)");
    EXPECT_TRUE(s.items("lstDetails").empty());
    EXPECT_TRUE(s.widget("lstDetails")->isVisible());
}

TEST(MaintenanceWindow, WarningShowsItsTextAndProceedLeadsNowhereForDataMaintenance) {
    Session s;
    ASSERT_TRUE(s.start());
    s.chooseTab(3);
    s.click("cmdFix(0)");
    QWidget* warning = s.windows().view("frmWarning");
    ASSERT_TRUE(warning->isVisible());
    EXPECT_EQ(str(warning->windowTitle()), "Backup Declaration");
    EXPECT_EQ(s.text("lblMessage", "frmWarning"), std::string(forms::FrmWarning::kMessage));
    EXPECT_FALSE(s.widget("lstDetails")->isVisible());
    s.click("cmdProceed", "frmWarning");
    EXPECT_FALSE(warning->isVisible());
    EXPECT_FALSE(s.windows().view("frmCompress")->isVisible());
}

TEST(MaintenanceWindow, CompactionRepaintsWhileItRunsAndKeepsItsWindowOpen) {
    Session s;
    ASSERT_TRUE(s.start());
    s.chooseTab(3);
    s.click("cmdFix(2)");
    s.click("cmdProceed", "frmWarning");
    QWidget* form = s.windows().view("frmCompress");
    ASSERT_TRUE(form->isVisible());
    EXPECT_EQ(s.items("lstdatabases", "frmCompress"), (std::vector<std::string>{"KelCom.mdb", "Office.mdb"}));
    clickLine(s.find<QListWidget>("lstdatabases", "frmCompress"), 1);

    // What the user sees while the handler runs, sampled by the window's own event loop.
    struct Sample {
        std::string working;
        int progress;
    };
    std::vector<Sample> samples;
    auto* label = s.find<QLabel>("lblworking", "frmCompress");
    auto* bar = s.find<QProgressBar>("pbrWorking", "frmCompress");
    ASSERT_NE(label, nullptr);
    ASSERT_NE(bar, nullptr);
    QTimer sampler;
    sampler.setInterval(0);
    QObject::connect(&sampler, &QTimer::timeout, [&] {
        samples.push_back({str(label->text()), bar->value()});
        form->close();  // the user closes the window in the middle of the run
    });
    sampler.start();
    s.answer(QMessageBox::Ok);
    s.click("cmdCompress", "frmCompress");
    sampler.stop();

    bool sawWorking = false;
    for (const Sample& sample : samples) sawWorking |= sample.working == "Working on 'OFFICE.MDB'";
    EXPECT_TRUE(sawWorking) << samples.size() << " samples";
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(s.app().frmCompress().loaded());
    EXPECT_EQ(bar->value(), bar->maximum());
    EXPECT_EQ(s.items("lststatus", "frmCompress"),
              (std::vector<std::string>{"OFFICE.MDB: Compressed 17.9%"}));
    ASSERT_FALSE(s.boxes().empty());
    EXPECT_EQ(s.boxes().back().text, "Process Complete.  Everyone can now reopen their applications.");
    s.click("cmdClose", "frmCompress");
    EXPECT_FALSE(form->isVisible());
}

}  // namespace
}  // namespace qx::ui::testing
