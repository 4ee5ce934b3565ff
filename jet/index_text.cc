// Text index keys in the General sort orders.
#include "jet/index_key.h"

namespace jet::detail {

void appendTextKey(std::vector<std::uint8_t>&, const KeyContext&, const std::string&, bool) {
    throw KeyUnsupported("text keys are not computed yet");
}

}  // namespace jet::detail
