// The controls of the tool's forms as plain objects: the properties the program reads and sets, and
// the event procedures it reacts to, with Visual Basic's event rules.
//
// These objects are the program's state. The Qt widgets and the script driver are views of them:
// a view reads the properties, listens to `changed`, and turns the user's gestures into the user*
// operations below (userClick, userKeyPress, ...). The logic never sees a view.
//
// Event rules kept from the original runtime, on which the handlers rely:
// - Setting CheckBox::setValue to a different value raises Click.
// - Setting OptionButton::setValue(true) on a button that is not already selected clears the other
//   buttons of its group and raises Click; a user click raises Click even on the selected button.
// - Setting TextBox::setText to a different text raises Change.
// - Setting DirListBox::setPath to a different folder raises Change; FileListBox raises PathChange
//   and PatternChange.
// - Setting ListBox::setListIndex to a different line raises Click.
// - Event procedures are std::function slots; an empty slot means "no procedure", as in VB.
// - Anything thrown by an event procedure (qx::RuntimeError, qx::ProgramEnd) passes through the
//   control unchanged to whoever caused the event; state already changed stays changed.
//
// Every control can return to its design values (the state the form's designer gave it) when its
// form is unloaded, as VB forms do; events are not raised by that.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ado/row_source.h"
#include "common/listmodel.h"
#include "platform/system.h"
#include "shell/notifier.h"

namespace qx::forms {

class Form;

enum class ControlKind {
    Label,
    CommandButton,
    CheckBox,
    OptionButton,
    Frame,
    TextBox,
    ListBox,
    DirListBox,
    FileListBox,
    DriveListBox,
    Grid,
    ProgressBar,
    MenuItem,
    Timer,
    Image,
    Calendar,
    TabStrip,
    DataControl,
};

// A control's properties as a view shows them, one call per property, in the order of
// Control::describe. The script driver prints them; a new kind of control describes itself and
// every view that lists properties shows it without a change.
class PropertyVisitor {
  public:
    virtual ~PropertyVisitor() = default;
    virtual void text(std::string_view name, const std::string& value) = 0;
    virtual void flag(std::string_view name, bool value) = 0;
    virtual void integer(std::string_view name, std::int64_t value) = 0;
    virtual void real(std::string_view name, float value) = 0;
    virtual void texts(std::string_view name, const std::vector<std::string>& values) = 0;
    virtual void integers(std::string_view name, const std::vector<int>& values) = 0;
    // Rows of texts, `count` of them, read by window: window(first, n) gives rows first ..
    // first + n - 1 (and raises what reading them raises).
    using RowWindow = std::function<std::vector<std::vector<std::string>>(std::size_t first, std::size_t n)>;
    virtual void rows(std::string_view name, std::size_t count, const RowWindow& window) = 0;
};

// Mouse pointer values of the screen and of a form.
inline constexpr int kPointerDefault = 0;
inline constexpr int kPointerHourglass = 11;

// VB's system colours as colour values (the high bit marks a system colour index).
inline constexpr std::uint32_t kColorWindowBackground = 0x80000005u;  // index 5
inline constexpr std::uint32_t kColorButtonFace = 0x8000000Fu;        // index 15

// VB's error numbers for a misused control property.
inline constexpr std::int32_t kErrInvalidPropertyValue = 380;
inline constexpr std::int32_t kErrInvalidPropertyArrayIndex = 381;
inline constexpr std::int32_t kErrControlArrayElementMissing = 340;
inline constexpr std::int32_t kErrCantShowNonModal = 401;

class Control {
  public:
    Control(Form& form, std::string name, int index);
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    virtual ControlKind kind() const = 0;
    // Hands every property a view shows to `visitor` (see PropertyVisitor). The base gives
    // `visible` only.
    virtual void describe(PropertyVisitor& visitor) const;

    Form& form() const noexcept { return *form_; }
    const std::string& name() const noexcept { return name_; }
    // Index within its control array, or -1 for a control that is not an array member.
    int index() const noexcept { return index_; }
    // "frmMain.cmdClear(0)", "frmMain.ckbKELini".
    std::string path() const;

