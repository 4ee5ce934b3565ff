#include "shell/controls.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/errors.h"
#include "platform/utf8.h"
#include "shell/form.h"

namespace qx::forms {

void raiseMissingArrayElement(int index) {
    qx::raise(kErrControlArrayElementMissing,
              "Control array element '" + std::to_string(index) + "' doesn't exist");
}

// ---- Control ----------------------------------------------------------------------------------

Control::Control(Form& form, std::string name, int index)
    : form_(&form), name_(std::move(name)), index_(index) {}

std::string Control::path() const {
    std::string out = form_->name() + "." + name_;
    if (index_ >= 0) out += "(" + std::to_string(index_) + ")";
    return out;
}

void Control::setVisible(bool visible) {
    if (visible_ == visible) return;
    visible_ = visible;
    touch();
}

void Control::setEnabled(bool enabled) {
    if (enabled_ == enabled) return;
    enabled_ = enabled;
    touch();
}

void Control::setToolTipText(std::string text) {
    if (toolTip_ == text) return;
    toolTip_ = std::move(text);
    touch();
}

void Control::setFocus() {
    // VB refuses the focus to a control the user could not reach either.
    if (!visible_ || !enabled_) qx::raise(err::kInvalidProcedureCall);
    form_->setFocused(this);
}

bool Control::hasFocus() const {
    return form_->focused() == this;
}

bool Control::reachable() const noexcept {
    return visible_ && enabled_;
}

bool Control::startGesture() {
    form_->screen().beginGesture();
    return reachable();
}

bool Control::userClick() {
    if (!startGesture()) return false;
    fire(onClick);
    return true;
}

bool Control::userDblClick() {
    if (!startGesture()) return false;
    fire(onDblClick);
    return true;
}

bool Control::userKeyPress(int code) {
    if (!startGesture()) return false;
    auto keyAscii = static_cast<std::int16_t>(code);
    if (onKeyPress) onKeyPress(keyAscii);
    return true;
}

void Control::captureDesign() {
    design_ = {visible_, enabled_, toolTip_};
}

void Control::restoreDesign() {
    visible_ = design_.visible;
    enabled_ = design_.enabled;
    toolTip_ = design_.toolTip;
    touch();
}

// ---- Label, Frame -----------------------------------------------------------------------------

void Label::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}
void Label::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
}
void Label::restoreDesign() {
    caption_ = designCaption_;
    Control::restoreDesign();
}

void Frame::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}
void Frame::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
}
void Frame::restoreDesign() {
    caption_ = designCaption_;
    Control::restoreDesign();
}

// ---- CommandButton ----------------------------------------------------------------------------

void CommandButton::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}

void CommandButton::press() {
    // The button stays down for as long as its own Click runs, also when that ends in an error or
    // in the program's end, and beyond while a modal form that the Click showed is up.
    struct Release {
        CommandButton& button;
        bool was;
        Form* modalBefore;
        ~Release() {
            Screen& screen = button.form().screen();
            Form* modalAfter = screen.activeModal();
            if (!was && modalAfter != nullptr && modalAfter != modalBefore) {
                screen.holdPressed(button, *modalAfter);
            } else {
                button.pressed_ = was;
            }
        }
    } release{*this, pressed_, form().screen().activeModal()};
    pressed_ = true;
    fire(onClick);
}

void CommandButton::releaseHold() {
    if (!pressed_) return;
    pressed_ = false;
    touch();
}

bool CommandButton::userClick() {
    if (!startGesture()) return false;
    press();
    return true;
}

void CommandButton::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
}
void CommandButton::restoreDesign() {
    caption_ = designCaption_;
    pressed_ = false;
    Control::restoreDesign();
}

// ---- CheckBox ---------------------------------------------------------------------------------

void CheckBox::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}

void CheckBox::setValue(std::int16_t value) {
    if (value < 0 || value > 2) qx::raise(kErrInvalidPropertyValue, "Invalid property value");
    if (value_ == value) return;
    value_ = value;
    touch();
    fire(onClick);
}

