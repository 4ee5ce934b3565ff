// The binding object behind frmMain's data control `adodata`: a connection string, a record
// source, Refresh, and the open recordset that both grids show.
//
// It behaves as the ADO data control with the Jet OLE DB 4.0 provider does for this program:
// - ConnectionString "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=<Windows path>;..." (keys
//   without regard to case, values trimmed). The data source is a path of the emulated Windows
//   path space, turned into a host path by platform::FileSystem::hostPath. Any other provider is
//   refused with ADO's 3706 "Provider cannot be found. It may not be properly installed.".
// - Refresh opens the database and runs RecordSource anew, replacing the recordset. When it fails
//   the previous recordset is closed and stays closed; the failure is raised.
// - The recordset: Fields.Count, RecordCount (the true number of rows, as a static cursor gives
//   it) and Close. Any of them on a closed recordset raises ADO's 3704 "Operation is not allowed
//   when the object is closed."; before the first Refresh there is no recordset at all, and
//   reaching for it raises VB's 91.
// - Rows for a grid are read on demand: opening a recordset over 300,000 rows finds the matching
//   rows once and decodes only the rows a grid asks for.
//
// Errors are qx::RuntimeError carrying the number ADO hands the program (provider HRESULTs as
// signed 32-bit numbers, ADO's own small numbers) and the engine's text, with the file named by
// its Windows path.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/sql/query.h"
#include "platform/filesystem.h"
#include "shell/controls.h"

namespace qx::search {

class AdoBinding final : public forms::RowSource {
public:
    // `fs` maps the data source to a host file; it must outlive the binding.
    explicit AdoBinding(const platform::FileSystem& fs);
    ~AdoBinding() override;

    const std::string& connectionString() const noexcept { return connectionString_; }
    void setConnectionString(std::string text) { connectionString_ = std::move(text); }
    const std::string& recordSource() const noexcept { return recordSource_; }
    void setRecordSource(std::string text) { recordSource_ = std::move(text); }

    // Opens the connection and the recordset anew (see above).
    void refresh();

    // The recordset of the last Refresh.
    bool hasRecordset() const noexcept { return everRefreshed_; }
    bool recordsetOpen() const noexcept { return rows_.has_value(); }
    // Fields.Count, RecordCount, Close: 3704 when the recordset is closed, 91 before any Refresh.
    std::int32_t fieldsCount() const;
    std::int32_t recordCount() const;
    void closeRecordset();

    // The data source of the current connection string as written ("C:\KELDATA\office.mdb").
    std::string dataSource() const;

    // RowSource: what a grid shows. Nothing while the recordset is closed.
    bool isOpen() const override { return recordsetOpen(); }
    std::vector<std::string> columnNames() const override;
    std::size_t rowCount() const override;
    std::vector<std::string> rowTexts(std::size_t row) const override;

private:
    void requireOpen() const;

    const platform::FileSystem& fs_;
    std::string connectionString_;
    std::string recordSource_;
    bool everRefreshed_ = false;
    mutable std::optional<jet::sql::RowSet> rows_;
};

// The text a grid shows for a value: text as stored, numbers and dates as the engine turns them
// into text, Booleans as True / False, binary data as nothing.
std::string displayText(const jet::Value& value);

}  // namespace qx::search
