// Forms as plain objects: caption, loaded and visible state, modal display, the mouse pointer, and
// the controls they own; plus the Screen, which knows every form, which modal form is up, the
// screen-wide mouse pointer and the host's clock for timers.
//
// Lifecycle as in VB: load() raises Load once; show() loads if needed and makes the form visible
// (modally or not); hide() only hides; unload() raises Unload, hides, and returns every control and
// the caption to their design values, so the next load starts afresh. A modal form does not block
// the C++ call that shows it (nothing in this program runs after a modal Show in the same
// handler); instead the Screen records it, and the hosts refuse gestures on other forms meanwhile.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/system.h"
#include "shell/controls.h"
#include "shell/notifier.h"

namespace qx::forms {

class Screen {
  public:
    // VB's Screen.MousePointer (0 default, 11 hourglass).
    int mousePointer() const noexcept { return mousePointer_; }
    void setMousePointer(int pointer);

    // Every form that exists, in creation order (loaded or not).
    const std::vector<Form*>& forms() const noexcept { return forms_; }
    Form* findForm(std::string_view name) const;
    std::vector<Form*> loadedForms() const;

    // Modal forms shown and not yet hidden, innermost last.
    const std::vector<Form*>& modalStack() const noexcept { return modal_; }
    Form* activeModal() const noexcept { return modal_.empty() ? nullptr : modal_.back(); }
    // Whether the user may act on `form` now: no modal form is up, or `form` is the innermost.
    bool acceptsInput(const Form& form) const noexcept;

    // The host's time for timers, in milliseconds since the host started. Only the host moves it.
    std::int64_t elapsedMs() const noexcept { return elapsedMs_; }
    void setElapsedMs(std::int64_t ms) noexcept { elapsedMs_ = ms; }

    // The timers that run now, in creation order.
    std::vector<Timer*> runningTimers() const;

    // A button whose Click showed `modal` stays pressed until the first gesture after `modal` has
    // gone (see CommandButton::pressed).
    void holdPressed(CommandButton& button, Form& modal);
    // Called at the start of every user gesture: lets go of the buttons whose modal form has gone.
    void beginGesture();

    // Raised when the pointer changes or a form is loaded, unloaded, shown or hidden.
    Notifier changed;

    // VB's DoEvents: a long handler calls it between pieces of work so that the host can repaint
    // what changed (a label, a progress bar) and keep its windows alive. The host installs
    // onDoEvents; without one it does nothing.
    void doEvents() const {
        if (onDoEvents) onDoEvents();
    }
    std::function<void()> onDoEvents;

  private:
    friend class Form;
    void add(Form* form) { forms_.push_back(form); }
    void remove(Form* form);
    void pushModal(Form* form);
    void dropModal(Form* form);

    int mousePointer_ = kPointerDefault;
    std::vector<Form*> forms_;
    std::vector<Form*> modal_;
    std::vector<std::pair<CommandButton*, Form*>> held_;
    std::int64_t elapsedMs_ = 0;
};

// What a form needs from the program: the host services (files, clock) and the screen.
struct FormContext {
    platform::Platform& os;
    Screen& screen;
};

class Form {
  public:
    Form(FormContext context, std::string name);
    virtual ~Form();
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    const std::string& name() const noexcept { return name_; }
    platform::Platform& os() const noexcept { return context_.os; }
    Screen& screen() const noexcept { return context_.screen; }

    const std::string& caption() const noexcept { return caption_; }
    void setCaption(std::string caption);
    bool loaded() const noexcept { return loaded_; }
    bool visible() const noexcept { return visible_; }
    // Whether it is shown modally now.
    bool modal() const noexcept { return modal_; }
    // The form's own MousePointer (0 default, 11 hourglass).
    int mousePointer() const noexcept { return mousePointer_; }
    void setMousePointer(int pointer);

    // VB's Load: nothing when already loaded; else marks it loaded, starts the list controls at the
    // current folder and the timers, and raises Load. If Load throws, the form stays loaded.
    void load();
    // VB's Show [vbModal]: loads if needed, makes the form visible. Showing a form modelessly while
    // a modal form is up raises error 401, as VB does.
    void show(bool modal = false);
    void hide();
    // VB's Unload: nothing when not loaded; else raises Unload, then hides it and resets it.
    void unload();

    // Event procedures.
    std::function<void()> onLoad;
    std::function<void()> onUnload;

    // Every control in creation order, and lookup by name and array index (-1: not an array).
    const std::vector<Control*>& controls() const noexcept { return registry_; }
    Control* find(std::string_view name, int index = -1) const;

    // The control that has the keyboard focus, or nullptr.
    Control* focused() const noexcept { return focus_; }
    void setFocused(Control* control);

    // Raised when caption, loaded, visible, modal or pointer change, or the focus moves.
    Notifier changed;

  protected:
    template <class T>
    T& make(std::string name, int index = -1) {
        auto owned = std::make_unique<T>(*this, std::move(name), index);
        T& ref = *owned;
        registry_.push_back(owned.get());
        owned_.push_back(std::move(owned));
        return ref;
    }
    template <class T>
    T& member(ControlArray<T>& array, int index) {
        T& ref = make<T>(array.name(), index);
        array.add(index, ref);
        return ref;
    }
    // Derived forms call this at the end of their constructor, once the design values are set.
    void captureDesign();
    // Option buttons that exclude each other.
    static void groupOptions(const std::vector<OptionButton*>& buttons);

  private:
    void restoreDesign();

    FormContext context_;
    std::string name_;
    std::string caption_, designCaption_;
    bool loaded_ = false, visible_ = false, modal_ = false;
    int mousePointer_ = kPointerDefault;
    Control* focus_ = nullptr;
    std::vector<std::unique_ptr<Control>> owned_;
    std::vector<Control*> registry_;
};

}  // namespace qx::forms
