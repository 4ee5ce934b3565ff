#include "dbinspect/viewer.h"

#include <string>

#include "common/modmaster.h"
#include "common/vb.h"
#include "dbinspect/texts.h"
#include "shell/data_control.h"
#include "shell/frmMain.h"

namespace qx::dbinspect {

namespace {

std::string caption(std::string_view lead, std::string_view value) {
    std::string out(lead);
    out.append(value);
    return out;
}

// Lines that open nothing, told apart by their first three characters: separator, empty line,
// location line, "***UNABLE TO LOCATE***", header.
bool opensNothing(std::string_view line) {
    const std::string start = vb::UCase(vb::Left(line, 3));
    for (std::string_view kind : {"---", "", "   ", "***", "Dat"})
        if (start == vb::UCase(kind)) return true;
    return false;
}

}  // namespace

void lstTableListing_DblClick(forms::Program& program) {
    forms::FrmMain& f = program.frmMain;
    forms::ListBox& list = f.lstTableListing;

    f.lblLocation.setCaption(std::string(text::kLocationReset));
    f.lblDatabaseName.setCaption(std::string(text::kDatabaseReset));
    f.lblTableName.setCaption(std::string(text::kTableNameReset));
    f.lblFieldCount.setCaption(std::string(text::kFieldCountReset));
    f.lblRecordCount.setCaption(std::string(text::kRecordCountReset));
    f.lblTableCount.setCaption(std::string(text::kTableCountReset));

    const std::string selectedText = list.text();
    const int selected = list.listIndex();
    f.lblTableCount.setCaption(caption(text::kTableCountIs, std::to_string(selected)));

    if (opensNothing(selectedText)) {
        f.lblTableName.setCaption(std::string(text::kTableNameNothing));
        f.lblDatabaseName.setCaption(std::string(text::kDatabaseReset));
        return;
    }

    f.setMousePointer(forms::kPointerHourglass);

    // The section's location line is the nearest line above with a ":" (the drive letter of its
    // path). The walk moves the selection line by line, as the original did.
    std::string location;
    for (int index = selected; index >= 0; --index) {
        list.setListIndex(index);
        const std::string line = list.text();
        if (vb::InStr(line, ":") > 0) {
            location = vb::Trim(SplitAt(SplitAt(line, "Right", "("), "Left", ")"));
            CkRSlash(program.rt, location);
            f.lblLocation.setCaption(caption(text::kLocationIs, location));
            break;
        }
    }
    list.setListIndex(selected);

    const std::string line = list.text();
    const std::string tableName = SplitAt(line, "Right", "-");
    f.lblTableName.setCaption(caption(text::kTableNameIs, tableName));
    const std::string databaseName = SplitAt(line, "Left", "-") + ".mdb";
    f.lblDatabaseName.setCaption(caption(text::kDatabaseIs, databaseName));

    if (vb::UCase(tableName) == "USERS" && program.rt.g.usersTableLocked == kVbTrue) {
        program.rt.os.messages.show(text::kPermissionDeniedTitle, text::kPermissionDenied,
                                    platform::Buttons::OK, platform::Icon::None);
        f.setMousePointer(forms::kPointerDefault);
        return;
    }

    shell::AdoConnectTableANDDatabase(program, tableName, databaseName, location);
    ado::Adodc& data = shell::adodc(program);
    f.lblFieldCount.setCaption(caption(text::kFieldCountIs, std::to_string(data.fieldsCount())));
    f.lblRecordCount.setCaption(caption(text::kRecordCountIs, std::to_string(data.recordCount())));
    f.setMousePointer(forms::kPointerDefault);
}

void lstTableListing_KeyPress(forms::Program& program, std::int16_t& /*keyAscii*/) {
    lstTableListing_DblClick(program);
}

}  // namespace qx::dbinspect
