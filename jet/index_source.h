// Reading an index tree's entries in key order (engine internal).
#pragma once

#include <functional>
#include <string>

#include "jet/store.h"

namespace jet::detail {

// Calls `onEntry(key bytes, row)` for every leaf entry of the tree whose root is `root`, in key
// order: down the first children to the leftmost leaf, then along the leaves' next pointers.
// Damage (a page of the wrong type, a loop, an entry past its page) raises 3049.
void walkIndex(Store& store, std::uint32_t root,
               const std::function<void(const std::string&, RowId)>& onEntry);

}  // namespace jet::detail
