// Test double: the pages of a database held in memory, as a PageIO; and an exercise of the
// index code over it for damage tests and the fuzz target.
#pragma once

#include <cstring>
#include <set>
#include <vector>

#include "jet/database.h"
#include "jet/error.h"
#include "jet/index.h"
#include "jet/index_check.h"
#include "jet/page_io.h"
#include "jet/table.h"

namespace jettest {

using jet::detail::JetFormat;

// Pages of a file held in memory. allocate() appends a page; release() only records the page.
// Usage maps (the global one and the index's own) are not kept by this test double: the pager
// does that, and the files written here are only read by tools that do not rely on them for
// index pages.
class MemPageIO final : public jet::detail::PageIO {
  public:
    explicit MemPageIO(std::vector<std::uint8_t> bytes)
        : bytes_(std::move(bytes)),
          f_(bytes_.at(0x14) == 0 ? JetFormat::jet3Format() : JetFormat::jet4Format()) {}

    const JetFormat& format() const override { return f_; }
    std::uint32_t pageCount() const override {
        return static_cast<std::uint32_t>(bytes_.size() / f_.pageSize);
    }
    void read(std::uint32_t page, std::uint8_t* out) override {
        if (page >= pageCount()) throw jet::Error::corrupt("memory", page, 0, "page beyond the file");
        std::memcpy(out, bytes_.data() + std::size_t(page) * f_.pageSize, f_.pageSize);
        ++reads;
    }
    void write(std::uint32_t page, const std::uint8_t* data) override {
        if (page >= pageCount()) throw jet::Error::corrupt("memory", page, 0, "write beyond the file");
        std::memcpy(bytes_.data() + std::size_t(page) * f_.pageSize, data, f_.pageSize);
        ++writes;
    }
    std::uint32_t allocate(std::uint32_t) override {
        std::uint32_t n = pageCount();
        bytes_.resize(bytes_.size() + f_.pageSize, 0);
        ++allocated;
        return n;
    }
    void release(std::uint32_t page, std::uint32_t) override { released.insert(page); }

    std::vector<std::uint8_t>& bytes() { return bytes_; }

    std::size_t reads = 0, writes = 0, allocated = 0;
    std::set<std::uint32_t> released;

  private:
    std::vector<std::uint8_t> bytes_;
    const JetFormat& f_;
};

// Walks and checks every index of the database at `path` (whose bytes are `bytes`), then, on an
// in-memory copy, removes every third entry of each index and inserts one. Ends normally or
// with a jet::Error. Returns a number derived from the work.
inline std::size_t exerciseIndexes(const std::filesystem::path& path,
                                   const std::vector<std::uint8_t>& bytes) {
    std::size_t sum = 0;
    jet::Database db = jet::Database::open(path);
    jet::IndexCheckReport report = jet::checkIndexes(db);
    sum += report.entries + report.problems.size();
    if (bytes.size() < 0x15 || db.encrypted()) return sum;
    MemPageIO io(bytes);
    for (const auto& def : db.tableDefs()) {
        if (def.type != 1) continue;
        try {
            jet::Table table = db.openTable(def.name);
            for (const auto& ri : table.realIndexes()) {
                jet::detail::IndexRef ref{ri.rootPage, ri.usageMap, table.definitionPage()};
                std::set<std::uint32_t> some;
                std::size_t n = 0;
                jet::detail::walkIndex(io, ref.root, [&](const jet::detail::IndexEntry& e) {
                    if (n++ % 3 == 0) some.insert(e.pointer());
                });
                jet::detail::IndexEditor editor(io, ref);
                sum += editor.removeRows(some);
                jet::detail::IndexEntry entry;
                entry.key = {0x7F, 0x80, 0x00, 0x00, 0x01};
                entry.page = 1;
                editor.insert(entry);
                editor.commit();
            }
        } catch (const jet::Error&) {
            ++sum;
        }
    }
    return sum;
}

}  // namespace jettest
