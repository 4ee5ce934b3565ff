// Times the table viewer on an installation: the listing once, then RUNS double clicks on the
// line of TABLE in the Office section (binding, field and record counts) each followed by reading
// the first screen of rows (40) the grid shows, and one read of a window of rows from the middle
// of the table, as scrolling there does. Prints the first run, the median, the 95th percentile,
// the processor time of this thread, and the peak resident memory of the process.
//
//   qx_viewer_bench DRIVE_C [TABLE] [RUNS]
//
// DRIVE_C is the host folder standing for C: (with APPRAISE\kel.ini and the suite's folders);
// TABLE defaults to Property, RUNS to 20. See scripts/bench-viewer.sh.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "dbinspect/wire.h"
#include "platform/bench_clock.h"
#include "platform/errors.h"
#include "platform/posix_platform.h"
#include "shell/app.h"
#include "shell/frmMain.h"

namespace {

using qx::bench::Clock;
using qx::bench::cpuMs;
using qx::bench::ms;
using qx::bench::peakKb;

double percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    const auto at = static_cast<std::size_t>(p * static_cast<double>(v.size() - 1) + 0.5);
    return v[at];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: qx_viewer_bench DRIVE_C [TABLE] [RUNS]\n");
        return 2;
    }
    const std::string table = argc > 2 ? argv[2] : "Property";
    const int runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 20;

    qx::platform::PosixPlatform host({.root = argv[1]});
    host.messages().setFallback([](const qx::platform::ShownBox& b) {
        std::fprintf(stderr, "message box: %s\n", b.text.c_str());
        return qx::platform::affirmativeAnswer(b.buttons);
    });
    qx::shell::Application app(host.platform(), qx::shell::buildVersion(), qx::dbinspect::wire);
    bool failed = false;
    app.onUnhandledError = [&failed](const qx::RuntimeError& e) {
        std::fprintf(stderr, "Run-time error '%d': %s\n", e.number(), e.description().c_str());
        failed = true;
    };
    if (!app.start()) return 1;
    qx::forms::FrmMain& f = app.frmMain();

    const auto listStart = Clock::now();
    app.dispatch([&] { f.SSTab1.userSelectTab(1); });
    const double listingMs = ms(listStart, Clock::now());
    int line = -1;
    for (std::size_t i = 0; i < f.lstTableListing.listCount(); ++i)
        if (f.lstTableListing.list(static_cast<int>(i)) == "office-" + table) line = static_cast<int>(i);
    if (line < 0) {
        std::fprintf(stderr, "office-%s is not listed\n", table.c_str());
        return 1;
    }
    app.dispatch([&] { f.lstTableListing.userSelect(line); });

    std::vector<double> toCounts, toFirstScreen, middle;
    const double cpuBefore = cpuMs();
    std::size_t rows = 0;
    for (int r = 0; r < runs && !failed; ++r) {
        const auto t0 = Clock::now();
        app.dispatch([&] { f.lstTableListing.userDblClick(); });
        const auto t1 = Clock::now();
        const auto screen = f.grdListing.rowWindow(0, 40);
        const auto t2 = Clock::now();
        rows = f.grdListing.rowCount();
        const auto t3 = Clock::now();
        const auto scrolled = f.grdListing.rowWindow(rows / 2, 40);
        const auto t4 = Clock::now();
        if (screen.empty() || scrolled.empty()) failed = true;
        toCounts.push_back(ms(t0, t1));
        toFirstScreen.push_back(ms(t0, t2));
        middle.push_back(ms(t3, t4));
    }
    if (failed) return 1;
    const double cpu = cpuMs() - cpuBefore;

    std::printf("viewer on %s: %zu rows, %s, %s\n", table.c_str(), rows, f.lblFieldCount.caption().c_str(),
                f.lblRecordCount.caption().c_str());
    std::printf("  listing (arrival at the tab)      %8.1f ms\n", listingMs);
    std::printf("  double click to counts            first %8.1f ms  median %8.1f ms  p95 %8.1f ms\n",
                toCounts.front(), percentile(toCounts, 0.5), percentile(toCounts, 0.95));
    std::printf("  double click to first 40 rows     first %8.1f ms  median %8.1f ms  p95 %8.1f ms\n",
                toFirstScreen.front(), percentile(toFirstScreen, 0.5), percentile(toFirstScreen, 0.95));
    std::printf("  40 rows from the middle           first %8.1f ms  median %8.1f ms  p95 %8.1f ms\n",
                middle.front(), percentile(middle, 0.5), percentile(middle, 0.95));
    std::printf("  processor time, %d runs           %8.1f ms\n", runs, cpu);
    std::printf("  peak resident memory              %8ld kB\n", peakKb());
    return 0;
}
