// The viewer and the search on the real windows (offscreen), on the 142 MB benchmark database put
// in place of the suite's Office.mdb: the time from a user's gesture until its effect is painted,
// and the process's peak memory. Run by scripts/bench-ui.sh; not a test (no goal is asserted,
// only that each gesture did what it does).
//   QX_BENCH_MDB=path/Office.mdb QX_BENCH_RUNS=N QT_QPA_PLATFORM=offscreen qx_ui_bench
#include <sys/resource.h>
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ui/tests/session.h"
#include "ui/widgets.h"

namespace qx::ui::testing {
namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Lets the window handle what the gesture posted and paint it.
void settle(QWidget* window) {
    QApplication::processEvents();
    window->repaint();
    QApplication::processEvents();
}

struct Figures {
    std::vector<double> ms;
    void print(const char* what) const {
        if (ms.empty()) return;
        std::vector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        const double median = sorted[sorted.size() / 2];
        const double p95 = sorted[std::min(sorted.size() - 1, sorted.size() * 95 / 100)];
        std::printf("  %-40s first %8.1f ms  median %8.1f ms  p95 %8.1f ms  (%zu)\n", what, ms.front(),
                    median, p95, ms.size());
    }
};

long peakKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

int rowOf(QListWidget* list, const std::string& line) {
    for (int i = 0; i < list->count(); ++i)
        if (s(list->item(i)->text()) == line) return i;
    return -1;
}

TEST(WidgetBench, ViewerAndSearchOnTheBenchmarkDatabase) {
    const char* mdb = std::getenv("QX_BENCH_MDB");
    if (!mdb) GTEST_SKIP() << "QX_BENCH_MDB names the benchmark database";
    const int runs =
        std::max(1, std::atoi(std::getenv("QX_BENCH_RUNS") ? std::getenv("QX_BENCH_RUNS") : "5"));
    Session user;
    const std::filesystem::path office = user.platform().drive().host("KELDATA/Office.mdb");
    std::filesystem::remove(office);
    std::error_code linked;
    std::filesystem::create_hard_link(mdb, office, linked);
    if (linked) std::filesystem::copy_file(mdb, office);
    ASSERT_TRUE(user.start());
    QWidget* window = user.windows().view("frmMain");
    ASSERT_NE(window, nullptr);
    std::printf("real windows, offscreen, on %s (%ju bytes), %d runs\n", mdb,
                static_cast<std::uintmax_t>(std::filesystem::file_size(office)), runs);

    // The viewer: arrival at the counts page (the listing), then Property opened by a double click.
    auto start = Clock::now();
    user.chooseTab(1);
    settle(window);
    const double arrival = since(start);
    auto* list = user.find<QListWidget>("lstTableListing");
    auto* grid = user.find<QTableView>("grdListing");
    ASSERT_TRUE(list && grid);
    const int row = rowOf(list, "office-Property");
    ASSERT_GE(row, 0);
    Figures open, middle;
    for (int i = 0; i < runs; ++i) {
        list->scrollToItem(list->item(row));
        const QPoint at = list->visualItemRect(list->item(row)).center();
        start = Clock::now();
        doubleClick(list->viewport(), at);
        settle(window);
        open.ms.push_back(since(start));
        ASSERT_EQ(user.text("lblRecordCount"), "Record Count =200000");
        ASSERT_EQ(grid->model()->rowCount(), 200000);
        start = Clock::now();
        grid->scrollTo(grid->model()->index(100000 + 1000 * i, 0));
        settle(window);
        middle.ms.push_back(since(start));
        grid->scrollToTop();
    }
    std::printf("viewer on Property\n  %-40s %8.1f ms\n", "arrival at the counts page (listing)", arrival);
    open.print("double click to counts and first screen");
    middle.print("a screen from the middle");

    // The search: Property chosen (after another category, so each run binds again), then a
    // typed sequence in three boxes, each key stroke until the grid is painted.
    user.chooseTab(2);
    settle(window);
    auto* data = user.find<QTableView>("grdData");
    ASSERT_NE(data, nullptr);
    Figures choose, strokes, firstInColumn;
    for (int i = 0; i < runs; ++i) {
        if (i > 0) {
            user.click("optSearch(3)");
            settle(window);
        }
        start = Clock::now();
        user.click("optSearch(0)");
        settle(window);
        choose.ms.push_back(since(start));
        ASSERT_EQ(user.text("lblCount"), "Record Count = 200000");
        for (const auto& [box, typed] : {std::pair<const char*, const char*>{"txtCity(0)", "york"},
                                         {"txtState(0)", "n"},
                                         {"txtZip(0)", "12"}}) {
            for (const char* c = typed; *c; ++c) {
                start = Clock::now();
                user.typeInto(box, std::string(1, *c));
                settle(window);
                const double took = since(start);
                strokes.ms.push_back(took);
                if (i == 0 && c == typed) firstInColumn.ms.push_back(took);
            }
            if (i == 0) std::printf("  (%s \"%s\": %d rows)\n", box, typed, data->model()->rowCount());
        }
        EXPECT_GT(data->model()->rowCount(), 0);
        EXPECT_LT(data->model()->rowCount(), 200000);
        // Emptied as a user empties them: everything selected, then Backspace.
        for (const char* box : {"txtCity(0)", "txtState(0)", "txtZip(0)"}) {
            auto* line = user.find<QLineEdit>(box);
            line->setFocus();
            line->selectAll();
            QTest::keyClick(line, Qt::Key_Backspace);
        }
        settle(window);
    }
    std::printf("search on Property\n");
    choose.print("choosing Property (bind, counts, screen)");
    strokes.print("key stroke to painted grid");
    firstInColumn.print("first key stroke in a new column");
    std::printf("peak resident memory %ld KiB\n", peakKiB());
}

}  // namespace
}  // namespace qx::ui::testing
