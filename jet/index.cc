// Index pages: decoding, encoding, walking and changing B-trees (layout in index.h).
#include "jet/index.h"

#include <algorithm>
#include <cstring>

#include "jet/store.h"

namespace jet::detail {

namespace {

[[noreturn]] void damaged(const std::string& fileName, std::uint32_t page, std::size_t offset,
                          const std::string& what) {
    throw Error::corrupt(fileName, page, static_cast<std::uint32_t>(offset), what);
}

std::uint32_t u24be(const std::uint8_t* p) noexcept {
    return (static_cast<std::uint32_t>(p[0]) << 16) | (static_cast<std::uint32_t>(p[1]) << 8) | p[2];
}

void put32(std::uint8_t* p, std::uint32_t v) noexcept {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
    p[2] = static_cast<std::uint8_t>(v >> 16);
    p[3] = static_cast<std::uint8_t>(v >> 24);
}

void put16(std::uint8_t* p, std::size_t v) noexcept {
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}

// The entry's bytes as stored: key, page (3, big-endian), row, child (4, big-endian; nodes).
void appendEntryBytes(std::vector<std::uint8_t>& out, const IndexEntry& e, bool leaf) {
    out.insert(out.end(), e.key.begin(), e.key.end());
    out.push_back(static_cast<std::uint8_t>(e.page >> 16));
    out.push_back(static_cast<std::uint8_t>(e.page >> 8));
    out.push_back(static_cast<std::uint8_t>(e.page));
    out.push_back(e.row);
    if (!leaf) {
        out.push_back(static_cast<std::uint8_t>(e.child >> 24));
        out.push_back(static_cast<std::uint8_t>(e.child >> 16));
        out.push_back(static_cast<std::uint8_t>(e.child >> 8));
        out.push_back(static_cast<std::uint8_t>(e.child));
    }
}

std::size_t entrySize(const IndexEntry& e, bool leaf) noexcept {
    return e.key.size() + (leaf ? 4 : 8);
}

// Shared prefix of the page's entries: that of its first and last keys (every key between them
// shares it). Pages of fewer than two entries store none.
std::size_t commonPrefix(const std::vector<IndexEntry>& entries, std::size_t count) noexcept {
    if (count < 2) return 0;
    const auto& a = entries.front().key;
    const auto& b = entries[count - 1].key;
    std::size_t n = std::min(a.size(), b.size());
    std::size_t i = 0;
    while (i < n && a[i] == b[i]) ++i;
    return i;
}

std::size_t commonPrefix(const IndexPage& page) noexcept {
    return commonPrefix(page.entries, page.entries.size());
}

// Encoded size of the first `count` entries.
std::size_t entryBytes(const std::vector<IndexEntry>& entries, std::size_t count, bool leaf) noexcept {
    std::size_t prefix = commonPrefix(entries, count);
    std::size_t total = 0;
    for (std::size_t i = 0; i < count; ++i) total += entrySize(entries[i], leaf);
    if (count > 0) total -= prefix * (count - 1);
    return total;
}

}  // namespace

int compareEntries(const IndexEntry& a, const IndexEntry& b) noexcept {
    std::size_t n = std::min(a.key.size(), b.key.size());
    if (n > 0) {
        int c = std::memcmp(a.key.data(), b.key.data(), n);
        if (c != 0) return c < 0 ? -1 : 1;
    }
    if (a.key.size() != b.key.size()) return a.key.size() < b.key.size() ? -1 : 1;
    if (a.page != b.page) return a.page < b.page ? -1 : 1;
    if (a.row != b.row) return a.row < b.row ? -1 : 1;
    return 0;
}

std::size_t indexPageCapacity(const JetFormat& f) noexcept {
    return std::min<std::size_t>(f.pageSize - f.indexEntries, f.indexMaskLength * 8);
}

IndexPage decodeIndexPage(const JetFormat& f, std::uint32_t number, const std::uint8_t* p,
                          const std::string& fileName) {
    IndexPage page;
    page.number = number;
    if (p[0] != kPageIndexLeaf && p[0] != kPageIndexNode) damaged(fileName, number, 0, "not an index page");
    page.leaf = p[0] == kPageIndexLeaf;
    page.owner = u32(p + 4);
    page.prev = u32(p + f.indexPrev);
    page.next = u32(p + f.indexNext);
    page.tail = u32(p + f.indexTail);
    std::size_t prefix = f.indexPrefixLengthSize == 1 ? p[f.indexPrefixLength] : u16(p + f.indexPrefixLength);
    const std::size_t trailer = page.leaf ? 4 : 8;
    const std::size_t area = indexPageCapacity(f);
    const std::uint8_t* base = p + f.indexEntries;

    std::vector<std::uint8_t> full;
    std::size_t last = 0;
    for (std::size_t i = 0; i < f.indexMaskLength; ++i) {
        std::uint8_t m = p[f.indexMask + i];
        if (!m) continue;
        for (int bit = 0; bit < 8; ++bit) {
            if (!(m & (1u << bit))) continue;
            std::size_t end = i * 8 + static_cast<std::size_t>(bit);
            if (end <= last || end > area)
                damaged(fileName, number, f.indexMask + i, "index entry mask out of bounds");
            std::size_t len = end - last;
            full.clear();
            if (page.entries.empty()) {
                if (len < prefix)
                    damaged(fileName, number, f.indexEntries, "index entry shorter than its prefix");
                full.assign(base + last, base + end);
            } else {
                full.assign(base, base + prefix);
                full.insert(full.end(), base + last, base + end);
            }
            if (full.size() < trailer)
                damaged(fileName, number, f.indexEntries + last, "index entry too short");
            IndexEntry e;
            std::size_t keyLen = full.size() - trailer;
            e.key.assign(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(keyLen));
            e.page = u24be(full.data() + keyLen);
            e.row = full[keyLen + 3];
            if (!page.leaf) e.child = u32be(full.data() + keyLen + 4);
            if (!page.entries.empty() && compareEntries(page.entries.back(), e) >= 0)
                damaged(fileName, number, f.indexEntries + last, "index entries out of order");
            page.entries.push_back(std::move(e));
            last = end;
        }
    }
    return page;
}

std::size_t encodedEntryBytes(const IndexPage& page) {
    return entryBytes(page.entries, page.entries.size(), page.leaf);
}

void encodeIndexPage(const JetFormat& f, const IndexPage& page, std::uint8_t* out) {
    const std::size_t prefix = commonPrefix(page);
    out[0] = page.leaf ? kPageIndexLeaf : kPageIndexNode;
    out[1] = 0x01;
    put32(out + 4, page.owner);
    put32(out + f.indexPrev, page.prev);
    put32(out + f.indexNext, page.next);
    put32(out + f.indexTail, page.leaf ? 0 : page.tail);
    if (f.indexPrefixLengthSize == 1)
        out[f.indexPrefixLength] = static_cast<std::uint8_t>(prefix);
    else
        put16(out + f.indexPrefixLength, prefix);
    out[f.indexNodeFlag] = page.leaf ? 0 : 1;
    std::memset(out + f.indexMask, 0, f.indexMaskLength);
    std::uint8_t* base = out + f.indexEntries;
    std::size_t pos = 0;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < page.entries.size(); ++i) {
        bytes.clear();
        appendEntryBytes(bytes, page.entries[i], page.leaf);
        std::size_t skip = i == 0 ? 0 : prefix;
        std::memcpy(base + pos, bytes.data() + skip, bytes.size() - skip);
        pos += bytes.size() - skip;
        out[f.indexMask + pos / 8] |= static_cast<std::uint8_t>(1u << (pos % 8));
    }
    std::memset(base + pos, 0, f.pageSize - f.indexEntries - pos);
    put16(out + 2, f.pageSize - f.indexEntries - pos);
}

