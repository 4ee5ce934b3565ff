// What a stopped process, a failing disk, a read-only folder or a vanished folder do to a write:
// the file is always its old self or its new self, and every error is a Jet error.
//
// The crash runs fork a child that changes the file (a drop, a delete) through a file system set to
// end the process (_exit) just before its Nth write or sync; the parent then opens the file as any
// later command would (which rolls back a journal left behind) and compares the whole file with the
// original and with the result of an uninterrupted run.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>

#include "jet/compact.h"
#include "jet/database.h"
#include "jet/error.h"
#include "jet/fault_file.h"
#include "jet/journal.h"
#include "jet/locks.h"
#include "jet/schema.h"
#include "jet/sql/execute.h"
#include "jet/table.h"
#include "jet/transaction.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

jet::OpenOptions through(jet::FileSystem& fs) {
    jet::OpenOptions o;
    o.readOnly = false;
    o.fileSystem = &fs;
    return o;
}

struct Reference {
    std::vector<std::uint8_t> before, after;
    std::uint64_t writes = 0, syncs = 0;
};

// What a crash test does to the file.
using Change = std::function<void(const jet::Database&)>;

Change dropping(const std::string& table) {
    return [table](const jet::Database& db) { jet::dropTable(db, table); };
}
Change running(const std::string& sql) {
    return [sql](const jet::Database& db) { jet::sql::execute(db, sql); };
}

Reference reference(const std::filesystem::path& source, const std::filesystem::path& dir,
                    const Change& change) {
    Reference r;
    const auto file = dir / "reference.mdb";
    std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
    r.before = jettest::fileBytes(file);
    jet::FaultyFileSystem fs(jet::hostFileSystem());
    {
        jet::Database db = jet::Database::open(file, through(fs));
        change(db);
    }
    r.writes = fs.writes();
    r.syncs = fs.syncs();
    r.after = jettest::fileBytes(file);
    return r;
}

