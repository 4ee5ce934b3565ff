// The one channel through which the engine reads pages.
//
// Every page read goes through PageChannel::page(): it checks the page number against the file's
// page count, decrypts pages of files with a database key, and serves pages from a bounded cache.
// Writers to come go through the same object so that the cache never disagrees with the file.
//
// Cache: the file is handled in blocks of consecutive pages, each read with pread() into memory the
// channel owns (and decrypted there for a file with a database key). Nothing is mapped: a mapping
// of a file that another process cuts shorter faults when the lost part is touched, and that would
// kill the program; a read of the lost part merely comes back short, which is reported as damage.
//
// Block size: kBlockBytes (256 KiB) for plain files, kDecryptedBlockBytes (64 KiB) for encrypted
// ones, lowered to cacheBytes / kMinBlocks (never below one page) for a small cache. At most
// max(kMinBlocks, cacheBytes / blockBytes) blocks are kept (OpenOptions::cacheBytes, default
// 1 MiB: four 256 KiB blocks, or sixteen decrypted ones), so the cache holds
// max(cacheBytes, kMinBlocks pages) bytes at most; the least recently used block that nobody holds
// is replaced. A block held by a live PageRef is never replaced; should every block be held, one
// more is made and dropped as soon as it is let go, so the bound can only be exceeded by the number
// of pages held at once. Memory use therefore does not grow with the file.
//
// A file that changes while open: the page count is fixed when the channel is made. A file that
// has grown is read up to that count, so the pages it had are read as before. A file that has
// shrunk makes the read of a block reaching past its new end fail with 3049, naming the first page
// that could not be read whole; the block is not kept, and pages already cached stay readable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace jet {
class File;
}

namespace jet::detail {

class PageChannel;

struct CacheBlock {
    std::uint32_t first = 0;  // first page of the block
    std::uint32_t count = 0;  // pages loaded (the file's last block may be short)
    std::uint32_t pins = 0;
    std::uint64_t lastUse = 0;
    bool loaded = false;
    std::unique_ptr<std::uint8_t[]> data;  // the block's pages; kept for reuse when the block is
                                           // replaced, so a scan does not allocate per block
};

// A read-only view of one page, valid while the PageRef lives.
class PageRef {
  public:
    PageRef() = default;
    PageRef(const PageRef& other) noexcept;
    PageRef& operator=(const PageRef& other) noexcept;
    PageRef(PageRef&& other) noexcept;
    PageRef& operator=(PageRef&& other) noexcept;
    ~PageRef();

    const std::uint8_t* data() const noexcept { return data_; }
    std::uint32_t number() const noexcept { return number_; }
    explicit operator bool() const noexcept { return data_ != nullptr; }

  private:
    friend class PageChannel;
    PageRef(PageChannel* channel, CacheBlock* block, const std::uint8_t* data, std::uint32_t number) noexcept;
    void release() noexcept;

    PageChannel* channel_ = nullptr;
    CacheBlock* block_ = nullptr;
    const std::uint8_t* data_ = nullptr;
    std::uint32_t number_ = 0;
};

class PageChannel {
  public:
    static constexpr std::size_t kBlockBytes = 256u << 10;
    static constexpr std::size_t kDecryptedBlockBytes = 64u << 10;
    static constexpr std::size_t kMinBlocks = 4;

    // Reads through `file`, which must outlive the channel. `name` is the file name used in error
    // texts.
    PageChannel(File& file, std::string name, std::uint64_t fileSize, std::uint32_t pageSize,
                std::size_t cacheBytes);
    PageChannel(const PageChannel&) = delete;
    PageChannel& operator=(const PageChannel&) = delete;
    ~PageChannel();

    std::uint32_t pageSize() const noexcept { return pageSize_; }
    std::uint32_t pageCount() const noexcept { return pageCount_; }
    const std::string& name() const noexcept { return name_; }

    // From now on every page but page 0 is decrypted with RC4 under (key XOR page number).
    // Drops anything cached.
    void setDatabaseKey(std::uint32_t key);

    // Page `number`. Errors: 3049 naming the page when it lies beyond the page count, or when its
    // block cannot be read (the file is now shorter than when it was opened, or the read failed);
    // the channel stays usable after such an error.
    PageRef page(std::uint32_t number);

    // After the file changed (a commit of this process, or a refresh): drops everything cached and
    // takes the new size. No PageRef may be alive.
    void reset(std::uint64_t fileSize);

    // The database key set by setDatabaseKey (0 = plain file); writers encrypt with it.
    std::uint32_t databaseKey() const noexcept { return databaseKey_; }

    // Set once any read found damage (3049); a damaged file is never written.
    bool damaged() const noexcept { return damaged_; }
    void markDamaged() const noexcept { damaged_ = true; }

    // Blocks currently allocated (for tests and measurements).
    std::size_t blocksAllocated() const noexcept;
    std::size_t maxBlocks() const noexcept { return maxBlocks_; }
    std::uint32_t pagesPerBlock() const noexcept { return pagesPerBlock_; }

  private:
    friend class PageRef;
    void unpin(CacheBlock* block) noexcept;
    CacheBlock* acquire(std::uint32_t blockNumber);
    void load(CacheBlock& block, std::uint32_t blockNumber);
    void readFully(std::uint8_t* into, std::size_t length, std::uint32_t firstPage);
    void drop(CacheBlock& block) noexcept;
    void configure();

    File& file_;
    std::string name_;
    mutable bool damaged_ = false;
    std::uint32_t pageSize_;
    std::uint32_t pageCount_;
    std::size_t cacheBytes_;
    std::size_t maxBlocks_ = 0;
    std::uint32_t pagesPerBlock_ = 16;
    std::uint32_t databaseKey_ = 0;
    std::uint64_t clock_ = 0;
    std::vector<std::unique_ptr<CacheBlock>> blocks_;
    std::vector<std::unique_ptr<CacheBlock>> retired_;  // held by PageRefs across a reset
    std::vector<std::int32_t> blockSlot_;               // block number -> index in blocks_, or -1
    CacheBlock* last_ = nullptr;                        // most recent hit, checked first
};

// RC4 over `data` in place with `key`.
void rc4(const std::uint8_t* key, std::size_t keyLength, std::uint8_t* data, std::size_t length) noexcept;

}  // namespace jet::detail
