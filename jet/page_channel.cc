#include "jet/page_channel.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "jet/error.h"

namespace jet::detail {

void rc4(const std::uint8_t* key, std::size_t keyLength, std::uint8_t* data, std::size_t length) noexcept {
    std::uint8_t s[256];
    for (int i = 0; i < 256; ++i) s[i] = static_cast<std::uint8_t>(i);
    std::uint8_t j = 0;
    for (int i = 0; i < 256; ++i) {
        j = static_cast<std::uint8_t>(j + s[i] + key[static_cast<std::size_t>(i) % keyLength]);
        std::swap(s[i], s[j]);
    }
    std::uint8_t a = 0, b = 0;
    for (std::size_t k = 0; k < length; ++k) {
        a = static_cast<std::uint8_t>(a + 1);
        b = static_cast<std::uint8_t>(b + s[a]);
        std::swap(s[a], s[b]);
        data[k] ^= s[static_cast<std::uint8_t>(s[a] + s[b])];
    }
}

PageRef::PageRef(PageChannel* channel, CacheBlock* block, const std::uint8_t* data,
                 std::uint32_t number) noexcept
    : channel_(channel), block_(block), data_(data), number_(number) {
    ++block_->pins;
}

PageRef::PageRef(const PageRef& other) noexcept
    : channel_(other.channel_), block_(other.block_), data_(other.data_), number_(other.number_) {
    if (block_) ++block_->pins;
}

PageRef& PageRef::operator=(const PageRef& other) noexcept {
    if (this != &other) {
        if (other.block_) ++other.block_->pins;
        release();
        channel_ = other.channel_;
        block_ = other.block_;
        data_ = other.data_;
        number_ = other.number_;
    }
    return *this;
}

PageRef::PageRef(PageRef&& other) noexcept
    : channel_(other.channel_), block_(other.block_), data_(other.data_), number_(other.number_) {
    other.channel_ = nullptr;
    other.block_ = nullptr;
    other.data_ = nullptr;
}

PageRef& PageRef::operator=(PageRef&& other) noexcept {
    if (this != &other) {
        release();
        channel_ = other.channel_;
        block_ = other.block_;
        data_ = other.data_;
        number_ = other.number_;
        other.channel_ = nullptr;
        other.block_ = nullptr;
        other.data_ = nullptr;
    }
    return *this;
}

PageRef::~PageRef() {
    release();
}

void PageRef::release() noexcept {
    if (block_) channel_->unpin(block_);
    channel_ = nullptr;
    block_ = nullptr;
    data_ = nullptr;
}

PageChannel::PageChannel(int fd, std::string name, std::uint64_t fileSize, std::uint32_t pageSize,
                         std::size_t cacheBytes)
    : fd_(fd), name_(std::move(name)), pageSize_(pageSize), cacheBytes_(cacheBytes) {
    // A trailing partial page cannot hold anything the engine wrote; it is ignored. Page
    // pointers are 3 bytes wide, so no page past 2^24 can be reached.
    std::uint64_t pages = fileSize / pageSize;
    pageCount_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(pages, 0xFFFFFFu + 1u));
    configure();
}

void PageChannel::configure() {
    for (auto& b : blocks_) drop(*b);
    blocks_.clear();
    last_ = nullptr;
    std::size_t blockBytes = mapped_ ? kMappedBlockBytes : kBufferedBlockBytes;
    pagesPerBlock_ = static_cast<std::uint32_t>(blockBytes / pageSize_);
    maxBlocks_ = std::max(kMinBlocks, cacheBytes_ / blockBytes);
    blockSlot_.assign(pageCount_ / pagesPerBlock_ + 1, -1);
}

PageChannel::~PageChannel() {
    for (auto& b : blocks_) drop(*b);
    if (fd_ >= 0) ::close(fd_);
}

void PageChannel::drop(CacheBlock& block) noexcept {
    if (block.mappedLength) ::munmap(block.data, block.mappedLength);
    block.mappedLength = 0;
    block.data = nullptr;
    block.loaded = false;
}

void PageChannel::setDatabaseKey(std::uint32_t key) {
    // Pages of an encrypted file are decrypted into owned memory; a mapping cannot hold them.
    databaseKey_ = key;
    mapped_ = key == 0;
    configure();
}

std::size_t PageChannel::blocksAllocated() const noexcept {
    return blocks_.size();
}

