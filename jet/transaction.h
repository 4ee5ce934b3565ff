// A write to an open database: pages changed in memory, written all at once at commit.
//
// A Transaction is made on a Database opened with OpenOptions::readOnly = false. It takes Jet's
// write lock for its whole life, so one process at a time writes a file. Pages are read as the
// transaction sees them (its own changes included), changed with write(), taken and given back
// with allocate() and release() (which keep the global usage map and the table's map right).
// Nothing reaches the file before commit(); a Transaction dropped without commit() leaves the file
// as it was.
//
// commit(): the original bytes of every page about to change go to the rollback journal (see
// jet/journal.h), which is made durable; then the pages are written and the file synced; removing
// the journal is the commit. A failure at any step (full disk, read-only file, vanished folder)
// puts the original bytes back and reports the error; should that fail too, the journal stays
// and the next open of the file rolls it back. Either way the file is its old self or its new one.
// After a commit the Database's cached catalog and layouts are read again, and other opens of the
// same file in this process notice the change (see Store::refreshIfChanged).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "jet/database.h"
#include "jet/page_io.h"

namespace jet {

namespace detail {
class Store;
}

struct CommitStats {
    std::size_t pagesJournaled = 0;  // original pages saved in the journal
    std::size_t pagesWritten = 0;    // pages written to the database
    std::uint64_t bytesWritten = 0;  // journal and database together
};

class Transaction final : public detail::PageIO {
  public:
    // Errors: 3027 when the file is open for reading only, 3049 when reading it has shown damage,
    // 3218 when another open (of this process or another) is writing it.
    explicit Transaction(const Database& db);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() override;

    const detail::JetFormat& format() const override;
    std::uint32_t pageCount() const override { return pageCount_; }
    void read(std::uint32_t page, std::uint8_t* out) override;
    void write(std::uint32_t page, const std::uint8_t* data) override;
    std::uint32_t allocate(std::uint32_t usageMap) override;
    void release(std::uint32_t page, std::uint32_t usageMap) override;

    // Sets (true) or clears the bit of `page` in the usage map `usageMap` of a table or index
    // (set = the page belongs to it). Errors: 3049 for a damaged map; 3035 when the map is inline
    // and cannot cover the page.
    void setInMap(std::uint32_t usageMap, std::uint32_t page, bool owned);
    // Marks `page` free (true) or used in the global map (page 1, row 0; set = free).
    void setFree(std::uint32_t page, bool free);
    // Whether the global map has a bit for `page` at all.
    bool globalCovers(std::uint32_t page);
    // Whether the global map marks `page` free (pages it does not cover are not taken as free).
    bool isFree(std::uint32_t page);

    // The page as this transaction sees it, to be changed in place (it becomes a changed page).
    std::vector<std::uint8_t>& modify(std::uint32_t page) { return mutablePage(page); }

    // Pages changed so far.
    std::size_t changedPages() const noexcept { return changed_.size(); }

    // Writes everything (see above). Errors: 3026 full disk, 3027 read-only, 3044 the folder is
    // gone, 3043 other failures; the file is unchanged then. Commit at most once.
    void commit();
    const CommitStats& stats() const noexcept { return stats_; }

    detail::Store& store() noexcept { return *store_; }

  private:
    // Rewrites the inline map row at `rowStart` of page `holder` as a reference map of the same
    // length marking the pages `owned`, with a new bitmap page per slot that has any. 3035 when a
    // page lies beyond the last slot.
    void toReferenceMap(std::uint32_t holder, std::size_t rowStart, std::size_t rowLength,
                        const std::vector<std::uint32_t>& owned);
    std::vector<std::uint8_t>& mutablePage(std::uint32_t page);
    // The page as this transaction sees it, without making it a changed page. The reference
    // holds until the next call of view() or a change of the page.
    const std::vector<std::uint8_t>& view(std::uint32_t page);
    // Page 1 (the global usage map) as this transaction sees it.
    const std::vector<std::uint8_t>& globalPage();
    void undoWrites(const std::vector<std::vector<std::uint8_t>>& originals,
                    const std::vector<std::uint32_t>& pages, std::uint64_t originalLength);

    std::shared_ptr<detail::Store> store_;
    std::map<std::uint32_t, std::vector<std::uint8_t>> changed_;
    std::unique_ptr<std::vector<std::uint8_t>> globalMap_;  // page 1 as read while unchanged
    std::vector<std::uint8_t> scratch_;                     // what view() returns for unchanged pages
    std::uint32_t pageCount_ = 0;
    std::uint32_t originalCount_ = 0;
    // No page below this one is free: allocation searches from here, so that filling a table
    // does not scan the whole global map for every page it takes. Lowered by a release and by
    // any rewrite of the global map's page.
    std::uint32_t firstMaybeFree_ = 3;
    bool holdsWriteLock_ = false;
    bool finished_ = false;
    CommitStats stats_;
};

}  // namespace jet
