// Damaged files: bytes flipped in pages of every type of several Access-written databases must
// make the engine either read on or stop with a jet::Error (3049 naming page and offset, or one
// of the open errors), never crash, hang or run out of memory. The sanitizer build runs the
// same test and turns any out-of-bounds read or undefined behaviour into a failure.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <set>

#include "exercise.h"
#include "jet/error.h"
#include "test_support.h"

namespace {

std::vector<std::uint8_t> readAll(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::vector<std::uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Writes one byte of the file in place.
void poke(const std::filesystem::path& p, std::size_t at, std::uint8_t value) {
    int fd = ::open(p.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, &value, 1, static_cast<off_t>(at)), 1);
    ::close(fd);
}

struct Outcome {
    std::size_t mutations = 0, errors = 0;
    std::set<int> numbers;
    std::map<int, std::size_t> pagesPerType;
};

// Flips bytes in up to `perType` pages of each page type, at offsets spread over the page and
// concentrated on its header, and reads the whole database after each flip.
Outcome damage(const std::string& fixture, std::size_t perType) {
    jettest::TempDir tmp;
    auto file = tmp.copy(fixture);
    const auto original = readAll(file);
    const std::size_t pageSize = original.size() > 0x14 && original[0x14] == 0 ? 2048 : 4096;
    const std::size_t pages = original.size() / pageSize;

    std::map<int, std::vector<std::size_t>> byType;
    for (std::size_t p = 0; p < pages; ++p) {
        int type = p == 0 ? 0 : original[p * pageSize];
        if (p > 0 && (type < 1 || type > 5)) continue;  // free or unused pages
        if (byType[type].size() < perType) byType[type].push_back(p);
    }

    Outcome out;
    std::vector<std::size_t> offsets = {0,  1,  2,  3,  4,  5,  8,  9,  10, 12, 13, 14, 15, 16, 20,   24,
                                        27, 40, 41, 43, 45, 47, 51, 55, 56, 59, 63, 64, 70, 90, 0x66, 0x80};
    for (std::size_t k = 1; k < 8; ++k) offsets.push_back(k * pageSize / 8);
    for (std::size_t k = 1; k <= 12; ++k) offsets.push_back(pageSize - k * 5);

    for (const auto& [type, list] : byType) {
        out.pagesPerType[type] = list.size();
        for (std::size_t page : list) {
            for (std::size_t off : offsets) {
                if (off >= pageSize) continue;
                for (std::uint8_t mask : {std::uint8_t{0xFF}, std::uint8_t{0x01}}) {
                    std::size_t at = page * pageSize + off;
                    poke(file, at, static_cast<std::uint8_t>(original[at] ^ mask));
                    ++out.mutations;
                    try {
                        (void)jettest::exerciseDatabase(file);
                    } catch (const jet::Error& e) {
                        ++out.errors;
                        out.numbers.insert(e.number());
                        EXPECT_FALSE(e.description().empty());
                        if (e.number() == jet::errc::kCannotOpen && e.location()) {
                            EXPECT_NE(e.description().find("page " + std::to_string(e.location()->page)),
                                      std::string::npos)
                                << e.description();
                        }
                    }
                    // Anything else thrown escapes and fails the test.
                    poke(file, at, original[at]);
                }
            }
        }
    }
    return out;
}

std::string paramName(const ::testing::TestParamInfo<std::string>& param) {
    std::string s;
    for (char c : param.param) s.push_back(std::isalnum(static_cast<unsigned char>(c)) ? c : '_');
    return s;
}

class Damage : public ::testing::TestWithParam<std::string> {};

TEST_P(Damage, EveryFailureIsAJetError) {
    // The suite's database has many tables to read after every flip: one page of each type there.
    Outcome out = damage(GetParam(), GetParam().find("suite/") == 0 ? 1 : 3);
    // The files hold pages of every kind the engine reads: header, data, definitions, index.
    EXPECT_TRUE(out.pagesPerType.count(0));
    EXPECT_TRUE(out.pagesPerType.count(1));
    EXPECT_TRUE(out.pagesPerType.count(2));
    EXPECT_GT(out.mutations, 300u);
    // Flipping header and definition bytes must be noticed at least sometimes.
    EXPECT_GT(out.errors, 0u);
    for (int n : out.numbers) {
        EXPECT_TRUE(n == jet::errc::kCannotOpen || n == jet::errc::kUnrecognizedFormat ||
                    n == jet::errc::kBadPassword || n == jet::errc::kTableNotFound)
            << n;
    }
    struct rusage ru {};
    getrusage(RUSAGE_SELF, &ru);
    EXPECT_LT(ru.ru_maxrss, 1024L * 1024L) << "KiB";  // under 1 GiB even under the sanitizers
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, Damage,
    ::testing::Values("access-corpus/V1997/testV1997.mdb", "access-corpus/V1997/delColTestV1997.mdb",
                      "access-corpus/V2000/delColTestV2000.mdb", "access-corpus/V2000/overflowTestV2000.mdb",
                      "access-corpus/V2000/test2V2000.mdb", "suite/drive_c/KELDATA/Office.mdb"),
    paramName);

}  // namespace

namespace {

// Files cut short (a copy interrupted, a disk full): every length must read or fail with a
// jet::Error.
TEST(Truncated, EveryLengthReadsOrFailsWithAJetError) {
    for (const char* fixture : {"access-corpus/V2000/testV2000.mdb", "access-corpus/V1997/testV1997.mdb"}) {
        jettest::TempDir tmp;
        auto file = tmp.copy(fixture);
        const auto original = std::filesystem::file_size(file);
        std::size_t failures = 0, tried = 0;
        for (std::uintmax_t length = 0; length < original; length += length < 16384 ? 1021 : 40961) {
            std::filesystem::remove(file);
            file = tmp.copy(fixture);
            std::filesystem::resize_file(file, length);
            ++tried;
            try {
                (void)jettest::exerciseDatabase(file);
            } catch (const jet::Error& e) {
                ++failures;
                EXPECT_TRUE(e.number() == jet::errc::kCannotOpen ||
                            e.number() == jet::errc::kUnrecognizedFormat)
                    << length << ": " << e.description();
            }
        }
        EXPECT_GT(tried, 10u);
        EXPECT_GT(failures, 0u) << fixture;
    }
}

}  // namespace
