// The rollback journal: how a write is made all-or-nothing.
//
// Before a commit writes any page of the database, the original bytes of every page it will
// change go to "<database>-journal" beside it, and that file is synced (and its folder, so the
// entry exists). Then the pages are written and the database synced; removing the journal (and
// syncing the folder) is the moment of commit. Whoever opens the database later and finds a
// journal that belongs to it puts the original bytes back and cuts the file to its original
// length: the file is then exactly what it was before the write began.
//
// A large write may put pages beyond the file's original end into the file before its commit
// (see Transaction): cutting the file back removes them, so they need no record. It first makes
// a journal with no records whose length after the write is not known yet (all bits set), and at
// commit replaces it with the whole journal. A journal is always made under the name
// "<database>-journal-partial", synced, renamed over "<database>-journal" and its folder synced:
// at every moment the journal there is a whole one (or none).
//
// Format (little-endian):
//   0  8  magic "QXJETJNL"
//   8  4  format version (2; version 1, which never has an unknown length after, is read too)
//  12  4  page size
//  16  8  length of the database before the write
//  24  8  length of the database after the write, or all bits set when not known yet
//  32  4  number of page records
//  36  4  CRC-32 of page 0 before the write
//  40  4  CRC-32 of page 0 after the write
//  44  4  CRC-32 of all page records
//  48 12  reserved (zero)
//  60  4  CRC-32 of bytes 0..59
//  64     records: page number (4), the page's original bytes as they are in the file (page size)
// The journal is written whole and synced before the database is touched. A journal whose
// checksums do not hold was cut short before that point (the database was not touched) and is
// never applied. A journal belongs to a database when the database's page 0 has the CRC it had
// before or after the write and its length lies between the two lengths (a journal copied
// beside another file does not); with the length after not known, any length from the one
// before on. One that does not belong is never applied either, nor one of a version this engine
// does not know. Each of these is reported and moved aside to "<database>-journal-ignored" by
// the next writer. A "-journal-partial" file is never applied; the next writer removes it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/file.h"

namespace jet::detail {

inline constexpr char kJournalSuffix[] = "-journal";
inline constexpr char kIgnoredJournalSuffix[] = "-journal-ignored";
inline constexpr char kPartialJournalSuffix[] = "-journal-partial";
// JournalPlan::lengthAfter of a journal made before the database's final length is known.
inline constexpr std::uint64_t kJournalLengthUnknown = ~std::uint64_t{0};
inline constexpr std::size_t kJournalHeaderBytes = 64;

std::uint32_t crc32(const std::uint8_t* data, std::size_t length, std::uint32_t crc = 0) noexcept;

struct JournalRecord {
    std::uint32_t page = 0;
    std::vector<std::uint8_t> bytes;  // page size bytes, as stored in the file
};

struct JournalPlan {
    std::uint32_t pageSize = 0;
    std::uint64_t lengthBefore = 0;
    std::uint64_t lengthAfter = 0;
    std::uint32_t page0Before = 0;
    std::uint32_t page0After = 0;
    std::vector<JournalRecord> records;
};

// Makes `plan` the journal of `database`, durably, replacing the one there (see above). Returns 0
// or an errno; the journal there before is then still there, and a journal that did not exist
// before is removed again as far as possible.
int writeJournal(FileSystem& fs, const std::string& database, const JournalPlan& plan);

// Removes the journal (the commit point) and syncs the folder. Returns 0 or the errno of the
// removal; a failing folder sync is not reported (see journal.cc).
int removeJournal(FileSystem& fs, const std::string& database);

enum class RecoveryOutcome { None, RolledBack, Ignored };

// Looks for a journal beside `database` and, when it belongs, restores the original pages and
// length through `db` (open for writing) and removes it. `notice` describes what happened.
// Errors writing the database come back as an errno with the journal left in place.
RecoveryOutcome recoverJournal(FileSystem& fs, File& db, const std::string& database, std::string& notice,
                               int& error);

// True when a journal file exists beside `database`.
bool journalExists(FileSystem& fs, const std::string& database);

std::string directoryOf(const std::string& path);

}  // namespace jet::detail
