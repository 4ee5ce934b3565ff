#include "shell/data_control.h"

#include <memory>

#include "common/modmaster.h"
#include "shell/frmMain.h"

namespace qx::shell {

ado::Adodc& adodc(forms::Program& program) {
    forms::DataControl& control = program.frmMain.adodata;
    if (auto* existing = dynamic_cast<ado::Adodc*>(control.binding())) return *existing;
    auto made = std::make_shared<ado::Adodc>(program.rt.os.fs);
    ado::Adodc& ref = *made;
    control.setBinding(std::move(made));
    return ref;
}

void refreshDataControl(forms::Program& program) {
    forms::FrmMain& f = program.frmMain;
    ado::Adodc& data = adodc(program);
    try {
        data.refresh();
    } catch (...) {
        for (forms::Grid* grid : {&f.grdListing, &f.grdData})
            if (grid->dataSource() == &f.adodata) grid->refresh();
        throw;
    }
    for (forms::Grid* grid : {&f.grdListing, &f.grdData})
        if (grid->dataSource() == &f.adodata) grid->rebind();
}

void AdoConnectTableANDDatabase(forms::Program& program, const std::string& TableName,
                                const std::string& DatabaseName, const std::string& Directory) {
    forms::FrmMain& f = program.frmMain;
    f.fraSearch(0).setVisible(true);
    // The caller's directory is not changed: the backslash goes on a copy.
    std::string directory = Directory;
    CkRSlash(program.rt, directory);
    ado::Adodc& data = adodc(program);
    data.connect(directory, DatabaseName);
    data.openTable(TableName);
    refreshDataControl(program);
    program.rt.g.adoOpen = kVbTrue;
}

void AdoConnectTable(forms::Program& program, const std::string& TableName) {
    AdoConnectTableANDDatabase(program, TableName, "office.mdb", program.rt.g.dataDir);
}

void CloseADOifOpen(forms::Program& program, forms::Grid& GridName) {
    if (program.rt.g.adoOpen == kVbFalse) return;
    adodc(program).closeRecordset();
    GridName.close();
    program.rt.g.adoOpen = kVbFalse;
}

}  // namespace qx::shell