bool CheckBox::userClick() {
    if (!startGesture()) return false;
    setValue(value_ == 0 ? 1 : 0);
    return true;
}

void CheckBox::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
    designValue_ = value_;
}
void CheckBox::restoreDesign() {
    caption_ = designCaption_;
    value_ = designValue_;
    Control::restoreDesign();
}

// ---- OptionButton -----------------------------------------------------------------------------

void OptionButton::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}

void OptionButton::setValue(bool value) {
    if (!value) {
        if (!value_) return;
        value_ = false;
        touch();
        return;
    }
    if (value_) return;
    if (group_) {
        for (OptionButton* other : *group_) {
            if (other != this && other->value_) {
                other->value_ = false;
                other->touch();
            }
        }
    }
    value_ = true;
    touch();
    fire(onClick);
}

bool OptionButton::userClick() {
    if (!startGesture()) return false;
    if (value_) {
        fire(onClick);
    } else {
        setValue(true);
    }
    return true;
}

void OptionButton::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
    designValue_ = value_;
}
void OptionButton::restoreDesign() {
    caption_ = designCaption_;
    value_ = designValue_;
    Control::restoreDesign();
}

// ---- TextBox ----------------------------------------------------------------------------------

void TextBox::setText(std::string text) {
    if (text_ == text) return;
    text_ = std::move(text);
    touch();
    fire(onChange);
}

namespace {

// Removes the last UTF-8 character (not byte) of `text`.
void dropLastCharacter(std::string& text) {
    if (text.empty()) return;
    std::size_t end = text.size() - 1;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text.erase(end);
}

// Decodes the UTF-8 character at `pos` and moves past it; a malformed byte stands for itself.
std::uint32_t nextCodePoint(std::string_view s, std::size_t& pos) {
    const auto b0 = static_cast<unsigned char>(s[pos]);
    std::size_t len = 1;
    std::uint32_t cp = b0;
    if (b0 >= 0xF0) {
        len = 4;
        cp = b0 & 0x07;
    } else if (b0 >= 0xE0) {
        len = 3;
        cp = b0 & 0x0F;
    } else if (b0 >= 0xC0) {
        len = 2;
        cp = b0 & 0x1F;
    }
    if (len == 1 || pos + len > s.size()) {
        ++pos;
        return b0;
    }
    for (std::size_t i = 1; i < len; ++i) {
        const auto b = static_cast<unsigned char>(s[pos + i]);
        if ((b & 0xC0) != 0x80) {
            ++pos;
            return b0;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    pos += len;
    return cp;
}

}  // namespace

bool TextBox::userKeyPress(int code) {
    if (!startGesture()) return false;
    auto keyAscii = static_cast<std::int16_t>(code);
    if (onKeyPress) onKeyPress(keyAscii);
    if (keyAscii == 0) return true;
    std::string next = text_;
    if (keyAscii == 8) {
        dropLastCharacter(next);
    } else if (keyAscii < 32) {
        return true;  // Enter, Tab and other control keys put nothing into a one-line box
    } else {
        platform::appendUtf8(next, static_cast<std::uint16_t>(keyAscii));
    }
    setText(std::move(next));
    return true;
}

bool TextBox::userType(std::string_view text) {
    if (!startGesture()) return false;
    std::size_t pos = 0;
    while (pos < text.size()) userKeyPress(static_cast<int>(nextCodePoint(text, pos)));
    return true;
}

void TextBox::captureDesign() {
    Control::captureDesign();
    designText_ = text_;
}
void TextBox::restoreDesign() {
    text_ = designText_;
    Control::restoreDesign();
}

// ---- ListBox ----------------------------------------------------------------------------------

std::string ListBox::list(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) return {};
    return items_[static_cast<std::size_t>(index)];
}

void ListBox::addItem(std::string item, int index) {
    if (index < -1 || index > static_cast<int>(items_.size())) qx::raise(err::kInvalidProcedureCall);
    const std::size_t at = index < 0 ? items_.size() : static_cast<std::size_t>(index);
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
    selected_.insert(selected_.begin() + static_cast<std::ptrdiff_t>(at), false);
    if (listIndex_ >= 0 && static_cast<std::size_t>(listIndex_) >= at) ++listIndex_;
    touch();
}

void ListBox::removeItem(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= items_.size()) qx::raise(err::kInvalidProcedureCall);
    items_.erase(items_.begin() + index);
    selected_.erase(selected_.begin() + index);
    if (listIndex_ == index)
        listIndex_ = -1;
    else if (listIndex_ > index)
        --listIndex_;
    touch();
}

