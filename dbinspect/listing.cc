#include "dbinspect/listing.h"

#include <iterator>
#include <string>

#include "common/modmaster.h"
#include "dbinspect/texts.h"
#include "shell/frmMain.h"

namespace qx::dbinspect {

namespace {

struct Section {
    std::string_view header;
    std::string_view opener;
    std::string Globals::*directory;
    std::string_view file;
    std::string_view prefix;
};

constexpr Section kSections[] = {
    {text::kHeaderOffice, text::kOpenerPlain, &Globals::dataDir, "office.mdb", "office-"},
    {text::kHeaderReport, text::kOpenerPlain, &Globals::userDir, "report.mdb", "report-"},
    {text::kHeaderKelRet, text::kOpenerPlain, &Globals::appDir, "KelRet.mdb", "kelret-"},
    {text::kHeaderKelCom, text::kOpenerLocal, &Globals::userDir, "KelCom.mdb", "kelcom-"},
    {text::kHeaderKelCom, text::kOpenerShared, &Globals::dataDir, "KelCom.mdb", "kelcom-"},
};

std::string joined(std::string_view a, std::string_view b, std::string_view c = {}) {
    std::string out(a);
    out.append(b);
    out.append(c);
    return out;
}

}  // namespace

void cmdTableListing_Click(forms::Program& program, ListingState& state) {
    forms::FrmMain& f = program.frmMain;
    forms::ListBox& list = f.lstTableListing;
    list.clear();
    list.setAppearance(1);
    list.setBackColor(forms::kColorWindowBackground);
    list.setHeight(2700);
    list.setVisible(true);
    f.boundGridName = "grdListing";

    Runtime& rt = program.rt;
    const std::size_t last = std::size(kSections) - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        const Section& s = kSections[i];
        // The program-wide directory itself goes to CkRSlash, which gives it back its backslash
        // when a diagnostic test has taken it off; the path below relies on that.
        std::string& directory = rt.g.*s.directory;
        list.addItem(std::string(s.header));
        list.addItem(joined(s.opener, CkRSlash(rt, directory), text::kLocationCloser));
        list.addItem("");

        const std::string path = directory + std::string(s.file);
        if (FileExists(rt, path)) {
            state.database = ado::OpenDatabase(program.rt.os.fs, path);
            for (const jet::dao::TableDef& def : state.database->TableDefs()) {
                if ((static_cast<std::uint32_t>(def.Attributes) & kSystemObjectMask) != 0) continue;
                list.addItem(joined(s.prefix, def.Name));
            }
        } else {
            list.addItem(std::string(text::kUnableToLocate));
        }
        if (i != last) list.addItem(std::string(text::kSeparator));
    }
}

}  // namespace qx::dbinspect