// ---------------------------------------------------------------------------------------------
// StorePageIO

const JetFormat& StorePageIO::format() const {
    return *store_.fmt;
}
std::uint32_t StorePageIO::pageCount() const {
    return store_.channel->pageCount();
}
void StorePageIO::read(std::uint32_t page, std::uint8_t* out) {
    PageRef ref = store_.page(page);
    std::memcpy(out, ref.data(), store_.fmt->pageSize);
}
void StorePageIO::write(std::uint32_t, const std::uint8_t*) {
    throw Error(errc::kCannotOpen, "The database is open for reading only.");
}
std::uint32_t StorePageIO::allocate(std::uint32_t) {
    throw Error(errc::kCannotOpen, "The database is open for reading only.");
}
void StorePageIO::release(std::uint32_t, std::uint32_t) {
    throw Error(errc::kCannotOpen, "The database is open for reading only.");
}

// ---------------------------------------------------------------------------------------------
// Walking

namespace {

class Walker {
  public:
    Walker(PageIO& io, const std::string& fileName, const std::function<void(const IndexEntry&)>& visit)
        : io_(io), f_(io.format()), fileName_(fileName), visit_(visit), buf_(f_.pageSize) {}

    void run(std::uint32_t root) {
        if (root == 0 || root >= io_.pageCount()) damaged(fileName_, root, 0, "index root beyond the file");
        visitPage(root, 0, 0, 0, nullptr);
        // Leaves are linked in key order.
        for (std::size_t i = 0; i < leaves_.size(); ++i) {
            std::uint32_t wantPrev = i == 0 ? 0 : leaves_[i - 1].number;
            std::uint32_t wantNext = i + 1 == leaves_.size() ? 0 : leaves_[i + 1].number;
            if (leaves_[i].prev != wantPrev)
                damaged(fileName_, leaves_[i].number, f_.indexPrev, "index leaf linked out of order");
            if (leaves_[i].next != wantNext)
                damaged(fileName_, leaves_[i].number, f_.indexNext, "index leaf linked out of order");
        }
    }

