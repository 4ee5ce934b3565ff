#include "search/wire.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "search/tab.h"
#include "shell/frmDate.h"
#include "shell/frmMain.h"
#include "shell/search_categories.h"

namespace qx::search {

namespace {

using BoxArray = forms::ControlArray<forms::TextBox> forms::FrmMain::*;

// Each criteria array with the categories it serves, in index order, read from the category table:
// a change of the box searches on those indexes only.
std::vector<std::pair<BoxArray, std::vector<std::int16_t>>> searchedOn() {
    std::vector<std::pair<BoxArray, std::vector<std::int16_t>>> out;
    const auto& categories = forms::searchCategories();
    for (std::size_t i = 0; i < categories.size(); ++i) {
        for (const auto& c : categories[i].criteria) {
            auto it = std::find_if(out.begin(), out.end(), [&](const auto& e) { return e.first == c.box; });
            if (it == out.end()) it = out.insert(out.end(), {c.box, {}});
            it->second.push_back(static_cast<std::int16_t>(i));
        }
    }
    return out;
}

}  // namespace

void wire(forms::Program& program) {
    forms::Program* p = &program;
    forms::FrmMain& f = program.frmMain;
    for (const auto& [index, option] : f.optSearch) {
        const auto i = static_cast<std::int16_t>(index);
        option->onClick = [p, i] { optSearch_Click(*p, i); };
    }
    for (const auto& [array, indexes] : searchedOn()) {
        for (const auto& [index, box] : f.*array) {
            const auto i = static_cast<std::int16_t>(index);
            box->onChange = [p, i, list = indexes] { criterionChange(*p, list, i); };
        }
    }
    f.imgInvoiceDate(1).onClick = [p] { imgInvoiceDate_Click(*p); };
    program.frmDate.onLoad = [p] { frmDate_Load(*p); };
    program.frmDate.calcCalendar.onClick = [p] { calcCalendar_Click(*p); };
}

}  // namespace qx::search