// Runs the change in a child that stops at the given point; returns the child's exit code.
int stoppedChange(const std::filesystem::path& file, const Change& change, std::uint64_t atWrite,
                  std::uint64_t atSync) {
    pid_t pid = fork();
    if (pid == 0) {
        jet::FaultPlan plan;
        plan.exitAtWrite = atWrite;
        plan.exitAtSync = atSync;
        jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
        try {
            jet::Database db = jet::Database::open(file, through(fs));
            change(db);
        } catch (...) {
            _exit(3);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct CrashCounts {
    std::size_t points = 0, old = 0, fresh = 0;
};

void crashEverywhere(const char* fixture, const Change& change, CrashCounts& counts) {
    TempDir tmp;
    const auto source = jettest::fixturesDir() / fixture;
    Reference ref = reference(source, tmp.path(), change);
    ASSERT_NE(ref.before, ref.after);
    ASSERT_GE(ref.writes, 4u);
    ASSERT_GE(ref.syncs, 3u);
    const auto file = tmp.path() / "crash.mdb";
    for (int kind = 0; kind < 2; ++kind) {
        const std::uint64_t n = kind == 0 ? ref.writes : ref.syncs;
        for (std::uint64_t i = 1; i <= n; ++i) {
            SCOPED_TRACE(std::string(kind == 0 ? "write " : "sync ") + std::to_string(i));
            std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
            int code = stoppedChange(file, change, kind == 0 ? i : 0, kind == 1 ? i : 0);
            EXPECT_EQ(code, 86);
            // Any later open rolls back what the stopped writer left.
            {
                jet::Database db = jet::Database::open(file);
                (void)db.tableDefs();
            }
            auto now = jettest::fileBytes(file);
            bool isOld = now == ref.before, isNew = now == ref.after;
            EXPECT_TRUE(isOld || isNew);
            EXPECT_FALSE(std::filesystem::exists(file.string() + "-journal") && isNew);
            ++counts.points;
            counts.old += isOld;
            counts.fresh += isNew;
            // Whatever was left beside the file, the change can be made now and gives the result.
            if (isOld) {
                jet::Database db = jet::Database::open(file, through(jet::hostFileSystem()));
                change(db);
            }
            EXPECT_EQ(jettest::fileBytes(file), ref.after);
        }
    }
}

TEST(Crash, StoppedAtEveryWriteAndSyncOfADrop) {
    CrashCounts counts;
    crashEverywhere("suite/drive_c/KELUSER/Report.mdb", dropping("property"), counts);
    crashEverywhere("access-corpus/V1997/testV1997.mdb", dropping("Table1"), counts);
    crashEverywhere("access-corpus/V2000/testRefGlobalV2000.mdb", dropping("Table2"), counts);
    std::printf("crash points tried: %zu, old file after reopening: %zu, new file: %zu\n", counts.points,
                counts.old, counts.fresh);
    EXPECT_GT(counts.old, 0u);
    EXPECT_GT(counts.fresh, 0u);
    EXPECT_EQ(counts.old + counts.fresh, counts.points);
}

TEST(Crash, StoppedAtEveryWriteAndSyncOfADelete) {
    CrashCounts counts;
    // Rows with long values, index entries in several indexes, and a Jet 3 file.
    crashEverywhere("suite/drive_c/KELDATA/Office.mdb",
                    running("DELETE FROM Property WHERE PropertyID < 120"), counts);
    crashEverywhere("access-corpus/V1997/testV1997.mdb", running("DELETE * FROM Table1"), counts);
    std::printf("crash points tried: %zu, old file after reopening: %zu, new file: %zu\n", counts.points,
                counts.old, counts.fresh);
    EXPECT_GT(counts.old, 0u);
    EXPECT_GT(counts.fresh, 0u);
    EXPECT_EQ(counts.old + counts.fresh, counts.points);
}

TEST(Crash, StoppedAtEveryWriteAndSyncOfAnUpdate) {
    CrashCounts counts;
    // Rows grown past their pages' room (moved to overflow rows), with index entries replaced.
    crashEverywhere("suite/drive_c/KELDATA/Office.mdb",
                    running("UPDATE Property SET City = 'A city name long enough to need more roo', "
                            "Zip = '99999' WHERE PropertyID < 120"),
                    counts);
    // Memos made longer (new long-value pages, the old rows given back) and shorter.
    crashEverywhere(
        "suite/drive_c/KELDATA/Office.mdb",
        running("UPDATE Property SET Notes = '" + std::string(3000, 'm') + "' WHERE PropertyID < 40"),
        counts);
    crashEverywhere("suite/drive_c/KELDATA/Office.mdb",
                    running("UPDATE Property SET Notes = 'short' WHERE PropertyID < 300"), counts);
    // A Jet 3 file: an indexed text column grown.
    crashEverywhere("access-corpus/V1997/testV1997.mdb",
                    running("UPDATE Table1 SET B = '" + std::string(100, 'b') + "'"), counts);
    std::printf("crash points tried: %zu, old file after reopening: %zu, new file: %zu\n", counts.points,
                counts.old, counts.fresh);
    EXPECT_GT(counts.old, 0u);
    EXPECT_GT(counts.fresh, 0u);
    EXPECT_EQ(counts.old + counts.fresh, counts.points);
}

// Each write or sync failing in turn (a full disk): a Jet error and the old file, or success and
// the new one; never anything else, now or after the next open.
TEST(Faults, EveryWriteAndSyncFailingInTurn) {
    TempDir tmp;
    const auto source = jettest::fixturesDir() / "suite/drive_c/KELUSER/Report.mdb";
    Reference ref = reference(source, tmp.path(), dropping("invoice"));
    const auto file = tmp.path() / "fault.mdb";
    std::size_t failures = 0;
    for (int persistent = 0; persistent < 2; ++persistent) {
        for (int kind = 0; kind < 2; ++kind) {
            const std::uint64_t n = kind == 0 ? ref.writes : ref.syncs;
            for (std::uint64_t i = 1; i <= n; ++i) {
                SCOPED_TRACE(std::to_string(persistent) + (kind == 0 ? " write " : " sync ") +
                             std::to_string(i));
                std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
                jet::FaultPlan plan;
                (kind == 0 ? plan.failWrite : plan.failSync) = i;
                plan.error = ENOSPC;
                plan.failAllAfter = persistent != 0;
                jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
                bool failed = false;
                try {
                    jet::Database db = jet::Database::open(file, through(fs));
                    jet::dropTable(db, "invoice");
                } catch (const jet::Error& e) {
                    failed = true;
                    ++failures;
                    EXPECT_TRUE(e.number() == jet::errc::kDiskFull) << e.number() << " " << e.description();
                    EXPECT_EQ(e.description(), "Not enough space on disk.");
                }
                if (failed && !persistent) {
                    // The writer put everything back itself.
                    EXPECT_EQ(jettest::fileBytes(file), ref.before);
                }
                {
                    jet::Database db = jet::Database::open(file);
                    (void)db.tableDefs();
                }
                EXPECT_EQ(jettest::fileBytes(file), failed ? ref.before : ref.after);
            }
        }
    }
    EXPECT_GT(failures, 5u);
}

TEST(Faults, ShortWritesAreCompleted) {
    TempDir tmp;
    const auto source = jettest::fixturesDir() / "suite/drive_c/KELUSER/Report.mdb";
    Reference ref = reference(source, tmp.path(), dropping("invoice"));
    const auto file = tmp.path() / "short.mdb";
    for (std::uint64_t i = 1; i <= ref.writes; ++i) {
        std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
        jet::FaultPlan plan;
        plan.shortWrite = i;
        jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
        {
            jet::Database db = jet::Database::open(file, through(fs));
            jet::dropTable(db, "invoice");
        }
        EXPECT_EQ(jettest::fileBytes(file), ref.after) << i;
    }
}

TEST(Faults, ReadOnlyFolderGivesReadOnlyError) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto before = jettest::fileBytes(file);
    for (int err : {EROFS, EACCES}) {
        jet::FaultPlan plan;
        plan.refuseWriteOpen = err;
        jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
        jet::Database db = jet::Database::open(file, through(fs));
        try {
            jet::dropTable(db, "invoice");
            ADD_FAILURE();
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), jet::errc::kReadOnly);
        }
        EXPECT_EQ(jettest::fileBytes(file), before);
        EXPECT_FALSE(std::filesystem::exists(jet::detail::lockFilePath(file.string())));
    }
    // Writable file, but the folder refuses the journal.
    jet::Database db = jet::Database::open(file, through(jet::hostFileSystem()));
    std::filesystem::create_directory(file.string() + "-journal");  // the name is taken
    try {
        jet::dropTable(db, "invoice");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_NE(e.number(), 0);
    }
    EXPECT_EQ(jettest::fileBytes(file), before);
}

