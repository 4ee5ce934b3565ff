#include "ui/small_forms.h"

#include <QCalendarWidget>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/widgets.h"

namespace qx::ui {

FormView::FormView(const char* formName, QWidget* parent) : QDialog(parent) {
    setObjectName(formName);
    setSizeGripEnabled(false);
}

void FormView::reject() {
    // Escape does not close these forms: none of them has a cancel button bound to the key, so the
    // key is the text box's or nobody's. Only the frame's close button (closeEvent) and the forms'
    // own buttons close them.
}

void FormView::closeEvent(QCloseEvent* event) {
    if (onCloseRequest && !onCloseRequest()) {
        event->ignore();
        return;
    }
    event->accept();
}

MemoryMonitorView::MemoryMonitorView(QWidget* parent) : FormView("frmSM", parent) {
    setWindowTitle("Free Memory");
    auto* v = new QVBoxLayout(this);
    v->addWidget(makeLabel(this, "lblPhysUsed", std::nullopt, "Free Physical Memory:"));
    v->addWidget(makeProgress(this, "pgbPhysMem"));
    v->addSpacing(6);
    v->addWidget(makeLabel(this, "lblVirtUsed", std::nullopt, "Free Virtual Memory:"));
    v->addWidget(makeProgress(this, "pgbVirtMem"));
    v->addSpacing(6);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(makeButton(this, "Command1", std::nullopt, "Details"));
    buttons->addWidget(makeButton(this, "Command2", std::nullopt, "Quit"));
    v->addLayout(buttons);
    setMinimumWidth(360);
}

MemoryDetailsView::MemoryDetailsView(QWidget* parent) : FormView("frmDetails", parent) {
    setWindowTitle("Memory Status");
    auto* v = new QVBoxLayout(this);
    for (const char* name : {"lblTotalPhys", "lblAvailPhys", "lblTotalPage", "lblAvailPage",
                             "lblTotalVirtual", "lblAvailVirtual"}) {
        v->addWidget(makeLabel(this, name, std::nullopt, ""));
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(makeButton(this, "Command1", std::nullopt, "OK"));
    v->addLayout(buttons);
    setMinimumWidth(320);
}

GridSecurityView::GridSecurityView(QWidget* parent) : FormView("frmGridSecurity", parent) {
    setWindowTitle("Database Grid - Security");
    auto* v = new QVBoxLayout(this);
    v->addWidget(makeLabel(this, "lblPassword", std::nullopt, "Please Enter Unlock Code"));
    v->addWidget(makeLabel(this, "lblPassword2", std::nullopt, "(8-digit numeric)"));
    QLineEdit* code = makeText(this, "txtPassword", std::nullopt);
    code->setEchoMode(QLineEdit::Password);
    v->addWidget(code);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(makeButton(this, "cmdEnter", std::nullopt, "Enter"));
    buttons->addWidget(makeButton(this, "cmdCancel", std::nullopt, "Cancel"));
    v->addLayout(buttons);
    setMinimumWidth(300);
}

DateView::DateView(QWidget* parent) : FormView("frmDate", parent) {
    setWindowTitle("Invoice Date Selection");
    auto* v = new QVBoxLayout(this);
    auto* calendar = new QCalendarWidget(this);
    calendar->setObjectName("calcCalendar");
    calendar->setGridVisible(true);
    v->addWidget(calendar);
}

WarningView::WarningView(QWidget* parent) : FormView("frmWarning", parent) {
    setWindowTitle("Backup Declaration");
    auto* v = new QVBoxLayout(this);
    QLabel* message = makeLabel(this, "lblMessage", std::nullopt, "");
    message->setWordWrap(true);
    message->setMinimumWidth(420);
    v->addWidget(message, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(makeButton(this, "cmdProceed", std::nullopt, "Proceed"));
    buttons->addWidget(makeButton(this, "cmdCancel", std::nullopt, "Cancel"));
    v->addLayout(buttons);
}

CompressView::CompressView(QWidget* parent) : FormView("frmCompress", parent) {
    auto* grid = new QGridLayout(this);
    auto* drive = new QComboBox(this);
    drive->setObjectName("dirDrive");
    grid->addWidget(drive, 0, 0);
    grid->addWidget(makeLabel(this, "lblPath", std::nullopt, ""), 0, 1);
    grid->addWidget(makeList(this, "dirPath", std::nullopt), 1, 0);
    grid->addWidget(makeList(this, "lstdatabases", std::nullopt, true), 1, 1);
    QListWidget* files = makeList(this, "filDatabases", std::nullopt);
    files->setVisible(false);  // the names' source; the user selects in the copy beside it
    grid->addWidget(files, 1, 2);
    grid->addWidget(makeCheck(this, "ckbselectall", std::nullopt, "Select All"), 2, 1);
    grid->addWidget(makeLabel(this, "lblworking", std::nullopt, ""), 3, 0);
    auto* progress = new QProgressBar(this);
    progress->setObjectName("pbrWorking");
    progress->setTextVisible(false);
    grid->addWidget(progress, 3, 1);
    grid->addWidget(makeList(this, "lststatus", std::nullopt), 4, 0, 1, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(makeButton(this, "cmdCompress", std::nullopt, "Compress"));
    buttons->addWidget(makeButton(this, "cmdDefault", std::nullopt, "Default"));
    buttons->addWidget(makeButton(this, "cmdClose", std::nullopt, "Close"));
    grid->addLayout(buttons, 5, 0, 1, 2);
    grid->setRowStretch(1, 2);
    grid->setRowStretch(4, 1);
    setMinimumSize(520, 420);
}

}  // namespace qx::ui
