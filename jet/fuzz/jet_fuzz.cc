// libFuzzer target: the input is a database file. Opens it, reads the catalog and every value of
// every table, walks and checks every index and changes each one on an in-memory copy. Any
// failure must be a jet::Error; anything else (a crash, a sanitizer report, an exception of
// another type, a hang, runaway memory) is a finding.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "../tests/exercise.h"
#include "../tests/mem_page_io.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The engine opens files by path: give it an anonymous in-memory file.
    int fd = memfd_create("jet-fuzz", MFD_CLOEXEC);
    if (fd < 0) return 0;
    std::size_t done = 0;
    while (done < size) {
        ssize_t n = ::write(fd, data + done, size - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    std::string path = "/proc/self/fd/" + std::to_string(fd);
    try {
        (void)jettest::exerciseDatabase(path);
    } catch (const jet::Error&) {
        // Expected for damaged input.
    }
    try {
        (void)jettest::exerciseIndexes(path, std::vector<std::uint8_t>(data, data + size));
    } catch (const jet::Error&) {
    }
    ::close(fd);
    return 0;
}
