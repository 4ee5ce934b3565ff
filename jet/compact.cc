// Compaction: a logical rebuild of a database into a new file.
//
// Tables are copied in the order of their definition pages (the catalog first, so it keeps page
// 2), each to a definition reserved before any row is written: a table's new object id, which is
// its definition page, is then known when the catalog rows that name it are copied. Ids are
// renumbered where Jet keeps them: MSysObjects.Id, MSysACEs.ObjectId, the navigation pane's object
// ids and the related-table pointers of foreign keys; index keys over those columns are encoded
// anew. Every other index is rebuilt from the source's key bytes, walked in key order, so text
// keys are never re-encoded; rows with equal keys are put in the order of their new places.
#include "jet/compact.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <unordered_map>
#include <unordered_set>

#include "jet/builder.h"
#include "jet/index.h"
#include "jet/new_file.h"
#include "jet/store.h"
#include "jet/table.h"

namespace jet {

using namespace detail;

namespace {

bool isLongType(ColumnType t) {
    return t == ColumnType::Memo || t == ColumnType::OLE;
}
bool isIntegerType(std::uint8_t t) {
    return t == static_cast<std::uint8_t>(ColumnType::Byte) ||
           t == static_cast<std::uint8_t>(ColumnType::Integer) ||
           t == static_cast<std::uint8_t>(ColumnType::Long);
}
std::size_t integerSize(std::uint8_t t) {
    return t == static_cast<std::uint8_t>(ColumnType::Byte)      ? 1
           : t == static_cast<std::uint8_t>(ColumnType::Integer) ? 2
                                                                 : 4;
}

// Columns that hold object ids of tables, which are definition pages and change in the new file.
bool holdsTableId(std::string_view table, std::string_view column) {
    return (sameName(table, "MSysObjects") && sameName(column, "Id")) ||
           (sameName(table, "MSysACEs") && sameName(column, "ObjectId")) ||
           (sameName(table, "MSysNavPaneObjectIDs") && sameName(column, "Id")) ||
           (sameName(table, "MSysNavPaneGroupToObjects") && sameName(column, "ObjectID"));
}

// Every leaf entry of the index whose root is `root`, in key order, through the index module's
// checked walk.
void walkIndex(Store& store, std::uint32_t root,
               const std::function<void(const std::string&, RowId)>& onEntry) {
    StorePageIO io(store);
    std::string key;
    detail::walkIndex(
        io, root,
        [&](const IndexEntry& e) {
            key.assign(reinterpret_cast<const char*>(e.key.data()), e.key.size());
            onEntry(key, RowId{e.page, e.row});
        },
        store.path);
}

std::vector<std::uint8_t> definitionBytes(Store& store, std::uint32_t first) {
    std::vector<std::uint8_t> out;
    std::vector<std::uint32_t> seen;
    std::uint32_t current = first;
    while (current != 0) {
        if (seen.size() >= kMaxTableDefPages || std::find(seen.begin(), seen.end(), current) != seen.end())
            store.corrupt(current, 4, "table definition chain loops");
        seen.push_back(current);
        PageRef p = store.page(current);
        if (p.data()[0] != kPageTableDef) store.corrupt(current, 0, "not a table definition page");
        if (out.empty())
            out.insert(out.end(), p.data(), p.data() + store.fmt->pageSize);
        else
            out.insert(out.end(), p.data() + 8, p.data() + store.fmt->pageSize);
        current = u32(p.data() + store.fmt->tdefNextPage);
    }
    return out;
}

struct SourceTable {
    CatalogEntry entry;
    std::uint32_t oldPage = 0;
    std::uint32_t newPage = 0;
    std::vector<std::uint8_t> def;
    DefinitionShape shape;
    std::shared_ptr<const TableLayout> layout;
    bool lost = false;
};

// Old row -> new row, sorted by old row for lookups.
class RowMap {
  public:
    void add(RowId old, RowPointer now) { pairs_.emplace_back(key(old), now); }
    void seal() { std::sort(pairs_.begin(), pairs_.end()); }
    bool find(RowId old, RowPointer& now) const {
        auto k = key(old);
        auto it = std::lower_bound(pairs_.begin(), pairs_.end(), std::make_pair(k, RowPointer{0}));
        if (it == pairs_.end() || it->first != k) return false;
        now = it->second;
        return true;
    }
    std::size_t size() const { return pairs_.size(); }

