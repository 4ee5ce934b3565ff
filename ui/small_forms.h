// The six small forms as Qt dialogs, each named after its form and holding its controls by name
// (control_name.h) with their design captions. Whether a form is modal is decided when it is shown
// (form_binding.h): frmGridSecurity, frmWarning and frmCompress block the main window;
// frmSM, frmDetails and frmDate do not. Showing never blocks the caller: the models keep the
// program's order of events, the windows only mirror it.
#pragma once

#include <QDialog>

#include <functional>

namespace qx::ui {

class FormView : public QDialog {
  public:
    explicit FormView(const char* formName, QWidget* parent = nullptr);

    // Called when the user closes the form with its window frame; returning false keeps it open.
    // Without a handler the form just hides.
    std::function<bool()> onCloseRequest;

    // Escape: ignored (see small_forms.cc).
    void reject() override;

  protected:
    void closeEvent(QCloseEvent* event) override;
};

// frmSM "Free Memory": two bars, two percentage lines, Details and Quit.
class MemoryMonitorView final : public FormView {
  public:
    explicit MemoryMonitorView(QWidget* parent = nullptr);
};

// frmDetails "Memory Status": the six memory figures and OK.
class MemoryDetailsView final : public FormView {
  public:
    explicit MemoryDetailsView(QWidget* parent = nullptr);
};

// frmGridSecurity "Database Grid - Security": the unlock code entry.
class GridSecurityView final : public FormView {
  public:
    explicit GridSecurityView(QWidget* parent = nullptr);
};

// frmDate "Invoice Date Selection": the calendar.
class DateView final : public FormView {
  public:
    explicit DateView(QWidget* parent = nullptr);
};

// frmWarning "Backup Declaration": the warning before compaction.
class WarningView final : public FormView {
  public:
    explicit WarningView(QWidget* parent = nullptr);
};

// frmCompress: drive, folder and database lists, the status list and the three buttons.
class CompressView final : public FormView {
  public:
    explicit CompressView(QWidget* parent = nullptr);
};

}  // namespace qx::ui