TEST(Faults, VanishedFolder) {
    TempDir tmp;
    const auto dir = tmp.path() / "data";
    std::filesystem::create_directory(dir);
    const auto file = dir / "Report.mdb";
    std::filesystem::copy_file(jettest::fixturesDir() / "suite/drive_c/KELUSER/Report.mdb", file);
    const auto before = jettest::fileBytes(file);
    jet::Database db = jet::Database::open(file, through(jet::hostFileSystem()));
    const auto moved = tmp.path() / "elsewhere";
    std::filesystem::rename(dir, moved);
    try {
        jet::dropTable(db, "invoice");
        ADD_FAILURE();
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), jet::errc::kInvalidPath);
        EXPECT_NE(e.description().find("is not a valid path"), std::string::npos);
    }
    EXPECT_EQ(jettest::fileBytes(moved / "Report.mdb"), before);
}

// ---- a large insert that writes new pages before its commit (the limit set low)

namespace early {

constexpr int kRows = 1200;
constexpr std::size_t kLimit = 8 * 4096;  // eight pages

jet::OpenOptions limited(jet::FileSystem& fs) {
    jet::OpenOptions o = through(fs);
    o.spillBytes = kLimit;
    return o;
}

// Rows with names in descending order (entries land in every leaf, not only the last) and a memo
// on every fourth, so that data, long-value and index pages all grow past the limit.
std::uint64_t addRows(const jet::Database& db, jet::CommitStats* stats = nullptr) {
    int i = 0;
    return jet::insertRows(
        db, "t",
        [&](std::vector<jet::Value>& row) {
            if (i == kRows) return false;
            ++i;
            row[1] = jet::Value(jet::ColumnType::Text, "name " + std::to_string(100000 - i));
            if (i % 4 == 0)
                row[2] = jet::Value(jet::ColumnType::Memo, std::string(300 + i % 500, 'a' + i % 26));
            return true;
        },
        stats);
}

std::filesystem::path makeSource(const std::filesystem::path& dir) {
    const auto source = dir / "source.mdb";
    jet::createDatabase(source, jet::FormatVersion::Jet4);
    jet::Database db = jet::Database::open(source, through(jet::hostFileSystem()));
    jet::sql::execute(db, "CREATE TABLE t (id COUNTER PRIMARY KEY, name TEXT(50), notes MEMO)");
    jet::sql::execute(db, "CREATE INDEX byName ON t (name)");
    jet::sql::execute(db, "INSERT INTO t (name) VALUES ('first')");
    return source;
}

}  // namespace early

