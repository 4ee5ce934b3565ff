// Times the search tab on a large Office.mdb through its handlers: choosing the Property category
// (the whole table bound, the counts, the first 40 rows a grid shows), and a typed sequence in
// three criteria boxes, each key stroke one change that re-runs the search and reads the grid's
// first screen. Also times mdb-sql running a comparable filter on the same file, for scale.
//
//   qx_search_bench DRIVE_C [RUNS]
//
// DRIVE_C is the host folder standing for C:; the database is C:\KELDATA\Office.mdb. The typed
// sequence runs RUNS times (default 60) in this one process; the first key stroke in each box of
// the first run (a column not searched before) is reported apart.
// Wall-clock times depend on what else the machine is doing; the processor time this thread used
// is printed beside them.
// See scripts/bench-search.sh.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/bench_clock.h"
#include "platform/errors.h"
#include "platform/posix_platform.h"
#include "search/query_routines.h"
#include "search/tab.h"
#include "search/wire.h"
#include "shell/frmCompress.h"
#include "shell/frmDate.h"
#include "shell/frmDetails.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"
#include "shell/frmSM.h"
#include "shell/frmWarning.h"

namespace {

using qx::bench::Clock;
using qx::bench::cpuMs;
using qx::bench::ms;

struct Figures {
    double first = 0, median = 0, p95 = 0;
    std::size_t runs = 0;
};

Figures summarize(std::vector<double> times) {
    Figures f;
    f.runs = times.size();
    if (times.empty()) return f;
    f.first = times.front();
    std::vector<double> rest(times.begin() + 1, times.end());
    if (rest.empty()) rest = times;
    std::sort(rest.begin(), rest.end());
    f.median = rest[rest.size() / 2];
    f.p95 = rest[std::min(rest.size() - 1, (rest.size() * 95 + 99) / 100 - 1)];
    return f;
}

// Wall time of one mdb-sql run of `sql` on `file`, and the number of output lines it printed.
std::pair<double, std::size_t> timeMdbSql(const std::string& file, const std::string& sql) {
    const std::string command =
        "printf '%s\\ngo\\n' \"" + sql + "\" | mdb-sql -HFP '" + file + "' 2>/dev/null";
    const auto t0 = Clock::now();
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return {-1, 0};
    std::size_t lines = 0;
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0)
        lines += static_cast<std::size_t>(std::count(buf, buf + n, '\n'));
    const int status = ::pclose(pipe);
    const auto t1 = Clock::now();
    if (status != 0) return {-1, lines};
    return {ms(t0, t1), lines};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: qx_search_bench DRIVE_C [RUNS]\n");
        return 2;
    }
    const std::string root = argv[1];
    const int runs = argc > 2 ? std::max(2, std::atoi(argv[2])) : 60;

    qx::platform::PosixPlatform host({.root = root});
    qx::Globals g;
    g.dataDir = "C:\\KELDATA\\";
    qx::forms::Screen screen;
    qx::forms::FormContext context{host.platform(), screen};
    qx::forms::FrmMain main(context);
    qx::forms::FrmSM sm(context);
    qx::forms::FrmDetails details(context);
    qx::forms::FrmGridSecurity gridSecurity(context);
    qx::forms::FrmDate date(context);
    qx::forms::FrmWarning warning(context);
    qx::forms::FrmCompress compress(context);
    qx::forms::ShellHooks hooks;
    qx::forms::Program program{qx::Runtime{host.platform(), g},
                               screen,
                               main,
                               sm,
                               details,
                               gridSecurity,
                               date,
                               warning,
                               compress,
                               hooks};
    qx::search::wire(program);

    // The first screen of the grid: the record count and the first 40 rows' texts.
    auto firstScreen = [&] {
        std::size_t shown = 0;
        for (std::size_t row = 0; row < 40 && row < main.grdData.rowCount(); ++row)
            shown += main.grdData.rowTexts(row).empty() ? 0 : 1;
        return shown;
    };

    std::printf("search tab on %s\\KELDATA\\Office.mdb, through the tab's handlers (%d runs)\n", root.c_str(),
                runs);
    double worstMedian = 0;
    try {
        // Choosing the Property category: the whole table bound, the counts, the first screen.
        std::vector<double> choose, chooseCpu;
        for (int r = 0; r < std::min(runs, 10); ++r) {
            const auto t0 = Clock::now();
            const double c0cpu = cpuMs();
            qx::search::optSearch_Click(program, 0);
            firstScreen();
            choose.push_back(ms(t0, Clock::now()));
            chooseCpu.push_back(cpuMs() - c0cpu);
        }
        const Figures fc = summarize(choose);
        const Figures fcc = summarize(chooseCpu);
        std::printf("\nchoosing Property Records: %s, %s\n", main.lblFCount.caption().c_str(),
                    main.lblCount.caption().c_str());
        std::printf("  wall:      first %.2f ms   median %.2f ms   p95 %.2f ms\n", fc.first, fc.median,
                    fc.p95);
        std::printf("  processor: first %.2f ms   median %.2f ms   p95 %.2f ms\n", fcc.first, fcc.median,
                    fcc.p95);

        // A typed sequence in three boxes, one change per key stroke, each followed by the grid's
        // first screen. The first key stroke in each box searches a column not searched before.
        struct Box {
            qx::forms::TextBox* box;
            const char* text;
        };
        const std::vector<Box> boxes{
            {&main.txtCity(0), "york"}, {&main.txtState(0), "n"}, {&main.txtZip(0), "12"}};
        std::vector<double> strokes, cpu, firstInColumn;
        std::size_t rows = 0;
        std::string statement;
        for (int r = 0; r < runs; ++r) {
            for (const Box& b : boxes) {
                std::string typed;
                for (const char* c = b.text; *c; ++c) {
                    typed += *c;
                    const auto t0 = Clock::now();
                    const double c0cpu = cpuMs();
                    b.box->setText(typed);
                    firstScreen();
                    const double t = ms(t0, Clock::now());
                    if (r == 0 && c == b.text) firstInColumn.push_back(t);
                    strokes.push_back(t);
                    cpu.push_back(cpuMs() - c0cpu);
                }
            }
            rows = main.grdData.rowCount();
            statement = qx::search::binding(program).recordSource();
            // Back to the whole table (not timed), as a user clearing the boxes.
            for (const Box& b : boxes) b.box->setText("");
        }
        const Figures f = summarize(strokes);
        const Figures fcpu = summarize(cpu);
        worstMedian = f.median;
        std::printf(
            "\nkey strokes (city \"york\", state \"n\", zip \"12\"): %zu strokes, %zu rows at the end\n",
            strokes.size(), rows);
        std::printf("  last statement: %s\n", statement.c_str());
        std::printf("  wall:      median %.2f ms   p95 %.2f ms\n", f.median, f.p95);
        std::printf("  processor: median %.2f ms   p95 %.2f ms\n", fcpu.median, fcpu.p95);
        std::printf("  first key stroke in a column not searched before:");
        for (double t : firstInColumn) std::printf(" %.2f ms", t);
        std::printf("\n");
    } catch (const qx::RuntimeError& e) {
        std::fprintf(stderr, "error %d: %s\n", e.number(), e.description().c_str());
        return 1;
    }

    const std::string file = host.platform().fs.hostPath("C:\\KELDATA\\Office.mdb");
    const std::string mdbSql = "SELECT * FROM Property WHERE City LIKE '%York%'";
    std::vector<double> mdbTimes;
    std::size_t lines = 0;
    for (int r = 0; r < 5; ++r) {
        const auto [t, n] = timeMdbSql(file, mdbSql);
        if (t < 0) break;
        mdbTimes.push_back(t);
        lines = n;
    }
    if (mdbTimes.empty()) {
        std::printf("\nmdb-sql: not available\n");
        return 0;
    }
    std::sort(mdbTimes.begin(), mdbTimes.end());
    const double mdbMedian = mdbTimes[mdbTimes.size() / 2];
    std::printf("\nmdb-sql %s: median %.1f ms over %zu runs (%zu lines)\n", mdbSql.c_str(), mdbMedian,
                mdbTimes.size(), lines);
    std::printf("slowest sequence median vs mdb-sql: %.1f times faster\n",
                mdbMedian / std::max(worstMedian, 1e-3));
    return 0;
}
