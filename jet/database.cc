// Opening a file: header page, password check, catalog.
//
// Header page (page 0): 00 01 00 00, the engine name at 4 ("Standard Jet DB" / "Standard ACE DB"),
// the version byte at 0x14 (0 Jet 3, 1 Jet 4, 2 and up ACE). From 0x18 a region of 126 (Jet 3) or
// 128 (Jet 4) bytes is hidden under a fixed RC4 keystream; unmasked it holds the sort order, the
// code page (0x3C), the database key (0x3E; non-zero: all other pages are RC4-encrypted with
// key XOR page number), the password (0x42; Jet 4 also XORs it with the creation date's whole days)
// and the creation date (0x72).
//
// Catalog: MSysObjects has its definition on page 2. DAO's TableDefs are its rows of type 1
// (local), 4 (ODBC link) and 6 (linked table) under the "Tables" container, enumerated in the
// order of the ParentIdName index, which the engine keeps sorted by (ParentId, Name) in the
// database's sort order.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "jet/index.h"
#include "jet/journal.h"
#include "jet/store.h"

namespace jet {

using namespace detail;

namespace {

// The row pointers of an index tree in key order (the tree fully checked on the way). Empty when
// the tree cannot be read as expected or holds more entries than `maxEntries`; the caller then
// falls back to sorting names itself.
std::vector<RowId> indexRowOrder(Store& store, std::uint32_t root, std::size_t maxEntries) {
    struct TooMany {};
    std::vector<RowId> rows;
    StorePageIO io(store);
    try {
        walkIndex(
            io, root,
            [&](const IndexEntry& e) {
                rows.push_back(RowId{e.page, e.row});
                // An index with more entries than the table has rows is not the catalog's.
                if (rows.size() > maxEntries) throw TooMany{};
            },
            store.path);
    } catch (const Error&) {
        return {};
    } catch (const TooMany&) {
        return {};
    }
    return rows;
}

std::string upperAscii(std::string_view s) {
    std::string out(s);
    for (auto& ch : out) {
        if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 32);
    }
    return out;
}

void readHeader(Store& store, File& file, const std::string& name) {
    std::uint8_t head[4096];
    std::memset(head, 0, sizeof head);
    std::size_t got = 0;
    if (file.readAll(0, head, sizeof head, got) != 0) throw Error::noPermission(name);
    if (got < 0x80 + 0x18 || head[0] != 0x00 || head[1] != 0x01) {
        throw Error::unrecognizedFormat(name);
    }
    bool jetName = std::memcmp(head + 4, kEngineJet, sizeof kEngineJet - 1) == 0;
    bool aceName = std::memcmp(head + 4, kEngineAce, sizeof kEngineAce - 1) == 0;
    if (!jetName && !aceName) throw Error::unrecognizedFormat(name);
    int version = head[kHeaderVersionOffset];
    switch (version) {
        case 0:
            store.version = FormatVersion::Jet3;
            break;
        case 1:
            store.version = FormatVersion::Jet4;
            break;
        case 2:
            store.version = FormatVersion::Ace12;
            break;
        case 3:
        case 4:
        case 5:
        case 6:
            store.version = FormatVersion::Ace14;
            break;
        default:
            throw Error::unrecognizedFormat(name);
    }
    store.fmt = version == 0 ? &JetFormat::jet3Format() : &JetFormat::jet4Format();
    const JetFormat& f = *store.fmt;
    if (got < f.pageSize) throw Error::unrecognizedFormat(name);

    rc4(kHeaderMaskKey, sizeof kHeaderMaskKey, head + kHeaderMaskStart, f.headerMaskLength);
    store.codePage = u16(head + kHeaderCodePage);
    store.sortOrder =
        f.headerSortOrderSize == 2 ? u16(head + f.headerSortOrder) : u32(head + f.headerSortOrder);
    std::uint32_t key = u32(head + kHeaderDatabaseKey);

    // Password: non-zero after unmasking means protected. ACE keeps more here (its own
    // encryption scheme) and is not checked this way.
    if (version <= 1) {
        std::uint8_t pwd[40];
        std::memcpy(pwd, head + kHeaderPassword, f.passwordLength);
        if (!f.jet3) {
            double created;
            std::memcpy(&created, head + kHeaderCreationDate, sizeof created);
            std::uint32_t days = 0;
            if (std::isfinite(created) && created > -2147483648.0 && created < 2147483648.0)
                days = static_cast<std::uint32_t>(static_cast<std::int32_t>(created));
            std::uint8_t mask[4] = {static_cast<std::uint8_t>(days), static_cast<std::uint8_t>(days >> 8),
                                    static_cast<std::uint8_t>(days >> 16),
                                    static_cast<std::uint8_t>(days >> 24)};
            for (std::size_t i = 0; i < f.passwordLength; ++i) pwd[i] ^= mask[i % 4];
        }
        bool protectedFile = false;
        for (std::size_t i = 0; i < f.passwordLength; ++i) protectedFile |= pwd[i] != 0;
        if (protectedFile) throw Error::badPassword();
    }
    if (key != 0 && version <= 1) {
        store.encrypted = true;
        store.channel->setDatabaseKey(key);
    }
}

}  // namespace

