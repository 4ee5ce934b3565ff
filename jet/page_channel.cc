#include "jet/page_channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "jet/error.h"
#include "jet/file.h"

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

PageChannel::PageChannel(File& file, std::string name, std::uint64_t fileSize, std::uint32_t pageSize,
                         std::size_t cacheBytes)
    : file_(file), name_(std::move(name)), pageSize_(pageSize), cacheBytes_(cacheBytes) {
    reset(fileSize);
}

void PageChannel::reset(std::uint64_t fileSize) {
    // A trailing partial page cannot hold anything the engine wrote; it is ignored. Page
    // pointers are 3 bytes wide, so no page past 2^24 can be reached.
    std::uint64_t pages = fileSize / pageSize_;
    pageCount_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(pages, 0xFFFFFFu + 1u));
    configure();
}

void PageChannel::configure() {
    // A block a PageRef still points at stays alive (with the bytes it had) until the channel goes.
    for (auto& b : blocks_) {
        if (b->pins > 0) retired_.push_back(std::move(b));
    }
    blocks_.clear();
    last_ = nullptr;
    // Decrypting costs per page, so encrypted files use smaller blocks: a lookup that needs one
    // page does not pay for many.
    std::size_t blockBytes = databaseKey_ == 0 ? kBlockBytes : kDecryptedBlockBytes;
    // A small cache gets small blocks rather than a few big ones that would overrun it.
    blockBytes = std::max<std::size_t>(pageSize_, std::min(blockBytes, cacheBytes_ / kMinBlocks));
    pagesPerBlock_ = static_cast<std::uint32_t>(blockBytes / pageSize_);
    maxBlocks_ = std::max(kMinBlocks, cacheBytes_ / (static_cast<std::size_t>(pagesPerBlock_) * pageSize_));
    blockSlot_.assign(pageCount_ / pagesPerBlock_ + 1, -1);
}

PageChannel::~PageChannel() {
    for (auto& b : blocks_) drop(*b);
}

void PageChannel::drop(CacheBlock& block) noexcept {
    // The buffer stays with the block for the next load.
    block.loaded = false;
    block.count = 0;
}

void PageChannel::setDatabaseKey(std::uint32_t key) {
    databaseKey_ = key;
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

void PageChannel::readFully(std::uint8_t* into, std::size_t length, std::uint32_t firstPage) {
    const std::uint64_t base = static_cast<std::uint64_t>(firstPage) * pageSize_;
    std::size_t got = 0;
    while (got < length) {
        std::size_t n = 0;
        int err = file_.readAt(base + got, into + got, length - got, n);
        if (err == 0 && n > 0) {
            got += n;
            continue;
        }
        // Name the first page that did not arrive whole, and how far into it the data went.
        std::uint32_t page = firstPage + static_cast<std::uint32_t>(got / pageSize_);
        std::uint32_t offset = static_cast<std::uint32_t>(got % pageSize_);
        damaged_ = true;
        if (err == 0) {
            throw Error::corrupt(name_, page, offset, "the file is shorter than when it was opened");
        }
        throw Error::corrupt(name_, page, offset,
                             std::string("the page cannot be read: ") + std::strerror(err));
    }
}

void PageChannel::load(CacheBlock& block, std::uint32_t blockNumber) {
    std::uint32_t first = blockNumber * pagesPerBlock_;
    std::uint32_t count = std::min<std::uint32_t>(pagesPerBlock_, pageCount_ - first);
    if (!block.data)
        block.data = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(pagesPerBlock_) *
                                                                    pageSize_);
    // The block is not marked loaded until every page is in: a failed read leaves nothing behind
    // that a later lookup could take for the file's contents.
    block.loaded = false;
    block.count = 0;
    readFully(block.data.get(), static_cast<std::size_t>(count) * pageSize_, first);
    if (databaseKey_ != 0) {
        for (std::uint32_t i = 0; i < count; ++i) {
            std::uint32_t pageNo = first + i;
            if (pageNo == 0) continue;
            std::uint32_t k = databaseKey_ ^ pageNo;
            std::uint8_t key[4] = {static_cast<std::uint8_t>(k), static_cast<std::uint8_t>(k >> 8),
                                   static_cast<std::uint8_t>(k >> 16), static_cast<std::uint8_t>(k >> 24)};
            rc4(key, 4, block.data.get() + static_cast<std::size_t>(i) * pageSize_, pageSize_);
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
    try {
        load(*victim, blockNumber);
    } catch (...) {
        // The emptied block is the first to be reused; one made beyond the bound is not kept.
        victim->lastUse = 0;
        if (blocks_.size() > maxBlocks_ && victimIndex == blocks_.size() - 1) blocks_.pop_back();
        throw;
    }
    blockSlot_[blockNumber] = static_cast<std::int32_t>(victimIndex);
    return victim;
}

PageRef PageChannel::page(std::uint32_t number) {
    if (number >= pageCount_) {
        damaged_ = true;
        throw Error::corrupt(name_, number, 0, "page number beyond the end of the file");
    }
    std::uint32_t blockNumber = number / pagesPerBlock_;
    CacheBlock* block = (last_ && last_->loaded && last_->first / pagesPerBlock_ == blockNumber)
                            ? last_
                            : acquire(blockNumber);
    last_ = block;
    block->lastUse = ++clock_;
    return PageRef(this, block,
                   block->data.get() + static_cast<std::size_t>(number - block->first) * pageSize_, number);
}

}  // namespace jet::detail
