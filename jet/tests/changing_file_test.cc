// A database file that another program cuts shorter or lengthens while the engine has it open.
//
// Users run other tools on their data while ours is open (a backup that restores a file in place,
// a sync client, a compaction). Whatever happens to the file, reading must end normally or with a
// jet::Error: never a crash, and never pages that mix the file's old and new contents.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/page_channel.h"
#include "jet/store.h"
#include "jet/table.h"
#include "output/json_export.h"
#include "test_support.h"

namespace {

const char* const kOffice = "suite/drive_c/KELDATA/Office.mdb";
constexpr std::uint32_t kPage = 4096;  // Office.mdb is a Jet 4 file

std::vector<std::uint8_t> readAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<std::uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void cutTo(const std::filesystem::path& path, off_t length) {
    ASSERT_EQ(::truncate(path.c_str(), length), 0) << std::strerror(errno);
}

void append(const std::filesystem::path& path, std::size_t bytes, char fill) {
    std::ofstream out(path, std::ios::binary | std::ios::app);
    std::string junk(bytes, fill);
    out.write(junk.data(), static_cast<std::streamsize>(junk.size()));
    ASSERT_TRUE(out.good());
}

// Reads up to `limit` further rows of `cursor` as JSON lines appended to `out`; false at the end.
bool readRows(const jet::Table& table, jet::Cursor& cursor, std::size_t limit, std::string& out) {
    for (std::size_t i = 0; i < limit; ++i) {
        if (!cursor.next()) return false;
        jet::json::appendRow(out, table, cursor);
        out.push_back('\n');
    }
    return true;
}

// What one reading attempt after the cut ended with.
struct Outcome {
    std::size_t errors = 0;
    std::size_t cutErrors = 0;  // errors that name a page at or past the new end
    std::string firstError;
};

void expectDamageError(const jet::Error& e, std::uint32_t pagesLeft, Outcome& outcome) {
    ++outcome.errors;
    if (outcome.firstError.empty()) outcome.firstError = e.description();
    EXPECT_EQ(e.number(), jet::errc::kCannotOpen) << e.description();
    EXPECT_NE(e.description().find("may be corrupt"), std::string::npos) << e.description();
    ASSERT_TRUE(e.location().has_value()) << e.description();
    EXPECT_NE(e.description().find("(page " + std::to_string(e.location()->page) + ", offset " +
                                   std::to_string(e.location()->offset)),
              std::string::npos)
        << e.description();
    if (e.location()->page >= pagesLeft) ++outcome.cutErrors;
}

// Opens a copy, reads part of Property, cuts the file to `cutBytes`, then goes on reading Property
// and every other table. Only jet::Errors may come out, and the cut must be noticed.
Outcome scanAcrossCut(std::size_t cacheBytes, off_t cutBytes) {
    jettest::TempDir tmp;
    const auto file = tmp.copy(kOffice);
    const auto pagesLeft = static_cast<std::uint32_t>(cutBytes / kPage);
    Outcome outcome;
    jet::OpenOptions options;
    options.cacheBytes = cacheBytes;
    jet::Database db = jet::Database::open(file, options);
    jet::Table property = db.openTable("Property");
    jet::Cursor cursor = property.cursor();
    std::string rows;
    EXPECT_TRUE(readRows(property, cursor, 40, rows));
    EXPECT_FALSE(rows.empty());

    cutTo(file, cutBytes);
    try {
        while (readRows(property, cursor, 1000, rows)) {
        }
        ADD_FAILURE() << "Property read to its end although the file was cut to " << cutBytes << " bytes";
    } catch (const jet::Error& e) {
        expectDamageError(e, pagesLeft, outcome);
    }
    // Once a read has failed the same database stays usable for everything that can still be read.
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        try {
            jet::Table table = db.openTable(def.name);
            jet::Cursor c = table.cursor();
            std::string out;
            while (readRows(table, c, 1000, out)) {
            }
        } catch (const jet::Error& e) {
            expectDamageError(e, pagesLeft, outcome);
        }
    }
    // Opening the cut file afresh fails as a damaged or unknown file does.
    try {
        (void)jet::Database::open(file, options);
    } catch (const jet::Error& e) {
        EXPECT_TRUE(e.number() == jet::errc::kCannotOpen || e.number() == jet::errc::kUnrecognizedFormat)
            << e.description();
    }
    return outcome;
}

TEST(TruncatedWhileOpen, ScanningOnAfterTheCutFailsOnlyWithJetErrors) {
    // One-page blocks, four-page blocks and the default cache; cut to a few pages, into the
    // middle of a page, and to nothing.
    for (std::size_t cacheBytes : {std::size_t{0}, std::size_t{64} << 10}) {
        for (off_t cut : {off_t{4 * kPage}, off_t{6 * kPage + 100}, off_t{0}}) {
            SCOPED_TRACE("cache " + std::to_string(cacheBytes) + ", cut to " + std::to_string(cut));
            Outcome o = scanAcrossCut(cacheBytes, cut);
            EXPECT_GT(o.errors, 0u);
            EXPECT_GT(o.cutErrors, 0u) << o.firstError;
        }
    }
    // With the default cache the whole 0.6 MB file may already be held; whatever happens, only
    // jet::Errors come out (checked inside), and reading does not hang.
    (void)scanAcrossCut(jet::OpenOptions{}.cacheBytes, off_t{4 * kPage});
}

