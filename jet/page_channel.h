// The one channel through which the engine reads pages.
//
// Every page read goes through PageChannel::page(): it checks the page number against the file's
// page count, decrypts pages of files with a database key, and serves pages from a bounded cache.
// Writers to come go through the same object so that the cache never disagrees with the file.
//
// Cache: the file is handled in blocks of consecutive pages. A file without a database key is
// mapped read-only, 256 KiB window per block (kMappedBlockBytes), so pages are read where the
// operating system's file cache holds them, without a copy; an encrypted file is read into
// owned 64 KiB blocks (kBufferedBlockBytes) and decrypted there. At most
// max(kMinBlocks, cacheBytes / blockBytes) blocks are kept (OpenOptions::cacheBytes, default
// 1 MiB: four mapped windows, or 16 buffered blocks); the least recently used block that nobody
// holds is replaced. A block held by a live PageRef is never replaced; should every block be
// held, one more is made and dropped as soon as it is let go, so the bound can only be exceeded
// by the number of pages held at once. Memory use therefore does not grow with the file.
//
// The mapping covers only the length the file had when it was opened. Another process cutting
// the file shorter while it is open would make reads of the lost part fault; the engine opens
// files the suite keeps in place, and the write support to come will lock them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace jet::detail {

class PageChannel;

struct CacheBlock {
    std::uint32_t first = 0;  // first page of the block
    std::uint32_t count = 0;  // pages loaded (the file's last block may be short)
    std::uint32_t pins = 0;
    std::uint64_t lastUse = 0;
    bool loaded = false;
    std::uint8_t* data = nullptr;           // the block's first page
    std::size_t mappedLength = 0;           // non-zero: `data` is a mapping of this length
    std::unique_ptr<std::uint8_t[]> owned;  // buffered blocks
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
    static constexpr std::size_t kMappedBlockBytes = 256u << 10;
    static constexpr std::size_t kBufferedBlockBytes = 64u << 10;
    static constexpr std::size_t kMinBlocks = 4;

    // Takes ownership of the open descriptor `fd`. `name` is the file name used in error texts.
    PageChannel(int fd, std::string name, std::uint64_t fileSize, std::uint32_t pageSize,
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

    // Page `number`. Errors: 3049 naming the page when it lies beyond the end of the file or the
    // file cannot be read.
    PageRef page(std::uint32_t number);

    // Blocks currently allocated (for tests and measurements).
    std::size_t blocksAllocated() const noexcept;
    std::size_t maxBlocks() const noexcept { return maxBlocks_; }

  private:
    friend class PageRef;
    void unpin(CacheBlock* block) noexcept;
    CacheBlock* acquire(std::uint32_t blockNumber);
    void load(CacheBlock& block, std::uint32_t blockNumber);
    void drop(CacheBlock& block) noexcept;
    void configure();

    int fd_;
    std::string name_;
    std::uint32_t pageSize_;
    std::uint32_t pageCount_;
    std::size_t cacheBytes_;
    std::size_t maxBlocks_ = 0;
    std::uint32_t pagesPerBlock_ = 16;
    bool mapped_ = true;
    std::uint32_t databaseKey_ = 0;
    std::uint64_t clock_ = 0;
    std::vector<std::unique_ptr<CacheBlock>> blocks_;
    std::vector<std::int32_t> blockSlot_;  // block number -> index in blocks_, or -1
    CacheBlock* last_ = nullptr;           // most recent hit, checked first
};

// RC4 over `data` in place with `key`.
void rc4(const std::uint8_t* key, std::size_t keyLength, std::uint8_t* data, std::size_t length) noexcept;

}  // namespace jet::detail
