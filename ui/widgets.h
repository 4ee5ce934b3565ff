// Small builders shared by the views: each creates one widget named after its control (see
// control_name.h) with its design caption, so the layout code reads like the form's control list.
// All returned widgets are owned by `parent` (Qt parent-child ownership).
#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTableView;
class QWidget;

namespace qx::ui {

// UTF-8 std::string <-> QString at the boundary between the logic and the toolkit.
inline QString q(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string s(const QString& text) {
    return text.toUtf8().toStdString();
}

QPushButton* makeButton(QWidget* parent, std::string_view name, std::optional<int> index,
                        std::string_view caption, std::string_view toolTip = {});
QLabel* makeLabel(QWidget* parent, std::string_view name, std::optional<int> index, std::string_view caption);
QCheckBox* makeCheck(QWidget* parent, std::string_view name, std::optional<int> index,
                     std::string_view caption);
QRadioButton* makeOption(QWidget* parent, std::string_view name, std::optional<int> index,
                         std::string_view caption);
QGroupBox* makeFrame(QWidget* parent, std::string_view name, std::optional<int> index,
                     std::string_view caption);
QLineEdit* makeText(QWidget* parent, std::string_view name, std::optional<int> index);
// A list box; `multiSelect` gives the extended selection of a multi-select list.
QListWidget* makeList(QWidget* parent, std::string_view name, std::optional<int> index,
                      bool multiSelect = false);
QProgressBar* makeProgress(QWidget* parent, std::string_view name);
QTableView* makeGrid(QWidget* parent, std::string_view name);

// The rows a data grid shows, read from its source on demand, a window of rows at a time (a table
// may hold many thousand rows; only the rows around those on screen are fetched). A row that cannot
// be read shows "#Error" in every cell, with the error's text as the cells' tooltip, instead of
// passing for an empty row. Read only: the grid's editing permissions are kept by the form model,
// and the view never writes back to a database.
class GridTableModel final : public QAbstractTableModel {
  public:
    // Rows first .. first + count - 1; throws (qx::RuntimeError) when they cannot be read.
    using WindowFetcher =
        std::function<std::vector<std::vector<std::string>>(std::size_t first, std::size_t count)>;
    using QAbstractTableModel::QAbstractTableModel;

    // Rows read at once.
    static constexpr std::size_t kWindow = 64;
    // What the cells of a row that cannot be read show.
    static constexpr const char* kErrorCell = "#Error";

    // Replaces the whole content: column names, the number of rows and how to read them.
    void setSource(std::vector<std::string> columns, std::size_t rows, WindowFetcher fetch);
    void clear() { setSource({}, 0, {}); }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    const std::vector<std::string>& columns() const { return columns_; }
    std::size_t rows() const { return rows_; }
    // The displayed texts of one row ({} outside the table; "#Error" cells for a row that failed).
    std::vector<std::string> rowTexts(std::size_t row) const;
    // Why `row` could not be read ("" when it was).
    std::string rowError(std::size_t row) const;

  private:
    struct Row {
        std::vector<std::string> texts;
        std::string error;
    };
    const Row& rowAt(std::size_t row) const;

    std::vector<std::string> columns_;
    std::size_t rows_ = 0;
    WindowFetcher fetch_;
    // The window of rows read last: rows are drawn cell by cell and near each other.
    mutable std::size_t windowFirst_ = 0;
    mutable std::vector<Row> window_;
};

// The model behind a grid made by makeGrid.
GridTableModel* gridModel(QTableView* grid);

}  // namespace qx::ui
