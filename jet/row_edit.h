// Pieces shared by the statements that change rows in place (DELETE, UPDATE). Engine internal.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "jet/store.h"
#include "jet/transaction.h"

namespace jet::detail {

// Marks deleted (0xC000, as Access marks rows) the long-value rows a memo/OLE field points at:
// the one row of a single-row value, or every row of a chain. `field` is the field as the row
// stores it (12 bytes, then any inline data); inline and empty values have no rows. 3049 for a
// pointer beyond the file or to a missing row.
void freeLongValueRows(Transaction& tx, const Store& store, std::string_view field);

// One column pair of a relationship, as MSysRelationships lists it (one row per pair).
struct RelationshipColumn {
    std::string object, column;                      // the table that refers, and its column
    std::string referencedObject, referencedColumn;  // the table referred to
    bool enforced = true;                            // grbit 2 clear: Jet enforces integrity
};

// Every relationship column pair of the file (none when it has no MSysRelationships).
std::vector<RelationshipColumn> relationshipColumns(Store& store);

}  // namespace jet::detail