  private:
    struct LeafLinks {
        std::uint32_t number, prev, next;
    };

    void visitPage(std::uint32_t number, std::size_t depth, std::uint32_t from, std::size_t fromOffset,
                   const IndexEntry* bound) {
        if (depth > kMaxIndexDepth) damaged(fileName_, from, fromOffset, "index tree too deep");
        if (number == 0 || number >= io_.pageCount())
            damaged(fileName_, from, fromOffset, "index page pointer beyond the file");
        if (!seen_.insert(number).second) damaged(fileName_, from, fromOffset, "index pages loop");
        io_.read(number, buf_.data());
        IndexPage page = decodeIndexPage(f_, number, buf_.data(), fileName_);
        if (page.leaf) {
            if (leafDepth_ == SIZE_MAX) leafDepth_ = depth;
            if (leafDepth_ != depth) damaged(fileName_, number, 0, "index leaves at different depths");
            for (const auto& e : page.entries) {
                if (havePrev_ && compareEntries(prev_, e) >= 0)
                    damaged(fileName_, number, f_.indexEntries, "index entries out of order across pages");
                if (bound && compareEntries(e, *bound) > 0)
                    damaged(fileName_, number, f_.indexEntries, "index entry above its parent's entry");
                visit_(e);
                prev_ = e;
                havePrev_ = true;
            }
            leaves_.push_back({number, page.prev, page.next});
            return;
        }
        if (page.entries.empty() && page.tail == 0)
            damaged(fileName_, number, f_.indexTail, "intermediate index page without children");
        for (const auto& e : page.entries) {
            if (bound && compareEntries(e, *bound) > 0)
                damaged(fileName_, number, f_.indexEntries, "index entry above its parent's entry");
            visitPage(e.child, depth + 1, number, f_.indexEntries, &e);
            // The child's entries end at or below its entry here.
        }
        if (page.tail != 0) visitPage(page.tail, depth + 1, number, f_.indexTail, bound);
    }

