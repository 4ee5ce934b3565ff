// Format constants of the Jet file versions, in one place.
//
// Jet 3 (Access 97) and Jet 4 (Access 2000 onwards, also the .accdb files of ACE, which keep the
// Jet 4 page layout) differ in page size and in where fields sit inside pages. Reader and (later)
// writer code take every offset from a JetFormat so that neither hard-codes a version.
//
// Page types (first byte of every page but the header):
//   0x01 data, 0x02 table definition, 0x03 index (intermediate), 0x04 index (leaf), 0x05 usage
//   bitmap. Multi-byte integers are little-endian except inside index keys and index pointers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "jet/value.h"

namespace jet::detail {

inline constexpr std::uint8_t kPageData = 0x01;
inline constexpr std::uint8_t kPageTableDef = 0x02;
inline constexpr std::uint8_t kPageIndexNode = 0x03;
inline constexpr std::uint8_t kPageIndexLeaf = 0x04;
inline constexpr std::uint8_t kPageUsageMap = 0x05;

// Row offset flags in a data page's offset table.
inline constexpr std::uint16_t kRowDeleted = 0x8000;
inline constexpr std::uint16_t kRowOverflow = 0x4000;  // the row is a pointer to the real row
inline constexpr std::uint16_t kRowOffsetMask = 0x1FFF;

// Long value (memo/OLE) field: 12 bytes in the row, then inline data when flagged so.
inline constexpr std::size_t kLongValueFieldSize = 12;
inline constexpr std::uint32_t kLongValueInline = 0x80000000u;
inline constexpr std::uint32_t kLongValueSingle = 0x40000000u;
inline constexpr std::uint32_t kLongValueLengthMask = 0x3FFFFFFFu;

// The catalog (MSysObjects) always has its definition on page 2.
// Jet 4 text is UCS-2, or, when it starts with these two bytes, the compressed form (single
// bytes for runs of units below 0x100, a 0x00 switching between that and two-byte units).
inline constexpr std::uint8_t kCompressedTextMark[2] = {0xFF, 0xFE};
inline bool isCompressedJet4Text(const std::uint8_t* data, std::size_t length) noexcept {
    return length >= 2 && data[0] == kCompressedTextMark[0] && data[1] == kCompressedTextMark[1];
}

inline constexpr std::uint32_t kCatalogPage = 2;
inline constexpr std::int32_t kTablesContainerId = 0x0F000001;

// Header page: the version byte and the masked region (a fixed RC4 keystream hides it).
inline constexpr std::size_t kHeaderVersionOffset = 0x14;
inline constexpr std::size_t kHeaderMaskStart = 0x18;
inline constexpr std::uint8_t kHeaderMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
inline constexpr std::size_t kHeaderCodePage = 0x3C;
inline constexpr std::size_t kHeaderDatabaseKey = 0x3E;
inline constexpr std::size_t kHeaderPassword = 0x42;
inline constexpr std::size_t kHeaderCreationDate = 0x72;  // Jet 4: double, part of the password mask

// Engine names at offset 4 of the header page.
inline constexpr char kEngineJet[] = "Standard Jet DB";
inline constexpr char kEngineAce[] = "Standard ACE DB";

// Column descriptor flag bits. Access sets 0x10 on every column it writes.
inline constexpr std::uint8_t kColumnFixed = 0x01;
inline constexpr std::uint8_t kColumnNullable = 0x02;
inline constexpr std::uint8_t kColumnAutoNumber = 0x04;
inline constexpr std::uint8_t kColumnAlwaysSet = 0x10;
// Jet 4's second flag byte: Text and Memo values are stored in the compressed form where that
// form can hold them (the column's "Unicode compression", WITH COMPRESSION in SQL).
inline constexpr std::uint8_t kColumnExtCompressedText = 0x01;
// Compression stores each character as one byte, so only U+0001..U+00FF qualify, and only more
// than two of them make the two-byte mark worth it; longer values than this stay UCS-2.
inline constexpr std::size_t kMostCompressedTextCharacters = 1024;

// Real index flag bits.
inline constexpr std::uint8_t kIndexUnique = 0x01;
inline constexpr std::uint8_t kIndexIgnoreNulls = 0x02;
inline constexpr std::uint8_t kIndexRequired = 0x08;

// Kind byte of a logical index: 0 an ordinary index, 1 the primary key, 2 the foreign-key side of
// a relationship (no real index of its own to show).
inline constexpr std::uint8_t kLogicalIndexPrimary = 1;
inline constexpr std::uint8_t kLogicalIndexForeign = 2;

// Bytes a value of a fixed-length type takes in a row; 0 for Yes/No (it lives in the null mask)
// and for the variable-length types, whose size the column descriptor gives.
inline constexpr std::uint16_t fixedValueSize(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::Byte:
            return 1;
        case ColumnType::Integer:
            return 2;
        case ColumnType::Long:
        case ColumnType::Single:
            return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::DateTime:
            return 8;
        case ColumnType::GUID:
            return 16;
        case ColumnType::Decimal:
            return 17;
        default:
            return 0;
    }
}

