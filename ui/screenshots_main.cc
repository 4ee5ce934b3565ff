// qxtest-screenshots: opens each of the tool's windows on an installation, in the state a user
// sees after the usual first steps, and saves a PNG of each. scripts/screenshots.sh runs it under a
// virtual X server for the documentation.
//
//     qxtest-screenshots --root DIR --out DIR
//
// Pictures: the four pages of the main window (the first after "Test All (1-9)", the search page
// with the property records narrowed by a city), the memory monitor after its first refresh, the memory
// details, and the four other small forms. Any message box that comes up is answered with its
// first button and named on standard error.
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPixmap>
#include <QTabWidget>
#include <QTimer>

#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>

#include "assembly/subsystems.h"
#include "platform/posix_platform.h"
#include "shell/app.h"
#include "ui/widgets.h"
#include "ui/windows.h"

namespace {

bool save(QWidget* window, const QString& folder, const char* name) {
    if (!window) return false;
    if (window->isWindow() && window->objectName() != "frmMain") window->adjustSize();
    // A new text reaches the window's size one layout level per pass of the event loop.
    for (int pass = 0; pass < 8; ++pass) QApplication::processEvents();
    const QString path = folder + "/" + name + ".png";
    const bool ok = window->grab().save(path, "PNG");
    std::cerr << (ok ? "wrote " : "could not write ") << path.toStdString() << "\n";
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    std::string root, out;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string_view arg = argv[i];
        if (arg == "--root")
            root = argv[i + 1];
        else if (arg == "--out")
            out = argv[i + 1];
    }
    if (root.empty() || out.empty()) {
        std::cerr << "usage: qxtest-screenshots --root DIR --out DIR\n";
        return 2;
    }
    qx::platform::PosixPlatform host(qx::platform::PosixPlatformOptions{.root = root});
    QApplication qapp(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QDir().mkpath(QString::fromStdString(out));
    const QString folder = QString::fromStdString(out);

    qx::ui::QtMessageBoxes boxes;
    boxes.setShownHook([](QMessageBox& box) {
        std::cerr << "message box: " << box.windowTitle().toStdString() << ": " << box.text().toStdString()
                  << "\n";
        QAbstractButton* first = box.buttons().value(0);
        QTimer::singleShot(0, &box, [first] { first->click(); });
    });
    qx::platform::Platform& base = host.platform();
    qx::platform::Platform os{base.fs, base.profile, base.system, base.clock, boxes, base.process};
    qx::shell::Application app(os, qx::shell::buildVersion(), qx::assembly::wireSubsystems);
    qx::ui::Windows windows(app, boxes);
    std::int64_t now = 0;
    windows.binder().setElapsedSource([&now] { return now; });
    if (!windows.start()) return 1;

    auto& binder = windows.binder();
    auto& f = app.frmMain();
    qx::ui::MainWindowView& main = windows.main();
    int failures = 0;

    binder.dispatch([&] { f.cmdTestALL.userClick(); });
    failures += !save(&main, folder, "frmMain-0-software-utilities");
    for (int tab = 1; tab < 4; ++tab) {
        binder.dispatch([&] { f.SSTab1.userSelectTab(tab); });
        if (tab == 1 && f.lstTableListing.listCount() > 3) {
            // The first table of the central database opened in the viewer.
            binder.dispatch([&] { f.lstTableListing.userSelect(3); });
            binder.dispatch([&] { f.lstTableListing.userDblClick(); });
        }
        if (tab == 2) {
            // The property records narrowed to a city as it is being typed.
            binder.dispatch([&] { f.optSearch(0).userClick(); });
            binder.dispatch([&] { f.txtCity(0).userType("spring"); });
        }
        if (tab == 3) binder.dispatch([&] { f.cmdFix(4).userClick(); });  // "4-Digit Year Check"
        static const char* const names[] = {"", "frmMain-1-database-counts", "frmMain-2-database-search",
                                            "frmMain-3-data-maintenance"};
        failures += !save(&main, folder, names[tab]);
    }
    binder.dispatch([&] { f.SSTab1.userSelectTab(0); });

    // Test 10, then the monitor's first refresh three seconds later.
    binder.dispatch([&] { f.cmdMemory.userClick(); });
    now += 3000;
    binder.timerDue();
    failures += !save(windows.view("frmSM"), folder, "frmSM");
    binder.dispatch([&] { app.frmSM().Command1.userClick(); });
    failures += !save(windows.view("frmDetails"), folder, "frmDetails");
    binder.dispatch([&] { app.frmSM().Command2.userClick(); });

    // The other forms as they open.
    const struct {
        qx::forms::Form* form;
        bool modal;
        const char* file;
    } others[] = {
        {&app.frmGridSecurity(), true, "frmGridSecurity"},
        {&app.frmDate(), false, "frmDate"},
    };
    for (const auto& o : others) {
        binder.dispatch([&] { o.form->show(o.modal); });
        failures += !save(windows.view(o.form->name().c_str()), folder, o.file);
        binder.dispatch([&] { o.form->unload(); });
    }

    // The warning as "Compress Central Database" opens it; the compaction form after compressing
    // the data folder's databases (this copy's) with "Select All".
    binder.dispatch([&] { f.SSTab1.userSelectTab(3); });
    binder.dispatch([&] { f.cmdFix(2).userClick(); });
    failures += !save(windows.view("frmWarning"), folder, "frmWarning");
    binder.dispatch([&] { app.frmWarning().cmdCancel.userClick(); });
    binder.dispatch([&] { f.cmdFix(6).userClick(); });
    // Test All has taken the "\" off the user folder, so the form opens where the lists start.
    binder.dispatch([&] { app.frmCompress().cmdDefault.userClick(); });
    binder.dispatch([&] { app.frmCompress().ckbselectall.userClick(); });
    binder.dispatch([&] { app.frmCompress().cmdCompress.userClick(); });
    failures += !save(windows.view("frmCompress"), folder, "frmCompress");
    binder.dispatch([&] { app.frmCompress().cmdClose.userClick(); });
    return failures == 0 ? 0 : 1;
}
