#include "dbinspect/unlock_code.h"

#include "common/modmaster.h"
#include "common/vb.h"

namespace qx::dbinspect {

namespace {

std::string twoDigits(int value) {
    std::string digits = std::to_string(value);
    return value < 10 ? "0" + digits : digits;
}

}  // namespace

DateFields unlockDateFields(Runtime& rt, const platform::LocalTime& date) {
    vb::Integer year = 0, month = 0, day = 0;
    SepDate(rt, vb::ShortDate(date), year, month, day);
    return {twoDigits(day), twoDigits(month)};
}

bool unlockFieldsMatch(std::string_view entry, const DateFields& fields) {
    return vb::Mid(entry, kFieldAStart, kFieldLength) == fields.a &&
           vb::Mid(entry, kFieldBStart, kFieldLength) == fields.b;
}

std::string unlockCodeFor(Runtime& rt, const platform::LocalTime& date) {
    const DateFields fields = unlockDateFields(rt, date);
    const std::string year = std::to_string(date.year);
    const std::string low = year.size() >= 2 ? year.substr(year.size() - 2) : twoDigits(date.year);
    const std::string high = year.size() >= 4 ? year.substr(0, 2) : "00";
    return low + fields.a + high + fields.b;
}

}  // namespace qx::dbinspect