struct JetFormat {
    int version;  // header byte 0x14: 0 Jet 3, 1 Jet 4, 2+ ACE
    bool jet3;
    std::uint32_t pageSize;
    std::size_t headerMaskLength;
    std::size_t headerSortOrder;
    std::size_t headerSortOrderSize;
    std::size_t passwordLength;

    // Data page.
    std::size_t dataRowCount;    // 2 bytes
    std::size_t dataRowOffsets;  // first entry of the offset table (2 bytes each)
    std::size_t dataOwner = 4;   // TDEF page owning the data page (4 bytes)

    // Table definition page.
    std::size_t tdefNextPage = 4;
    std::size_t tdefContinuationHeader = 8;  // bytes repeated at the start of each continuation page
    std::size_t tdefLength = 8;
    std::size_t tdefRowCount;
    std::size_t tdefAutoNumber;
    std::size_t tdefTableType;
    std::size_t tdefMaxColumns;
    std::size_t tdefVarColumnCount;
    std::size_t tdefColumnCount;
    std::size_t tdefIndexCount;
    std::size_t tdefRealIndexCount;
    std::size_t tdefOwnedPages;  // usage map pointer (row 1 byte + page 3 bytes)
    std::size_t tdefFreePages;
    std::size_t tdefRealIndexInfo;  // start of the per-real-index counters
    std::size_t realIndexInfoSize;  // 8 (Jet 3) / 12 (Jet 4)
    std::size_t realIndexInfoRows;  // offset of the unique-entry count inside that block

    // Column descriptor.
    std::size_t columnSize;
    std::size_t colType = 0;
    std::size_t colNumber;
    std::size_t colVarIndex;
    std::size_t colIndex;
    std::size_t colPrecision;  // Decimal precision / Text sort order (Jet 4)
    std::size_t colScale;
    std::size_t colSortOrderVersion;  // Jet 4 Text/Memo: 0 General Legacy, 1 General
    std::size_t colFlags;
    std::size_t colExtFlags;  // Jet 4 only (0 in Jet 3, which has no such byte)
    std::size_t colFixedOffset;
    std::size_t colLength;
    std::size_t nameLengthSize;  // 1 (Jet 3, code-page bytes) / 2 (Jet 4, UCS-2 bytes)

    // Index definitions in the TDEF.
    std::size_t realIndexSize;       // 39 (Jet 3) / 52 (Jet 4)
    std::size_t realIndexColumns;    // offset of the 10 (column, order) pairs
    std::size_t realIndexFlags;      // offset of the flags byte (0x01 unique, 0x02 ignore Nulls)
    std::size_t logicalIndexSize;    // 20 (Jet 3) / 28 (Jet 4)
    std::size_t logicalIndexNumber;  // offset of the index number inside the block

    // Index pages.
    std::size_t indexPrev;
    std::size_t indexNext;
    std::size_t indexTail;
    std::size_t indexPrefixLength;
    std::size_t indexPrefixLengthSize;  // 1 (Jet 3) / 2 (Jet 4)
    std::size_t indexNodeFlag;          // a byte that is 1 on intermediate pages, 0 on leaves
    std::size_t indexMask;
    std::size_t indexMaskLength;
    std::size_t indexEntries;

    // Long values: the largest piece of data in one LVAL row.
    std::size_t rowCountSize;  // bytes of a row's column count (1 Jet 3, 2 Jet 4)

    static const JetFormat& jet3Format() noexcept;
    static const JetFormat& jet4Format() noexcept;
};

}  // namespace jet::detail
