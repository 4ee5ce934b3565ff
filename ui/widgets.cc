#include "ui/widgets.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>

#include <algorithm>
#include <climits>
#include <exception>

#include "platform/errors.h"
#include "ui/control_name.h"

namespace qx::ui {

namespace {
void name(QWidget* w, std::string_view n, std::optional<int> index) {
    w->setObjectName(q(controlObjectName(n, index)));
}
}  // namespace

QPushButton* makeButton(QWidget* parent, std::string_view n, std::optional<int> index,
                        std::string_view caption, std::string_view toolTip) {
    auto* b = new QPushButton(q(caption), parent);
    name(b, n, index);
    if (!toolTip.empty()) b->setToolTip(q(toolTip));
    b->setAutoDefault(false);
    return b;
}

QLabel* makeLabel(QWidget* parent, std::string_view n, std::optional<int> index, std::string_view caption) {
    auto* l = new QLabel(q(caption), parent);
    name(l, n, index);
    // Captions are the program's own texts; "&" and "<" must show as typed, never as markup.
    l->setTextFormat(Qt::PlainText);
    return l;
}

QCheckBox* makeCheck(QWidget* parent, std::string_view n, std::optional<int> index,
                     std::string_view caption) {
    auto* c = new QCheckBox(q(caption), parent);
    name(c, n, index);
    return c;
}

QRadioButton* makeOption(QWidget* parent, std::string_view n, std::optional<int> index,
                         std::string_view caption) {
    auto* o = new QRadioButton(q(caption), parent);
    name(o, n, index);
    return o;
}

QGroupBox* makeFrame(QWidget* parent, std::string_view n, std::optional<int> index,
                     std::string_view caption) {
    auto* f = new QGroupBox(q(caption), parent);
    name(f, n, index);
    return f;
}

QLineEdit* makeText(QWidget* parent, std::string_view n, std::optional<int> index) {
    auto* t = new QLineEdit(parent);
    name(t, n, index);
    return t;
}

QListWidget* makeList(QWidget* parent, std::string_view n, std::optional<int> index, bool multiSelect) {
    auto* l = new QListWidget(parent);
    name(l, n, index);
    l->setSelectionMode(multiSelect ? QAbstractItemView::MultiSelection : QAbstractItemView::SingleSelection);
    l->setUniformItemSizes(true);
    return l;
}

QProgressBar* makeProgress(QWidget* parent, std::string_view n) {
    auto* p = new QProgressBar(parent);
    name(p, n, std::nullopt);
    p->setTextVisible(false);  // a plain bar, as the classic control draws it
    p->setRange(0, 100);
    p->setValue(0);
    return p;
}

QTableView* makeGrid(QWidget* parent, std::string_view n) {
    auto* g = new QTableView(parent);
    name(g, n, std::nullopt);
    g->setModel(new GridTableModel(g));
    g->setEditTriggers(QAbstractItemView::NoEditTriggers);
    g->setSelectionBehavior(QAbstractItemView::SelectRows);
    g->verticalHeader()->setDefaultSectionSize(g->fontMetrics().height() + 4);
    return g;
}

GridTableModel* gridModel(QTableView* grid) {
    return static_cast<GridTableModel*>(grid->model());
}

void GridTableModel::setSource(std::vector<std::string> columns, std::size_t rows, WindowFetcher fetch) {
    beginResetModel();
    columns_ = std::move(columns);
    rows_ = fetch ? rows : 0;
    fetch_ = std::move(fetch);
    window_.clear();
    endResetModel();
}

namespace {

std::string errorText(const std::exception& error) {
    if (const auto* e = dynamic_cast<const RuntimeError*>(&error))
        return "Run-time error '" + std::to_string(e->number()) + "': " + e->description();
    return error.what();
}

}  // namespace

const GridTableModel::Row& GridTableModel::rowAt(std::size_t row) const {
    if (row < windowFirst_ || row >= windowFirst_ + window_.size()) {
        window_.clear();
        windowFirst_ = row - row % kWindow;
        const std::size_t count = std::min(kWindow, rows_ - windowFirst_);
        try {
            for (auto& texts : fetch_(windowFirst_, count)) window_.push_back({std::move(texts), {}});
        } catch (const std::exception&) {
            // Some row of the window cannot be read: read them one by one, so that only the rows
            // that fail show the error.
            window_.clear();
            for (std::size_t r = windowFirst_; r < windowFirst_ + count; ++r) {
                try {
                    auto one = fetch_(r, 1);
                    window_.push_back(
                        {one.empty() ? std::vector<std::string>{} : std::move(one.front()), {}});
                } catch (const std::exception& error) {
                    window_.push_back(
                        {std::vector<std::string>(columns_.size(), kErrorCell), errorText(error)});
                }
            }
        }
        window_.resize(count);
    }
    return window_[row - windowFirst_];
}

std::vector<std::string> GridTableModel::rowTexts(std::size_t row) const {
    if (row >= rows_) return {};
    return rowAt(row).texts;
}

std::string GridTableModel::rowError(std::size_t row) const {
    if (row >= rows_) return {};
    return rowAt(row).error;
}

int GridTableModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) return 0;
    return rows_ > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(rows_);
}

int GridTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant GridTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.column() < 0) return {};
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
    const auto r = static_cast<std::size_t>(index.row());
    const auto c = static_cast<std::size_t>(index.column());
    if (r >= rows_) return {};
    const Row& row = rowAt(r);
    if (role == Qt::ToolTipRole) return row.error.empty() ? QVariant() : QVariant(q(row.error));
    if (c >= row.texts.size()) return {};
    return q(row.texts[c]);
}

QVariant GridTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Vertical) return {};
    const auto c = static_cast<std::size_t>(section);
    return section >= 0 && c < columns_.size() ? QVariant(q(columns_[c])) : QVariant();
}

}  // namespace qx::ui