    PageIO& io_;
    const JetFormat& f_;
    const std::string& fileName_;
    const std::function<void(const IndexEntry&)>& visit_;
    std::vector<std::uint8_t> buf_;
    std::set<std::uint32_t> seen_;
    std::size_t leafDepth_ = SIZE_MAX;
    IndexEntry prev_;
    bool havePrev_ = false;
    std::vector<LeafLinks> leaves_;
};

}  // namespace

void walkIndex(PageIO& io, std::uint32_t root, const std::function<void(const IndexEntry&)>& visit,
               const std::string& fileName) {
    Walker(io, fileName, visit).run(root);
}

std::vector<IndexEntry> readIndexEntries(PageIO& io, std::uint32_t root, const std::string& fileName) {
    std::vector<IndexEntry> out;
    walkIndex(
        io, root, [&](const IndexEntry& e) { out.push_back(e); }, fileName);
    return out;
}

// ---------------------------------------------------------------------------------------------
// Editing
//
// Pages are held decoded. An intermediate page is held with one entry per child, its tail child
// included (keyed by that child's last entry), and written back in Access's shape: with two or
// more children the last one goes to the tail field, a single child is an ordinary entry.

struct IndexEditor::Impl {
    struct Node {
        std::vector<std::uint8_t> raw;  // bytes as read (empty for new pages)
        IndexPage page;                 // intermediate pages: every child, tail included
        bool dirty = false;
        bool freed = false;
        // Sum of entrySize() over `page.entries` as held, or kUnsized when not known: kept up
        // by insert(), so that checking whether a page still fits does not sum it every time.
        std::size_t bytes = kUnsized;
    };
    static constexpr std::size_t kUnsized = static_cast<std::size_t>(-1);

    PageIO& io;
    const JetFormat& f;
    IndexRef ref;
    std::string fileName;
    std::map<std::uint32_t, Node> nodes;
    std::vector<std::uint8_t> buf;
    std::vector<std::uint32_t> path_;  // insert()'s way down, kept for its memory
    bool validated = false;

    Impl(PageIO& io_, const IndexRef& ref_, std::string name)
        : io(io_), f(io_.format()), ref(ref_), fileName(std::move(name)), buf(io_.format().pageSize) {}

    [[noreturn]] void fail(std::uint32_t page, std::size_t offset, const std::string& what) const {
        damaged(fileName, page, offset, what);
    }

    // Checks the whole tree once before the first change, so that the edits below may rely on
    // its shape (bounded depth, no loops, consistent order).
    void validate() {
        if (validated) return;
        walkIndex(
            io, ref.root, [](const IndexEntry&) {}, fileName);
        validated = true;
    }

    // The last leaf entry below `number` (which must not be empty).
    IndexEntry lastBelow(std::uint32_t number) {
        for (std::size_t depth = 0; depth <= kMaxIndexDepth; ++depth) {
            Node& n = load(number);
            if (n.page.entries.empty()) fail(number, 0, "empty index page below an intermediate page");
            if (n.page.leaf) return n.page.entries.back();
            number = n.page.entries.back().child;
        }
        fail(number, 0, "index tree too deep");
    }

    Node& load(std::uint32_t number) {
        auto it = nodes.find(number);
        if (it != nodes.end()) return it->second;
        if (number == 0 || number >= io.pageCount()) fail(number, 0, "index page pointer beyond the file");
        Node n;
        n.raw.resize(f.pageSize);
        io.read(number, n.raw.data());
        n.page = decodeIndexPage(f, number, n.raw.data(), fileName);
        std::uint32_t tail = n.page.tail;
        auto& stored = nodes.emplace(number, std::move(n)).first->second;
        if (!stored.page.leaf && tail != 0) {
            IndexEntry t = lastBelow(tail);
            t.child = tail;
            Node& again = nodes.at(number);
            again.page.entries.push_back(std::move(t));
            again.page.tail = 0;
            return again;
        }
        return stored;
    }

    static IndexEntry keyOf(const IndexEntry& last, std::uint32_t child) {
        IndexEntry e = last;
        e.child = child;
        return e;
    }

