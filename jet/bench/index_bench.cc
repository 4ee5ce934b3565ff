// Index benchmark (not a test): jet-index-bench FILE TABLE. On an in-memory copy of FILE, times
// removing every other row of TABLE from each of its indexes (one pass per index), re-inserting
// them, and walking every index of the database with the check against the tables. Prints
// figures; changes nothing on disk.
#include <chrono>
#include <fstream>
#include <iostream>

#include "../tests/mem_page_io.h"

namespace {

double msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: jet-index-bench FILE TABLE\n";
        return 2;
    }
    try {
        std::ifstream in(argv[1], std::ios::binary);
        std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                                        std::istreambuf_iterator<char>());
        jet::Database db = jet::Database::open(argv[1]);
        jet::Table table = db.openTable(argv[2]);

        auto t0 = std::chrono::steady_clock::now();
        std::set<std::uint32_t> half;
        std::size_t n = 0;
        jet::Cursor c = table.cursor();
        while (c.next())
            if (n++ % 2 == 0) half.insert(jet::detail::rowPointer(c.rowId().page, c.rowId().row));
        std::cout << "scan of " << n << " rows: " << msSince(t0) << " ms\n";

        jettest::MemPageIO io(std::move(bytes));
        for (std::size_t i = 0; i < table.realIndexes().size(); ++i) {
            const auto& ri = table.realIndexes()[i];
            jet::detail::IndexRef ref{ri.rootPage, ri.usageMap, table.definitionPage()};
            auto entries = jet::detail::readIndexEntries(io, ref.root);
            std::vector<jet::detail::IndexEntry> gone;
            for (const auto& e : entries)
                if (half.count(e.pointer())) gone.push_back(e);

            io.writes = 0;
            t0 = std::chrono::steady_clock::now();
            jet::detail::IndexEditor ed(io, ref);
            std::size_t removed = ed.removeRows(half);
            ed.commit();
            std::cout << "index " << i << ": " << entries.size() << " entries, removed " << removed << " in "
                      << msSince(t0) << " ms, " << io.writes << " pages written, " << io.released.size()
                      << " pages released so far\n";

            io.writes = 0;
            t0 = std::chrono::steady_clock::now();
            jet::detail::IndexEditor back(io, ref);
            for (const auto& e : gone) back.insert(e);
            back.commit();
            std::cout << "index " << i << ": re-inserted " << gone.size() << " in " << msSince(t0) << " ms, "
                      << io.writes << " pages written, " << io.allocated << " pages allocated so far\n";
        }

        t0 = std::chrono::steady_clock::now();
        jet::IndexCheckReport r = jet::checkIndexes(db);
        std::cout << "index check of the database: " << r.indexes << " indexes, " << r.entries << " entries, "
                  << r.problems.size() << " problems in " << msSince(t0) << " ms\n";
    } catch (const jet::Error& e) {
        std::cerr << e.description() << '\n';
        return 1;
    }
    return 0;
}