// The page channel itself: the error names the first page that did not come back whole and the
// offset where its data stopped; a failed block is not kept, so once the file is whole again the
// same pages read correctly, and pages cached before the cut are still served unchanged.
TEST(TruncatedWhileOpen, ChannelReportsTheCutAndKeepsNoPartBlock) {
    jettest::TempDir tmp;
    const auto file = tmp.copy(kOffice);
    const std::vector<std::uint8_t> original = readAll(file);
    ASSERT_GE(original.size(), std::size_t{16} * kPage);
    int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    // 64 KiB of cache: four blocks of four pages.
    jet::detail::PageChannel channel(fd, file.string(), original.size(), kPage, std::size_t{64} << 10);
    ASSERT_EQ(channel.pagesPerBlock(), 4u);
    const std::uint32_t pages = channel.pageCount();

    jet::detail::PageRef held = channel.page(1);
    ASSERT_EQ(std::memcmp(held.data(), original.data() + kPage, kPage), 0);

    cutTo(file, 5 * kPage + 100);
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            (void)channel.page(6);
            ADD_FAILURE() << "page 6 read from a file cut inside page 5";
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), jet::errc::kCannotOpen);
            ASSERT_TRUE(e.location().has_value());
            EXPECT_EQ(e.location()->page, 5u) << e.description();
            EXPECT_EQ(e.location()->offset, 100u) << e.description();
            EXPECT_NE(e.description().find("(page 5, offset 100: "), std::string::npos) << e.description();
        }
    }
    try {
        (void)channel.page(pages - 1);
        ADD_FAILURE() << "the last page read from a cut file";
    } catch (const jet::Error& e) {
        ASSERT_TRUE(e.location().has_value());
        EXPECT_EQ(e.location()->page, (pages - 1) / 4 * 4) << e.description();
        EXPECT_EQ(e.location()->offset, 0u);
    }
    // The block read before the cut is still there, bytes unchanged.
    jet::detail::PageRef again = channel.page(2);
    EXPECT_EQ(std::memcmp(again.data(), original.data() + 2 * kPage, kPage), 0);
    EXPECT_EQ(std::memcmp(held.data(), original.data() + kPage, kPage), 0);
    EXPECT_LE(channel.blocksAllocated(), channel.maxBlocks());

    // Restore the file: the pages that failed now read as they are in the file.
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(original.data()),
                  static_cast<std::streamsize>(original.size()));
    }
    for (std::uint32_t n : {6u, 5u, 4u, pages - 1}) {
        jet::detail::PageRef ref = channel.page(n);
        EXPECT_EQ(std::memcmp(ref.data(), original.data() + std::size_t{n} * kPage, kPage), 0)
            << "page " << n;
    }
    EXPECT_LE(channel.blocksAllocated(), channel.maxBlocks());
}

// Everything of the database as JSON lines, read with the given cache.
std::string dumpAll(jet::Database& db) {
    std::string out;
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        jet::Table table = db.openTable(def.name);
        jet::Cursor c = table.cursor();
        out += def.name + "\n";
        while (readRows(table, c, 1000, out)) {
        }
    }
    return out;
}

TEST(JetGrownWhileOpen, OriginalPagesReadAsBefore) {
    jettest::TempDir tmp;
    const auto file = tmp.copy(kOffice);
    std::string expected;
    {
        jet::Database fresh = jet::Database::open(file);
        expected = dumpAll(fresh);
    }
    ASSERT_GT(expected.size(), 10000u);

    for (std::size_t cacheBytes : {std::size_t{0}, std::size_t{64} << 10, jet::OpenOptions{}.cacheBytes}) {
        SCOPED_TRACE("cache " + std::to_string(cacheBytes));
        const auto copy = tmp.path() / ("grown-" + std::to_string(cacheBytes) + ".mdb");
        std::filesystem::copy_file(file, copy);
        const auto originalSize = std::filesystem::file_size(copy);
        jet::OpenOptions options;
        options.cacheBytes = cacheBytes;
        jet::Database db = jet::Database::open(copy, options);
        const std::uint32_t pages = db.store()->channel->pageCount();
        EXPECT_EQ(pages, originalSize / kPage);

        // Read part of one table, let the file grow by pages of junk and a partial page, then
        // read everything.
        jet::Table property = db.openTable("Property");
        jet::Cursor cursor = property.cursor();
        std::string first;
        EXPECT_TRUE(readRows(property, cursor, 100, first));
        append(copy, std::size_t{300} * kPage + 123, '\xA5');
        std::string rest = first;
        while (readRows(property, cursor, 1000, rest)) {
        }
        std::string all = dumpAll(db);
        EXPECT_EQ(all, expected);
        EXPECT_NE(expected.find("Property\n" + rest), std::string::npos);
        EXPECT_EQ(db.store()->channel->pageCount(), pages);
        // Pages the file now has past its length when opened are not the database's.
        EXPECT_THROW((void)db.store()->channel->page(pages), jet::Error);
    }
}

}  // namespace