    bool visible() const noexcept { return visible_; }
    void setVisible(bool visible);
    bool enabled() const noexcept { return enabled_; }
    void setEnabled(bool enabled);
    const std::string& toolTipText() const noexcept { return toolTip_; }
    void setToolTipText(std::string text);

    // Where the control sits, for the views' layout: the tab page of frmMain's tab strip (-1 when
    // not on one) and the frame that holds it (nullptr when none). Design facts, never changed.
    int page() const noexcept { return page_; }
    void setPage(int page) noexcept { page_ = page; }
    Control* container() const noexcept { return container_; }
    void setContainer(Control* frame) noexcept { container_ = frame; }

    // Gives the control the keyboard focus. VB's error 5 when it is hidden or disabled.
    void setFocus();
    bool hasFocus() const;

    // Event procedures common to most controls.
    std::function<void()> onClick;
    std::function<void()> onDblClick;
    std::function<void(std::int16_t& keyAscii)> onKeyPress;

    // What the user's gestures do. A hidden or disabled control ignores them (the user cannot reach
    // it); each returns whether the gesture reached the control.
    virtual bool userClick();
    virtual bool userDblClick();
    virtual bool userKeyPress(int code);

    // Called by the form: remember the present state as the design state / go back to it.
    virtual void captureDesign();
    virtual void restoreDesign();

    // Raised after any property a view shows has changed.
    Notifier changed;

  protected:
    bool reachable() const noexcept;
    // Every user gesture begins here: the screen settles what the previous event left (see
    // CommandButton::pressed), then the gesture reaches the control only if it is reachable.
    bool startGesture();
    void touch() { changed.notify(); }
    static void fire(const std::function<void()>& slot) {
        if (slot) slot();
    }

  private:
    Form* form_;
    std::string name_;
    int index_;
    int page_ = -1;
    Control* container_ = nullptr;
    bool visible_ = true;
    bool enabled_ = true;
    std::string toolTip_;
    struct Common {
        bool visible = true;
        bool enabled = true;
        std::string toolTip;
    } design_;
};

class Label final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Label; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
};

class Frame final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Frame; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
};

class Image final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Image; }
};

class CommandButton final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::CommandButton; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);

    // True while the button's own Click procedure runs (the button is held down). A handler that
    // is reached from this click can tell which button of an array started it. When the Click
    // shows a modal form, the original's Click did not return until that form had closed and the
    // event that closed it had ended: the button stays pressed that long (it is let go at the
    // first gesture after its modal form has gone, see Screen::beginGesture).
    bool pressed() const noexcept { return pressed_; }
    // Lets go of a button held by a modal form (called by the Screen).
    void releaseHold();

    // VB's `cmd.Value = True`: runs the Click procedure with the button pressed, whatever its state.
    void press();
    bool userClick() override;
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
    bool pressed_ = false;
};

class CheckBox final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::CheckBox; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    // 0 unchecked, 1 checked, 2 greyed. Any other value: error 380.
    std::int16_t value() const noexcept { return value_; }
    // Raises Click when the value changes.
    void setValue(std::int16_t value);
    // A click ticks an unticked box and clears a ticked or greyed one.
    bool userClick() override;
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
    std::int16_t value_ = 0, designValue_ = 0;
};

class OptionButton final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::OptionButton; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    bool value() const noexcept { return value_; }
    // true on a button not yet selected: the others of the group are cleared (without events),
    // then Click is raised. true on the selected button: nothing. false: clears it, no event.
    void setValue(bool value);
    // A click selects the button and raises Click, also when it was already selected.
    bool userClick() override;
    // The buttons that exclude each other (the same container). Set once by the form.
    void setGroup(std::shared_ptr<std::vector<OptionButton*>> group) { group_ = std::move(group); }
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
    bool value_ = false, designValue_ = false;
    std::shared_ptr<std::vector<OptionButton*>> group_;
};

class TextBox final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::TextBox; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& text() const noexcept { return text_; }
    // Raises Change when the text differs from the present one.
    void setText(std::string text);
    std::function<void()> onChange;

    // A key typed into the box: KeyPress first (which may change or cancel the code by setting it
    // to 0), then the character is added at the end of the text (one Change). Backspace (8) removes
    // the last character; Enter (13) and other control codes add nothing (a one-line box).
    bool userKeyPress(int code) override;
    // Each character of `text` (UTF-8) as one key press.
    bool userType(std::string_view text);
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string text_, designText_;
};

