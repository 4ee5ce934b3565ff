// hold_database FILE [--exclusive]: another user of a database, as a real process. Opens FILE (a
// host path) for writing, shared (with its .ldb entry) or exclusively, prints "held", and keeps it
// open until its standard input ends. Prints "error N" and exits 1 when the open is refused.
#include <iostream>
#include <string>

#include "jet/database.h"
#include "jet/error.h"

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3 || (argc == 3 && std::string(argv[2]) != "--exclusive")) {
        std::cerr << "usage: hold_database FILE [--exclusive]\n";
        return 2;
    }
    jet::OpenOptions options;
    options.readOnly = false;
    options.exclusive = argc == 3;
    try {
        jet::Database db = jet::Database::open(argv[1], options);
        std::cout << "held" << std::endl;
        for (std::string line; std::getline(std::cin, line);) {
        }
    } catch (const jet::Error& e) {
        std::cout << "error " << e.number() << std::endl;
        return 1;
    }
    return 0;
}
