#include "search/query_routines.h"

#include "common/modmaster.h"
#include "common/vb.h"
#include "shell/search_categories.h"

namespace qx::search {

namespace {

std::string appendCriterion(const std::string& InputStr, const std::string& fieldname,
                            const std::string& TextBox, std::string_view connector) {
    if (vb::Trim(TextBox).empty()) return InputStr;
    const std::string column = vb::UCase(vb::Trim(fieldname));
    const std::string value = vb::UCase(vb::Trim(TextBox));
    const std::string condition = "UCASE(" + column + ") LIKE '%" + value + "%'";
    if (vb::Trim(InputStr).empty()) return condition;
    return InputStr + std::string(connector) + condition;
}

// The text of element `index` of a criteria box array.
const std::string& boxText(const forms::ControlArray<forms::TextBox>& boxes, int index) {
    return boxes(index).text();
}

}  // namespace

std::string AddSQLWhere(const std::string& InputStr, const std::string& fieldname,
                        const std::string& TextBox) {
    return appendCriterion(InputStr, fieldname, TextBox, " AND ");
}

std::string ORSQLWhere(const std::string& InputStr, const std::string& fieldname,
                       const std::string& TextBox) {
    return appendCriterion(InputStr, fieldname, TextBox, " OR ");
}

std::string LookAtChecks(const std::string& TempStr, const std::string& CheckNumber) {
    if (vb::Trim(CheckNumber).empty()) return TempStr;
    const std::string& n = CheckNumber;
    std::string group = "(";
    for (std::size_t i = 0; i < kCheckColumns.size(); ++i)
        group += (i ? " or " : "") + std::string(kCheckColumns[i]) + " like '%" + n + "%'";
    group += ")";
    if (vb::Trim(TempStr).empty()) return group;
    return TempStr + "AND " + group;
}

std::string BuildSearchSQL(const forms::FrmMain& form, const std::string& TableName, std::int16_t Index) {
    std::string where;
    const int i = Index;
    // Company, Users and any other index have no criteria: the whole table.
    if (i >= 0 && i < forms::FrmMain::kSearchCategories) {
        for (const auto& c : forms::searchCategories()[static_cast<std::size_t>(i)].criteria) {
            const std::string& text = boxText(form.*c.box, i);
            where = c.column.empty() ? LookAtChecks(where, text)
                                     : AddSQLWhere(where, std::string(c.column), text);
        }
    }
    if (!vb::Trim(where).empty()) return "SELECT * FROM " + TableName + " WHERE " + where;
    return "SELECT * FROM " + TableName;
}

void RunSearch(forms::Program& program, std::int16_t Index) {
    forms::FrmMain& f = program.frmMain;
    program.screen.setMousePointer(11);
    const std::string statement = BuildSearchSQL(f, f.searchTableName, Index);
    binding(program).setRecordSource(statement);
    shell::refreshDataControl(program);
    f.grdData.refresh();
    program.screen.setMousePointer(0);
}

}  // namespace qx::search