// The lines of a list box, with VB's ListIndex / Selected rules. The shared list routines reach it
// through ListModel.
class ListBox : public Control, public ListModel {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::ListBox; }
    void describe(PropertyVisitor& visitor) const override;

    // 0 single selection; 1 simple and 2 extended multi-selection.
    int multiSelect() const noexcept { return multiSelect_; }
    void setMultiSelect(int mode) noexcept { multiSelect_ = mode; }

    std::size_t listCount() const noexcept override { return items_.size(); }
    const std::vector<std::string>& items() const noexcept { return items_; }
    // VB's List(i): "" for an index outside the list.
    std::string list(int index) const override;
    // Appends, or inserts before `index` (0..count); error 5 for another index.
    void addItem(std::string item, int index = -1) override;
    void removeItem(int index);
    void clear() override;

    // -1 when no line is current. Setting a different line raises Click; error 380 outside
    // -1..count-1. In a single-selection list the current line is the selected one.
    int listIndex() const noexcept override { return listIndex_; }
    void setListIndex(int index) override;
    // VB's Text: the current line, "" when none.
    std::string text() const { return list(listIndex_); }

    // Selected(i); error 381 outside 0..count-1. Setting it on a single-selection list moves the
    // current line there (true) or away (false); on a multi-selection list it marks the line and
    // makes it current. Raises Click when something changed.
    bool selected(int index) const override;
    void setSelected(int index, bool selected) override;
    std::vector<int> selectedIndexes() const;

    // Design-time look that the program changes at run time: 0 flat, 1 3-D.
    std::int16_t appearance() const noexcept { return appearance_; }
    void setAppearance(std::int16_t appearance);
    std::uint32_t backColor() const noexcept { return backColor_; }
    void setBackColor(std::uint32_t color);
    int height() const noexcept { return height_; }  // twips
    void setHeight(int twips);

    // VB's Refresh: repaints. The list is always up to date here; views get a change notice.
    void refresh() override { touch(); }

    // The user clicks a line: it becomes current (single selection), or is toggled (simple
    // multi-selection) or becomes the only selected line (extended); Click is raised.
    bool userSelect(int index);

    void captureDesign() override;
    void restoreDesign() override;

  protected:
    // Replaces every line at once (file and directory lists), no current line, no selection.
    void replaceItems(std::vector<std::string> items);

  private:
    void checkIndex(int index) const;
    std::vector<std::string> items_;
    std::vector<bool> selected_;
    int listIndex_ = -1;
    int multiSelect_ = 0;
    std::int16_t appearance_ = 1;
    std::uint32_t backColor_ = kColorWindowBackground;
    int height_ = 0;
    struct Design {
        std::vector<std::string> items;
        std::int16_t appearance = 1;
        std::uint32_t backColor = kColorWindowBackground;
        int height = 0;
    } design_;
};

// The folders of one folder. Its Path is always the canonical form of an existing folder.
class DirListBox final : public ListBox {
  public:
    using ListBox::ListBox;
    ControlKind kind() const override { return ControlKind::DirListBox; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& dirPath() const noexcept { return path_; }
    // Resolves `path` through FileSystem::canonicalFolder (errors 76 / 68 pass through, the path
    // stays as it was); a different folder refreshes the items and raises Change.
    void setPath(std::string_view path);
    void refreshFolders();
    std::function<void()> onChange;
    // At form load: the current folder of the current drive, without an event.
    void startAtCurrentFolder();
    void restoreDesign() override;

  private:
    std::string path_;
};

// The files of one folder that match a pattern.
class FileListBox final : public ListBox {
  public:
    using ListBox::ListBox;
    ControlKind kind() const override { return ControlKind::FileListBox; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& dirPath() const noexcept { return path_; }
    // As DirListBox::setPath; a different folder raises PathChange.
    void setPath(std::string_view path);
    const std::string& pattern() const noexcept { return pattern_; }
    // A different pattern re-reads the files and raises PatternChange.
    void setPattern(std::string pattern);
    // Re-reads the files of the folder (VB's Refresh).
    void refreshFiles();
    std::function<void()> onPathChange;
    std::function<void()> onPatternChange;
    void startAtCurrentFolder();
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string path_;
    std::string pattern_ = "*.*", designPattern_ = "*.*";
};

class DriveListBox final : public ListBox {
  public:
    using ListBox::ListBox;
    ControlKind kind() const override { return ControlKind::DriveListBox; }
    void describe(PropertyVisitor& visitor) const override;
    // "c:"; setting "C:\..." or "c" selects drive c. Error 68 for a drive that is not mapped.
    const std::string& drive() const noexcept { return drive_; }
    void setDrive(std::string_view drive);
    std::function<void()> onChange;
    void startAtCurrentFolder();
    void restoreDesign() override;