  private:
    static std::uint32_t key(RowId r) { return (r.page << 8) | r.row; }
    std::vector<std::pair<std::uint32_t, RowPointer>> pairs_;
};

class Compactor {
  public:
    Compactor(const Database& db, DatabaseBuilder& b, const CompactOptions& o, CompactResult& r)
        : db_(db), store_(*db.store()), b_(b), opt_(o), result_(r) {}

    void run(std::vector<SourceTable>& tables) {
        progress_.tablesTotal = tables.size();
        for (auto& t : tables)
            if (!t.lost) remap_.emplace(t.oldPage, t.newPage);
        for (auto& t : tables)
            if (t.lost) lostIds_.insert(static_cast<std::int32_t>(t.oldPage));
        for (auto& t : tables) {
            if (!t.lost) copy(t);
            ++progress_.tablesDone;
            report(true);
        }
    }

  private:
    struct Loss {
        SalvageLoss loss;
        bool any = false;
    };

    void report(bool force) {
        progress_.bytesWritten = b_.bytesWritten();
        if (opt_.progress && (force || (progress_.rowsDone & 4095) == 0)) opt_.progress(progress_);
    }

    // Runs `fn`; in salvage mode a 3049 is noted in `loss` and false returned.
    template <class Fn>
    bool guarded(SalvageLoss& loss, Fn&& fn) {
        if (!opt_.salvage) {
            fn();
            return true;
        }
        try {
            fn();
            return true;
        } catch (const Error& e) {
            if (e.number() != errc::kCannotOpen) throw;
            if (loss.problems.size() < 20) loss.problems.push_back(e.description());
            return false;
        }
    }

    std::uint32_t newId(std::uint32_t old) const {
        auto it = remap_.find(old);
        return it == remap_.end() ? old : it->second;
    }

    // Reads the current row into cells (indexed by column number).
    void readCells(Cursor& c, const TableLayout& layout, const std::vector<bool>& remapCol,
                   std::vector<Cell>& cells) {
        std::uint16_t maxNumber = 0;
        for (const auto& col : layout.columns) maxNumber = std::max<std::uint16_t>(maxNumber, col.number);
        cells.resize(static_cast<std::size_t>(maxNumber) + 1);
        for (auto& cell : cells) {
            cell.present = cell.flag = cell.preferInline = false;
            cell.bytes.clear();
        }
        RowId at = c.rowId();
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            const Column& col = layout.columns[i];
            Cell& cell = cells[col.number];
            if (col.type == ColumnType::Boolean) {
                cell.present = true;
                Value v = c.value(i);
                cell.flag = v.getIf<bool>() && *v.getIf<bool>();
                continue;
            }
            if (c.isNull(i)) continue;
            std::string_view raw = c.raw(i);
            cell.present = true;
            if (isLongType(col.type)) {
                const auto* field = reinterpret_cast<const std::uint8_t*>(raw.data());
                if (raw.size() < kLongValueFieldSize)
                    store_.corrupt(at.page, 0, "long value field too short");
                cell.preferInline = (u32(field) & kLongValueInline) != 0;
                PageRef holder;
                std::string scratch;
                ByteView v = longValueView(store_, field, raw.size(), at.page, 0, holder, scratch);
                cell.bytes.assign(reinterpret_cast<const char*>(v.data), v.size);
            } else {
                cell.bytes.assign(raw.data(), raw.size());
            }
            if (remapCol[i] && col.type == ColumnType::Long && cell.bytes.size() == 4) {
                std::uint32_t v = u32(reinterpret_cast<const std::uint8_t*>(cell.bytes.data()));
                std::uint32_t n = newId(v);
                std::uint8_t b[4];
                put32(b, n);
                cell.bytes.assign(reinterpret_cast<const char*>(b), 4);
            }
        }
    }

