// Hostile input never crashes the platform layer and never leads outside the mapped folders:
// seeded random INI files and random paths, checked against the contracts' invariants.
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "platform/errors.h"
#include "platform/ini_profile.h"
#include "platform/posix_filesystem.h"
#include "platform/testing/test_drive.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

std::string randomText(std::mt19937& rng, std::size_t maxLen, std::string_view alphabet) {
    std::uniform_int_distribution<std::size_t> len(0, maxLen);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::string s(len(rng), ' ');
    for (char& c : s) c = alphabet[pick(rng)];
    return s;
}

TEST(HostileInput, RandomIniFilesKeepTheProfileContract) {
    qx::testing::TempDriveC drive(QX_SHARED_DIR, false);
    PosixFileSystem fsys({{'C', drive.root().string()}});
    IniProfileStrings ini(fsys, "C:\\WINDOWS");
    std::mt19937 rng(20061120);
    const std::string alphabet = std::string("[]=;'\" \t\r\nabkK\x80\xE9\xFF") + std::string(1, '\0');
    for (int round = 0; round < 200; ++round) {
        drive.write("x.ini", randomText(rng, 300, alphabet));
        for (std::uint32_t size : {1u, 2u, 3u, 16u, 256u}) {
            std::string buffer(size, ' ');
            const auto n = ini.GetPrivateProfileStringA(
                randomText(rng, 3, "abk "), randomText(rng, 3, "abk "), "dflt", buffer, size, "C:\\x.ini");
            ASSERT_LE(n, size >= 2 ? size - 2 : 0u);
            ASSERT_LE(utf8Offset(buffer, n), buffer.size());
        }
    }
}

TEST(HostileInput, RandomPathsStayInsideTheDrive) {
    qx::testing::TempDriveC drive(QX_SHARED_DIR);
    qx::testing::TempDir outside;
    std::filesystem::create_directory_symlink(outside.path(), drive.root() / "OUT");
    PosixFileSystem fsys({{'C', drive.root().string()}});
    const std::string root = std::filesystem::canonical(drive.root()).string();
    std::mt19937 rng(71);
    const std::string alphabet = "\\/.:*?CKELDATAOUTkeldata .\x01|";
    for (int round = 0; round < 3000; ++round) {
        const std::string p = randomText(rng, 40, alphabet);
        try {
            const std::string host = fsys.hostPath(p);
            ASSERT_EQ(host.compare(0, root.size(), root), 0) << p << " -> " << host;
        } catch (const RuntimeError&) {
        }
        try {
            fsys.fileLen(p);
        } catch (const RuntimeError&) {
        }
        try {
            for (const auto& e : fsys.dir(p, attr::kDirectory)) ASSERT_FALSE(e.name.empty());
        } catch (const RuntimeError& e) {
            ASSERT_EQ(e.number(), err::kBadFileNameOrNumber) << p;  // as Dir rejects an unusable name
        }
    }
    EXPECT_TRUE(std::filesystem::is_empty(outside.path()));
}

}  // namespace
}  // namespace qx::platform
