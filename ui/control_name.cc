#include "ui/control_name.h"

#include <charconv>

namespace qx::ui {

std::string controlObjectName(std::string_view name, std::optional<int> index) {
    std::string out(name);
    if (index) {
        out += '(';
        out += std::to_string(*index);
        out += ')';
    }
    return out;
}

std::optional<ControlName> parseControlObjectName(std::string_view objectName) {
    if (objectName.empty()) return std::nullopt;
    const auto open = objectName.find('(');
    if (open == std::string_view::npos) return ControlName{std::string(objectName), std::nullopt};
    if (open == 0 || objectName.back() != ')') return std::nullopt;
    const std::string_view digits = objectName.substr(open + 1, objectName.size() - open - 2);
    if (digits.empty()) return std::nullopt;
    int value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc{} || end != digits.data() + digits.size() || value < 0) return std::nullopt;
    return ControlName{std::string(objectName.substr(0, open)), value};
}

}  // namespace qx::ui