  private:
    std::string drive_;
};

// What a grid shows: the rows of its data source (ado/row_source.h).
using RowSource = ado::RowSource;

// A data grid bound to a row source.
class Grid final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Grid; }
    void describe(PropertyVisitor& visitor) const override;

    // The data source it is bound to at design time (frmMain's data control). Not owned.
    void setDataSource(const RowSource* source) noexcept { source_ = source; }
    const RowSource* dataSource() const noexcept { return source_; }

    // The grid's method with dispatch identifier 110: take up the data now bound to the source.
    void rebind();
    // Re-reads the rows of the source.
    void refresh();
    // Lets go of the data: the grid shows nothing until rebind().
    void close();
    bool showingData() const noexcept { return attached_; }

    // What is shown (empty when detached or the source is not open).
    std::vector<std::string> columns() const;
    std::size_t rowCount() const;
    std::vector<std::string> rowTexts(std::size_t row) const;
    // Rows first .. first + count - 1 of what is shown, cut at rowCount().
    std::vector<std::vector<std::string>> rowWindow(std::size_t first, std::size_t count) const;

    // The three editing permissions (the grid's properties 1, 2 and 4).
    bool allowAddNew() const noexcept { return allowAddNew_; }
    bool allowDelete() const noexcept { return allowDelete_; }
    bool allowUpdate() const noexcept { return allowUpdate_; }
    void setAllowAddNew(bool allow);
    void setAllowDelete(bool allow);
    void setAllowUpdate(bool allow);
    void setEditing(bool allow);  // all three at once

    void captureDesign() override;
    void restoreDesign() override;

  private:
    const RowSource* source_ = nullptr;
    bool attached_ = true;
    bool allowAddNew_ = false, allowDelete_ = false, allowUpdate_ = false;
    struct Design {
        bool addNew = false, del = false, update = false;
    } design_;
};

// Where frmMain's data control `adodata` sits. The data control object itself (ado::Adodc) is
// installed with setBinding on first use (shell/data_control.h); the grids read their rows through
// this slot.
class DataControl final : public Control, public RowSource {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::DataControl; }
    void setBinding(std::shared_ptr<RowSource> binding) { binding_ = std::move(binding); }
    RowSource* binding() const noexcept { return binding_.get(); }

    bool isOpen() const override { return binding_ && binding_->isOpen(); }
    std::vector<std::string> columnNames() const override;
    std::size_t rowCount() const override;
    std::vector<std::string> rowTexts(std::size_t row) const override;
    std::vector<std::vector<std::string>> rowWindow(std::size_t first, std::size_t count) const override;

  private:
    std::shared_ptr<RowSource> binding_;
};

class ProgressBar final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::ProgressBar; }
    void describe(PropertyVisitor& visitor) const override;
    // Single-precision, as the original control. Values are kept as given, never clamped: a value
    // outside min..max is the view's to draw (full or empty).
    float min() const noexcept { return min_; }
    float max() const noexcept { return max_; }
    float value() const noexcept { return value_; }
    void setMin(float v);
    void setMax(float v);
    void setValue(float v);
    void captureDesign() override;
    void restoreDesign() override;

  private:
    float min_ = 0.0f, max_ = 100.0f, value_ = 0.0f;
    struct Design {
        float min = 0.0f, max = 100.0f, value = 0.0f;
    } design_;
};

