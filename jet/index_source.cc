#include "jet/index_source.h"

#include <unordered_set>

namespace jet::detail {

namespace {

// Calls onEntry(entry bytes) for each entry of an index page, prefix restored; false stops.
template <class Fn>
void pageEntries(Store& store, const PageRef& page, Fn&& onEntry) {
    const JetFormat& f = *store.fmt;
    const std::uint8_t* p = page.data();
    std::size_t prefix = u16(p + f.indexPrefixLength);
    std::size_t last = 0;
    std::string first;
    std::string entry;
    bool haveFirst = false;
    for (std::size_t i = 0; i < f.indexMaskLength; ++i) {
        std::uint8_t m = p[f.indexMask + i];
        if (!m) continue;
        for (int bit = 0; bit < 8; ++bit) {
            if (!(m & (1u << bit))) continue;
            std::size_t end = i * 8 + static_cast<std::size_t>(bit);
            if (end <= last || f.indexEntries + end > f.pageSize)
                store.corrupt(page.number(), f.indexMask + i, "index entry mask out of bounds");
            const char* e = reinterpret_cast<const char*>(p + f.indexEntries + last);
            std::size_t len = end - last;
            if (!haveFirst) {
                first.assign(e, len);
                entry = first;
                haveFirst = true;
            } else {
                if (prefix > first.size())
                    store.corrupt(page.number(), f.indexPrefixLength, "index prefix too long");
                entry.assign(first, 0, prefix);
                entry.append(e, len);
            }
            last = end;
            if (!onEntry(entry)) return;
        }
    }
}

}  // namespace

void walkIndex(Store& store, std::uint32_t root,
               const std::function<void(const std::string&, RowId)>& onEntry) {
    const JetFormat& f = *store.fmt;
    std::uint32_t pageCount = store.channel->pageCount();
    std::uint32_t current = root;
    std::unordered_set<std::uint32_t> seen;
    for (std::size_t depth = 0;; ++depth) {
        if (current == 0 || current >= pageCount) store.corrupt(current, 0, "index page beyond the file");
        if (depth > 64 || !seen.insert(current).second) store.corrupt(current, 0, "index tree loops");
        PageRef page = store.page(current);
        std::uint8_t type = page.data()[0];
        if (type == kPageIndexLeaf) break;
        if (type != kPageIndexNode) store.corrupt(current, 0, "not an index page");
        std::uint32_t child = 0;
        pageEntries(store, page, [&](const std::string& e) {
            if (e.size() < 8) store.corrupt(current, 0, "index entry too short");
            const auto* t = reinterpret_cast<const std::uint8_t*>(e.data() + e.size() - 4);
            child = u32be(t);
            return false;
        });
        if (child == 0) child = u32(page.data() + f.indexTail);
        current = child;
    }
    seen.clear();
    while (current != 0) {
        if (current >= pageCount) store.corrupt(current, 0, "index page beyond the file");
        if (!seen.insert(current).second) store.corrupt(current, 0, "index leaves loop");
        PageRef page = store.page(current);
        if (page.data()[0] != kPageIndexLeaf) store.corrupt(current, 0, "not an index leaf");
        std::string key;
        pageEntries(store, page, [&](const std::string& e) {
            if (e.size() < 4) store.corrupt(current, 0, "index entry too short");
            const auto* t = reinterpret_cast<const std::uint8_t*>(e.data() + e.size() - 4);
            std::uint32_t pg =
                (static_cast<std::uint32_t>(t[0]) << 16) | (static_cast<std::uint32_t>(t[1]) << 8) | t[2];
            key.assign(e, 0, e.size() - 4);
            onEntry(key, RowId{pg, t[3]});
            return true;
        });
        current = u32(page.data() + f.indexNext);
    }
}

}  // namespace jet::detail
