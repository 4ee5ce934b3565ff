// What structures inside pages (indexes, usage maps) need from a write transaction.
#pragma once
#include <cstdint>
#include "jet/format.h"
namespace jet::detail {
class PageIO {
  public:
    virtual ~PageIO() = default;
    virtual const JetFormat& format() const = 0;
    virtual std::uint32_t pageCount() const = 0;
    // Copies page `page` as this transaction sees it (its own changes included) into `out`
    // (format().pageSize bytes). Errors: jet::Error 3049 for a page beyond the file.
    virtual void read(std::uint32_t page, std::uint8_t* out) = 0;
    // Replaces the page's bytes within the transaction; nothing reaches the file before commit.
    virtual void write(std::uint32_t page, const std::uint8_t* data) = 0;
    // A new page: taken from the global free map (or appended), marked used there and set in the
    // usage map `usageMap` (row+page pointer as a TDEF stores it; 0 = none). Its bytes are
    // undefined until written.
    virtual std::uint32_t allocate(std::uint32_t usageMap) = 0;
    // Gives `page` back: cleared from `usageMap` (0 = none) and set free in the global map.
    virtual void release(std::uint32_t page, std::uint32_t usageMap) = 0;
};
}  // namespace jet::detail
