// Tables of fixed error messages: a row holds a failure, its error number and its text, and
// callers look rows up by failure and put their argument where the text marks it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::base {

template <class Failure>
struct MessageRow {
    Failure failure;
    std::int32_t number;
    std::string_view text;  // "%s" (or the caller's own mark) stands for the argument
};

// The row of `failure` in `table`, or nullptr when the table has none.
template <class Table, class Failure>
constexpr const typename Table::value_type* findMessage(const Table& table, Failure failure) noexcept {
    for (const auto& row : table)
        if (row.failure == failure) return &row;
    return nullptr;
}

// The row of `failure` in a table that has a row for every failure of its kind (its tests check);
// the last row stands in for one it lacks.
template <class Table, class Failure>
constexpr const typename Table::value_type& messageFor(const Table& table, Failure failure) noexcept {
    const auto* row = findMessage(table, failure);
    return row ? *row : table.back();
}

// `text` with `argument` in place of the first `mark`; unchanged when there is no mark.
inline std::string withArgument(std::string_view text, std::string_view argument,
                                std::string_view mark = "%s") {
    const auto at = text.find(mark);
    if (at == std::string_view::npos) return std::string(text);
    std::string out(text.substr(0, at));
    out.append(argument);
    out.append(text.substr(at + mark.size()));
    return out;
}

}  // namespace qx::base
