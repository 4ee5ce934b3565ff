// The writing pager: changed pages, usage maps, and the commit protocol of jet/journal.h.
#include "jet/transaction.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "jet/journal.h"
#include "jet/locks.h"
#include "jet/store.h"

namespace jet {

using namespace detail;

namespace {

// Where a usage map row lies inside its (already read) page.
struct MapRow {
    std::size_t start = 0;
    std::size_t length = 0;
};

MapRow locateMapRow(const Store& store, const std::vector<std::uint8_t>& page, std::uint32_t pointer) {
    const JetFormat& f = *store.fmt;
    const std::uint32_t pageNo = pointer >> 8;
    const std::uint16_t row = pointer & 0xFF;
    if (page[0] != kPageData) store.corrupt(pageNo, 0, "usage map is not on a data page");
    std::uint16_t rows = u16(page.data() + f.dataRowCount);
    if (row >= rows || f.dataRowOffsets + 2u * rows > f.pageSize)
        store.corrupt(pageNo, f.dataRowCount, "usage map row missing");
    std::size_t entry = f.dataRowOffsets + 2u * row;
    std::uint16_t raw = u16(page.data() + entry);
    std::size_t start = raw & kRowOffsetMask;
    std::size_t end = row == 0 ? f.pageSize : (u16(page.data() + entry - 2) & kRowOffsetMask);
    if ((raw & kRowDeleted) || start >= end || end > f.pageSize || start < f.dataRowOffsets + 2u * rows)
        store.corrupt(pageNo, entry, "usage map row is empty or out of bounds");
    if (page[start] == 0 && end - start < 5) store.corrupt(pageNo, start, "usage map too short");
    if (page[start] > 1) store.corrupt(pageNo, start, "unknown usage map type");
    return {start, end - start};
}

void put32(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

Error mapTooSmall() {
    return Error(3035, "System resource exceeded.");
}

}  // namespace

Transaction::Transaction(const Database& db) : store_(db.store()) {
    Store& s = *store_;
    if (!s.writable) throw Error::readOnly();
    s.refreshIfChanged();
    if (s.channel->damaged())
        throw Error::corrupt(s.path, 0, 0, "the file showed damage when it was read; it is not written");
    if (s.file->lock(kLockWrite, 1, LockKind::Exclusive, false) != 0) throw Error::locked();
    holdsWriteLock_ = true;
    // Another process may have committed since this open read the file.
    std::uint64_t size = 0;
    if (s.file->size(size) != 0) {
        s.file->unlock(kLockWrite, 1);
        throw Error::noPermission(s.path);
    }
    if (size / s.fmt->pageSize != s.channel->pageCount()) s.reload();
    pageCount_ = originalCount_ = s.channel->pageCount();
}

Transaction::~Transaction() {
    if (holdsWriteLock_) store_->file->unlock(kLockWrite, 1);
}

const JetFormat& Transaction::format() const {
    return *store_->fmt;
}

void Transaction::read(std::uint32_t page, std::uint8_t* out) {
    auto it = changed_.find(page);
    if (it != changed_.end()) {
        std::memcpy(out, it->second.data(), it->second.size());
        return;
    }
    if (page >= pageCount_) store_->corrupt(page, 0, "page number beyond the end of the file");
    if (page >= originalCount_) {
        // Appended but never written: undefined; zeros.
        std::memset(out, 0, format().pageSize);
        return;
    }
    PageRef ref = store_->page(page);
    std::memcpy(out, ref.data(), format().pageSize);
}

const std::vector<std::uint8_t>& Transaction::view(std::uint32_t page) {
    auto it = changed_.find(page);
    if (it != changed_.end()) return it->second;
    scratch_.resize(format().pageSize);
    read(page, scratch_.data());
    return scratch_;
}

const std::vector<std::uint8_t>& Transaction::globalPage() {
    auto it = changed_.find(1);
    if (it != changed_.end()) return it->second;
    if (!globalMap_) {
        globalMap_ = std::make_unique<std::vector<std::uint8_t>>(format().pageSize);
        read(1, globalMap_->data());
    }
    return *globalMap_;
}

std::vector<std::uint8_t>& Transaction::mutablePage(std::uint32_t page) {
    auto it = changed_.find(page);
    if (it != changed_.end()) return it->second;
    std::vector<std::uint8_t> bytes(format().pageSize);
    read(page, bytes.data());
    return changed_.emplace(page, std::move(bytes)).first->second;
}

void Transaction::write(std::uint32_t page, const std::uint8_t* data) {
    if (page == 1) {
        globalMap_.reset();
        firstMaybeFree_ = 3;
    }
    if (finished_) throw Error(errc::kDiskError, "Disk or network error.");
    if (page == 0 || page >= pageCount_)
        store_->corrupt(page, 0, "write to a page beyond the end of the file");
    auto& bytes = changed_[page];
    bytes.assign(data, data + format().pageSize);
}

void Transaction::setInMap(std::uint32_t usageMap, std::uint32_t page, bool owned) {
    if (usageMap == 0) return;
    // The global map's row only moves its start page or gains bitmap pages through here.
    if ((usageMap >> 8) == 1) globalMap_.reset();
    const JetFormat& f = format();
    const std::uint32_t holder = usageMap >> 8;
    MapRow row = locateMapRow(*store_, view(holder), usageMap);
    std::vector<std::uint8_t>& bytes = mutablePage(holder);
    std::uint8_t* r = bytes.data() + row.start;
    if (r[0] == 0) {
        std::uint32_t start = u32(r + 1);
        std::size_t bits = (row.length - 5) * 8;
        if (page >= start && page - start < bits) {
            std::uint32_t i = page - start;
            if (owned)
                r[5 + i / 8] = static_cast<std::uint8_t>(r[5 + i / 8] | (1u << (i % 8)));
            else
                r[5 + i / 8] = static_cast<std::uint8_t>(r[5 + i / 8] & ~(1u << (i % 8)));
            return;
        }
        if (!owned) return;
        // Move the window so that it covers the page and every page it marks.
        std::uint32_t lo = page, hi = page;
        for (std::size_t i = 0; i < bits; ++i) {
            if (r[5 + i / 8] & (1u << (i % 8))) {
                lo = std::min<std::uint32_t>(lo, start + static_cast<std::uint32_t>(i));
                hi = std::max<std::uint32_t>(hi, start + static_cast<std::uint32_t>(i));
            }
        }
        std::uint32_t newStart = lo & ~7u;
        if (hi - newStart >= bits) {
            // The pages are too far apart for one window: the row becomes a reference map of
            // the same length, as Jet turns it, and the page is marked through that.
            if (holder == 1) throw mapTooSmall();
            std::vector<std::uint32_t> marked{page};
            for (std::size_t i = 0; i < bits; ++i)
                if (r[5 + i / 8] & (1u << (i % 8))) marked.push_back(start + static_cast<std::uint32_t>(i));
            toReferenceMap(holder, row.start, row.length, marked);
            return;
        }
        std::vector<std::uint8_t> fresh(row.length - 5, 0);
        for (std::size_t i = 0; i < bits; ++i) {
            if (r[5 + i / 8] & (1u << (i % 8))) {
                std::uint32_t j = start + static_cast<std::uint32_t>(i) - newStart;
                fresh[j / 8] = static_cast<std::uint8_t>(fresh[j / 8] | (1u << (j % 8)));
            }
        }
        std::uint32_t j = page - newStart;
        fresh[j / 8] = static_cast<std::uint8_t>(fresh[j / 8] | (1u << (j % 8)));
        put32(r + 1, newStart);
        std::memcpy(r + 5, fresh.data(), fresh.size());
        return;
    }
    // Reference map: slot i names the 0x05 page for pages [i*per, (i+1)*per).
    const std::size_t per = static_cast<std::size_t>(f.pageSize - 4) * 8;
    const std::size_t slot = page / per;
    const std::size_t slots = (row.length - 1) / 4;
    if (slot >= slots) {
        if (!owned) return;
        throw mapTooSmall();
    }
    std::uint32_t bitmap = u32(r + 1 + 4 * slot);
    if (bitmap == 0) {
        if (!owned) return;
        // A new bitmap page for this slot. `r` may move: take what is needed first.
        std::uint32_t fresh = allocate(0);
        std::vector<std::uint8_t> bp(f.pageSize, 0);
        bp[0] = kPageUsageMap;
        bp[1] = 0x01;
        write(fresh, bp.data());
        std::vector<std::uint8_t>& again = mutablePage(holder);
        put32(again.data() + row.start + 1 + 4 * slot, fresh);
        bitmap = fresh;
    }
    if (bitmap >= pageCount_) store_->corrupt(holder, row.start, "usage bitmap page beyond the file");
    std::vector<std::uint8_t>& bp = mutablePage(bitmap);
    if (bp[0] != kPageUsageMap) store_->corrupt(bitmap, 0, "not a usage bitmap page");
    std::size_t i = page - slot * per;
    if (owned)
        bp[4 + i / 8] = static_cast<std::uint8_t>(bp[4 + i / 8] | (1u << (i % 8)));
    else
        bp[4 + i / 8] = static_cast<std::uint8_t>(bp[4 + i / 8] & ~(1u << (i % 8)));
}

void Transaction::toReferenceMap(std::uint32_t holder, std::size_t rowStart, std::size_t rowLength,
                                 const std::vector<std::uint32_t>& owned) {
    const JetFormat& f = format();
    const std::size_t per = static_cast<std::size_t>(f.pageSize - 4) * 8;
    const std::size_t slots = (rowLength - 1) / 4;
    std::map<std::size_t, std::vector<std::uint8_t>> bitmaps;
    for (const std::uint32_t p : owned) {
        const std::size_t slot = p / per;
        if (slot >= slots) throw mapTooSmall();
        std::vector<std::uint8_t>& bp = bitmaps[slot];
        if (bp.empty()) {
            bp.assign(f.pageSize, 0);
            bp[0] = kPageUsageMap;
            bp[1] = 0x01;
        }
        const std::size_t i = p - slot * per;
        bp[4 + i / 8] = static_cast<std::uint8_t>(bp[4 + i / 8] | (1u << (i % 8)));
    }
    // The bitmap pages first (allocating touches the global map), then the row in one go.
    std::vector<std::pair<std::size_t, std::uint32_t>> placed;
    for (const auto& [slot, bp] : bitmaps) {
        const std::uint32_t fresh = allocate(0);
        write(fresh, bp.data());
        placed.emplace_back(slot, fresh);
    }
    std::uint8_t* r = mutablePage(holder).data() + rowStart;
    std::memset(r, 0, rowLength);
    r[0] = 0x01;
    for (const auto& [slot, fresh] : placed) put32(r + 1 + 4 * slot, fresh);
}

bool Transaction::isFree(std::uint32_t page) {
    const JetFormat& f = format();
    if (!globalCovers(page)) return false;
    const std::vector<std::uint8_t>& copy = globalPage();
    const std::uint32_t pointer = (1u << 8) | 0u;
    MapRow row = locateMapRow(*store_, copy, pointer);
    const std::uint8_t* r = copy.data() + row.start;
    if (r[0] == 0) {
        std::uint32_t start = u32(r + 1);
        std::size_t bits = (row.length - 5) * 8;
        if (page < start || page - start >= bits) return false;
        std::uint32_t i = page - start;
        return (r[5 + i / 8] & (1u << (i % 8))) != 0;
    }
    const std::size_t per = static_cast<std::size_t>(f.pageSize - 4) * 8;
    const std::size_t slot = page / per;
    if (slot >= (row.length - 1) / 4) return false;
    std::uint32_t bitmap = u32(r + 1 + 4 * slot);
    if (bitmap == 0 || bitmap >= pageCount_) return false;
    const std::vector<std::uint8_t>& bp = view(bitmap);
    std::size_t i = page - slot * per;
    return (bp[4 + i / 8] & (1u << (i % 8))) != 0;
}

bool Transaction::globalCovers(std::uint32_t page) {
    const JetFormat& f = format();
    const std::vector<std::uint8_t>& copy = globalPage();
    MapRow row = locateMapRow(*store_, copy, (1u << 8) | 0u);
    const std::uint8_t* r = copy.data() + row.start;
    if (r[0] == 0) {
        std::uint32_t start = u32(r + 1);
        return page >= start && page - start < (row.length - 5) * 8;
    }
    const std::size_t per = static_cast<std::size_t>(f.pageSize - 4) * 8;
    const std::size_t slot = page / per;
    if (slot >= (row.length - 1) / 4) return false;
    std::uint32_t bitmap = u32(r + 1 + 4 * slot);
    return bitmap != 0 && bitmap < pageCount_;
}

void Transaction::setFree(std::uint32_t page, bool free) {
    // In the global map a set bit means free, and a page it does not cover counts as used. An
    // inline map covers a window of pages; a page outside it is already used as far as any
    // reader can tell, and one freed there stays unused until the file is compacted, as with
    // Jet itself. So a file keeps growing past the window of its global map.
    if (!globalCovers(page)) return;
    setInMap((1u << 8) | 0u, page, free);
    if (free) firstMaybeFree_ = std::min(firstMaybeFree_, page);
}

std::uint32_t Transaction::allocate(std::uint32_t usageMap) {
    std::uint32_t page = 0;
    for (std::uint32_t p = std::max<std::uint32_t>(firstMaybeFree_, 3); p < pageCount_; ++p) {
        if (isFree(p)) {
            page = p;
            break;
        }
    }
    if (page == 0) {
        if (pageCount_ >= 0xFFFFFFu) throw Error(errc::kDiskFull, "Not enough space on disk.");
        page = pageCount_++;
        changed_[page].assign(format().pageSize, 0);
    }
    setFree(page, false);
    setInMap(usageMap, page, true);
    firstMaybeFree_ = page + 1;
    return page;
}

void Transaction::release(std::uint32_t page, std::uint32_t usageMap) {
    if (page < 3 || page >= pageCount_) store_->corrupt(page, 0, "release of a page the file does not have");
    setInMap(usageMap, page, false);
    setFree(page, true);
}

void Transaction::undoWrites(const std::vector<std::vector<std::uint8_t>>& originals,
                             const std::vector<std::uint32_t>& pages, std::uint64_t originalLength) {
    Store& s = *store_;
    const std::uint32_t ps = format().pageSize;
    int err = 0;
    for (std::size_t i = 0; i < pages.size() && err == 0; ++i)
        err = s.file->writeAll(static_cast<std::uint64_t>(pages[i]) * ps, originals[i].data(), ps);
    if (err == 0) err = s.file->truncate(originalLength);
    if (err == 0) err = s.file->sync();
    // Only a file known to be whole again loses its journal; otherwise the next open rolls back.
    if (err == 0) removeJournal(*s.fs, s.path);
}

void Transaction::commit() {
    if (finished_) throw Error(errc::kDiskError, "Disk or network error.");
    finished_ = true;
    Store& s = *store_;
    if (changed_.empty()) return;
    const std::uint32_t ps = format().pageSize;
    File& file = *s.file;

    // No open may read the header or catalog while pages are written.
    file.lock(kLockCommit, 1, LockKind::Exclusive, true);
    struct Unlock {
        File& f;
        ~Unlock() { f.unlock(kLockCommit, 1); }
    } unlock{file};

    std::uint64_t originalLength = 0;
    if (int err = file.size(originalLength)) throw Error::writeFailed(s.path, err);
    // A journal already there was not applied when this file was opened: keep it out of the way.
    if (journalExists(*s.fs, s.path)) {
        std::string aside = s.path + kIgnoredJournalSuffix;
        s.fs->remove(aside);
        int err = 0;
        auto from = s.fs->open(s.path + kJournalSuffix, OpenMode::Read, err);
        auto to = from ? s.fs->open(aside, OpenMode::CreateNew, err) : nullptr;
        if (from && to) {
            std::uint64_t n = 0;
            from->size(n);
            std::vector<std::uint8_t> buf(static_cast<std::size_t>(n));
            std::size_t got = 0;
            from->readAll(0, buf.data(), buf.size(), got);
            err = to->writeAll(0, buf.data(), got);
            if (err == 0) err = to->sync();
        }
        if (err != 0) throw Error::writeFailed(s.path, err);
        if (int e = s.fs->remove(s.path + kJournalSuffix)) throw Error::writeFailed(s.path, e);
    }

    JournalPlan plan;
    plan.pageSize = ps;
    plan.lengthBefore = originalLength;
    plan.lengthAfter = std::max<std::uint64_t>(originalLength, static_cast<std::uint64_t>(pageCount_) * ps);
    std::vector<std::uint8_t> page0(ps, 0);
    std::size_t got = 0;
    if (int err = file.readAll(0, page0.data(), ps, got)) throw Error::writeFailed(s.path, err);
    plan.page0Before = plan.page0After = crc32(page0.data(), got);
    std::vector<std::uint32_t> pages;
    std::vector<std::vector<std::uint8_t>> originals;
    for (const auto& [number, bytes] : changed_) {
        if (static_cast<std::uint64_t>(number) * ps >= originalLength) continue;
        JournalRecord rec;
        rec.page = number;
        rec.bytes.assign(ps, 0);
        if (int err = file.readAll(static_cast<std::uint64_t>(number) * ps, rec.bytes.data(), ps, got))
            throw Error::writeFailed(s.path, err);
        pages.push_back(number);
        originals.push_back(rec.bytes);
        plan.records.push_back(std::move(rec));
    }
    if (int err = writeJournal(*s.fs, s.path, plan)) throw Error::writeFailed(s.path, err);
    stats_.pagesJournaled = plan.records.size();
    stats_.bytesWritten += kJournalHeaderBytes + plan.records.size() * (4u + ps);

    // The pages, in file order (appended ones extend the file in order).
    const std::uint32_t key = s.channel->databaseKey();
    std::vector<std::uint8_t> out(ps);
    int err = 0;
    for (const auto& [number, bytes] : changed_) {
        std::memcpy(out.data(), bytes.data(), ps);
        if (key != 0 && number != 0) {
            std::uint32_t k = key ^ number;
            std::uint8_t kb[4] = {static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(k >> 8),
                                  static_cast<std::uint8_t>(k >> 16), static_cast<std::uint8_t>(k >> 24)};
            rc4(kb, 4, out.data(), ps);
        }
        err = file.writeAll(static_cast<std::uint64_t>(number) * ps, out.data(), ps);
        if (err != 0) break;
        ++stats_.pagesWritten;
        stats_.bytesWritten += ps;
    }
    if (err == 0) err = file.sync();
    if (err == 0) err = removeJournal(*s.fs, s.path);
    if (err != 0) {
        undoWrites(originals, pages, originalLength);
        bumpFileGeneration(s.device, s.inode);
        file.unlock(kLockCommit, 1);
        s.reload();
        throw Error::writeFailed(s.path, err);
    }
    changed_.clear();
    bumpFileGeneration(s.device, s.inode);
    file.unlock(kLockCommit, 1);
    s.reload();
}

}  // namespace jet