    // The page as it is written: intermediate pages with their tail child split off.
    static IndexPage storedForm(const IndexPage& held) {
        IndexPage out = held;
        out.tail = 0;
        if (!held.leaf && held.entries.size() >= 2) {
            out.tail = held.entries.back().child;
            out.entries.pop_back();
        }
        return out;
    }

    void unlink(Node& n) {
        std::uint32_t prev = n.page.prev, next = n.page.next;
        if (prev != 0) {
            Node& p = load(prev);
            p.page.next = next;
            p.dirty = true;
            p.bytes = kUnsized;
        }
        if (next != 0) {
            Node& q = load(next);
            q.page.prev = prev;
            q.dirty = true;
            q.bytes = kUnsized;
        }
    }

    void freeNode(std::uint32_t number) {
        Node& n = load(number);
        unlink(n);
        n.freed = true;
        n.dirty = false;
    }

    // Removes the listed rows below `number`; false when nothing is left there.
    bool prune(std::uint32_t number, const std::set<std::uint32_t>& rows, std::size_t& removed) {
        Node* n = &load(number);
        if (n->page.leaf) {
            auto& es = n->page.entries;
            std::size_t before = es.size();
            es.erase(std::remove_if(es.begin(), es.end(),
                                    [&](const IndexEntry& e) { return rows.count(e.pointer()) != 0; }),
                     es.end());
            if (es.size() != before) {
                n->dirty = true;
                n->bytes = kUnsized;
                removed += before - es.size();
            }
            return !es.empty();
        }
        std::vector<IndexEntry> kids = n->page.entries;
        std::vector<IndexEntry> kept;
        bool changed = false;
        for (auto& k : kids) {
            if (!prune(k.child, rows, removed)) {
                freeNode(k.child);
                changed = true;
                continue;
            }
            IndexEntry now = keyOf(lastBelow(k.child), k.child);
            if (compareEntries(now, k) != 0) changed = true;
            kept.push_back(std::move(now));
        }
        n = &nodes.at(number);
        if (changed) {
            n->page.entries = std::move(kept);
            n->dirty = true;
            n->bytes = kUnsized;
        }
        return !n->page.entries.empty();
    }

    std::size_t removeRows(const std::set<std::uint32_t>& rows) {
        if (rows.empty()) return 0;
        validate();
        std::size_t removed = 0;
        if (!prune(ref.root, rows, removed)) {
            Node& root = nodes.at(ref.root);
            if (!root.page.leaf || root.dirty) {
                root.page.leaf = true;
                root.page.entries.clear();
                root.page.prev = root.page.next = 0;
                root.dirty = true;
                root.bytes = kUnsized;
            }
        }
        return removed;
    }

    std::uint32_t newPage(bool leaf) {
        std::uint32_t number = io.allocate(ref.usageMap);
        if (nodes.count(number)) fail(number, 0, "allocated page is already part of the index");
        Node n;
        n.page.number = number;
        n.page.leaf = leaf;
        n.page.owner = ref.owner;
        n.dirty = true;
        n.bytes = kUnsized;
        nodes.emplace(number, std::move(n));
        return number;
    }

    // Whether the page as it would be written fits (the tail child of an intermediate page with
    // two or more children is not stored as an entry).
    bool fits(Node& n) const {
        const IndexPage& held = n.page;
        if (n.bytes == kUnsized) {
            n.bytes = 0;
            for (const auto& e : held.entries) n.bytes += entrySize(e, held.leaf);
        }
        std::size_t count = held.entries.size();
        std::size_t total = n.bytes;
        if (!held.leaf && count >= 2) {
            --count;
            total -= entrySize(held.entries.back(), false);
        }
        if (count > 1) total -= commonPrefix(held.entries, count) * (count - 1);
        return total <= indexPageCapacity(f);
    }