void loadCatalog(Store& store) {
    auto layout = store.layout(kCatalogPage, "MSysObjects");
    Table table(std::shared_ptr<Store>(std::shared_ptr<Store>{}, &store), layout);
    int cId = table.findColumn("Id"), cParent = table.findColumn("ParentId"),
        cName = table.findColumn("Name"), cType = table.findColumn("Type"),
        cFlags = table.findColumn("Flags"), cDb = table.findColumn("Database"),
        cForeign = table.findColumn("ForeignName");
    if (cId < 0 || cParent < 0 || cName < 0 || cType < 0)
        store.corrupt(kCatalogPage, 0, "catalog lacks its key columns");

    auto asInt = [](const Value& v) -> std::int64_t {
        if (auto p = v.getIf<std::int32_t>()) return *p;
        if (auto p = v.getIf<std::int16_t>()) return *p;
        if (auto p = v.getIf<std::uint8_t>()) return *p;
        return 0;
    };
    Cursor cur = table.cursor();
    while (cur.next()) {
        CatalogEntry e;
        e.id = static_cast<std::int32_t>(asInt(cur.value(static_cast<std::size_t>(cId))));
        e.parentId = static_cast<std::int32_t>(asInt(cur.value(static_cast<std::size_t>(cParent))));
        e.name = std::string(cur.text(static_cast<std::size_t>(cName)));
        e.type = static_cast<std::int16_t>(asInt(cur.value(static_cast<std::size_t>(cType))));
        if (cFlags >= 0)
            e.flags = static_cast<std::int32_t>(asInt(cur.value(static_cast<std::size_t>(cFlags))));
        if (cDb >= 0) e.database = std::string(cur.text(static_cast<std::size_t>(cDb)));
        if (cForeign >= 0) e.foreignName = std::string(cur.text(static_cast<std::size_t>(cForeign)));
        store.catalog.push_back(std::move(e));
        store.catalogRows.push_back(cur.rowId());
    }

    // Table definitions in ParentIdName order.
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < store.catalog.size(); ++i) {
        const auto& e = store.catalog[i];
        if (e.parentId == kTablesContainerId && (e.type == 1 || e.type == 4 || e.type == 6))
            chosen.push_back(i);
    }
    std::vector<RowId> order;
    for (const auto& ix : layout->indexes) {
        if (sameName(ix.name, "ParentIdName") && ix.realIndex >= 0 &&
            static_cast<std::size_t>(ix.realIndex) < layout->realIndexes.size()) {
            order = indexRowOrder(store, layout->realIndexes[static_cast<std::size_t>(ix.realIndex)].rootPage,
                                  store.catalog.size());
            break;
        }
    }
    std::unordered_map<std::uint64_t, std::size_t> rank;
    for (std::size_t i = 0; i < order.size(); ++i) {
        rank.emplace((static_cast<std::uint64_t>(order[i].page) << 8) | order[i].row, i);
    }
    bool complete = !order.empty();
    for (std::size_t i : chosen) {
        const RowId& r = store.catalogRows[i];
        if (!rank.count((static_cast<std::uint64_t>(r.page) << 8) | r.row)) complete = false;
    }
    if (complete) {
        std::stable_sort(chosen.begin(), chosen.end(), [&](std::size_t a, std::size_t b) {
            const RowId& ra = store.catalogRows[a];
            const RowId& rb = store.catalogRows[b];
            return rank[(static_cast<std::uint64_t>(ra.page) << 8) | ra.row] <
                   rank[(static_cast<std::uint64_t>(rb.page) << 8) | rb.row];
        });
    } else {
        std::stable_sort(chosen.begin(), chosen.end(), [&](std::size_t a, std::size_t b) {
            return upperAscii(store.catalog[a].name) < upperAscii(store.catalog[b].name);
        });
    }
    for (std::size_t i : chosen) {
        const auto& e = store.catalog[i];
        TableDefInfo t;
        t.name = e.name;
        t.id = e.id;
        t.type = e.type;
        t.attributes = e.flags;
        if (e.type == 6) t.attributes |= kAttrAttachedTable;
        if (e.type == 4) t.attributes |= kAttrAttachedODBC;
        store.tableDefs.push_back(std::move(t));
    }
}

