// Jet's locks between real processes: a forked child holds the database open (exclusively, or
// shared and writing) while this process tries what a second user would.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "jet/compact.h"
#include "jet/database.h"
#include "jet/error.h"
#include "jet/file.h"
#include "jet/locks.h"
#include "jet/schema.h"
#include "jet/store.h"
#include "jet/transaction.h"
#include "write_support.h"

namespace {

using jettest::TempDir;

enum class Hold { Exclusive, SharedWriting, Shared };

// A child process that opens the file as told, reports "ready" and waits until told to go.
class Holder {
  public:
    Holder(const std::filesystem::path& file, Hold how) {
        if (pipe(ready_) != 0 || pipe(go_) != 0) throw std::runtime_error("pipe");
        pid_ = fork();
        if (pid_ == 0) {
            char c = 'x';
            try {
                jet::OpenOptions o;
                o.readOnly = false;
                o.exclusive = how == Hold::Exclusive;
                jet::Database db = jet::Database::open(file, o);
                std::unique_ptr<jet::Transaction> tx;
                if (how == Hold::SharedWriting) tx = std::make_unique<jet::Transaction>(db);
                c = 'r';
                if (write(ready_[1], &c, 1) != 1) _exit(4);
                if (read(go_[0], &c, 1) != 1) _exit(5);
            } catch (...) {
                if (write(ready_[1], &c, 1) != 1) _exit(4);
                _exit(3);
            }
            _exit(0);
        }
        char c = 0;
        if (read(ready_[0], &c, 1) != 1 || c != 'r') throw std::runtime_error("holder did not start");
    }
    ~Holder() { release(); }
    int release() {
        if (pid_ <= 0) return status_;
        char c = 'g';
        if (write(go_[1], &c, 1) != 1) return -1;
        int st = 0;
        waitpid(pid_, &st, 0);
        pid_ = -1;
        for (int fd : {ready_[0], ready_[1], go_[0], go_[1]}) close(fd);
        status_ = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
        return status_;
    }

  private:
    pid_t pid_ = -1;
    int ready_[2] = {-1, -1}, go_[2] = {-1, -1};
    int status_ = -1;
};

int openError(const std::filesystem::path& file, bool exclusive, bool readOnly, std::string* text = nullptr) {
    try {
        jet::OpenOptions o;
        o.exclusive = exclusive;
        o.readOnly = readOnly;
        jet::Database db = jet::Database::open(file, o);
    } catch (const jet::Error& e) {
        if (text) *text = e.description();
        return e.number();
    }
    return 0;
}

TEST(Locks, ExclusiveOpenKeepsEveryoneOut) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto ldb = jet::detail::lockFilePath(file.string());
    EXPECT_EQ(ldb, (tmp.path() / "Report.ldb").string());
    {
        Holder child(file, Hold::Exclusive);
        // An exclusive open writes no .ldb.
        EXPECT_FALSE(std::filesystem::exists(ldb));
        std::string text;
        EXPECT_EQ(openError(file, false, false, &text), 3356);
        EXPECT_EQ(text,
                  "You attempted to open a database that is already opened exclusively by user 'Admin' on "
                  "machine '" +
                      jet::hostFileSystem().computerName() + "'.  Try again when the database is available.");
        EXPECT_EQ(openError(file, false, true), 3356);
        // An exclusive open is told the same: someone has it exclusively.
        EXPECT_EQ(openError(file, true, false), 3356);
        EXPECT_EQ(child.release(), 0);
    }
    EXPECT_EQ(openError(file, true, false), 0);
    EXPECT_EQ(openError(file, false, false), 0);
}

TEST(Locks, SharedOpenWritesTheLdbAndKeepsExclusiveOut) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto ldb = jet::detail::lockFilePath(file.string());
    {
        Holder child(file, Hold::Shared);
        ASSERT_TRUE(std::filesystem::exists(ldb));
        auto bytes = jettest::fileBytes(ldb);
        ASSERT_GE(bytes.size(), 64u);
        std::string computer(reinterpret_cast<const char*>(bytes.data()),
                             strnlen(reinterpret_cast<const char*>(bytes.data()), 32));
        std::string user(reinterpret_cast<const char*>(bytes.data() + 32),
                         strnlen(reinterpret_cast<const char*>(bytes.data() + 32), 32));
        EXPECT_EQ(computer, jet::hostFileSystem().computerName().substr(0, 31));
        EXPECT_EQ(user, "Admin");
        std::string text;
        EXPECT_EQ(openError(file, true, false, &text), 3045);
        EXPECT_EQ(text, "Could not use '" + file.string() + "'; file already in use.");
        {
            // A second user takes the next slot; closing it leaves the .ldb to the first.
            jet::OpenOptions o;
            o.readOnly = false;
            jet::Database db = jet::Database::open(file, o);
            EXPECT_EQ(db.store()->locks->slot(), 1);
            EXPECT_GE(jettest::fileBytes(ldb).size(), 128u);
        }
        EXPECT_TRUE(std::filesystem::exists(ldb));
        EXPECT_EQ(child.release(), 0);
    }
    // The last to close removed it.
    EXPECT_FALSE(std::filesystem::exists(ldb));
}