void ListBox::clear() {
    items_.clear();
    selected_.clear();
    listIndex_ = -1;
    touch();
}

void ListBox::replaceItems(std::vector<std::string> items) {
    items_ = std::move(items);
    selected_.assign(items_.size(), false);
    listIndex_ = -1;
    touch();
}

void ListBox::setListIndex(int index) {
    if (index < -1 || index >= static_cast<int>(items_.size()))
        qx::raise(kErrInvalidPropertyValue, "Invalid property value");
    if (listIndex_ == index) return;
    listIndex_ = index;
    touch();
    fire(onClick);
}

void ListBox::checkIndex(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= items_.size())
        qx::raise(kErrInvalidPropertyArrayIndex, "Invalid property array index");
}

bool ListBox::selected(int index) const {
    checkIndex(index);
    if (multiSelect_ == 0) return listIndex_ == index;
    return selected_[static_cast<std::size_t>(index)];
}

void ListBox::setSelected(int index, bool selected) {
    checkIndex(index);
    if (multiSelect_ == 0) {
        if (selected) {
            setListIndex(index);
        } else if (listIndex_ == index) {
            setListIndex(-1);
        }
        return;
    }
    const auto at = static_cast<std::size_t>(index);
    const bool differs = selected_[at] != selected || listIndex_ != index;
    if (!differs) return;
    selected_[at] = selected;
    listIndex_ = index;
    touch();
    fire(onClick);
}

std::vector<int> ListBox::selectedIndexes() const {
    std::vector<int> out;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const bool on = multiSelect_ == 0 ? listIndex_ == static_cast<int>(i) : selected_[i];
        if (on) out.push_back(static_cast<int>(i));
    }
    return out;
}

void ListBox::setAppearance(std::int16_t appearance) {
    if (appearance_ == appearance) return;
    appearance_ = appearance;
    touch();
}
void ListBox::setBackColor(std::uint32_t color) {
    if (backColor_ == color) return;
    backColor_ = color;
    touch();
}
void ListBox::setHeight(int twips) {
    if (height_ == twips) return;
    height_ = twips;
    touch();
}

bool ListBox::userSelect(int index) {
    if (!startGesture()) return false;
    checkIndex(index);
    switch (multiSelect_) {
        case 0:
            if (listIndex_ == index)
                fire(onClick);  // a click on the current line still clicks
            else
                setListIndex(index);
            break;
        case 1:
            setSelected(index, !selected_[static_cast<std::size_t>(index)]);
            break;
        default:
            for (std::size_t i = 0; i < selected_.size(); ++i) selected_[i] = false;
            selected_[static_cast<std::size_t>(index)] = true;
            listIndex_ = index;
            touch();
            fire(onClick);
            break;
    }
    return true;
}

void ListBox::captureDesign() {
    Control::captureDesign();
    design_ = {items_, appearance_, backColor_, height_};
}

void ListBox::restoreDesign() {
    items_ = design_.items;
    selected_.assign(items_.size(), false);
    listIndex_ = -1;
    appearance_ = design_.appearance;
    backColor_ = design_.backColor;
    height_ = design_.height;
    Control::restoreDesign();
}

// ---- DirListBox, FileListBox, DriveListBox ----------------------------------------------------