TEST(Crash, StoppedAtEveryWriteAndSyncOfAnInsertWritingEarly) {
    TempDir tmp;
    const auto source = early::makeSource(tmp.path());
    const auto before = jettest::fileBytes(source);
    const auto ref = tmp.path() / "reference.mdb";
    std::filesystem::copy_file(source, ref);
    jet::FaultyFileSystem counting(jet::hostFileSystem());
    {
        jet::Database db = jet::Database::open(ref, early::limited(counting));
        jet::CommitStats stats;
        EXPECT_EQ(early::addRows(db, &stats), static_cast<std::uint64_t>(early::kRows));
        // The point of the test: pages went to the file before the commit.
        EXPECT_GT(stats.pagesWrittenEarly, 8u);
    }
    const auto after = jettest::fileBytes(ref);
    ASSERT_GT(after.size(), before.size());
    {
        jet::Database db = jet::Database::open(ref);
        EXPECT_EQ(db.openTable("t").countRows(), static_cast<std::uint64_t>(early::kRows + 1));
    }
    if (jettest::haveJetVerify()) {
        EXPECT_TRUE(jettest::verifyProblems(ref).empty());
    }
    // Without the limit the same insert makes the same file.
    {
        const auto whole = tmp.path() / "whole.mdb";
        std::filesystem::copy_file(source, whole);
        jet::Database db = jet::Database::open(whole, through(jet::hostFileSystem()));
        jet::CommitStats stats;
        early::addRows(db, &stats);
        EXPECT_EQ(stats.pagesWrittenEarly, 0u);
        EXPECT_EQ(jettest::fileBytes(whole), after);
    }

    const auto file = tmp.path() / "crash.mdb";
    CrashCounts counts;
    for (int kind = 0; kind < 2; ++kind) {
        const std::uint64_t n = kind == 0 ? counting.writes() : counting.syncs();
        for (std::uint64_t i = 1; i <= n; ++i) {
            SCOPED_TRACE(std::string(kind == 0 ? "write " : "sync ") + std::to_string(i));
            std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
            pid_t pid = fork();
            if (pid == 0) {
                jet::FaultPlan plan;
                (kind == 0 ? plan.exitAtWrite : plan.exitAtSync) = i;
                jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
                try {
                    jet::Database db = jet::Database::open(file, early::limited(fs));
                    early::addRows(db);
                } catch (...) {
                    _exit(3);
                }
                _exit(0);
            }
            int status = 0;
            waitpid(pid, &status, 0);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 86);
            {
                jet::Database db = jet::Database::open(file);
                (void)db.tableDefs();
            }
            const auto now = jettest::fileBytes(file);
            const bool isOld = now == before, isNew = now == after;
            EXPECT_TRUE(isOld || isNew) << "size " << now.size();
            EXPECT_FALSE(std::filesystem::exists(file.string() + "-journal"));
            ++counts.points;
            counts.old += isOld;
            counts.fresh += isNew;
        }
    }
    std::printf("crash points tried: %zu, old file after reopening: %zu, new file: %zu\n", counts.points,
                counts.old, counts.fresh);
    EXPECT_GT(counts.old, 0u);
    EXPECT_GT(counts.fresh, 0u);
    EXPECT_EQ(counts.old + counts.fresh, counts.points);
}

