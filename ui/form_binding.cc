#include "ui/form_binding.h"

#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QThread>
#include <QTimer>
#include <QToolButton>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <exception>

#include "ui/control_name.h"
#include "ui/main_window.h"
#include "ui/small_forms.h"
#include "ui/widgets.h"

namespace qx::ui {

using forms::Control;
using forms::ControlKind;

namespace {

// Progress bars are drawn on a fixed scale: the model's bounds are single-precision figures that
// may pass the toolkit's int range or turn negative (memory figures read as signed 32-bit).
constexpr int kProgressScale = 10000;

// The widget's character code for a key, as the program's KeyPress sees it; 0 for keys that type
// nothing (arrows, function keys) and for Tab, which moves the focus.
int keyCode(const QKeyEvent& event) {
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return 0;
    const QString text = event.text();
    if (text.isEmpty()) {
        if (event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter) return 13;
        return 0;
    }
    const char32_t code = text.toUcs4().value(0);
    if (code == U'\t') return 0;
    if (code == U'\n') return 13;
    return static_cast<int>(code);
}

// The folder chain of a canonical Windows path: "C:\KEL\DATA" -> "C:\", "C:\KEL", "C:\KEL\DATA".
std::vector<std::string> folderChain(const std::string& path) {
    std::vector<std::string> chain;
    if (path.size() < 2) return chain;
    std::string current = path.substr(0, 2) + "\\";
    chain.push_back(current);
    std::size_t start = 3;
    while (start < path.size()) {
        std::size_t end = path.find('\\', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) {
            if (current.back() != '\\') current += '\\';
            current += path.substr(start, end - start);
            chain.push_back(current);
        }
        start = end + 1;
    }
    return chain;
}

std::string lastComponent(const std::string& path) {
    if (path.size() <= 3) return path;
    const auto slash = path.find_last_of('\\');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

// One form and its view: the pairs of control and widget, the per-control timers and the key
// filters.
class FormBinding final : public QObject {
  public:
    FormBinding(Binder& binder, QWidget* view, forms::Form& form);
    ~FormBinding() override;

    void sync();
    QWidget* view() const { return view_; }
    forms::Form& form() const { return form_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct Pair {
        Control* control;
        QObject* object;
    };

    // One kind of control in this host: see viewOf.
    struct KindView {
        void (FormBinding::*connect)(Control*, QObject*);
        void (FormBinding::*show)(Control*, QObject*);
    };
    static const KindView* viewOf(ControlKind kind);
    void connectGestures(Control* control, QObject* object);
    void syncControl(Control* control, QObject* object);
    void connectButton(Control* control, QObject* object);
    void connectToggle(Control* control, QObject* object);
    void connectTextBox(Control* control, QObject* object);
    void connectListBox(Control* control, QObject* object);
    void connectDirListBox(Control* control, QObject* object);
    void connectDriveListBox(Control* control, QObject* object);
    void connectMenuItem(Control* control, QObject* object);
    void connectTabStrip(Control* control, QObject* object);
    void connectCalendar(Control* control, QObject* object);
    void connectTimer(Control* control, QObject* object);
    void showLabel(Control* control, QObject* object);
    void showFrame(Control* control, QObject* object);
    void showCommandButton(Control* control, QObject* object);
    void showCheckBox(Control* control, QObject* object);
    void showOptionButton(Control* control, QObject* object);
    void showTextBox(Control* control, QObject* object);
    void showListBox(Control* control, QObject* object);
    void showDirListBox(Control* control, QObject* object);
    void showDriveListBox(Control* control, QObject* object);
    void showGrid(Control* control, QObject* object);
    void showProgressBar(Control* control, QObject* object);
    void showMenuItem(Control* control, QObject* object);
    void showTabStrip(Control* control, QObject* object);
    void showCalendar(Control* control, QObject* object);
    void showTimer(Control* control, QObject* object);
    void syncList(forms::ListBox& list, QListWidget& widget);
    void syncDirList(forms::DirListBox& list, QListWidget& widget);
    void syncGrid(forms::Grid& grid, QTableView& widget);
    void syncTimer(forms::Timer& timer, QTimer& qtimer);
    void syncWindow();
    void gesture(const std::function<void()>& action);

    Binder& binder_;
    QWidget* view_;
    forms::Form& form_;
    std::vector<Pair> pairs_;
    std::map<QObject*, Control*> byObject_;
    std::map<QListWidget*, std::vector<std::string>> shownItems_;
    std::map<QListWidget*, int> dirRowOffset_;  // ancestor rows drawn above a folder list's items
    std::map<QListWidget*, std::string> shownDirPath_;
    std::map<QTableView*, std::pair<std::vector<std::string>, std::size_t>> shownGrid_;
    std::map<QTableView*, bool> gridDirty_;
    std::vector<std::pair<Control*, int>> notifierTokens_;
    Control* lastFocus_ = nullptr;
    bool syncing_ = false;
};

FormBinding::FormBinding(Binder& binder, QWidget* view, forms::Form& form)
    : binder_(binder), view_(view), form_(form) {
    for (Control* control : form.controls()) {
        const std::string objectName = controlObjectName(
            control->name(), control->index() >= 0 ? std::optional<int>(control->index()) : std::nullopt);
        QObject* object = nullptr;
        if (control->kind() == ControlKind::Timer) {
            auto* timer = new QTimer(view);
            timer->setObjectName(q(objectName));
            timer->setSingleShot(true);
            object = timer;
        } else {
            object = view->findChild<QObject*>(q(objectName));
            if (!object && view->objectName() == q(objectName)) object = view;
        }
        if (!object) continue;
        pairs_.push_back({control, object});
        byObject_[object] = control;
        connectGestures(control, object);
        if (auto* grid = dynamic_cast<forms::Grid*>(control)) {
            auto* table = qobject_cast<QTableView*>(object);
            if (table) {
                gridDirty_[table] = true;
                const int token = grid->changed.connect([this, table] { gridDirty_[table] = true; });
                notifierTokens_.push_back({grid, token});
            }
        }
    }
    // The window frame's close button: the model decides (it unloads the form, and the program
    // ends with its last form); the sync then hides the window.
    auto close = [this] {
        binder_.closeRequested(form_);
        return false;
    };
    if (auto* formView = dynamic_cast<MainWindowView*>(view)) {
        formView->onCloseRequest = close;
        formView->onTabStripDoubleClick = [this] {
            if (Control* strip = form_.find("SSTab1")) gesture([strip] { strip->userDblClick(); });
        };
    } else if (auto* small = dynamic_cast<FormView*>(view)) {
        small->onCloseRequest = close;
    }
}

FormBinding::~FormBinding() {
    for (auto& [control, token] : notifierTokens_) control->changed.disconnect(token);
    if (auto* formView = dynamic_cast<MainWindowView*>(view_)) {
        formView->onTabStripDoubleClick = nullptr;
        formView->onCloseRequest = nullptr;
    } else if (auto* small = dynamic_cast<FormView*>(view_)) {
        small->onCloseRequest = nullptr;
    }
}

void FormBinding::gesture(const std::function<void()>& action) {
    if (syncing_) return;  // a widget signal raised by the sync itself is no gesture
    if (!binder_.screen().acceptsInput(form_)) {
        // A modal form is in front: the gesture never reaches the program, and whatever the widget
        // did on its own (a tick, a radio dot) is put back.
        binder_.syncAll();
        return;
    }
    binder_.dispatch(action);
}

// How this host shows and drives each kind of control: `connect` turns the widget's signals into
// the control's gestures, `show` copies the control's state into the widget (after the properties
// every control has). A kind without an entry (the data control) has no widget. A new kind of
// control is one entry here and its two functions.
const FormBinding::KindView* FormBinding::viewOf(ControlKind kind) {
    static const std::map<ControlKind, KindView> kViews{
        {ControlKind::Label, {nullptr, &FormBinding::showLabel}},
        {ControlKind::CommandButton, {&FormBinding::connectButton, &FormBinding::showCommandButton}},
        {ControlKind::CheckBox, {&FormBinding::connectToggle, &FormBinding::showCheckBox}},
        {ControlKind::OptionButton, {&FormBinding::connectToggle, &FormBinding::showOptionButton}},
        {ControlKind::Frame, {nullptr, &FormBinding::showFrame}},
        {ControlKind::TextBox, {&FormBinding::connectTextBox, &FormBinding::showTextBox}},
        {ControlKind::ListBox, {&FormBinding::connectListBox, &FormBinding::showListBox}},
        {ControlKind::DirListBox, {&FormBinding::connectDirListBox, &FormBinding::showDirListBox}},
        {ControlKind::FileListBox, {&FormBinding::connectListBox, &FormBinding::showListBox}},
        {ControlKind::DriveListBox, {&FormBinding::connectDriveListBox, &FormBinding::showDriveListBox}},
        {ControlKind::Grid, {nullptr, &FormBinding::showGrid}},
        {ControlKind::ProgressBar, {nullptr, &FormBinding::showProgressBar}},
        {ControlKind::MenuItem, {&FormBinding::connectMenuItem, &FormBinding::showMenuItem}},
        {ControlKind::Timer, {&FormBinding::connectTimer, &FormBinding::showTimer}},
        {ControlKind::Image, {&FormBinding::connectButton, nullptr}},
        {ControlKind::Calendar, {&FormBinding::connectCalendar, &FormBinding::showCalendar}},
        {ControlKind::TabStrip, {&FormBinding::connectTabStrip, &FormBinding::showTabStrip}},
    };
    const auto it = kViews.find(kind);
    return it == kViews.end() ? nullptr : &it->second;
}

void FormBinding::connectGestures(Control* control, QObject* object) {
    if (const KindView* view = viewOf(control->kind()); view && view->connect)
        (this->*view->connect)(control, object);
}

void FormBinding::connectButton(Control* control, QObject* object) {
    if (auto* b = qobject_cast<QAbstractButton*>(object)) {
        QObject::connect(b, &QAbstractButton::clicked, this,
                         [this, control] { gesture([control] { control->userClick(); }); });
    }
}

void FormBinding::connectToggle(Control* control, QObject* object) {
    if (auto* b = qobject_cast<QAbstractButton*>(object)) {
        // The model keeps the state and its exclusivity (a hidden option stands for "none").
        if (auto* radio = qobject_cast<QRadioButton*>(b)) radio->setAutoExclusive(false);
        QObject::connect(b, &QAbstractButton::clicked, this,
                         [this, control] { gesture([control] { control->userClick(); }); });
    }
}

void FormBinding::connectTextBox(Control* control, QObject* object) {
    auto* box = static_cast<forms::TextBox*>(control);
    if (auto* line = qobject_cast<QLineEdit*>(object)) {
        line->installEventFilter(this);
        QObject::connect(line, &QLineEdit::textEdited, this, [this, box](const QString& text) {
            gesture([box, t = s(text)] { box->setText(t); });
        });
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(object)) {
        QObject::connect(plain, &QPlainTextEdit::textChanged, this, [this, box, plain] {
            gesture([box, t = s(plain->toPlainText())] { box->setText(t); });
        });
    }
}

void FormBinding::connectListBox(Control* control, QObject* object) {
    if (auto* list = qobject_cast<QListWidget*>(object)) {
        auto* model = static_cast<forms::ListBox*>(control);
        list->installEventFilter(this);
        list->viewport()->installEventFilter(this);
        QObject::connect(list, &QListWidget::itemPressed, this, [this, model, list](QListWidgetItem* item) {
            const int row = list->row(item);
            if (row >= 0) gesture([model, row] { model->userSelect(row); });
        });
        QObject::connect(list, &QListWidget::currentRowChanged, this, [this, model, list](int row) {
            // Keyboard moves in a single-selection list; mouse presses come through itemPressed.
            if (row < 0 || model->multiSelect() != 0 || QApplication::mouseButtons() != Qt::NoButton) return;
            if (row == model->listIndex()) return;
            (void)list;
            gesture([model, row] { model->userSelect(row); });
        });
        QObject::connect(list, &QListWidget::itemDoubleClicked, this,
                         [this, model](QListWidgetItem*) { gesture([model] { model->userDblClick(); }); });
    }
}

void FormBinding::connectDirListBox(Control* control, QObject* object) {
    if (auto* list = qobject_cast<QListWidget*>(object)) {
        auto* dir = static_cast<forms::DirListBox*>(control);
        // A double-click opens the folder of its line: an ancestor above the items, or one of
        // the sub-folders (the model's items); a single click makes a sub-folder current.
        QObject::connect(list, &QListWidget::itemDoubleClicked, this,
                         [this, dir, list](QListWidgetItem* item) {
                             const std::string target = s(item->data(Qt::UserRole).toString());
                             if (target.empty()) return;
                             gesture([dir, target] { dir->setPath(target); });
                             (void)list;
                         });
        QObject::connect(list, &QListWidget::itemPressed, this, [this, dir, list](QListWidgetItem* item) {
            const int row = list->row(item) - dirRowOffset_[list];
            if (row >= 0) gesture([dir, row] { dir->userSelect(row); });
        });
    }
}

void FormBinding::connectDriveListBox(Control* control, QObject* object) {
    if (auto* combo = qobject_cast<QComboBox*>(object)) {
        auto* drive = static_cast<forms::DriveListBox*>(control);
        QObject::connect(combo, &QComboBox::activated, this, [this, drive, combo](int row) {
            const std::string letter = s(combo->itemText(row));
            gesture([drive, letter] { drive->setDrive(letter); });
        });
    }
}

void FormBinding::connectMenuItem(Control* control, QObject* object) {
    if (auto* action = qobject_cast<QAction*>(object)) {
        QObject::connect(action, &QAction::triggered, this,
                         [this, control] { gesture([control] { control->userClick(); }); });
    }
}

void FormBinding::connectTabStrip(Control* control, QObject* object) {
    if (auto* tabs = qobject_cast<QTabWidget*>(object)) {
        auto* strip = static_cast<forms::TabStrip*>(control);
        QObject::connect(tabs, &QTabWidget::currentChanged, this, [this, strip](int tab) {
            if (tab < 0 || tab == strip->tab()) return;
            gesture([strip, tab] { strip->userSelectTab(tab); });
        });
    }
}

void FormBinding::connectCalendar(Control* control, QObject* object) {
    if (auto* calendar = qobject_cast<QCalendarWidget*>(object)) {
        auto* model = static_cast<forms::Calendar*>(control);
        QObject::connect(calendar, &QCalendarWidget::clicked, this, [this, model](QDate date) {
            gesture([model, date] { model->userClickDate({date.year(), date.month(), date.day()}); });
        });
    }
}

void FormBinding::connectTimer(Control* /*control*/, QObject* object) {
    if (auto* timer = qobject_cast<QTimer*>(object)) {
        QObject::connect(timer, &QTimer::timeout, this, [this] { binder_.timerDue(); });
    }
}

bool FormBinding::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const int code = keyCode(*key);
    if (code == 0) return false;

    if (auto* line = qobject_cast<QLineEdit*>(watched)) {
        auto it = byObject_.find(line);
        if (it == byObject_.end()) return false;
        auto* box = static_cast<forms::TextBox*>(it->second);
        // Typing at the end of the text is the program's own key-press sequence (KeyPress, then the
        // character, then Change); edits elsewhere in the text reach the model as a new text.
        const bool atEnd = !line->hasSelectedText() && line->cursorPosition() == line->text().size();
        if (code == 13 || (atEnd && (code >= 32 || code == 8))) {
            gesture([box, code] { box->userKeyPress(code); });
            return true;
        }
        return false;
    }
    if (auto* list = qobject_cast<QListWidget*>(watched)) {
        auto it = byObject_.find(list);
        if (it == byObject_.end()) return false;
        Control* control = it->second;
        // Every key that reaches the list raises its KeyPress; the list still handles the key.
        gesture([control, code] { control->userKeyPress(code); });
        return false;
    }
    return false;
}

void FormBinding::sync() {
    syncing_ = true;
    for (const Pair& pair : pairs_) syncControl(pair.control, pair.object);
    syncWindow();
    Control* focus = form_.focused();
    if (focus != lastFocus_) {
        lastFocus_ = focus;
        for (const Pair& pair : pairs_) {
            if (pair.control == focus) {
                if (auto* w = qobject_cast<QWidget*>(pair.object)) w->setFocus(Qt::OtherFocusReason);
            }
        }
    }
    syncing_ = false;
}

void FormBinding::syncWindow() {
    const QString title = q(form_.caption());
    if (view_->windowTitle() != title) view_->setWindowTitle(title);
    // The form's own pointer shows over that form only; the screen's pointer (Binder) over all.
    const bool busy = form_.mousePointer() == forms::kPointerHourglass;
    if (busy && !view_->testAttribute(Qt::WA_SetCursor)) view_->setCursor(Qt::WaitCursor);
    if (!busy && view_->testAttribute(Qt::WA_SetCursor)) view_->unsetCursor();
    const bool shown = form_.loaded() && form_.visible();
    if (shown && !view_->isVisible()) {
        if (view_->isWindow()) view_->setWindowModality(form_.modal() ? Qt::ApplicationModal : Qt::NonModal);
        view_->show();
        view_->raise();
    } else if (!shown && view_->isVisible()) {
        view_->hide();
    }
}

void FormBinding::syncControl(Control* control, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget) {
        if (widget != view_) {
            if (widget->isHidden() == control->visible()) widget->setHidden(!control->visible());
        }
        if (widget->isEnabled() != control->enabled() && widget != view_)
            widget->setEnabled(control->enabled());
        const QString tip = q(control->toolTipText());
        if (widget->toolTip() != tip) widget->setToolTip(tip);
    }

    if (const KindView* view = viewOf(control->kind()); view && view->show)
        (this->*view->show)(control, object);
}

void FormBinding::showLabel(Control* control, QObject* object) {
    if (auto* label = qobject_cast<QLabel*>(object)) {
        const QString text = q(static_cast<forms::Label*>(control)->caption());
        if (label->text() != text) label->setText(text);
    }
}

void FormBinding::showFrame(Control* control, QObject* object) {
    if (auto* frame = qobject_cast<QGroupBox*>(object)) {
        const QString text = q(static_cast<forms::Frame*>(control)->caption());
        if (frame->title() != text) frame->setTitle(text);
    }
}

void FormBinding::showCommandButton(Control* control, QObject* object) {
    if (auto* button = qobject_cast<QAbstractButton*>(object)) {
        auto* model = static_cast<forms::CommandButton*>(control);
        const QString text = q(model->caption());
        if (button->text() != text) button->setText(text);
        button->setDown(model->pressed());
    }
}

void FormBinding::showCheckBox(Control* control, QObject* object) {
    if (auto* box = qobject_cast<QCheckBox*>(object)) {
        auto* model = static_cast<forms::CheckBox*>(control);
        const QString text = q(model->caption());
        if (box->text() != text) box->setText(text);
        const Qt::CheckState state = model->value() == 1   ? Qt::Checked
                                     : model->value() == 2 ? Qt::PartiallyChecked
                                                           : Qt::Unchecked;
        QSignalBlocker block(box);
        box->setCheckState(state);
    }
}

void FormBinding::showOptionButton(Control* control, QObject* object) {
    if (auto* radio = qobject_cast<QRadioButton*>(object)) {
        auto* model = static_cast<forms::OptionButton*>(control);
        const QString text = q(model->caption());
        if (radio->text() != text) radio->setText(text);
        QSignalBlocker block(radio);
        radio->setChecked(model->value());
    }
}

void FormBinding::showTextBox(Control* control, QObject* object) {
    const QString text = q(static_cast<forms::TextBox*>(control)->text());
    if (auto* line = qobject_cast<QLineEdit*>(object)) {
        if (line->text() != text) {
            QSignalBlocker block(line);
            line->setText(text);
        }
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(object)) {
        if (plain->toPlainText() != text) {
            QSignalBlocker block(plain);
            plain->setPlainText(text);
        }
    }
}

void FormBinding::showListBox(Control* control, QObject* object) {
    if (auto* list = qobject_cast<QListWidget*>(object))
        syncList(*static_cast<forms::ListBox*>(control), *list);
}

void FormBinding::showDirListBox(Control* control, QObject* object) {
    if (auto* list = qobject_cast<QListWidget*>(object))
        syncDirList(*static_cast<forms::DirListBox*>(control), *list);
}

void FormBinding::showDriveListBox(Control* control, QObject* object) {
    if (auto* combo = qobject_cast<QComboBox*>(object)) {
        auto* model = static_cast<forms::DriveListBox*>(control);
        QSignalBlocker block(combo);
        QStringList items;
        for (const auto& item : model->items()) items << q(item);
        QStringList shown;
        for (int i = 0; i < combo->count(); ++i) shown << combo->itemText(i);
        if (items != shown) {
            combo->clear();
            combo->addItems(items);
        }
        combo->setCurrentIndex(static_cast<int>(items.indexOf(q(model->drive()))));
    }
}

void FormBinding::showGrid(Control* control, QObject* object) {
    if (auto* table = qobject_cast<QTableView*>(object))
        syncGrid(*static_cast<forms::Grid*>(control), *table);
}

void FormBinding::showProgressBar(Control* control, QObject* object) {
    if (auto* bar = qobject_cast<QProgressBar*>(object)) {
        auto* model = static_cast<forms::ProgressBar*>(control);
        const double lo = model->min(), hi = model->max(), v = model->value();
        int scaled = 0;
        if (hi > lo && std::isfinite(v)) {
            // A value outside min..max draws an empty or a full bar; the model keeps it as set.
            const double fraction = std::clamp((v - lo) / (hi - lo), 0.0, 1.0);
            scaled = static_cast<int>(std::lround(fraction * kProgressScale));
        }
        if (bar->maximum() != kProgressScale) bar->setRange(0, kProgressScale);
        if (bar->value() != scaled) bar->setValue(scaled);
    }
}

void FormBinding::showMenuItem(Control* control, QObject* object) {
    auto* model = static_cast<forms::MenuItem*>(control);
    if (auto* action = qobject_cast<QAction*>(object)) {
        if (!model->isSeparator() && action->text() != q(model->caption()))
            action->setText(q(model->caption()));
        if (model->checked() && !action->isCheckable()) action->setCheckable(true);
        if (action->isChecked() != model->checked()) {
            QSignalBlocker block(action);
            action->setChecked(model->checked());
        }
        if (action->isVisible() != model->visible()) action->setVisible(model->visible());
        if (action->isEnabled() != model->enabled()) action->setEnabled(model->enabled());
    } else if (auto* menu = qobject_cast<QMenu*>(object)) {
        if (menu->title() != q(model->caption())) menu->setTitle(q(model->caption()));
        menu->menuAction()->setVisible(model->visible());
        menu->menuAction()->setEnabled(model->enabled());
    }
}

void FormBinding::showTabStrip(Control* control, QObject* object) {
    if (auto* tabs = qobject_cast<QTabWidget*>(object)) {
        auto* strip = static_cast<forms::TabStrip*>(control);
        QSignalBlocker block(tabs);
        for (int i = 0; i < strip->tabCount() && i < tabs->count(); ++i) {
            if (tabs->tabText(i) != q(strip->tabCaption(i))) tabs->setTabText(i, q(strip->tabCaption(i)));
        }
        if (tabs->currentIndex() != strip->tab()) tabs->setCurrentIndex(strip->tab());
    }
}

void FormBinding::showCalendar(Control* control, QObject* object) {
    if (auto* calendar = qobject_cast<QCalendarWidget*>(object)) {
        const auto& d = static_cast<forms::Calendar*>(control)->value();
        const QDate date(d.year, d.month, d.day);
        if (date.isValid() && calendar->selectedDate() != date) {
            QSignalBlocker block(calendar);
            calendar->setSelectedDate(date);
        }
    }
}

void FormBinding::showTimer(Control* control, QObject* object) {
    if (auto* timer = qobject_cast<QTimer*>(object)) syncTimer(*static_cast<forms::Timer*>(control), *timer);
}

void FormBinding::syncList(forms::ListBox& list, QListWidget& widget) {
    QSignalBlocker block(&widget);
    QSignalBlocker blockSelection(widget.selectionModel());
    const QAbstractItemView::SelectionMode mode = list.multiSelect() == 0 ? QAbstractItemView::SingleSelection
                                                  : list.multiSelect() == 1
                                                      ? QAbstractItemView::MultiSelection
                                                      : QAbstractItemView::ExtendedSelection;
    if (widget.selectionMode() != mode) widget.setSelectionMode(mode);

    auto& shown = shownItems_[&widget];
    if (shown != list.items()) {
        widget.clear();
        for (const auto& item : list.items()) widget.addItem(q(item));
        shown = list.items();
    }
    const int count = widget.count();
    for (int i = 0; i < count; ++i) {
        const bool selected = list.multiSelect() == 0 ? i == list.listIndex() : list.selected(i);
        if (widget.item(i)->isSelected() != selected) widget.item(i)->setSelected(selected);
    }
    if (widget.currentRow() != list.listIndex()) {
        widget.setCurrentRow(list.listIndex(), QItemSelectionModel::NoUpdate);
    }
    if (list.listIndex() >= 0) widget.scrollToItem(widget.item(list.listIndex()));

    // The look the program switches between: flat on the button face, or 3-D on the window colour.
    const bool face = list.backColor() == forms::kColorButtonFace;
    QPalette palette = widget.palette();
    const QColor base = face ? QApplication::palette().color(QPalette::Button)
                             : QApplication::palette().color(QPalette::Base);
    if (palette.color(QPalette::Base) != base) {
        palette.setColor(QPalette::Base, base);
        widget.setPalette(palette);
    }
    widget.setFrameShape(list.appearance() == 0 ? QFrame::Box : QFrame::StyledPanel);
}

void FormBinding::syncDirList(forms::DirListBox& list, QListWidget& widget) {
    QSignalBlocker block(&widget);
    QSignalBlocker blockSelection(widget.selectionModel());
    auto& shownPath = shownDirPath_[&widget];
    auto& shown = shownItems_[&widget];
    if (shownPath != list.dirPath() || shown != list.items()) {
        widget.clear();
        const QIcon open = widget.style()->standardIcon(QStyle::SP_DirOpenIcon);
        const QIcon closed = widget.style()->standardIcon(QStyle::SP_DirClosedIcon);
        const auto chain = folderChain(list.dirPath());
        int depth = 0;
        for (const auto& folder : chain) {
            auto* item =
                new QListWidgetItem(open, QString(depth * 2, ' ') + q(lastComponent(folder)), &widget);
            item->setData(Qt::UserRole, q(folder));
            item->setData(kOpenFolderRole, true);
            ++depth;
        }
        for (const auto& name : list.items()) {
            std::string path = list.dirPath();
            if (!path.empty() && path.back() != '\\') path += '\\';
            path += name;
            auto* item = new QListWidgetItem(closed, QString(depth * 2, ' ') + q(name), &widget);
            item->setData(Qt::UserRole, q(path));
        }
        dirRowOffset_[&widget] = static_cast<int>(chain.size());
        shownPath = list.dirPath();
        shown = list.items();
    }
    const int offset = dirRowOffset_[&widget];
    // With no sub-folder current, the open folder itself is the current line.
    const int row = list.listIndex() >= 0 ? list.listIndex() + offset : offset - 1;
    if (row >= 0 && row < widget.count()) {
        widget.setCurrentRow(row);
        widget.scrollToItem(widget.item(row));
    }
}

void FormBinding::syncGrid(forms::Grid& grid, QTableView& widget) {
    GridTableModel* model = gridModel(&widget);
    // The rows come from the database as they are drawn, a window at a time. A read that fails
    // there (a damaged page, a file gone or locked since the table was opened) cannot be reported
    // from inside painting: the rows that fail show "#Error" with the error as their tooltip.
    std::vector<std::string> columns;
    std::size_t rows = 0;
    try {
        columns = grid.columns();
        rows = grid.rowCount();
    } catch (const std::exception&) {
        columns.clear();
        rows = 0;
    }
    auto& shown = shownGrid_[&widget];
    if (gridDirty_[&widget] || shown.first != columns || shown.second != rows) {
        gridDirty_[&widget] = false;
        shown = {columns, rows};
        model->setSource(columns, rows, [&grid](std::size_t first, std::size_t count) {
            return grid.rowWindow(first, count);
        });
    }
    widget.setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The grid's three editing permissions, for whoever inspects the view (the support lock
    // switches them); edits themselves stay with the program.
    widget.setProperty("allowAddNew", grid.allowAddNew());
    widget.setProperty("allowDelete", grid.allowDelete());
    widget.setProperty("allowUpdate", grid.allowUpdate());
}

void FormBinding::syncTimer(forms::Timer& timer, QTimer& qtimer) {
    if (!timer.running()) {
        if (qtimer.isActive()) qtimer.stop();
        qtimer.setProperty("due", QVariant());
        return;
    }
    const qint64 due = timer.nextDueMs();
    if (qtimer.isActive() && qtimer.property("due").toLongLong() == due) return;
    const qint64 wait = std::max<qint64>(0, due - binder_.screen().elapsedMs());
    qtimer.setProperty("due", due);
    qtimer.start(static_cast<int>(std::min<qint64>(wait, INT_MAX)));
}

// ---- Binder -------------------------------------------------------------------------------------

Binder::Binder(shell::Application& app, platform::MessageBoxes& messages)
    : app_(app), screen_(app.screen()), messages_(messages) {
    clock_.start();
    app_.onUnhandledError = [this](const RuntimeError& error) { reportUnhandled(error); };
    screen_.onDoEvents = [this] { doEvents(); };
}

void Binder::doEvents() {
    // The windows show what the handler has done so far and are repainted, moved and exposed as
    // usual; the user's clicks and keys wait until the handler is done (so that no second handler
    // starts inside this one), and so does closing a window (closeRequested).
    syncAll();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

Binder::~Binder() {
    app_.onUnhandledError = nullptr;
    screen_.onDoEvents = nullptr;
    while (depth_ > 0) {
        QApplication::restoreOverrideCursor();
        --depth_;
    }
    if (persistentHourglass_) QApplication::restoreOverrideCursor();
}

void Binder::bind(QWidget* view, forms::Form& form) {
    bindings_.push_back(std::make_unique<FormBinding>(*this, view, form));
    bindings_.back()->sync();
}

void Binder::unbind(QWidget* view) {
    std::erase_if(bindings_, [view](const auto& b) { return b->view() == view; });
}

QWidget* Binder::viewOf(std::string_view formName) const {
    for (const auto& b : bindings_) {
        if (b->form().name() == formName) return b->view();
    }
    return nullptr;
}

void Binder::advanceClock() {
    screen_.setElapsedMs(elapsedSource_ ? elapsedSource_() : clock_.elapsed());
}

std::string Binder::runtimeErrorText(const RuntimeError& error) {
    return "Run-time error '" + std::to_string(error.number()) + "':\n\n" + error.description();
}

bool Binder::dispatch(const std::function<void()>& gesture) {
    if (ended_ || app_.ended()) return false;
    ++depth_;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    advanceClock();
    bool alive = true;
    try {
        alive = app_.dispatch(gesture);
    } catch (const std::exception& error) {
        // Not one of the program's own errors (those the application reports): shown as the
        // runtime's internal error, and the program goes on.
        reportUnhandled(RuntimeError(51, std::string("Internal error (") + error.what() + ")"));
    }
    QApplication::restoreOverrideCursor();
    --depth_;
    // As in the original runtime, the process ends when its last form is unloaded, whichever
    // handler unloaded it (the monitor's "Quit" after the main window was closed, say).
    const bool anyLoaded = !screen_.loadedForms().empty();
    if (anyLoaded) hadForms_ = true;
    if (!alive || (hadForms_ && !anyLoaded)) {
        endProgram();
        return false;
    }
    syncAll();
    return true;
}

void Binder::reportUnhandled(const RuntimeError& error) {
    // Whatever the handler had shown before it failed is brought on screen and stays in place.
    syncAll();
    std::string title = app_.globals().toolTitle;
    if (title.empty()) title = "QX Test";
    messages_.show(title, runtimeErrorText(error), platform::Buttons::OK, platform::Icon::Critical);
}

void Binder::closeRequested(forms::Form& form) {
    // A window closed while a handler works (it lets windows repaint, see doEvents) stays open:
    // the handler finishes first, as the original's did.
    if (depth_ > 0 || !screen_.acceptsInput(form)) return;
    dispatch([this, &form] { app_.closeForm(form); });
}

void Binder::timerDue() {
    // A tick waits while a handler runs (a message box of that handler is up): the program's
    // handlers never overlap.
    if (depth_ > 0) {
        QTimer::singleShot(100, [this] { timerDue(); });
        return;
    }
    dispatch([this] {
        for (forms::Timer* timer : screen_.runningTimers()) {
            if (timer->running() && timer->nextDueMs() <= screen_.elapsedMs()) timer->tick();
        }
    });
}

void Binder::syncAll() {
    if (ended_) return;
    for (const auto& b : bindings_) b->sync();
    updateHourglass();
}

void Binder::updateHourglass() {
    const bool busy = screen_.mousePointer() == forms::kPointerHourglass;
    if (busy && !persistentHourglass_) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        persistentHourglass_ = true;
    } else if (!busy && persistentHourglass_) {
        QApplication::restoreOverrideCursor();
        persistentHourglass_ = false;
    }
}

void Binder::endProgram() {
    ended_ = true;
    if (persistentHourglass_) {
        QApplication::restoreOverrideCursor();
        persistentHourglass_ = false;
    }
    for (const auto& b : bindings_) b->view()->hide();
    if (onProgramEnd) {
        onProgramEnd();
    } else if (QThread::currentThread()->loopLevel() > 0) {
        // Only a running event loop can be left; outside one (start-up, before exec) an exit
        // would linger and end the next loop that starts, such as a later message box.
        QApplication::exit(0);
    }
}

}  // namespace qx::ui