    bool keepRow(const SourceTable& t, const TableLayout& layout, const std::vector<Cell>& cells) const {
        if (lostIds_.empty()) return true;
        for (const auto& col : layout.columns) {
            if (holdsTableId(t.entry.name, col.name) && col.number < cells.size() &&
                cells[col.number].present && cells[col.number].bytes.size() == 4) {
                // Cells already carry new ids; lost tables kept their old ids (no mapping).
                auto v = static_cast<std::int32_t>(
                    u32(reinterpret_cast<const std::uint8_t*>(cells[col.number].bytes.data())));
                if (lostIds_.count(v)) return false;
            }
        }
        return true;
    }

    void copy(SourceTable& t) {
        const TableLayout& layout = *t.layout;
        progress_.table = t.entry.name;
        report(true);
        SalvageLoss loss;
        loss.table = t.entry.name;

        std::vector<bool> remapCol(layout.columns.size(), false);
        bool anyRemap = false;
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            remapCol[i] = holdsTableId(t.entry.name, layout.columns[i].name);
            anyRemap |= remapCol[i];
        }
        std::int32_t autoColumn = -1;
        for (std::size_t i = 0; i < layout.columns.size(); ++i)
            if ((layout.columns[i].flags & 0x04) && layout.columns[i].type == ColumnType::Long)
                autoColumn = static_cast<std::int32_t>(layout.columns[i].number);
        std::int64_t autoMax = 0;

        auto writer = b_.table(t.newPage, t.def, t.shape);
        Table table(db_.store(), t.layout);
        RowMap map;
        std::vector<Cell> cells;
        std::uint64_t copied = 0;

        auto emit = [&](RowId old, const std::vector<Cell>& cs) {
            if (!keepRow(t, layout, cs)) return;
            RowPointer p = writer->addRow(cs);
            map.add(old, p);
            ++copied;
            ++progress_.rowsDone;
            if (autoColumn >= 0 && static_cast<std::size_t>(autoColumn) < cs.size() &&
                cs[autoColumn].present && cs[autoColumn].bytes.size() == 4) {
                auto v = static_cast<std::int32_t>(
                    u32(reinterpret_cast<const std::uint8_t*>(cs[autoColumn].bytes.data())));
                autoMax = std::max<std::int64_t>(autoMax, v);
            }
            report(false);
        };

        // The primary key's real index, if any.
        std::int32_t pkReal = -1;
        for (const auto& ix : layout.indexes)
            if (ix.kind == 1 && ix.realIndex >= 0) pkReal = ix.realIndex;

        std::uint32_t pageCount = store_.channel->pageCount();
        std::vector<bool> done(static_cast<std::size_t>(pageCount) * 256, false);
        auto mark = [&](RowId r) {
            std::size_t k = static_cast<std::size_t>(r.page) * 256 + r.row;
            if (k >= done.size() || done[k]) return false;
            done[k] = true;
            return true;
        };