// Each write or sync of such an insert failing in turn, once or from then on: a Jet error and the
// old file (put back by the writer itself when it can, else by the next open), or the new one.
TEST(Faults, EveryWriteAndSyncOfAnInsertWritingEarlyFailingInTurn) {
    TempDir tmp;
    const auto source = early::makeSource(tmp.path());
    const auto before = jettest::fileBytes(source);
    const auto ref = tmp.path() / "reference.mdb";
    std::filesystem::copy_file(source, ref);
    jet::FaultyFileSystem counting(jet::hostFileSystem());
    {
        jet::Database db = jet::Database::open(ref, early::limited(counting));
        early::addRows(db);
    }
    const auto after = jettest::fileBytes(ref);
    const auto file = tmp.path() / "fault.mdb";
    std::size_t failures = 0;
    for (int persistent = 0; persistent < 2; ++persistent) {
        for (int kind = 0; kind < 2; ++kind) {
            const std::uint64_t n = kind == 0 ? counting.writes() : counting.syncs();
            for (std::uint64_t i = 1; i <= n; ++i) {
                SCOPED_TRACE(std::to_string(persistent) + (kind == 0 ? " write " : " sync ") +
                             std::to_string(i));
                std::filesystem::copy_file(source, file, std::filesystem::copy_options::overwrite_existing);
                jet::FaultPlan plan;
                (kind == 0 ? plan.failWrite : plan.failSync) = i;
                plan.error = ENOSPC;
                plan.failAllAfter = persistent != 0;
                jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
                bool failed = false;
                try {
                    jet::Database db = jet::Database::open(file, early::limited(fs));
                    early::addRows(db);
                } catch (const jet::Error& e) {
                    failed = true;
                    ++failures;
                    EXPECT_EQ(e.number(), jet::errc::kDiskFull) << e.description();
                }
                if (failed && !persistent) {
                    EXPECT_EQ(jettest::fileBytes(file), before);
                }
                {
                    jet::Database db = jet::Database::open(file);
                    (void)db.tableDefs();
                }
                EXPECT_EQ(jettest::fileBytes(file), failed ? before : after);
            }
        }
    }
    EXPECT_GT(failures, 10u);
}

// A journal whose length after is not known yet (left by a writer stopped after writing pages
// beyond the file's end) cuts the file back; one of a version this engine does not know is
// reported and not applied.
TEST(Journal, UnknownLengthAfterAndUnknownVersion) {
    TempDir tmp;
    const auto file = early::makeSource(tmp.path());
    const auto before = jettest::fileBytes(file);
    jet::detail::JournalPlan plan;
    plan.pageSize = 4096;
    plan.lengthBefore = before.size();
    plan.lengthAfter = jet::detail::kJournalLengthUnknown;
    plan.page0Before = plan.page0After = jet::detail::crc32(before.data(), 4096);
    ASSERT_EQ(jet::detail::writeJournal(jet::hostFileSystem(), file.string(), plan), 0);
    {
        // Pages written beyond the end before the stop.
        std::ofstream grow(file, std::ios::binary | std::ios::app);
        grow << std::string(3 * 4096, 'x');
    }
    {
        jet::Database db = jet::Database::open(file);
        ASSERT_EQ(db.notices().size(), 1u);
        EXPECT_NE(db.notices()[0].find("rolled back"), std::string::npos) << db.notices()[0];
    }
    EXPECT_EQ(jettest::fileBytes(file), before);
    EXPECT_FALSE(std::filesystem::exists(file.string() + "-journal"));

    // The same journal marked with a version from the future.
    ASSERT_EQ(jet::detail::writeJournal(jet::hostFileSystem(), file.string(), plan), 0);
    {
        std::fstream j(file.string() + "-journal", std::ios::binary | std::ios::in | std::ios::out);
        std::vector<char> header(64);
        j.read(header.data(), 64);
        header[8] = 9;
        const std::uint32_t crc =
            jet::detail::crc32(reinterpret_cast<const std::uint8_t*>(header.data()), 60);
        for (int k = 0; k < 4; ++k) header[60 + k] = static_cast<char>(crc >> (8 * k));
        j.seekp(0);
        j.write(header.data(), 64);
    }
    {
        jet::Database db = jet::Database::open(file);
        ASSERT_EQ(db.notices().size(), 1u);
        EXPECT_NE(db.notices()[0].find("unknown journal version 9"), std::string::npos) << db.notices()[0];
    }
    EXPECT_EQ(jettest::fileBytes(file), before);
}

