// What a grid shows: the rows of the data control it is bound to. The data control implements
// it; the grid (shell/controls.h) and the views read through it.
//
// Rows are read by position and on demand: a view asks for the window of rows it shows, so a
// recordset of 200,000 rows costs its counts until someone looks at its rows. A row that cannot
// be read (a damaged page) raises qx::RuntimeError with the number and text the data control
// gives it; it never reads as a blank row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace qx::ado {

class RowSource {
  public:
    virtual ~RowSource() = default;
    // False while nothing is open (no connection, or the recordset was closed).
    virtual bool isOpen() const = 0;
    virtual std::vector<std::string> columnNames() const = 0;
    virtual std::size_t rowCount() const = 0;
    // The displayed texts of one row, one per column; row < rowCount().
    virtual std::vector<std::string> rowTexts(std::size_t row) const = 0;
    // Rows first .. first + count - 1, cut at rowCount(), in order.
    virtual std::vector<std::vector<std::string>> rowWindow(std::size_t first, std::size_t count) const {
        std::vector<std::vector<std::string>> out;
        const std::size_t end = std::min(rowCount(), first + std::min(count, rowCount()));
        for (std::size_t r = first; r < end; ++r) out.push_back(rowTexts(r));
        return out;
    }
};

}  // namespace qx::ado
