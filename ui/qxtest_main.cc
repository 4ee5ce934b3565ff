// qxtest: the tool's windows.
#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ui/main_window.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    qx::ui::MainWindowView window;
    window.show();
    return QApplication::exec();
}
