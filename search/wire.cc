#include "search/wire.h"

#include "search/query_routines.h"

namespace qx::search {

void wire([[maybe_unused]] forms::Program& program) {
    // The category options and the criteria boxes get their handlers here with the search tab.
}

}  // namespace qx::search