        if (anyRemap) {
            // Small system tables: read whole, order by the new primary key.
            struct Held {
                RowId old;
                std::vector<Cell> cells;
                std::string key;
            };
            std::vector<Held> rows;
            Cursor c = table.cursor();
            scan(c, loss, [&](Cursor& cur) {
                Held h;
                h.old = cur.rowId();
                readCells(cur, layout, remapCol, h.cells);
                if (pkReal >= 0) h.key = integerKey(layout, static_cast<std::size_t>(pkReal), h.cells);
                rows.push_back(std::move(h));
            });
            std::stable_sort(rows.begin(), rows.end(),
                             [](const Held& a, const Held& b) { return a.key < b.key; });
            for (auto& h : rows) emit(h.old, h.cells);
            map.seal();
            writer->finishRowsIfOpen();
            for (std::size_t r = 0; r < layout.realIndexes.size(); ++r) {
                bool remapped = false;
                for (const auto& ic : layout.realIndexes[r].columns) {
                    for (std::size_t i = 0; i < layout.columns.size(); ++i)
                        if (layout.columns[i].number == ic.columnNumber && remapCol[i]) remapped = true;
                }
                if (!remapped) {
                    rebuildIndex(*writer, layout, r, map, loss);
                    continue;
                }
                std::vector<BuildEntry> entries;
                for (auto& h : rows) {
                    RowPointer p;
                    if (!map.find(h.old, p)) continue;
                    entries.push_back({integerKey(layout, r, h.cells), p});
                }
                // Keys over non-integer columns after the ids come from the source's own bytes.
                if (!integerOnly(layout, r)) entries = spliceKeys(layout, r, rows, map, loss);
                std::sort(entries.begin(), entries.end(), [](const BuildEntry& a, const BuildEntry& b) {
                    return a.key != b.key ? a.key < b.key : a.row < b.row;
                });
                writer->beginIndex(r);
                for (auto& e : entries) writer->addIndexEntry(e);
                writer->endIndex();
            }
        } else {
            Cursor c = table.cursor();
            bool walked = false;
            if (pkReal >= 0) {
                walked = guarded(loss, [&] {
                    walkIndex(store_, layout.realIndexes[static_cast<std::size_t>(pkReal)].rootPage,
                              [&](const std::string&, RowId old) {
                                  if (!mark(old)) return;
                                  bool ok = guarded(loss, [&] {
                                      if (!c.moveTo(old)) return;
                                      readCells(c, layout, remapCol, cells);
                                      emit(old, cells);
                                  });
                                  if (!ok) ++loss.rowsLost;
                              });
                });
                if (!walked) loss.indexes.push_back(indexName(layout, static_cast<std::size_t>(pkReal)));
            }
            // Rows the primary key does not reach (or every row, without one) in scan order.
            Cursor s = table.cursor();
            scan(s, loss, [&](Cursor& cur) {
                if (!mark(cur.rowId())) return;
                readCells(cur, layout, remapCol, cells);
                emit(cur.rowId(), cells);
            });
            map.seal();
            writer->finishRowsIfOpen();
            for (std::size_t r = 0; r < layout.realIndexes.size(); ++r)
                rebuildIndex(*writer, layout, r, map, loss);
        }

        for (std::size_t li = 0; li < t.shape.logicals.size(); ++li) {
            const auto& ix = layout.indexes[li];
            if (ix.relatedTable != 0 && remap_.count(ix.relatedTable))
                writer->setRelatedTable(li, remap_.at(ix.relatedTable));
        }
        writer->finish(autoColumn >= 0 ? static_cast<std::uint32_t>(autoMax) : layout.autoNumber);
        result_.rows += copied;
        ++result_.tables;
        loss.rowsCopied = copied;
        if (loss.rowsLost || !loss.indexes.empty() || !loss.problems.empty()) result_.losses.push_back(loss);
    }

    template <class Fn>
    void scan(Cursor& c, SalvageLoss& loss, Fn&& onRow) {
        std::size_t errors = 0;
        for (;;) {
            bool more = false;
            bool ok = guarded(loss, [&] { more = c.next(); });
            if (!ok) {
                ++loss.rowsLost;
                if (++errors > 100000) return;
                continue;
            }
            if (!more) return;
            if (!guarded(loss, [&] { onRow(c); })) ++loss.rowsLost;
        }
    }

    std::string indexName(const TableLayout& layout, std::size_t real) const {
        for (const auto& ix : layout.indexes)
            if (ix.realIndex == static_cast<std::int32_t>(real)) return ix.name;
        return "#" + std::to_string(real);
    }

    bool integerOnly(const TableLayout& layout, std::size_t real) const {
        for (const auto& ic : layout.realIndexes[real].columns) {
            bool ok = false;
            for (const auto& col : layout.columns)
                if (col.number == ic.columnNumber) ok = isIntegerType(col.rawType);
            if (!ok) return false;
        }
        return true;
    }