TEST(Locks, WriteLockGives3218AndDropWaitsForNothing) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto before = jettest::fileBytes(file);
    {
        Holder child(file, Hold::SharedWriting);
        jet::OpenOptions o;
        o.readOnly = false;
        jet::Database db = jet::Database::open(file, o);
        try {
            jet::dropTable(db, "invoice");
            ADD_FAILURE();
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.number(), 3218);
            EXPECT_EQ(e.description(), "Could not update; currently locked.");
        }
        EXPECT_EQ(jettest::fileBytes(file), before);
        EXPECT_EQ(child.release(), 0);
        jet::dropTable(db, "invoice");
    }
    jet::Database db = jet::Database::open(file);
    EXPECT_FALSE(db.hasTable("invoice"));
}

// A drop by another process is seen by an open of this one after it refreshes (here: a new open).
TEST(Locks, OtherProcessDropIsSeenOnNextOpen) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    jet::Database reader = jet::Database::open(file);
    ASSERT_TRUE(reader.hasTable("users"));
    pid_t pid = fork();
    if (pid == 0) {
        try {
            jet::OpenOptions o;
            o.readOnly = false;
            jet::Database db = jet::Database::open(file, o);
            jet::dropTable(db, "users");
        } catch (...) {
            _exit(3);
        }
        _exit(0);
    }
    int st = 0;
    waitpid(pid, &st, 0);
    ASSERT_TRUE(WIFEXITED(st) && WEXITSTATUS(st) == 0);
    jet::Database again = jet::Database::open(file);
    EXPECT_FALSE(again.hasTable("users"));
}

TEST(Locks, StaleLdbIsHarmless) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto ldb = jet::detail::lockFilePath(file.string());
    {
        std::ofstream out(ldb, std::ios::binary);
        std::string junk(64 * 3, 'Z');
        out << junk;
    }
    {
        jet::OpenOptions o;
        o.readOnly = false;
        jet::Database db = jet::Database::open(file, o);
        EXPECT_EQ(db.store()->locks->slot(), 0);
        jet::dropTable(db, "invoice");
    }
    EXPECT_FALSE(std::filesystem::exists(ldb));
}

// Compaction needs the source closed by everyone: another process's shared open refuses it with
// 3045, an exclusive one with 3356, and nothing is written, to the source or beside it.
TEST(Locks, CompactionRefusesASourceOpenElsewhere) {
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    const auto before = jettest::fileBytes(file);
    const auto dest = tmp.path() / "compress.mdb";
    for (Hold how : {Hold::Shared, Hold::SharedWriting, Hold::Exclusive}) {
        Holder child(file, how);
        int number = 0;
        try {
            jet::compactDatabase(file, dest);
        } catch (const jet::Error& e) {
            number = e.number();
        }
        EXPECT_EQ(number, how == Hold::Exclusive ? 3356 : 3045);
        EXPECT_FALSE(std::filesystem::exists(dest));
        EXPECT_EQ(child.release(), 0);
        EXPECT_EQ(jettest::fileBytes(file), before);
    }
    // Once everyone has closed it, it compacts, and the compaction's own open leaves no .ldb.
    jet::CompactResult r = jet::compactDatabase(file, dest);
    EXPECT_GT(r.tables, 0u);
    EXPECT_TRUE(std::filesystem::exists(dest));
    EXPECT_FALSE(std::filesystem::exists(jet::detail::lockFilePath(file.string())));
    EXPECT_EQ(jettest::fileBytes(file), before);
}

// A source nobody may write (a read-only file) is still compacted: its open is shared.
TEST(Locks, CompactionOfAReadOnlySource) {
    if (geteuid() == 0) GTEST_SKIP() << "root writes read-only files";
    TempDir tmp;
    const auto file = tmp.copy("suite/drive_c/KELUSER/Report.mdb");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const auto dest = tmp.path() / "compress.mdb";
    EXPECT_NO_THROW(jet::compactDatabase(file, dest));
    EXPECT_TRUE(std::filesystem::exists(dest));
}

}  // namespace
