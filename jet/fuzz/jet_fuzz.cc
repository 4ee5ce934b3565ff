// libFuzzer target: the input is a database file. Opens it, reads the catalog and every value of
// every table, walks and checks every index and changes each one on an in-memory copy, then drops
// a table. Any failure must be a jet::Error; anything else (a crash, a sanitizer report, an
// exception of another type, a hang, runaway memory) is a finding.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../tests/exercise.h"
#include "../tests/mem_page_io.h"
#include "jet/fault_file.h"
#include "jet/schema.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The input as a file held in memory.
    jet::MemoryFileSystem fs;
    fs.put("/fuzz.mdb", std::vector<std::uint8_t>(data, data + size));
    jet::OpenOptions options;
    options.fileSystem = &fs;
    try {
        (void)jettest::exerciseDatabase("/fuzz.mdb", options);
    } catch (const jet::Error&) {
        // Expected for damaged input.
    }
    try {
        (void)jettest::exerciseIndexes("/fuzz.mdb", std::vector<std::uint8_t>(data, data + size), options);
    } catch (const jet::Error&) {
    }
    // A drop of the first local table: refused with a jet::Error or done; never anything else.
    try {
        options.readOnly = false;
        jet::Database db = jet::Database::open("/fuzz.mdb", options);
        for (const auto& t : db.tableDefs()) {
            if (t.type == 1 && !t.system()) {
                jet::dropTable(db, t.name);
                break;
            }
        }
    } catch (const jet::Error&) {
    }
    return 0;
}