    // The key of the leading integer columns of index `real` from the row's (new) values.
    std::string integerKey(const TableLayout& layout, std::size_t real,
                           const std::vector<Cell>& cells) const {
        std::string key;
        for (const auto& ic : layout.realIndexes[real].columns) {
            const Column* col = nullptr;
            for (const auto& c : layout.columns)
                if (c.number == ic.columnNumber) col = &c;
            if (!col || !isIntegerType(col->rawType)) break;
            const Cell* cell =
                col->number < cells.size() && cells[col->number].present ? &cells[col->number] : nullptr;
            appendIntegerKey(key, col->rawType, cell ? &cell->bytes : nullptr, ic.ascending);
        }
        return key;
    }

    template <class Rows>
    std::vector<BuildEntry> spliceKeys(const TableLayout& layout, std::size_t real, const Rows& rows,
                                       const RowMap& map, SalvageLoss& loss) {
        std::vector<BuildEntry> out;
        std::unordered_map<std::uint32_t, std::size_t> byOld;
        for (std::size_t i = 0; i < rows.size(); ++i)
            byOld.emplace((rows[i].old.page << 8) | rows[i].old.row, i);
        guarded(loss, [&] {
            walkIndex(store_, layout.realIndexes[real].rootPage, [&](const std::string& key, RowId old) {
                auto it = byOld.find((old.page << 8) | old.row);
                RowPointer p;
                if (it == byOld.end() || !map.find(old, p)) return;
                // Skip the source's integer parts, then keep its remaining bytes.
                std::size_t pos = 0;
                for (const auto& ic : layout.realIndexes[real].columns) {
                    const Column* col = nullptr;
                    for (const auto& c : layout.columns)
                        if (c.number == ic.columnNumber) col = &c;
                    if (!col || !isIntegerType(col->rawType)) break;
                    if (pos >= key.size()) break;
                    std::uint8_t flag = static_cast<std::uint8_t>(key[pos]);
                    pos += 1 + ((flag == 0x7F || flag == 0x80) ? integerSize(col->rawType) : 0);
                }
                std::string k = integerKey(layout, real, rows[it->second].cells);
                if (pos < key.size()) k.append(key, pos, std::string::npos);
                out.push_back({std::move(k), p});
            });
        });
        return out;
    }

    // Walks the source's index `real` in key order and writes it with the new row pointers.
    void rebuildIndex(DatabaseBuilder::TableWriter& w, const TableLayout& layout, std::size_t real,
                      const RowMap& map, SalvageLoss& loss) {
        w.beginIndex(real);
        std::vector<BuildEntry> run;
        std::string previous;
        bool havePrevious = false;
        auto flush = [&] {
            std::sort(run.begin(), run.end(),
                      [](const BuildEntry& a, const BuildEntry& b) { return a.row < b.row; });
            RowPointer last = 0;
            for (std::size_t i = 0; i < run.size(); ++i) {
                if (i > 0 && run[i].row == last) continue;
                w.addIndexEntry(run[i]);
                last = run[i].row;
            }
            run.clear();
        };
        bool ok = guarded(loss, [&] {
            walkIndex(store_, layout.realIndexes[real].rootPage, [&](const std::string& key, RowId old) {
                if (havePrevious && key < previous)
                    store_.corrupt(layout.realIndexes[real].rootPage, 0, "index entries out of order");
                RowPointer p;
                if (!map.find(old, p)) return;
                if (!run.empty() && run.front().key != key) flush();
                run.push_back({key, p});
                previous = key;
                havePrevious = true;
            });
        });
        flush();
        if (!ok) loss.indexes.push_back(indexName(layout, real));
        w.endIndex();
    }

    const Database& db_;
    Store& store_;
    DatabaseBuilder& b_;
    const CompactOptions& opt_;
    CompactResult& result_;
    CompactProgress progress_;
    std::unordered_map<std::uint32_t, std::uint32_t> remap_;
    std::unordered_set<std::int32_t> lostIds_;
};

std::uint64_t fileSize(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
}

}  // namespace

CompactResult compactDatabase(const std::filesystem::path& source, const std::filesystem::path& destination,
                              const CompactOptions& options) {
    NewFileOps& ops = options.fileOps ? *options.fileOps : hostNewFileOps();
    const std::string dst = destination.string();
    if (!dst.empty() && ops.exists(dst)) throw Error(3204, databaseExistsText());

    OpenOptions oo;
    oo.cacheBytes = kCompactCacheBytes;
    // Like DBEngine.CompactDatabase, the source must be closed by everyone: an exclusive open gives
    // 3045 while another open (of any process) has it, and keeps everyone out while it is read.
    oo.exclusive = true;
    Database db = Database::open(source, oo);
    return compactDatabase(db, destination, options);
}

