// Development aid: prints a database's tables or a table's rows as `qxtest-cli jet` does.
#include <iostream>

#include "jet/database.h"
#include "jet/table.h"
#include "output/json_export.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: jet-dump FILE [TABLE]\n";
        return 2;
    }
    try {
        jet::Database db = jet::Database::open(argv[1]);
        if (argc == 2) {
            jet::json::writeTables(std::cout, db);
        } else {
            jet::json::writeExport(std::cout, db.openTable(argv[2]));
        }
    } catch (const jet::Error& e) {
        std::cout << jet::json::errorLine(e) << '\n';
        return 1;
    }
    return 0;
}
