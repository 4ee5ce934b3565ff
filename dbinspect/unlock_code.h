// The support lock's one-day unlock code: what frmGridSecurity accepts on a given day, and the code
// the technician reads out (qxtest-cli unlock-code). Both come from the same two date fields, so
// the printed code is exactly what the check accepts.
//
// The design (see docs/dbinspect.md):
// - the date is written in the English (United States) short form, month first ("2/29/2028"),
//   and taken apart again by SepDate into year, month and day;
// - DateFieldA is the day of the month and DateFieldB the month, each as a two-digit number with
//   a leading "0" below 10 ("29", "02");
// - an entry of eight characters is accepted when its characters 3-4 equal DateFieldA and its
//   characters 7-8 equal DateFieldB; characters 1-2 and 5-6 are not checked.
// The code handed out fills the unchecked places with the year's last two digits (1-2) and its
// first two (5-6): 2028-02-29 gives "28292002".
#pragma once

#include <string>
#include <string_view>

#include "common/globals.h"
#include "platform/system.h"

namespace qx::dbinspect {

// Characters of the entry (1-based, as Mid counts) compared with the two date fields.
inline constexpr int kFieldAStart = 3;
inline constexpr int kFieldBStart = 7;
inline constexpr int kFieldLength = 2;
inline constexpr int kUnlockCodeLength = 8;

struct DateFields {
    std::string a;  // DateFieldA: the day, two digits
    std::string b;  // DateFieldB: the month, two digits
};

// The two fields of `date` (the time of day plays no part).
DateFields unlockDateFields(Runtime& rt, const platform::LocalTime& date);

// Whether the two checked fields of `entry` equal the date's fields. The entry's length and
// digits are the caller's checks (frmGridSecurity's cmdEnter_Click).
bool unlockFieldsMatch(std::string_view entry, const DateFields& fields);

// The eight-digit code accepted on `date`.
std::string unlockCodeFor(Runtime& rt, const platform::LocalTime& date);

}  // namespace qx::dbinspect
