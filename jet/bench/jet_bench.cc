// Scan speed of the engine on a large database, next to mdb-export on the same tables.
//
//   jet-bench FILE [--no-mdbtools]
//
// Measures, in one run: a full scan of Property and of Invoice decoding every column, a scan of
// Property decoding only City, and (unless told not to) mdb-export of the same two tables.
// Prints rows per second for each and the engine's speed relative to mdb-export.
#include <sys/resource.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"

namespace {

using Clock = std::chrono::steady_clock;

// CPU time of this process: on a shared machine wall time also counts other programs' turns.
double cpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double seconds(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double>(b - a).count();
}

// Decodes every column of every row; text through the cursor's reusable buffer.
std::uint64_t fullScan(const jet::Table& table, std::uint64_t& checksum) {
    jet::Cursor cur = table.cursor();
    const auto& cols = table.columns();
    std::uint64_t rows = 0;
    while (cur.next()) {
        ++rows;
        for (std::size_t i = 0; i < cols.size(); ++i) {
            if (cols[i].type == jet::ColumnType::Text || cols[i].type == jet::ColumnType::Memo) {
                checksum += cur.text(i).size();
            } else {
                jet::Value v = cur.value(i);
                checksum += v.isNull() ? 0 : 1;
            }
        }
    }
    return rows;
}

std::uint64_t columnScan(const jet::Table& table, std::size_t column, std::uint64_t& checksum) {
    jet::Cursor cur = table.cursor();
    std::uint64_t rows = 0;
    while (cur.next()) {
        ++rows;
        checksum += cur.text(column).size();
    }
    return rows;
}

double childCpuSeconds() {
    struct rusage ru {};
    getrusage(RUSAGE_CHILDREN, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) * 1e-6;
}

// Wall time of mdb-export of one table; `cpu` gets its CPU time.
double mdbExport(const std::string& file, const std::string& table, double& cpu) {
    std::string cmd = "mdb-export '" + file + "' '" + table + "' > /dev/null";
    double c0 = childCpuSeconds();
    auto t0 = Clock::now();
    int rc = std::system(cmd.c_str());
    auto t1 = Clock::now();
    cpu = childCpuSeconds() - c0;
    return rc == 0 ? seconds(t0, t1) : -1.0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: jet-bench FILE [--no-mdbtools]\n");
        return 2;
    }
    std::string file = argv[1];
    bool withMdbtools = !(argc > 2 && std::string(argv[2]) == "--no-mdbtools");
    try {
        auto t0 = Clock::now();
        jet::Database db = jet::Database::open(file);
        auto t1 = Clock::now();
        std::printf("open + catalog: %.2f ms (%u pages)\n", seconds(t0, t1) * 1e3, db.pageCount());

        std::uint64_t checksum = 0;
        struct Line {
            std::string what;
            std::uint64_t rows;
            double secs;
            double cpu;
        };
        std::vector<Line> lines;
        for (const char* name : {"Property", "Invoice"}) {
            jet::Table table = db.openTable(name);
            auto a = Clock::now();
            double ca = cpuSeconds();
            std::uint64_t rows = fullScan(table, checksum);
            double cb = cpuSeconds();
            auto b = Clock::now();
            lines.push_back({std::string("full scan ") + name, rows, seconds(a, b), cb - ca});
        }
        {
            jet::Table table = db.openTable("Property");
            int city = table.findColumn("City");
            // Twice: the first pass also brings the file into the operating system's cache.
            for (int pass = 0; pass < 2; ++pass) {
                auto a = Clock::now();
                double ca = cpuSeconds();
                std::uint64_t rows = columnScan(table, static_cast<std::size_t>(city), checksum);
                double cb = cpuSeconds();
                auto b = Clock::now();
                if (pass == 1) lines.push_back({"City-only scan Property", rows, seconds(a, b), cb - ca});
            }
        }
        for (const auto& l : lines) {
            std::printf("%-26s %8llu rows  %9.2f ms (cpu %7.2f ms)  %12.0f rows/s\n", l.what.c_str(),
                        static_cast<unsigned long long>(l.rows), l.secs * 1e3, l.cpu * 1e3,
                        static_cast<double>(l.rows) / l.secs);
        }
        if (withMdbtools) {
            for (std::size_t i = 0; i < 2; ++i) {
                const char* name = i == 0 ? "Property" : "Invoice";
                double cpu = 0;
                double s = mdbExport(file, name, cpu);
                if (s < 0) {
                    std::printf("mdb-export %s failed\n", name);
                    continue;
                }
                double theirs = static_cast<double>(lines[i].rows) / s;
                double ours = static_cast<double>(lines[i].rows) / lines[i].secs;
                std::printf(
                    "mdb-export %-15s %8llu rows  %9.2f ms (cpu %7.2f ms)  %12.0f rows/s  "
                    "engine is %.1fx faster (%.1fx in cpu time)\n",
                    name, static_cast<unsigned long long>(lines[i].rows), s * 1e3, cpu * 1e3, theirs,
                    ours / theirs, cpu / lines[i].cpu);
            }
        }
        struct rusage ru {};
        getrusage(RUSAGE_SELF, &ru);
        std::printf("max RSS of the engine process: %ld KiB (checksum %llu)\n", ru.ru_maxrss,
                    static_cast<unsigned long long>(checksum));
    } catch (const jet::Error& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