class MenuItem final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::MenuItem; }
    void describe(PropertyVisitor& visitor) const override;
    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    bool checked() const noexcept { return checked_; }
    void setChecked(bool checked);
    bool isSeparator() const noexcept { return caption_ == "-"; }
    // The menu bar entry that holds the item (nullptr for a bar entry).
    MenuItem* parentMenu() const noexcept { return parent_; }
    void setParentMenu(MenuItem* parent) noexcept { parent_ = parent; }
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::string caption_, designCaption_;
    bool checked_ = false, designChecked_ = false;
    MenuItem* parent_ = nullptr;
};

// A timer ticks every `interval` milliseconds while it is enabled and its form is loaded. The
// host keeps time (Screen::elapsedMs) and calls tick(); the timer says when it is due.
class Timer final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Timer; }
    void describe(PropertyVisitor& visitor) const override;
    int interval() const noexcept { return interval_; }
    void setInterval(int ms);  // error 380 when negative; 0 stops ticking
    // VB's Enabled: setting it (or the interval) starts the count again.
    void setTimerEnabled(bool enabled);
    std::function<void()> onTimer;

    // Whether the timer runs now (enabled, interval > 0, form loaded).
    bool running() const;
    // The host time (ms) of the next tick; meaningful when running().
    std::int64_t nextDueMs() const noexcept { return nextDue_; }
    // The host calls this at the due time: schedules the next tick, then runs Timer.
    void tick();
    // The form calls this when it loads / unloads.
    void arm();
    void captureDesign() override;
    void restoreDesign() override;

  private:
    int interval_ = 0, designInterval_ = 0;
    std::int64_t nextDue_ = 0;
};

struct Date {
    int year = 1899, month = 12, day = 30;
    friend bool operator==(const Date&, const Date&) = default;
};

class Calendar final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::Calendar; }
    void describe(PropertyVisitor& visitor) const override;
    const Date& value() const noexcept { return value_; }
    void setValue(Date date);
    // Today's date from the platform clock.
    void today();
    // The user clicks a day: it becomes the value, then Click is raised.
    bool userClickDate(Date date);

  private:
    Date value_;
};

// The tab strip: its pages, the current page, Click (with the page shown before) and DblClick.
class TabStrip final : public Control {
  public:
    using Control::Control;
    ControlKind kind() const override { return ControlKind::TabStrip; }
    void describe(PropertyVisitor& visitor) const override;
    int tabCount() const noexcept { return static_cast<int>(captions_.size()); }
    const std::string& tabCaption(int tab) const;
    void addTab(std::string caption) { captions_.push_back(std::move(caption)); }
    int tab() const noexcept { return tab_; }
    // Shows page `tab`; when it differs, Click is raised with the page shown before.
    // Error 380 outside 0..tabCount-1.
    void setTab(int tab);
    std::function<void(int previousTab)> onTabClick;
    // The user clicks a page's tab.
    bool userSelectTab(int tab);
    void captureDesign() override;
    void restoreDesign() override;

  private:
    std::vector<std::string> captions_;
    int tab_ = 0, designTab_ = 0;
};

// A control array: members by index, as VB's Name(Index).
template <class T>
class ControlArray {
  public:
    explicit ControlArray(std::string name) : name_(std::move(name)) {}
    const std::string& name() const noexcept { return name_; }
    // Error 340 for an index without a member.
    T& operator()(int index) const;
    bool contains(int index) const { return members_.count(index) != 0; }
    std::vector<int> indexes() const {
        std::vector<int> out;
        for (const auto& entry : members_) out.push_back(entry.first);
        return out;
    }
    std::size_t size() const noexcept { return members_.size(); }
    // Members in index order.
    auto begin() const { return members_.begin(); }
    auto end() const { return members_.end(); }
    void add(int index, T& member) { members_[index] = &member; }

  private:
    std::string name_;
    std::map<int, T*> members_;
};

[[noreturn]] void raiseMissingArrayElement(int index);

template <class T>
T& ControlArray<T>::operator()(int index) const {
    auto it = members_.find(index);
    if (it == members_.end()) raiseMissingArrayElement(index);
    return *it->second;
}

}  // namespace qx::forms
