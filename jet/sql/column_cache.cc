#include "jet/sql/column_cache.h"

#include <time.h>

#include <list>
#include <mutex>

#include "jet/file.h"
#include "jet/locks.h"
#include "jet/sql/text.h"

namespace jet::sql::detail {

std::optional<FileStamp> stampOf(const std::string& path) {
    FileInfo info;
    if (hostFileSystem().stat(path, info) != 0 || !info.exists) return std::nullopt;
    FileStamp s;
    s.device = info.device;
    s.inode = info.inode;
    s.size = info.size;
    s.modifiedSeconds = info.modifiedSeconds;
    s.modifiedNanoseconds = info.modifiedNanoseconds;
    s.changedSeconds = info.changedSeconds;
    s.changedNanoseconds = info.changedNanoseconds;
    // Commits of this process bump the file's generation at once, whatever the clock's tick.
    s.generation = jet::detail::fileGeneration(info.device, info.inode);
    return s;
}

bool settled(const FileStamp& stamp) {
    struct timespec now {};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
    // Writes move the change time together with the modification time, so the latter is enough
    // to tell a file that is being written.
    return static_cast<std::int64_t>(now.tv_sec) - stamp.modifiedSeconds >= kSettleSeconds;
}

namespace {

struct Entry {
    FileStamp stamp;
    std::uint32_t tablePage = 0;
    std::string column;  // folded name; empty for a row count
    std::shared_ptr<const TextColumn> data;
    std::shared_ptr<const RowDirectory> directory;
    std::size_t rowCount = 0;
    std::size_t bytes = 0;
};

}  // namespace

struct ColumnCache::Impl {
    std::mutex mutex;
    std::list<Entry> entries;  // most recently used first
    std::size_t bytes = 0;

    std::list<Entry>::iterator find(const FileStamp& stamp, std::uint32_t page, const std::string& column) {
        for (auto it = entries.begin(); it != entries.end(); ++it) {
            if (it->tablePage == page && it->column == column && it->stamp == stamp) {
                entries.splice(entries.begin(), entries, it);
                return entries.begin();
            }
        }
        return entries.end();
    }

    void insert(Entry e) {
        // Entries of an older state of the same file can never be used again.
        for (auto it = entries.begin(); it != entries.end();) {
            const bool sameFile = it->stamp.device == e.stamp.device && it->stamp.inode == e.stamp.inode;
            const bool replaced =
                it->tablePage == e.tablePage && it->column == e.column && it->stamp == e.stamp;
            if ((sameFile && !(it->stamp == e.stamp)) || replaced) {
                bytes -= it->bytes;
                it = entries.erase(it);
            } else {
                ++it;
            }
        }
        if (e.bytes > kBudgetBytes) return;
        while (!entries.empty() && bytes + e.bytes > kBudgetBytes) {
            bytes -= entries.back().bytes;
            entries.pop_back();
        }
        bytes += e.bytes;
        entries.push_front(std::move(e));
    }
};

ColumnCache& ColumnCache::instance() {
    static ColumnCache cache;
    return cache;
}

ColumnCache::Impl& ColumnCache::impl() {
    static Impl impl;
    return impl;
}

std::shared_ptr<const TextColumn> ColumnCache::findColumn(const FileStamp& stamp, std::uint32_t tablePage,
                                                          std::string_view column) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    const auto it = d.find(stamp, tablePage, upper(column));
    return it == d.entries.end() ? nullptr : it->data;
}

void ColumnCache::storeColumn(const FileStamp& stamp, std::uint32_t tablePage, std::string_view column,
                              std::shared_ptr<const TextColumn> data) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    Entry e{stamp, tablePage, upper(column), std::move(data), nullptr, 0, 0};
    e.bytes = e.data->bytes() + e.column.size();
    d.insert(std::move(e));
}

std::optional<std::size_t> ColumnCache::findRowCount(const FileStamp& stamp, std::uint32_t tablePage) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    const auto it = d.find(stamp, tablePage, std::string());
    if (it == d.entries.end()) return std::nullopt;
    return it->rowCount;
}

void ColumnCache::storeRowCount(const FileStamp& stamp, std::uint32_t tablePage, std::size_t rows) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    d.insert(Entry{stamp, tablePage, std::string(), nullptr, nullptr, rows, 64});
}

// Directories are kept under a name no column can have.
constexpr const char* kDirectoryKey = "\x01rows";

std::shared_ptr<const RowDirectory> ColumnCache::findRowDirectory(const FileStamp& stamp,
                                                                  std::uint32_t tablePage) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    const auto it = d.find(stamp, tablePage, kDirectoryKey);
    return it == d.entries.end() ? nullptr : it->directory;
}

void ColumnCache::storeRowDirectory(const FileStamp& stamp, std::uint32_t tablePage,
                                    std::shared_ptr<const RowDirectory> directory) {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    const std::size_t bytes = directory->pages.size() * sizeof(std::uint32_t) +
                              directory->firstOrdinal.size() * sizeof(std::uint64_t) + 64;
    d.insert(Entry{stamp, tablePage, kDirectoryKey, nullptr, std::move(directory), 0, bytes});
}

void ColumnCache::clear() {
    Impl& d = impl();
    std::lock_guard lock(d.mutex);
    d.entries.clear();
    d.bytes = 0;
}

}  // namespace jet::sql::detail
