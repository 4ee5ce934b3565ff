// The search categories of frmMain's "Database Search" page, written down once: the option and
// its frame, the table searched, and the criteria (text box, label, column). The form's design
// builds the page from it and the statement builder (search/) reads the criteria from it.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "shell/frmMain.h"

namespace qx::forms {

struct SearchCriterion {
    // The criteria box and its label: the members of these arrays with the category's index.
    ControlArray<TextBox> FrmMain::*box;
    ControlArray<Label> FrmMain::*label;
    std::string_view caption;  // the label's caption
    // The column the statement matches the box against, trimmed and upper-cased; "" for the check
    // number, which is matched against check1, check2 and check3 exactly as typed.
    std::string_view column;
    // The place of the box in its frame, from the top (the statement's order can differ).
    int row;
    // A date picker (imgInvoiceDate) stands beside the box.
    bool datePicker = false;
};

struct SearchCategory {
    std::string_view option;  // the caption of optSearch(index)
    std::string_view frame;   // the caption of fraSearch(index)
    std::string_view table;   // the table of Office.mdb the category searches
    // In the order the statement appends them; a category without criteria searches the whole
    // table.
    std::vector<SearchCriterion> criteria;
};

// Categories 0 .. FrmMain::kSearchCategories - 1, by the index of their option.
const std::array<SearchCategory, FrmMain::kSearchCategories>& searchCategories();

}  // namespace qx::forms
