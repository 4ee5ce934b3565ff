#include "jet/format.h"

namespace jet::detail {

namespace {

JetFormat makeJet3() {
    JetFormat f{};
    f.version = 0;
    f.jet3 = true;
    f.pageSize = 2048;
    f.headerMaskLength = 126;
    f.headerSortOrder = 0x3A;
    f.headerSortOrderSize = 2;
    f.passwordLength = 20;

    f.dataRowCount = 8;
    f.dataRowOffsets = 10;

    f.tdefRowCount = 12;
    f.tdefAutoNumber = 16;
    f.tdefTableType = 20;
    f.tdefMaxColumns = 21;
    f.tdefVarColumnCount = 23;
    f.tdefColumnCount = 25;
    f.tdefIndexCount = 27;
    f.tdefRealIndexCount = 31;
    f.tdefOwnedPages = 35;
    f.tdefFreePages = 39;
    f.tdefRealIndexInfo = 43;
    f.realIndexInfoSize = 8;
    f.realIndexInfoRows = 4;

    f.columnSize = 18;
    f.colNumber = 1;
    f.colVarIndex = 3;
    f.colIndex = 5;
    f.colPrecision = 11;
    f.colScale = 12;
    f.colSortOrderVersion = 0;  // Jet 3 has one General order
    f.colFlags = 13;
    f.colExtFlags = 0;
    f.colFixedOffset = 14;
    f.colLength = 16;
    f.nameLengthSize = 1;

    f.realIndexSize = 39;
    f.realIndexColumns = 0;
    f.realIndexFlags = 38;  // after the columns, usage map and root page
    f.logicalIndexSize = 20;
    f.logicalIndexNumber = 0;

    f.indexPrev = 8;
    f.indexNext = 12;
    f.indexTail = 16;
    f.indexPrefixLength = 20;
    f.indexPrefixLengthSize = 1;
    f.indexNodeFlag = 21;
    f.indexMask = 22;
    f.indexMaskLength = 226;
    f.indexEntries = 0xF8;

    f.rowCountSize = 1;
    return f;
}

JetFormat makeJet4() {
    JetFormat f{};
    f.version = 1;
    f.jet3 = false;
    f.pageSize = 4096;
    f.headerMaskLength = 128;
    f.headerSortOrder = 0x6E;
    f.headerSortOrderSize = 4;
    f.passwordLength = 40;

    f.dataRowCount = 12;
    f.dataRowOffsets = 14;

    f.tdefRowCount = 16;
    f.tdefAutoNumber = 20;
    f.tdefTableType = 40;
    f.tdefMaxColumns = 41;
    f.tdefVarColumnCount = 43;
    f.tdefColumnCount = 45;
    f.tdefIndexCount = 47;
    f.tdefRealIndexCount = 51;
    f.tdefOwnedPages = 55;
    f.tdefFreePages = 59;
    f.tdefRealIndexInfo = 63;
    f.realIndexInfoSize = 12;
    f.realIndexInfoRows = 4;

    f.columnSize = 25;
    f.colNumber = 5;
    f.colVarIndex = 7;
    f.colIndex = 9;
    f.colPrecision = 11;
    f.colScale = 12;
    f.colSortOrderVersion = 14;
    f.colFlags = 15;
    f.colExtFlags = 16;
    f.colFixedOffset = 21;
    f.colLength = 23;
    f.nameLengthSize = 2;

    f.realIndexSize = 52;
    f.realIndexColumns = 4;
    f.realIndexFlags = 46;  // after the columns, usage map, root page and 4 unknown bytes
    f.logicalIndexSize = 28;
    f.logicalIndexNumber = 4;

    f.indexPrev = 12;
    f.indexNext = 16;
    f.indexTail = 20;
    f.indexPrefixLength = 24;
    f.indexPrefixLengthSize = 2;
    f.indexNodeFlag = 26;
    f.indexMask = 27;
    f.indexMaskLength = 453;
    f.indexEntries = 0x1E0;

    f.rowCountSize = 2;
    return f;
}

}  // namespace

const JetFormat& JetFormat::jet3Format() noexcept {
    static const JetFormat f = makeJet3();
    return f;
}

const JetFormat& JetFormat::jet4Format() noexcept {
    static const JetFormat f = makeJet4();
    return f;
}

}  // namespace jet::detail
