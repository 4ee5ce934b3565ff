#include "search/tab.h"

#include <vector>

#include "common/vb.h"
#include "search/query_routines.h"
#include "shell/frmDate.h"
#include "shell/frmMain.h"
#include "shell/search_categories.h"

namespace qx::search {

std::string countCaption(std::string_view prefix, long long number) {
    return std::string(prefix) + vb::Str(static_cast<double>(number));
}

void optSearch_Click(forms::Program& program, std::int16_t Index) {
    forms::FrmMain& f = program.frmMain;
    f.searchDatabaseName = kSearchDatabase;
    f.boundGridName = kSearchGrid;
    for (int i = 0; i < forms::FrmMain::kSearchCategories; ++i) f.fraSearch(i).setVisible(false);
    if (Index >= 0 && Index < forms::FrmMain::kSearchCategories) {
        f.searchTableName = std::string(forms::searchCategories()[static_cast<std::size_t>(Index)].table);
        f.fraSearch(Index).setVisible(true);
        f.searchCategoryIndex = Index;
    }
    if (Index == forms::FrmMain::kBlankSearchOption) return;
    f.setMousePointer(11);
    // The whole table, whatever the boxes hold; the routine also shows fraSearch(0).
    shell::AdoConnectTableANDDatabase(program, f.searchTableName, f.searchDatabaseName, program.rt.g.dataDir);
    ado::Adodc& data = binding(program);
    f.lblFCount.setCaption(countCaption("Field Count =", data.fieldsCount()));
    f.lblCount.setCaption(countCaption("Record Count =", data.recordCount()));
    // The criteria's columns are read now, in one pass while the hourglass is up, so that the first
    // key stroke in any box of the category answers as quickly as the next ones.
    if (Index >= 0 && Index < forms::FrmMain::kSearchCategories) {
        std::vector<std::string> columns;
        for (const auto& c : forms::searchCategories()[static_cast<std::size_t>(Index)].criteria) {
            if (c.column.empty()) {
                for (std::string_view check : kCheckColumns) columns.emplace_back(check);
            } else {
                columns.emplace_back(c.column);
            }
        }
        data.prepareSearch(columns);
    }
    f.setMousePointer(0);
}

void criterionChange(forms::Program& program, std::span<const std::int16_t> searchedOn, std::int16_t Index) {
    program.screen.setMousePointer(11);
    for (std::int16_t i : searchedOn)
        if (Index == i) RunSearch(program, Index);
}

void imgInvoiceDate_Click(forms::Program& program) {
    program.frmDate.show();
}

void frmDate_Load(forms::Program& program) {
    program.frmDate.calcCalendar.today();
}

void calcCalendar_Click(forms::Program& program) {
    const forms::Date& d = program.frmDate.calcCalendar.value();
    program.frmMain.txtInvoiceDate(1).setText(
        vb::ShortDate(platform::LocalTime{d.year, d.month, d.day, 0, 0, 0}));
    if (program.frmDate.loaded()) program.frmDate.unload();
}

}  // namespace qx::search