void DirListBox::setPath(std::string_view path) {
    const auto& fs = form().os().fs;
    std::string canonical = fs.canonicalFolder(path);
    if (canonical == path_) return;
    auto folders = fs.subfolders(canonical);
    path_ = std::move(canonical);
    replaceItems(std::move(folders));
    fire(onChange);
}

void DirListBox::refreshFolders() {
    if (path_.empty()) return;
    replaceItems(form().os().fs.subfolders(path_));
}

void DirListBox::startAtCurrentFolder() {
    const auto& fs = form().os().fs;
    path_ = fs.currentFolder(fs.currentDrive());
    replaceItems(fs.subfolders(path_));
}

void DirListBox::restoreDesign() {
    path_.clear();
    ListBox::restoreDesign();
}

void FileListBox::setPath(std::string_view path) {
    const auto& fs = form().os().fs;
    std::string canonical = fs.canonicalFolder(path);
    if (canonical == path_) return;
    auto files = fs.files(canonical, pattern_);
    path_ = std::move(canonical);
    replaceItems(std::move(files));
    fire(onPathChange);
}

void FileListBox::setPattern(std::string pattern) {
    if (pattern == pattern_) return;
    pattern_ = std::move(pattern);
    if (!path_.empty())
        replaceItems(form().os().fs.files(path_, pattern_));
    else
        touch();
    fire(onPatternChange);
}

void FileListBox::refreshFiles() {
    if (path_.empty()) return;
    replaceItems(form().os().fs.files(path_, pattern_));
}

void FileListBox::startAtCurrentFolder() {
    const auto& fs = form().os().fs;
    path_ = fs.currentFolder(fs.currentDrive());
    replaceItems(fs.files(path_, pattern_));
}

void FileListBox::captureDesign() {
    ListBox::captureDesign();
    designPattern_ = pattern_;
}

void FileListBox::restoreDesign() {
    path_.clear();
    pattern_ = designPattern_;
    ListBox::restoreDesign();
}

