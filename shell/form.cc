#include "shell/form.h"

#include <algorithm>
#include <utility>

#include "platform/errors.h"

namespace qx::forms {

// ---- Screen -----------------------------------------------------------------------------------

void Screen::setMousePointer(int pointer) {
    if (mousePointer_ == pointer) return;
    mousePointer_ = pointer;
    changed.notify();
}

Form* Screen::findForm(std::string_view name) const {
    for (Form* form : forms_)
        if (form->name() == name) return form;
    return nullptr;
}

std::vector<Form*> Screen::loadedForms() const {
    std::vector<Form*> out;
    for (Form* form : forms_)
        if (form->loaded()) out.push_back(form);
    return out;
}

bool Screen::acceptsInput(const Form& form) const noexcept {
    return modal_.empty() || modal_.back() == &form;
}

std::vector<Timer*> Screen::runningTimers() const {
    std::vector<Timer*> out;
    for (Form* form : forms_) {
        if (!form->loaded()) continue;
        for (Control* control : form->controls()) {
            if (control->kind() != ControlKind::Timer) continue;
            auto* timer = static_cast<Timer*>(control);
            if (timer->running()) out.push_back(timer);
        }
    }
    return out;
}

void Screen::remove(Form* form) {
    std::erase(forms_, form);
    std::erase(modal_, form);
    std::erase_if(held_,
                  [form](const auto& hold) { return hold.second == form || &hold.first->form() == form; });
}

void Screen::holdPressed(CommandButton& button, Form& modal) {
    held_.emplace_back(&button, &modal);
}

void Screen::beginGesture() {
    if (held_.empty()) return;
    std::vector<CommandButton*> released;
    std::erase_if(held_, [&](const auto& hold) {
        const bool gone = std::find(modal_.begin(), modal_.end(), hold.second) == modal_.end();
        if (gone) released.push_back(hold.first);
        return gone;
    });
    for (CommandButton* button : released) button->releaseHold();
}

void Screen::pushModal(Form* form) {
    std::erase(modal_, form);
    modal_.push_back(form);
    changed.notify();
}

void Screen::dropModal(Form* form) {
    const auto before = modal_.size();
    std::erase(modal_, form);
    if (modal_.size() != before) changed.notify();
}

// ---- Form -------------------------------------------------------------------------------------

Form::Form(FormContext context, std::string name) : context_(context), name_(std::move(name)) {
    context_.screen.add(this);
}

Form::~Form() {
    context_.screen.remove(this);
}

void Form::setCaption(std::string caption) {
    if (caption_ == caption) return;
    caption_ = std::move(caption);
    changed.notify();
}

void Form::setMousePointer(int pointer) {
    if (mousePointer_ == pointer) return;
    mousePointer_ = pointer;
    changed.notify();
}

void Form::load() {
    if (loaded_) return;
    loaded_ = true;
    // The folder lists open on the current folder, as the original's did when a form was created.
    for (Control* control : registry_) {
        switch (control->kind()) {
            case ControlKind::DirListBox:
                static_cast<DirListBox*>(control)->startAtCurrentFolder();
                break;
            case ControlKind::FileListBox:
                static_cast<FileListBox*>(control)->startAtCurrentFolder();
                break;
            case ControlKind::DriveListBox:
                static_cast<DriveListBox*>(control)->startAtCurrentFolder();
                break;
            case ControlKind::Timer:
                static_cast<Timer*>(control)->arm();
                break;
            default:
                break;
        }
    }
    changed.notify();
    context_.screen.changed.notify();
    if (onLoad) onLoad();
}

void Form::show(bool modal) {
    if (!modal && context_.screen.activeModal() != nullptr && context_.screen.activeModal() != this)
        raise(kErrCantShowNonModal, "Can't show non-modal form when modal form is displayed");
    load();
    // Load may have unloaded the form again (or ended the program by throwing).
    if (!loaded_) return;
    visible_ = true;
    if (modal) {
        modal_ = true;
        context_.screen.pushModal(this);
    }
    changed.notify();
    context_.screen.changed.notify();
}

void Form::hide() {
    if (!visible_ && !modal_) return;
    visible_ = false;
    modal_ = false;
    context_.screen.dropModal(this);
    changed.notify();
    context_.screen.changed.notify();
}

void Form::unload() {
    if (!loaded_) return;
    if (onUnload) onUnload();
    loaded_ = false;
    visible_ = false;
    modal_ = false;
    focus_ = nullptr;
    context_.screen.dropModal(this);
    restoreDesign();
    changed.notify();
    context_.screen.changed.notify();
}

Control* Form::find(std::string_view name, int index) const {
    for (Control* control : registry_)
        if (control->name() == name && control->index() == index) return control;
    return nullptr;
}

void Form::setFocused(Control* control) {
    if (focus_ == control) return;
    focus_ = control;
    changed.notify();
}

void Form::captureDesign() {
    designCaption_ = caption_;
    for (Control* control : registry_) control->captureDesign();
}

void Form::restoreDesign() {
    caption_ = designCaption_;
    mousePointer_ = kPointerDefault;
    for (Control* control : registry_) control->restoreDesign();
}

void Form::groupOptions(const std::vector<OptionButton*>& buttons) {
    auto group = std::make_shared<std::vector<OptionButton*>>(buttons);
    for (OptionButton* button : buttons) button->setGroup(group);
}

}  // namespace qx::forms
