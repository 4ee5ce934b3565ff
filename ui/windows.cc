#include "ui/windows.h"

namespace qx::ui {

Windows::Windows(shell::Application& app, QtMessageBoxes& boxes) : app_(app), boxes_(boxes) {
    main_ = std::make_unique<MainWindowView>();
    sm_ = new MemoryMonitorView(main_.get());
    details_ = new MemoryDetailsView(main_.get());
    security_ = new GridSecurityView(main_.get());
    date_ = new DateView(main_.get());
    warning_ = new WarningView(main_.get());
    compress_ = new CompressView(main_.get());

    binder_ = std::make_unique<Binder>(app_, boxes_);
    binder_->bind(main_.get(), app_.frmMain());
    binder_->bind(sm_, app_.frmSM());
    binder_->bind(details_, app_.frmDetails());
    binder_->bind(security_, app_.frmGridSecurity());
    binder_->bind(date_, app_.frmDate());
    binder_->bind(warning_, app_.frmWarning());
    binder_->bind(compress_, app_.frmCompress());
    boxes_.setBeforeShow([this] { binder_->syncAll(); });
}

Windows::~Windows() {
    boxes_.setBeforeShow(nullptr);
    binder_.reset();  // unbinds before the views go
}

bool Windows::start() {
    return binder_->dispatch([this] { app_.start(); });
}

QWidget* Windows::view(const char* formName) const {
    return binder_->viewOf(formName);
}

}  // namespace qx::ui