namespace {
char lowerDrive(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
}  // namespace

void DriveListBox::setDrive(std::string_view drive) {
    if (drive.empty()) qx::raise(err::kDeviceUnavailable);
    const char letter = lowerDrive(drive.front());
    const auto& fs = form().os().fs;
    const auto mapped = fs.drives();
    const bool known =
        std::any_of(mapped.begin(), mapped.end(), [letter](char d) { return lowerDrive(d) == letter; });
    if (!known) qx::raise(err::kDeviceUnavailable);
    std::string next{letter, ':'};
    if (next == drive_) return;
    drive_ = std::move(next);
    touch();
    fire(onChange);
}

void DriveListBox::startAtCurrentFolder() {
    const auto& fs = form().os().fs;
    std::vector<std::string> names;
    for (char d : fs.drives()) names.push_back(std::string{lowerDrive(d), ':'});
    drive_ = std::string{lowerDrive(fs.currentDrive()), ':'};
    replaceItems(std::move(names));
}

void DriveListBox::restoreDesign() {
    drive_.clear();
    ListBox::restoreDesign();
}

// ---- Grid, DataControl ------------------------------------------------------------------------

void Grid::rebind() {
    attached_ = true;
    touch();
}

void Grid::refresh() {
    touch();
}

void Grid::close() {
    attached_ = false;
    touch();
}

std::vector<std::string> Grid::columns() const {
    if (!attached_ || !source_ || !source_->isOpen()) return {};
    return source_->columnNames();
}

std::size_t Grid::rowCount() const {
    if (!attached_ || !source_ || !source_->isOpen()) return 0;
    return source_->rowCount();
}

std::vector<std::string> Grid::rowTexts(std::size_t row) const {
    if (row >= rowCount()) return {};
    return source_->rowTexts(row);
}

std::vector<std::vector<std::string>> Grid::rowWindow(std::size_t first, std::size_t count) const {
    if (first >= rowCount()) return {};
    return source_->rowWindow(first, count);
}

void Grid::setAllowAddNew(bool allow) {
    if (allowAddNew_ == allow) return;
    allowAddNew_ = allow;
    touch();
}
void Grid::setAllowDelete(bool allow) {
    if (allowDelete_ == allow) return;
    allowDelete_ = allow;
    touch();
}
void Grid::setAllowUpdate(bool allow) {
    if (allowUpdate_ == allow) return;
    allowUpdate_ = allow;
    touch();
}
void Grid::setEditing(bool allow) {
    setAllowAddNew(allow);
    setAllowDelete(allow);
    setAllowUpdate(allow);
}

void Grid::captureDesign() {
    Control::captureDesign();
    design_ = {allowAddNew_, allowDelete_, allowUpdate_};
}
void Grid::restoreDesign() {
    allowAddNew_ = design_.addNew;
    allowDelete_ = design_.del;
    allowUpdate_ = design_.update;
    attached_ = true;
    Control::restoreDesign();
}

std::vector<std::string> DataControl::columnNames() const {
    return isOpen() ? binding_->columnNames() : std::vector<std::string>{};
}
std::size_t DataControl::rowCount() const {
    return isOpen() ? binding_->rowCount() : 0;
}
std::vector<std::string> DataControl::rowTexts(std::size_t row) const {
    return isOpen() ? binding_->rowTexts(row) : std::vector<std::string>{};
}
std::vector<std::vector<std::string>> DataControl::rowWindow(std::size_t first, std::size_t count) const {
    return isOpen() ? binding_->rowWindow(first, count) : std::vector<std::vector<std::string>>{};
}

// ---- ProgressBar ------------------------------------------------------------------------------

void ProgressBar::setMin(float v) {
    if (min_ == v) return;
    min_ = v;
    touch();
}
void ProgressBar::setMax(float v) {
    if (max_ == v) return;
    max_ = v;
    touch();
}
void ProgressBar::setValue(float v) {
    if (value_ == v) return;
    value_ = v;
    touch();
}
void ProgressBar::captureDesign() {
    Control::captureDesign();
    design_ = {min_, max_, value_};
}
void ProgressBar::restoreDesign() {
    min_ = design_.min;
    max_ = design_.max;
    value_ = design_.value;
    Control::restoreDesign();
}

// ---- MenuItem ---------------------------------------------------------------------------------

void MenuItem::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    touch();
}
void MenuItem::setChecked(bool checked) {
    if (checked_ == checked) return;
    checked_ = checked;
    touch();
}
void MenuItem::captureDesign() {
    Control::captureDesign();
    designCaption_ = caption_;
    designChecked_ = checked_;
}
void MenuItem::restoreDesign() {
    caption_ = designCaption_;
    checked_ = designChecked_;
    Control::restoreDesign();
}

// ---- Timer ------------------------------------------------------------------------------------

void Timer::setInterval(int ms) {
    if (ms < 0) qx::raise(kErrInvalidPropertyValue, "Invalid property value");
    interval_ = ms;
    arm();
    touch();
}

void Timer::setTimerEnabled(bool enabled) {
    setEnabled(enabled);
    arm();
}

bool Timer::running() const {
    return enabled() && interval_ > 0 && form().loaded();
}

void Timer::arm() {
    nextDue_ = form().screen().elapsedMs() + interval_;
}

void Timer::tick() {
    nextDue_ += interval_;
    fire(onTimer);
}

void Timer::captureDesign() {
    Control::captureDesign();
    designInterval_ = interval_;
}
void Timer::restoreDesign() {
    interval_ = designInterval_;
    Control::restoreDesign();
}

// ---- Calendar ---------------------------------------------------------------------------------

void Calendar::setValue(Date date) {
    if (value_ == date) return;
    value_ = date;
    touch();
}

void Calendar::today() {
    const platform::LocalTime now = form().os().clock.now();
    setValue(Date{now.year, now.month, now.day});
}

