// The handlers of the "Database Search" tab: choosing a category, the criteria boxes that search on
// every change, and the invoice-date calendar (frmDate).
//
// None of them traps errors: a failure of the data control (a category whose table is missing, a
// missing database or data folder, a statement broken by a quote typed into a box) leaves the
// handler as a qx::RuntimeError for the program's last-resort report. Whatever the handler had
// already set (frames, pointer) stays as it was when the error struck.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "shell/program.h"

namespace qx::search {

// The name the form records for the grid the search binds.
inline constexpr const char* kSearchGrid = "grdData";
// The database every category searches, in the data directory.
inline constexpr const char* kSearchDatabase = "office.mdb";

// optSearch_Click(Index): hides the eleven frames; for 0..10 records and shows the category; for
// anything but 11 binds the whole table (no criteria) and sets the two count labels under the
// hourglass. Index 11 only hides the frames.
void optSearch_Click(forms::Program& program, std::int16_t Index);

// The change handler shared by the fourteen criteria arrays: the screen's pointer becomes the
// hourglass, then for each index of `searchedOn` equal to Index the search runs (which puts the
// pointer back). An Index not listed leaves the hourglass up.
void criterionChange(forms::Program& program, std::span<const std::int16_t> searchedOn, std::int16_t Index);

// imgInvoiceDate_Click: shows frmDate modeless.
void imgInvoiceDate_Click(forms::Program& program);
// frmDate's Load: the calendar shows today.
void frmDate_Load(forms::Program& program);
// A day clicked in frmDate.calcCalendar: its short date into txtInvoiceDate(1) (which searches),
// then frmDate is unloaded if it is still loaded.
void calcCalendar_Click(forms::Program& program);

// "Field Count =" / "Record Count =" followed by the number as Str$ writes it: a blank before zero
// and positive numbers, the minus sign before negative ones.
std::string countCaption(std::string_view prefix, long long number);

}  // namespace qx::search
