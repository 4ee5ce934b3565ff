#include "jet/journal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace jet::detail {

namespace {

constexpr char kMagic[8] = {'Q', 'X', 'J', 'E', 'T', 'J', 'N', 'L'};
constexpr std::uint32_t kVersion = 2;
// Journals of version 1 have the same layout; their length after is always known.
constexpr std::uint32_t kOldestVersion = 1;

void put32(std::uint8_t* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}
void put64(std::uint8_t* p, std::uint64_t v) {
    for (int i = 0; i < 8; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}
std::uint32_t get32(const std::uint8_t* p) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}
std::uint64_t get64(const std::uint8_t* p) {
    std::uint64_t v = 0;
    for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
    return v;
}

}  // namespace

std::uint32_t crc32(const std::uint8_t* data, std::size_t length, std::uint32_t crc) noexcept {
    static const auto table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[i] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (std::size_t i = 0; i < length; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

std::string directoryOf(const std::string& path) {
    std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

bool journalExists(FileSystem& fs, const std::string& database) {
    FileInfo info;
    fs.stat(database + kJournalSuffix, info);
    return info.exists;
}

int writeJournal(FileSystem& fs, const std::string& database, const JournalPlan& plan) {
    const std::string path = database + kJournalSuffix;
    const std::string partial = database + kPartialJournalSuffix;
    const bool replacing = journalExists(fs, database);
    const std::size_t recordBytes = 4 + static_cast<std::size_t>(plan.pageSize);
    std::vector<std::uint8_t> buf(kJournalHeaderBytes + recordBytes * plan.records.size(), 0);
    std::uint8_t* r = buf.data() + kJournalHeaderBytes;
    for (const auto& rec : plan.records) {
        put32(r, rec.page);
        std::memcpy(r + 4, rec.bytes.data(), plan.pageSize);
        r += recordBytes;
    }
    std::uint8_t* h = buf.data();
    std::memcpy(h, kMagic, sizeof kMagic);
    put32(h + 8, kVersion);
    put32(h + 12, plan.pageSize);
    put64(h + 16, plan.lengthBefore);
    put64(h + 24, plan.lengthAfter);
    put32(h + 32, static_cast<std::uint32_t>(plan.records.size()));
    put32(h + 36, plan.page0Before);
    put32(h + 40, plan.page0After);
    put32(h + 44, crc32(buf.data() + kJournalHeaderBytes, buf.size() - kJournalHeaderBytes));
    put32(h + 60, crc32(h, 60));

    int err = 0;
    // One left by a writer that stopped while making it is of no use to anyone: it is reused.
    auto file = fs.open(partial, OpenMode::CreateOrOpen, err);
    if (!file) return err;
    if (int e = file->truncate(0)) return e;
    // Records first, header last: a journal cut short anywhere fails its checksums.
    err = file->writeAll(kJournalHeaderBytes, buf.data() + kJournalHeaderBytes,
                         buf.size() - kJournalHeaderBytes);
    if (err == 0) err = file->writeAll(0, buf.data(), kJournalHeaderBytes);
    if (err == 0) err = file->sync();
    file.reset();
    if (err != 0) {
        fs.remove(partial);
        return err;
    }
    if (int e = fs.rename(partial, path)) {
        fs.remove(partial);
        return e;
    }
    err = fs.syncDirectory(directoryOf(database));
    // A journal replaced stays: it belongs to pages already written and the caller rolls back
    // with it. A new one goes, as nothing has been written yet.
    if (err != 0 && !replacing) fs.remove(path);
    return err;
}

int removeJournal(FileSystem& fs, const std::string& database) {
    if (int err = fs.remove(database + kJournalSuffix)) return err;
    // The removal is the commit. Syncing the folder makes it durable sooner; should that fail,
    // the commit has still happened for everyone who looks, and a journal that a power cut brings
    // back only turns the file into its old self, which is allowed.
    (void)fs.syncDirectory(directoryOf(database));
    return 0;
}

RecoveryOutcome recoverJournal(FileSystem& fs, File& db, const std::string& database, std::string& notice,
                               int& error) {
    error = 0;
    const std::string path = database + kJournalSuffix;
    int err = 0;
    auto jf = fs.open(path, OpenMode::Read, err);
    if (!jf) return RecoveryOutcome::None;
    auto ignore = [&](const std::string& why) {
        notice = "journal '" + path + "' ignored: " + why;
        return RecoveryOutcome::Ignored;
    };
    std::uint64_t jsize = 0;
    if (jf->size(jsize) != 0) return ignore("it cannot be read");
    std::vector<std::uint8_t> buf(static_cast<std::size_t>(std::min<std::uint64_t>(jsize, 1u << 30)));
    std::size_t got = 0;
    if (jf->readAll(0, buf.data(), buf.size(), got) != 0 || got != buf.size())
        return ignore("it cannot be read");
    if (buf.size() < kJournalHeaderBytes || std::memcmp(buf.data(), kMagic, sizeof kMagic) != 0)
        return ignore("it is not a journal of this engine, or was cut short");
    const std::uint8_t* h = buf.data();
    if (get32(h + 60) != crc32(h, 60)) return ignore("its header is incomplete (cut short before the write)");
    const std::uint32_t version = get32(h + 8);
    if (version < kOldestVersion || version > kVersion)
        return ignore("unknown journal version " + std::to_string(version));
    const std::uint32_t pageSize = get32(h + 12);
    const std::uint64_t before = get64(h + 16), after = get64(h + 24);
    const std::uint32_t count = get32(h + 32);
    if (pageSize != 2048 && pageSize != 4096) return ignore("implausible page size");
    const std::size_t recordBytes = 4 + static_cast<std::size_t>(pageSize);
    if (buf.size() != kJournalHeaderBytes + recordBytes * count)
        return ignore("its length does not match its header (cut short before the write)");
    if (get32(h + 44) != crc32(buf.data() + kJournalHeaderBytes, buf.size() - kJournalHeaderBytes))
        return ignore("its content checksum does not hold (cut short before the write)");

    // Does it belong to this file?
    std::uint64_t size = 0;
    if (db.size(size) != 0) return ignore("the database's length cannot be read");
    const bool afterKnown = !(version >= 2 && after == kJournalLengthUnknown);
    if (afterKnown ? (size < std::min(before, after) || size > std::max(before, after) + pageSize)
                   : size < before)
        return ignore("it belongs to a file of another length");
    std::vector<std::uint8_t> page0(pageSize, 0);
    std::size_t got0 = 0;
    if (db.readAll(0, page0.data(), pageSize, got0) != 0) return ignore("the database cannot be read");
    const std::uint32_t crc0 = crc32(page0.data(), got0);
    if (got0 != pageSize || (crc0 != get32(h + 36) && crc0 != get32(h + 40)))
        return ignore("it belongs to another database (its header page differs)");

    const std::uint8_t* r = buf.data() + kJournalHeaderBytes;
    for (std::uint32_t i = 0; i < count; ++i, r += recordBytes) {
        std::uint32_t page = get32(r);
        if (static_cast<std::uint64_t>(page) * pageSize >= before) {
            return ignore("a record lies beyond the original file");
        }
    }
    r = buf.data() + kJournalHeaderBytes;
    for (std::uint32_t i = 0; i < count && error == 0; ++i, r += recordBytes) {
        error = db.writeAll(static_cast<std::uint64_t>(get32(r)) * pageSize, r + 4, pageSize);
    }
    if (error == 0 && size != before) error = db.truncate(before);
    if (error == 0) error = db.sync();
    if (error == 0) error = removeJournal(fs, database);
    if (error != 0) {
        notice = "journal '" + path + "' could not be rolled back: " + std::strerror(error);
        return RecoveryOutcome::None;
    }
    notice = "journal '" + path + "' rolled back: " + std::to_string(count) + " pages restored";
    return RecoveryOutcome::RolledBack;
}

}  // namespace jet::detail