    // Moves the first half of page `number`'s entries to a new page placed before it and adds
    // that page to `parent` before `number`'s entry.
    void split(std::uint32_t number, std::uint32_t parent) {
        Node& orig0 = nodes.at(number);
        if (orig0.page.entries.size() < 2) fail(number, 0, "index entry too large for a page");
        bool leaf = orig0.page.leaf;
        std::uint32_t fresh = newPage(leaf);
        Node& orig = nodes.at(number);
        Node& head = nodes.at(fresh);
        std::size_t half = (orig.page.entries.size() + 1) / 2;
        head.page.entries.assign(orig.page.entries.begin(),
                                 orig.page.entries.begin() + static_cast<std::ptrdiff_t>(half));
        orig.page.entries.erase(orig.page.entries.begin(),
                                orig.page.entries.begin() + static_cast<std::ptrdiff_t>(half));
        head.page.prev = orig.page.prev;
        head.page.next = number;
        orig.page.prev = fresh;
        orig.dirty = true;
        orig.bytes = kUnsized;
        if (head.page.prev != 0) {
            Node& p = load(head.page.prev);
            p.page.next = fresh;
            p.dirty = true;
            p.bytes = kUnsized;
        }
        Node& par = nodes.at(parent);
        auto& pe = par.page.entries;
        auto pos = std::find_if(pe.begin(), pe.end(), [&](const IndexEntry& e) { return e.child == number; });
        if (pos == pe.end()) fail(parent, 0, "index child missing from its parent");
        IndexEntry last = nodes.at(fresh).page.entries.back();
        pe.insert(pos, keyOf(last, fresh));
        par.dirty = true;
        par.bytes = kUnsized;
    }

    void insert(IndexEntry entry) {
        validate();
        std::vector<std::uint32_t>& path = path_;
        path.clear();
        std::uint32_t current = ref.root;
        for (;;) {
            if (path.size() > kMaxIndexDepth) fail(current, 0, "index tree too deep");
            path.push_back(current);
            Node& n = load(current);
            if (n.page.leaf) break;
            const auto& es = n.page.entries;
            if (es.empty()) fail(current, 0, "intermediate index page without children");
            // Entries are in key order: the child is the first whose last entry is not below this one.
            auto it = std::lower_bound(
                es.begin(), es.end(), entry,
                [](const IndexEntry& a, const IndexEntry& b) { return compareEntries(a, b) < 0; });
            current = it == es.end() ? es.back().child : it->child;
        }
        Node& leaf = nodes.at(path.back());
        auto& es = leaf.page.entries;
        auto pos = std::lower_bound(
            es.begin(), es.end(), entry,
            [](const IndexEntry& a, const IndexEntry& b) { return compareEntries(a, b) < 0; });
        if (pos != es.end() && compareEntries(*pos, entry) == 0)
            fail(path.back(), 0, "the index already holds this row");
        entry.child = 0;
        if (leaf.bytes != kUnsized) leaf.bytes += entrySize(entry, true);
        es.insert(pos, std::move(entry));
        leaf.dirty = true;

        // Parents repeat their children's last entries.
        for (std::size_t i = path.size() - 1; i > 0; --i) {
            Node& par = nodes.at(path[i - 1]);
            IndexEntry last = keyOf(nodes.at(path[i]).page.entries.back(), path[i]);
            for (auto& pe : par.page.entries) {
                if (pe.child == path[i]) {
                    if (compareEntries(pe, last) != 0) {
                        if (par.bytes != kUnsized)
                            par.bytes = par.bytes - entrySize(pe, false) + entrySize(last, false);
                        pe = std::move(last);
                        par.dirty = true;
                    }
                    break;
                }
            }
        }

        // Split from the bottom up; a full root moves its entries to a new page below it.
        for (std::size_t i = path.size(); i-- > 0;) {
            std::uint32_t number = path[i];
            if (fits(nodes.at(number))) continue;
            if (i == 0) {
                Node& root = nodes.at(number);
                bool wasLeaf = root.page.leaf;
                std::uint32_t child = newPage(wasLeaf);
                Node& r = nodes.at(number);
                Node& c = nodes.at(child);
                c.page.entries = std::move(r.page.entries);
                r.page.entries.clear();
                r.page.leaf = false;
                r.page.prev = r.page.next = 0;
                r.page.entries.push_back(keyOf(c.page.entries.back(), child));
                r.dirty = true;
                r.bytes = kUnsized;
                split(child, number);
                if (!fits(nodes.at(child)) || !fits(nodes.at(number)))
                    fail(number, 0, "index entries too large for a page");
            } else {
                split(number, path[i - 1]);
                if (!fits(nodes.at(number))) fail(number, 0, "index entries too large for a page");
            }
        }
    }