bool Calendar::userClickDate(Date date) {
    if (!startGesture()) return false;
    setValue(date);
    fire(onClick);
    return true;
}

// ---- TabStrip ---------------------------------------------------------------------------------

const std::string& TabStrip::tabCaption(int tab) const {
    if (tab < 0 || tab >= tabCount()) qx::raise(kErrInvalidPropertyValue, "Invalid property value");
    return captions_[static_cast<std::size_t>(tab)];
}

void TabStrip::setTab(int tab) {
    if (tab < 0 || tab >= tabCount()) qx::raise(kErrInvalidPropertyValue, "Invalid property value");
    if (tab == tab_) return;
    const int previous = tab_;
    tab_ = tab;
    touch();
    if (onTabClick) onTabClick(previous);
}

bool TabStrip::userSelectTab(int tab) {
    if (!startGesture()) return false;
    setTab(tab);
    return true;
}

void TabStrip::captureDesign() {
    Control::captureDesign();
    designTab_ = tab_;
}
void TabStrip::restoreDesign() {
    tab_ = designTab_;
    Control::restoreDesign();
}

}  // namespace qx::forms

// ---- What each kind shows -----------------------------------------------------------------------

namespace qx::forms {

void Control::describe(PropertyVisitor& v) const {
    v.flag("visible", visible());
}

void Label::describe(PropertyVisitor& v) const {
    v.text("caption", caption());
    v.flag("visible", visible());
}

void Frame::describe(PropertyVisitor& v) const {
    v.text("caption", caption());
    v.flag("visible", visible());
}

void CommandButton::describe(PropertyVisitor& v) const {
    v.text("caption", caption());
    v.flag("visible", visible());
    v.flag("enabled", enabled());
}

void CheckBox::describe(PropertyVisitor& v) const {
    v.integer("value", value());
    v.text("caption", caption());
}

void OptionButton::describe(PropertyVisitor& v) const {
    v.flag("value", value());
    v.text("caption", caption());
    v.flag("visible", visible());
}

void TextBox::describe(PropertyVisitor& v) const {
    v.text("text", text());
    v.flag("visible", visible());
}

void ListBox::describe(PropertyVisitor& v) const {
    v.texts("items", items());
    v.integer("listIndex", listIndex());
    v.integers("selected", selectedIndexes());
    v.flag("visible", visible());
}

void DirListBox::describe(PropertyVisitor& v) const {
    v.text("path", dirPath());
    v.texts("items", items());
}

void FileListBox::describe(PropertyVisitor& v) const {
    v.text("path", dirPath());
    v.text("pattern", pattern());
    v.texts("items", items());
}

void DriveListBox::describe(PropertyVisitor& v) const {
    v.text("drive", drive());
    v.texts("items", items());
}

void Grid::describe(PropertyVisitor& v) const {
    v.texts("columns", columns());
    v.rows("rows", rowCount(), [this](std::size_t first, std::size_t n) { return rowWindow(first, n); });
    v.flag("visible", visible());
    v.flag("allowAddNew", allowAddNew());
    v.flag("allowDelete", allowDelete());
    v.flag("allowUpdate", allowUpdate());
}

void ProgressBar::describe(PropertyVisitor& v) const {
    v.real("min", min());
    v.real("max", max());
    v.real("value", value());
}

void MenuItem::describe(PropertyVisitor& v) const {
    v.text("caption", caption());
    v.flag("checked", checked());
    v.flag("visible", visible());
}

void Timer::describe(PropertyVisitor& v) const {
    v.integer("interval", interval());
    v.flag("enabled", enabled());
}

void Calendar::describe(PropertyVisitor& v) const {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", value().year, value().month, value().day);
    v.text("value", buf);
}

void TabStrip::describe(PropertyVisitor& v) const {
    v.integer("tab", tab());
    std::vector<std::string> captions;
    for (int i = 0; i < tabCount(); ++i) captions.push_back(tabCaption(i));
    v.texts("captions", captions);
}

}  // namespace qx::forms
