// How a widget is named after the control it shows.
//
// Every widget that stands for a control of a form carries the control's name as its objectName,
// so tests and the binding find it with findChild. A member of a control array is named
// "name(index)", the same spelling the script driver uses ("cmdClear(3)", "optSearch(11)").
// Widgets that only decorate the layout (spacers, unnamed group boxes) have no objectName.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qx::ui {

struct ControlName {
    std::string name;
    std::optional<int> index;  // set for a member of a control array
};

// "cmdClear", 3 -> "cmdClear(3)"; without an index just the name.
std::string controlObjectName(std::string_view name, std::optional<int> index = std::nullopt);

// The reverse: "cmdClear(3)" -> {cmdClear, 3}; "cmdKELini" -> {cmdKELini, none}.
// Returns nullopt for an empty text or a malformed index ("a(", "a(x)", "a(-1)").
std::optional<ControlName> parseControlObjectName(std::string_view objectName);

}  // namespace qx::ui