Database::Database(std::shared_ptr<Store> store) : store_(std::move(store)) {}
Database::Database(Database&&) noexcept = default;
Database& Database::operator=(Database&&) noexcept = default;
Database::~Database() = default;

namespace {

Error invalidPath(const std::string& name) {
    return Error(errc::kInvalidPath,
                 "'" + name +
                     "' is not a valid path.  Make sure that the path name is spelled correctly and that you "
                     "are connected to the server on which the file resides.");
}

// Holds a lock byte of the file for a scope.
class ScopedLock {
  public:
    ScopedLock(File& f, std::uint64_t at, LockKind kind) : f_(f), at_(at) { f_.lock(at_, 1, kind, true); }
    ~ScopedLock() { f_.unlock(at_, 1); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

  private:
    File& f_;
    std::uint64_t at_;
};

// A journal left behind by a writer that stopped: roll it back before anything is read. Called
// with the commit lock held shared; takes it exclusively for the rollback.
void recoverIfNeeded(Store& store, const std::string& name) {
    FileSystem& fs = *store.fs;
    if (!journalExists(fs, name)) return;
    File& file = *store.file;
    file.unlock(kLockCommit, 1);
    file.lock(kLockCommit, 1, LockKind::Exclusive, true);
    std::string notice;
    int error = 0;
    RecoveryOutcome outcome = RecoveryOutcome::None;
    if (store.writable) {
        outcome = recoverJournal(fs, file, name, notice, error);
    } else {
        // Opened for reading: the rollback still needs to write.
        int openError = 0;
        auto rw = fs.open(name, OpenMode::ReadWrite, openError);
        if (rw) {
            outcome = recoverJournal(fs, *rw, name, notice, error);
        } else {
            error = openError;
            notice =
                "journal '" + name + kJournalSuffix + "' cannot be rolled back: the file cannot be written";
        }
    }
    file.lock(kLockCommit, 1, LockKind::Shared, true);
    if (!notice.empty()) store.notices.push_back(notice);
    if (outcome == RecoveryOutcome::None && error != 0) {
        // Reading a file that is half written would show a state that never was.
        throw Error::noPermission(name);
    }
}

}  // namespace

Database Database::open(const std::filesystem::path& path, const OpenOptions& options) {
    std::string name = path.string();
    if (name.empty()) throw invalidPath("");
    FileSystem& fs = options.fileSystem ? *options.fileSystem : hostFileSystem();
    FileInfo info;
    if (int err = fs.stat(name, info); err != 0) throw Error::noPermission(name);
    if (!info.exists) throw Error::fileNotFound(name);
    if (info.directory) throw invalidPath(name);
    if (!info.regular) throw Error::noPermission(name);

    auto store = std::make_shared<Store>();
    store->path = name;
    store->fs = &fs;
    store->device = info.device;
    store->inode = info.inode;
    int err = 0;
    bool lockable = false;
    if (!options.readOnly || options.exclusive) {
        // An exclusive lock needs a descriptor open for writing, even to read.
        store->file = fs.open(name, OpenMode::ReadWrite, err);
        // A file or folder we may not write is opened for reading; writes then give 3027.
        lockable = store->file != nullptr;
        store->writable = lockable && !options.readOnly;
    }
    if (!store->file) store->file = fs.open(name, OpenMode::Read, err);
    if (!store->file) {
        if (err == ENOENT || err == ENOTDIR) throw Error::fileNotFound(name);
        throw Error::noPermission(name);
    }
    File& file = *store->file;
    store->locks = std::make_unique<OpenLocks>(fs, file, name, options.exclusive, lockable);

    // No commit may run while the header and catalog are read.
    ScopedLock commit(file, kLockCommit, LockKind::Shared);
    recoverIfNeeded(*store, name);
    store->generation = fileGeneration(store->device, store->inode);
    std::uint64_t size = 0;
    if (file.size(size) != 0) throw Error::noPermission(name);
    std::uint8_t version = 0xFF;
    std::size_t got = 0;
    if (file.readAll(kHeaderVersionOffset, &version, 1, got) != 0 || got != 1)
        throw Error::unrecognizedFormat(name);
    std::uint32_t pageSize = version == 0 ? 2048 : 4096;
    store->channel = std::make_unique<PageChannel>(file, name, size, pageSize, options.cacheBytes);
    store->spillBytes = options.spillBytes;
    readHeader(*store, file, name);
    if (store->channel->pageCount() < 3) throw Error::notADatabase(name);
    loadCatalog(*store);
    return Database(std::move(store));
}

const std::vector<std::string>& Database::notices() const noexcept {
    return store_->notices;
}

const std::string& Database::path() const noexcept {
    return store_->path;
}
FormatVersion Database::version() const noexcept {
    return store_->version;
}
std::uint32_t Database::pageSize() const noexcept {
    return store_->channel->pageSize();
}
std::uint32_t Database::pageCount() const noexcept {
    return store_->channel->pageCount();
}
std::uint16_t Database::codePage() const noexcept {
    return store_->codePage;
}
std::uint32_t Database::sortOrder() const noexcept {
    return store_->sortOrder;
}
bool Database::encrypted() const noexcept {
    return store_->encrypted;
}
const std::vector<CatalogEntry>& Database::catalog() const noexcept {
    return store_->catalog;
}
const std::vector<TableDefInfo>& Database::tableDefs() const noexcept {
    return store_->tableDefs;
}

bool Database::hasTable(std::string_view name) const noexcept {
    try {
        store_->refreshIfChanged();
    } catch (const Error&) {
        return false;
    }
    for (const auto& t : store_->tableDefs) {
        if (t.type == 1 && sameName(t.name, name)) return true;
    }
    return false;
}

Table Database::openTable(std::string_view name) const {
    store_->refreshIfChanged();
    for (const auto& t : store_->tableDefs) {
        if (t.type == 1 && sameName(t.name, name)) {
            if (t.id <= 0 || static_cast<std::uint32_t>(t.id) >= store_->channel->pageCount())
                store_->corrupt(kCatalogPage, 0, "table '" + t.name + "' has no definition page");
            auto layout = store_->layout(static_cast<std::uint32_t>(t.id), t.name);
            return Table(store_, layout);
        }
    }
    throw Error::tableNotFound(std::string(name));
}

}  // namespace jet

namespace jet::detail {

void Store::reload() {
    File& f = *file;
    f.lock(kLockCommit, 1, LockKind::Shared, true);
    std::uint64_t size = 0;
    int err = f.size(size);
    std::uint64_t gen = fileGeneration(device, inode);
    f.unlock(kLockCommit, 1);
    if (err != 0) throw Error::noPermission(path);
    layouts_.clear();
    channel->reset(size);
    if (encrypted) channel->setDatabaseKey(channel->databaseKey());
    catalog.clear();
    catalogRows.clear();
    tableDefs.clear();
    generation = gen;
    loadCatalog(*this);
}

void Store::refreshIfChanged() {
    if (fileGeneration(device, inode) != generation) reload();
}

}  // namespace jet::detail
