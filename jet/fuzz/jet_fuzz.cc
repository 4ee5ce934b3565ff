// libFuzzer target: the input is a database file. Opens it, reads the catalog and every value of
// every table. Any failure must be a jet::Error; anything else (a crash, a sanitizer report, an
// exception of another type, a hang, runaway memory) is a finding.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../tests/exercise.h"
#include "jet/fault_file.h"

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
    return 0;
}