CompactResult compactDatabase(const Database& db, const std::filesystem::path& destination,
                              const CompactOptions& options) {
    auto started = std::chrono::steady_clock::now();
    NewFileOps& ops = options.fileOps ? *options.fileOps : hostNewFileOps();
    const std::string dst = destination.string();
    if (!dst.empty() && ops.exists(dst)) throw Error(3204, databaseExistsText());

    Store& store = *db.store();
    if (store.version != FormatVersion::Jet3 && store.version != FormatVersion::Jet4)
        throw Error::unrecognizedFormat(store.path);
    const JetFormat& f = *store.fmt;

    CompactResult result;
    result.sizeBefore = fileSize(store.path);

    std::vector<SourceTable> tables;
    for (const auto& e : store.catalog) {
        if (e.type != 1 || e.parentId != kTablesContainerId) continue;
        if (e.id <= 0 || static_cast<std::uint32_t>(e.id) >= store.channel->pageCount()) {
            if (!options.salvage)
                store.corrupt(kCatalogPage, 0, "table '" + e.name + "' has no definition page");
            SourceTable t;
            t.entry = e;
            t.oldPage = static_cast<std::uint32_t>(e.id);
            t.lost = true;
            tables.push_back(std::move(t));
            continue;
        }
        SourceTable t;
        t.entry = e;
        t.oldPage = static_cast<std::uint32_t>(e.id);
        tables.push_back(std::move(t));
    }
    std::stable_sort(tables.begin(), tables.end(), [](const SourceTable& a, const SourceTable& b) {
        bool ca = a.oldPage == kCatalogPage, cb = b.oldPage == kCatalogPage;
        if (ca != cb) return ca;
        return a.oldPage < b.oldPage;
    });
    if (tables.empty() || tables.front().oldPage != kCatalogPage)
        store.corrupt(kCatalogPage, 0, "the catalog does not list itself");
    for (auto& t : tables) {
        if (t.lost) continue;
        try {
            t.def = definitionBytes(store, t.oldPage);
            t.shape = parseDefinition(f, t.def, store.path, t.oldPage);
            t.layout = store.layout(t.oldPage, t.entry.name);
            if (t.shape.columns.size() != t.layout->columns.size() ||
                t.shape.logicals.size() != t.layout->indexes.size())
                store.corrupt(t.oldPage, 0, "table definition does not hold together");
        } catch (const Error& e) {
            if (!options.salvage || e.number() != errc::kCannotOpen || t.oldPage == kCatalogPage) throw;
            t.lost = true;
            SalvageLoss loss;
            loss.table = t.entry.name;
            loss.tableLost = true;
            loss.problems.push_back(e.description());
            result.losses.push_back(loss);
        }
    }

    NewFile out(dst, ops);
    DatabaseBuilder builder(f, out, dst);
    for (auto& t : tables) {
        if (t.lost) continue;
        t.newPage = builder.reserveDefinition(t.shape.length);
    }
    Compactor compactor(db, builder, options, result);
    compactor.run(tables);

    BuildHeader header;
    {
        PageRef p0 = store.page(0);
        header.page0.assign(p0.data(), p0.data() + f.pageSize);
        rc4(kHeaderMaskKey, sizeof kHeaderMaskKey, header.page0.data() + kHeaderMaskStart,
            f.headerMaskLength);
        header.codePage = store.codePage;
        header.sortOrder = store.sortOrder;
        if (!f.jet3)
            std::memcpy(&header.created, header.page0.data() + kHeaderCreationDate, sizeof header.created);
    }
    builder.finish(header);
    out.publish();
    result.sizeAfter = static_cast<std::uint64_t>(builder.pageCount()) * f.pageSize;
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return result;
}

}  // namespace jet
