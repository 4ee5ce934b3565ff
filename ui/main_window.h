// The main window (form frmMain) as Qt widgets: the four-page tab control SSTab1, the File and
// Setup menus, and every control of the four pages, each named after its control (control_name.h)
// and carrying its design caption and tooltip. The view holds no state of its own: the binding
// (form_binding.h) copies the form model into it and turns user actions into the model's events.
#pragma once

#include <QMainWindow>

#include <functional>

class QAction;
class QTabWidget;

namespace qx::ui {

class MainWindowView final : public QMainWindow {
  public:
    explicit MainWindowView(QWidget* parent = nullptr);

    QTabWidget* tabs() const { return tabs_; }
    QAction* action(const char* objectName) const;

    // Called when the user closes the window with its frame; returning false keeps it open.
    std::function<bool()> onCloseRequest;
    // Called on a double-click on the tab strip (the second, "Clear All"-like tab event).
    std::function<void()> onTabStripDoubleClick;

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void buildMenus();
    QWidget* buildSoftwareUtilities();
    QWidget* buildDatabaseCounts();
    QWidget* buildDatabaseSearch();
    QWidget* buildDataMaintenance();

    QTabWidget* tabs_ = nullptr;
};

}  // namespace qx::ui