    std::vector<std::uint32_t> findKey(const std::vector<std::uint8_t>& key) {
        validate();
        IndexEntry probe;
        probe.key = key;
        std::uint32_t current = ref.root;
        for (std::size_t depth = 0;; ++depth) {
            if (depth > kMaxIndexDepth) fail(current, 0, "index tree too deep");
            Node& n = load(current);
            if (n.page.leaf) break;
            const auto& es = n.page.entries;
            if (es.empty()) fail(current, 0, "intermediate index page without children");
            auto it = std::lower_bound(
                es.begin(), es.end(), probe,
                [](const IndexEntry& a, const IndexEntry& b) { return compareEntries(a, b) < 0; });
            current = it == es.end() ? es.back().child : it->child;
        }
        std::vector<std::uint32_t> out;
        for (std::size_t hops = 0; current != 0; ++hops) {
            if (hops > io.pageCount()) fail(current, f.indexNext, "index leaves loop");
            Node& n = load(current);
            const auto& es = n.page.entries;
            auto e = std::lower_bound(
                es.begin(), es.end(), key,
                [](const IndexEntry& a, const std::vector<std::uint8_t>& k) { return a.key < k; });
            for (; e != es.end(); ++e) {
                if (e->key != key) return out;
                out.push_back(e->pointer());
            }
            current = n.page.next;
        }
        return out;
    }

    void writeBack(std::uint32_t number, Node& n) {
        if (n.raw.empty()) n.raw.assign(f.pageSize, 0);
        IndexPage stored = storedForm(n.page);
        stored.number = number;
        if (encodedEntryBytes(stored) > indexPageCapacity(f)) fail(number, 0, "index page overfull");
        encodeIndexPage(f, stored, n.raw.data());
        io.write(number, n.raw.data());
        n.dirty = false;
    }

    void trim(std::size_t keep) {
        if (nodes.size() <= keep) return;
        for (auto it = nodes.begin(); it != nodes.end();) {
            Node& n = it->second;
            if (n.freed || it->first == ref.root || !n.page.leaf) {
                ++it;
                continue;
            }
            if (n.dirty) writeBack(it->first, n);
            it = nodes.erase(it);
        }
    }

    void commit() {
        for (auto& [number, n] : nodes) {
            if (n.freed) continue;
            if (!n.dirty) continue;
            writeBack(number, n);
        }
        for (auto it = nodes.begin(); it != nodes.end();) {
            if (it->second.freed) {
                io.release(it->first, ref.usageMap);
                it = nodes.erase(it);
            } else {
                ++it;
            }
        }
    }
};

IndexEditor::IndexEditor(PageIO& io, const IndexRef& ref, std::string fileName)
    : impl_(std::make_unique<Impl>(io, ref, std::move(fileName))) {}
IndexEditor::~IndexEditor() = default;

std::size_t IndexEditor::removeRows(const std::set<std::uint32_t>& rows) {
    return impl_->removeRows(rows);
}
void IndexEditor::insert(const IndexEntry& entry) {
    impl_->insert(entry);
}
void IndexEditor::insert(IndexEntry&& entry) {
    impl_->insert(std::move(entry));
}
std::vector<std::uint32_t> IndexEditor::findKey(const std::vector<std::uint8_t>& key) {
    return impl_->findKey(key);
}
void IndexEditor::commit() {
    impl_->commit();
}
void IndexEditor::trim(std::size_t keep) {
    impl_->trim(keep);
}

}  // namespace jet::detail
