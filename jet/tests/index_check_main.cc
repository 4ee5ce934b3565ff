// jet-index-check FILE: walks every index of every table and compares it with the table.
// Prints a summary line and one line per problem; exit status 0 clean, 1 problems, 2 usage.
#include <iostream>

#include "jet/database.h"
#include "jet/index_check.h"
#include "output/json_export.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: jet-index-check FILE\n";
        return 2;
    }
    try {
        jet::Database db = jet::Database::open(argv[1]);
        jet::IndexCheckReport r = jet::checkIndexes(db);
        for (const auto& p : r.problems) std::cout << "PROBLEM " << p << '\n';
        std::cout << "index check: " << r.tables << " tables, " << r.indexes << " indexes, " << r.entries
                  << " entries, " << r.keysCompared << " keys recomputed, " << r.keysNotComputed
                  << " checked by row only, " << r.problems.size() << " problems\n";
        return r.ok() ? 0 : 1;
    } catch (const jet::Error& e) {
        std::cout << jet::json::errorLine(e) << '\n';
        return 1;
    }
}