// A journal that does not belong to the file, or that was cut short, is never applied.
TEST(Journal, ForeignAndTornJournalsAreIgnored) {
    TempDir tmp;
    const auto source = jettest::fixturesDir() / "suite/drive_c/KELUSER/Report.mdb";
    const auto file = tmp.path() / "Report.mdb";
    std::filesystem::copy_file(source, file);
    const auto before = jettest::fileBytes(file);
    // A real journal of another database (KelCom), left beside this one.
    const auto other = tmp.path() / "KelCom.mdb";
    std::filesystem::copy_file(jettest::fixturesDir() / "suite/drive_c/KELUSER/KelCom.mdb", other);
    {
        pid_t pid = fork();
        if (pid == 0) {
            jet::FaultPlan plan;
            plan.exitAtSync = 3;  // after the journal is durable, before the pages are
            jet::FaultyFileSystem fs(jet::hostFileSystem(), plan);
            try {
                jet::Database db = jet::Database::open(other, through(fs));
                jet::dropTable(db, jettest::userTables(db).front());
            } catch (...) {
                _exit(3);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        ASSERT_TRUE(std::filesystem::exists(other.string() + "-journal"));
    }
    std::filesystem::rename(other.string() + "-journal", file.string() + "-journal");
    {
        jet::Database db = jet::Database::open(file);
        ASSERT_EQ(db.notices().size(), 1u);
        EXPECT_NE(db.notices()[0].find("ignored"), std::string::npos) << db.notices()[0];
    }
    EXPECT_EQ(jettest::fileBytes(file), before);

    // Torn: the same journal cut short.
    auto journal = jettest::fileBytes(file.string() + "-journal");
    for (std::size_t cut : {std::size_t{10}, std::size_t{64}, journal.size() / 2, journal.size() - 1}) {
        std::filesystem::resize_file(file.string() + "-journal", cut);
        jet::Database db = jet::Database::open(file);
        EXPECT_EQ(db.notices().size(), 1u);
        EXPECT_EQ(jettest::fileBytes(file), before);
    }
    // A writer moves an ignored journal aside and writes.
    {
        jet::Database db = jet::Database::open(file, through(jet::hostFileSystem()));
        jet::dropTable(db, "invoice");
    }
    EXPECT_TRUE(std::filesystem::exists(file.string() + "-journal-ignored"));
    EXPECT_FALSE(std::filesystem::exists(file.string() + "-journal"));
    jet::Database db = jet::Database::open(file);
    EXPECT_FALSE(db.hasTable("invoice"));
}

TEST(FileSeam, MemoryFilesOpenAsDatabases) {
    jet::MemoryFileSystem fs;
    fs.put("/m/Report.mdb", jettest::fileBytes(jettest::fixturesDir() / "suite/drive_c/KELUSER/Report.mdb"));
    jet::OpenOptions o;
    o.fileSystem = &fs;
    jet::Database db = jet::Database::open("/m/Report.mdb", o);
    EXPECT_TRUE(db.hasTable("invoice"));
    o.readOnly = false;
    jet::Database w = jet::Database::open("/m/Report.mdb", o);
    jet::dropTable(w, "invoice");
    EXPECT_FALSE(w.hasTable("invoice"));
    EXPECT_THROW(jet::Database::open("/m/none.mdb", o), jet::Error);
}

}  // namespace
