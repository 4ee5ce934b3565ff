// The ADO data control (`Adodc`) as this program uses it: a connection string, a record source,
// Refresh, and the open recordset that the grids bound to it show.
//
// It behaves as the data control with the Jet OLE DB 4.0 provider does for this program:
// - ConnectionString is the visible state the program writes and reads. Beside it the control
//   keeps the typed source it stands for (provider, folder, file): connect() sets both, and a
//   string written directly is read into the typed form once, when it is set (keys without regard
//   to case, values trimmed), so nothing takes the string apart again. The folder and file are
//   paths of the emulated Windows path space, turned into a host path by
//   platform::FileSystem::hostPath. Any provider but Jet's is refused with 3706.
// - RecordSource is a statement; openTable() writes the one that reads a whole table
//   ("Select * from " + table) and remembers the table.
// - Refresh opens the database and runs RecordSource anew, replacing the recordset. When it fails
//   the previous recordset is closed and stays closed; the failure is raised.
// - The recordset: Fields.Count, RecordCount (the true number of rows, as a static cursor gives
//   it) and Close. Any of them on a closed recordset raises ADO's 3704; before the first Refresh
//   there is no recordset at all, and reaching for it raises VB's 91.
// - Rows for a grid are read on demand, by position (row_source.h): opening a recordset over
//   300,000 rows finds the matching rows once and decodes only the rows a grid asks for.
//
// Errors are qx::RuntimeError carrying the number ADO hands the program (provider HRESULTs as
// signed 32-bit numbers, ADO's own small numbers) and the engine's text, with the file named by
// its Windows path.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/row_source.h"
#include "jet/sql/query.h"
#include "platform/filesystem.h"

namespace qx::ado {

// The provider, and the connection string's parts before and after the data source, as the
// program writes them.
inline constexpr std::string_view kJetProviderName = "Microsoft.Jet.OLEDB.4.0";
inline constexpr std::string_view kJetConnectPrefix = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
inline constexpr std::string_view kJetConnectSuffix = ";Persist Security Info=False";

// What a connection string stands for.
struct Connection {
    std::string provider;    // as written ("Microsoft.Jet.OLEDB.4.0"); "" when the string names none
    std::string dataSource;  // the database's Windows path as written ("C:\KELDATA\office.mdb")
};

// What a record source stands for: a whole table or a statement.
struct RecordSource {
    enum class Kind { Table, Statement };
    Kind kind = Kind::Statement;
    std::string table;      // Kind::Table: the table's name as given
    std::string statement;  // the text sent to the provider (also for a table)
};

class Adodc final : public RowSource {
  public:
    // `fs` maps the data source to a host file; it must outlive the control.
    explicit Adodc(const platform::FileSystem& fs);
    ~Adodc() override;

    // ConnectionString.
    const std::string& connectionString() const noexcept { return connectionString_; }
    void setConnectionString(std::string text);
    // The Jet provider's connection to `file` in `folder` (a Windows path that ends in "\"):
    // kJetConnectPrefix + folder + file + kJetConnectSuffix.
    void connect(std::string_view folder, std::string_view file);
    const Connection& connection() const noexcept { return connection_; }
    // The data source of the current connection ("C:\KELDATA\office.mdb").
    const std::string& dataSource() const noexcept { return connection_.dataSource; }

    // RecordSource.
    const std::string& recordSource() const noexcept { return recordSource_.statement; }
    void setRecordSource(std::string statement);
    // "Select * from " + table.
    void openTable(std::string_view table);
    const RecordSource& source() const noexcept { return recordSource_; }

    // Opens the connection and the recordset anew (see above).
    void refresh();

    // Reads the text of `columns` of the table the control is bound to (openTable and Refresh) in
    // one pass, so that the first LIKE search of each of them finds it ready in the engine's column
    // cache. Only time changes: nothing else is set, and a failure (a column or table that is not
    // there, a file that cannot be read) is ignored, as the search itself reports it.
    void prepareSearch(const std::vector<std::string>& columns) const noexcept;

    // The recordset of the last Refresh.
    bool hasRecordset() const noexcept { return everRefreshed_; }
    bool recordsetOpen() const noexcept { return rows_.has_value(); }
    // Fields.Count, RecordCount, Close: 3704 when the recordset is closed, 91 before any Refresh.
    std::int32_t fieldsCount() const;
    std::int32_t recordCount() const;
    void closeRecordset();

    // RowSource: what a grid shows. Nothing while the recordset is closed.
    bool isOpen() const override { return recordsetOpen(); }
    std::vector<std::string> columnNames() const override;
    std::size_t rowCount() const override;
    std::vector<std::string> rowTexts(std::size_t row) const override;

  private:
    void requireOpen() const;

    const platform::FileSystem& fs_;
    std::string connectionString_;
    Connection connection_;
    RecordSource recordSource_;
    bool everRefreshed_ = false;
    mutable std::optional<jet::sql::RowSet> rows_;
};

// The text a grid shows for a value: text as stored, numbers and dates as the engine turns them
// into text, Booleans as True / False, binary data as nothing.
std::string displayText(const jet::Value& value);

}  // namespace qx::ado