void PageChannel::unpin(CacheBlock* block) noexcept {
    --block->pins;
    // A block allocated beyond the bound because every other block was held goes as soon as
    // it is let go.
    if (block->pins == 0 && blocks_.size() > maxBlocks_) {
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            if (blocks_[i].get() == block) {
                if (block->loaded) blockSlot_[block->first / pagesPerBlock_] = -1;
                drop(*block);
                if (last_ == block) last_ = nullptr;
                // Keep indexes in blockSlot_ right: move the last block into the hole.
                std::size_t lastIndex = blocks_.size() - 1;
                if (i != lastIndex) {
                    blocks_[i] = std::move(blocks_[lastIndex]);
                    if (blocks_[i]->loaded)
                        blockSlot_[blocks_[i]->first / pagesPerBlock_] = static_cast<std::int32_t>(i);
                }
                blocks_.pop_back();
                return;
            }
        }
    }
}

void PageChannel::load(CacheBlock& block, std::uint32_t blockNumber) {
    std::uint32_t first = blockNumber * pagesPerBlock_;
    std::uint32_t count = std::min<std::uint32_t>(pagesPerBlock_, pageCount_ - first);
    std::size_t want = static_cast<std::size_t>(count) * pageSize_;
    off_t at = static_cast<off_t>(static_cast<std::uint64_t>(first) * pageSize_);
    void* mapping =
        mapped_ ? ::mmap(nullptr, want, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd_, at) : MAP_FAILED;
    if (mapping != MAP_FAILED) {
        block.data = static_cast<std::uint8_t*>(mapping);
        block.mappedLength = want;
    } else {
        // Encrypted files, and files that cannot be mapped (some file systems), are read.
        if (!block.owned)
            block.owned =
                std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(pagesPerBlock_) * pageSize_);
        block.data = block.owned.get();
        std::size_t got = 0;
        while (got < want) {
            ssize_t n = ::pread(fd_, block.data + got, want - got, at + static_cast<off_t>(got));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                throw Error::corrupt(name_, first + static_cast<std::uint32_t>(got / pageSize_),
                                     static_cast<std::uint32_t>(got % pageSize_), "the page cannot be read");
            }
            got += static_cast<std::size_t>(n);
        }
        if (databaseKey_ != 0) {
            for (std::uint32_t i = 0; i < count; ++i) {
                std::uint32_t pageNo = first + i;
                if (pageNo == 0) continue;
                std::uint32_t k = databaseKey_ ^ pageNo;
                std::uint8_t key[4] = {static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(k >> 8),
                                       static_cast<std::uint8_t>(k >> 16),
                                       static_cast<std::uint8_t>(k >> 24)};
                rc4(key, 4, block.data + static_cast<std::size_t>(i) * pageSize_, pageSize_);
            }
        }
    }
    block.first = first;
    block.count = count;
    block.loaded = true;
}

CacheBlock* PageChannel::acquire(std::uint32_t blockNumber) {
    std::int32_t slot = blockSlot_[blockNumber];
    if (slot >= 0) return blocks_[static_cast<std::size_t>(slot)].get();

    CacheBlock* victim = nullptr;
    std::size_t victimIndex = 0;
    if (blocks_.size() < maxBlocks_) {
        blocks_.push_back(std::make_unique<CacheBlock>());
        victimIndex = blocks_.size() - 1;
        victim = blocks_.back().get();
    } else {
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            CacheBlock* b = blocks_[i].get();
            if (b->pins == 0 && (!victim || b->lastUse < victim->lastUse)) {
                victim = b;
                victimIndex = i;
            }
        }
        if (!victim) {
            blocks_.push_back(std::make_unique<CacheBlock>());
            victimIndex = blocks_.size() - 1;
            victim = blocks_.back().get();
        }
    }
    if (victim->loaded) {
        blockSlot_[victim->first / pagesPerBlock_] = -1;
        if (last_ == victim) last_ = nullptr;
        drop(*victim);
    }
    load(*victim, blockNumber);
    blockSlot_[blockNumber] = static_cast<std::int32_t>(victimIndex);
    return victim;
}

PageRef PageChannel::page(std::uint32_t number) {
    if (number >= pageCount_) {
        throw Error::corrupt(name_, number, 0, "page number beyond the end of the file");
    }
    std::uint32_t blockNumber = number / pagesPerBlock_;
    CacheBlock* block = (last_ && last_->loaded && last_->first / pagesPerBlock_ == blockNumber)
                            ? last_
                            : acquire(blockNumber);
    last_ = block;
    block->lastUse = ++clock_;
    return PageRef(this, block, block->data + static_cast<std::size_t>(number - block->first) * pageSize_,
                   number);
}

}  // namespace jet::detail
