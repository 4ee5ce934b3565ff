// How long the emulated path space and the profile-string reader take on the demo installation.
// Not a test: it prints figures. Run: build/platform/qx_platform_bench
#include <benchmark/benchmark.h>

#include "platform/ini_profile.h"
#include "platform/posix_filesystem.h"
#include "platform/testing/test_drive.h"

namespace {

using qx::platform::IniProfileStrings;
using qx::platform::PosixFileSystem;

struct Fixture {
    qx::testing::TempDriveC drive{QX_SHARED_DIR};
    PosixFileSystem fs{{{'C', drive.root().string()}}};
    IniProfileStrings ini{fs, "C:\\WINDOWS"};
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_FileLenExactCase(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(f.fs.fileLen("C:\\KELDATA\\Office.mdb"));
}
BENCHMARK(BM_FileLenExactCase);

void BM_FileLenOtherCase(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(f.fs.fileLen("c:\\keldata\\OFFICE.MDB"));
}
BENCHMARK(BM_FileLenOtherCase);

void BM_DirOfTheDataFolder(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(f.fs.dir("C:\\KELDATA\\*.mdb", 0));
}
BENCHMARK(BM_DirOfTheDataFolder);

void BM_ProfileStringOfKelIni(benchmark::State& state) {
    auto& f = fixture();
    std::string buffer(256, ' ');
    for (auto _ : state) {
        benchmark::DoNotOptimize(f.ini.GetPrivateProfileStringA("PROGRAM ALIAS", "CORVID Office Plus", "",
                                                                buffer, 256, "C:\\APPRAISE\\kel.ini"));
    }
}
BENCHMARK(BM_ProfileStringOfKelIni);

}  // namespace

BENCHMARK_MAIN();
