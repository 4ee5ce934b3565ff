// Calendar arithmetic: days since 1970-01-01 to and from a date of the proleptic Gregorian
// calendar, the one place the engine and the tool turn serial days into dates and back.
#pragma once

namespace qx::base {

// Jet and VB count dates from 1899-12-30, which is this many days before 1970-01-01.
inline constexpr long long kDays1899To1970 = 25569;

inline constexpr long long daysFromCivil(long long y, long long m, long long d) noexcept {
    y -= m <= 2 ? 1 : 0;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

inline constexpr void civilFromDays(long long z, int& y, int& m, int& d) noexcept {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long yy = yoe + era * 400;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yy + (m <= 2 ? 1 : 0));
}

inline constexpr bool isLeapYear(long long y) noexcept {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

}  // namespace qx::base
