// A process-wide cache of the text LIKE sees in a column, for every row of a table.
//
// The search re-runs its statement on every key stroke, and each run would otherwise decode the
// same column of the same table again. The cache keeps, per file, table and column, the folded
// (upper-cased) text of each row in scan order, so that a run whose condition is only LIKE tests
// reads no page at all; it also keeps the live row count of a table.
//
// Entries are tied to the file's identity as the operating system reports it (device, inode,
// size, modification and change times to the nanosecond): any write to the file, by this process
// or another, changes the stamp and the entries of the old stamp are never used again. The change
// time matters because a copy that restores an old modification time (cp -p of a backup) still
// gets a new change time; a commit of this process also bumps the file's generation counter, which
// is part of the stamp. An entry is stored
// only when the stamp was the same before and after the scan that built it, and only once the
// file has been left alone for kSettleSeconds: file systems keep modification times in coarse
// ticks, so a write that follows another within one tick could leave the time unchanged, and a
// file that has just changed may be in the middle of such a series. The cache holds at most
// kBudgetBytes; the least recently used entries go first.
//
// Threads: safe to use from several threads (one mutex).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/table.h"

namespace jet::sql::detail {

struct FileStamp {
    std::uint64_t device = 0, inode = 0, size = 0;
    std::int64_t modifiedSeconds = 0, modifiedNanoseconds = 0;
    std::int64_t changedSeconds = 0, changedNanoseconds = 0;
    std::uint64_t generation = 0;  // commits of this process (jet::detail::fileGeneration)
    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

// The stamp of the file at `path`, or nothing when it cannot be examined (then nothing is cached).
std::optional<FileStamp> stampOf(const std::string& path);

inline constexpr std::int64_t kSettleSeconds = 2;
// True when the file's modification time lies at least kSettleSeconds in the past.
bool settled(const FileStamp& stamp);

// One column's text, row by row in scan order. A column with few distinct values (dates, states,
// check numbers) is kept as the list of its distinct texts and, per row, the position of the row's
// text in that list, so that a test runs once per distinct text instead of once per row; other
// columns keep every row's text one after the other.
struct TextColumn {
    std::vector<std::uint8_t> nulls;  // 1 where the value is Null; one entry per row

    std::string folded;               // plain form: every row's text, upper-cased, in a row
    std::vector<std::uint32_t> ends;  // row i spans [ends[i-1], ends[i]) of folded

    std::vector<std::string> distinct;  // coded form: the distinct texts, upper-cased
    std::vector<std::uint32_t> codes;   // per row, its text's position in distinct

    bool coded() const noexcept { return !codes.empty(); }
    std::size_t rows() const noexcept { return nulls.size(); }
    std::string_view text(std::size_t row) const noexcept {
        if (coded()) return distinct[codes[row]];
        const std::uint32_t begin = row == 0 ? 0 : ends[row - 1];
        return std::string_view(folded).substr(begin, ends[row] - begin);
    }
    std::size_t bytes() const noexcept {
        std::size_t n = 64 + nulls.size() + folded.size() + 4 * ends.size() + 4 * codes.size();
        for (const auto& d : distinct) n += d.size() + 32;
        return n;
    }
};

class ColumnCache {
  public:
    static constexpr std::size_t kBudgetBytes = 96u << 20;

    static ColumnCache& instance();

    std::shared_ptr<const TextColumn> findColumn(const FileStamp& stamp, std::uint32_t tablePage,
                                                 std::string_view column);
    void storeColumn(const FileStamp& stamp, std::uint32_t tablePage, std::string_view column,
                     std::shared_ptr<const TextColumn> data);

    std::optional<std::size_t> findRowCount(const FileStamp& stamp, std::uint32_t tablePage);
    void storeRowCount(const FileStamp& stamp, std::uint32_t tablePage, std::size_t rows);
    // Where the table's rows live (its data pages and their live row counts), as a cursor
    // finds row n without a scan.
    std::shared_ptr<const RowDirectory> findRowDirectory(const FileStamp& stamp, std::uint32_t tablePage);
    void storeRowDirectory(const FileStamp& stamp, std::uint32_t tablePage,
                           std::shared_ptr<const RowDirectory> directory);

    // Drops everything (tests).
    void clear();

  private:
    ColumnCache() = default;
    struct Impl;
    Impl& impl();
};

}  // namespace jet::sql::detail
