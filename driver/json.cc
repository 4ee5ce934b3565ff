#include "driver/json.h"

#include "output/json_export.h"

namespace qx::driver::json {

std::string quote(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    jet::json::appendString(out, text);
    return out;
}

std::string stringArray(const std::vector<std::string>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) out += ',';
        out += quote(items[i]);
    }
    out += ']';
    return out;
}

std::optional<std::string> readString(std::string_view text, std::size_t& pos) {
    return jet::json::readString(text, pos);
}

}  // namespace qx::driver::json
