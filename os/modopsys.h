// Naming the running Windows version (the original's modOpSys module).
#pragma once

#include <string>
#include <string_view>

#include "common/globals.h"

namespace qx {

// Fills `name` from the version record and sets the three flags in rt.g (all cleared first):
//   vistaFlag         major 6
//   firstFamilyFlag   major 4 on a non-NT platform, and major 6
//   secondFamilyFlag  major 4 (either platform), and major 5 minor 0
// Names: 3 -> "Windows NT 3.x" (platform 2) / "Windows 3.x"; 4 -> "Windows NT 4.0" (platform 2) /
// "Windows 95" (minor 0) / "Windows 98/Windows ME"; 5.0 -> "Windows 2000 " & service pack;
// 5.1 -> "Windows XP " & service pack; other 5.x -> ""; 6.x -> "Windows Vista " & service pack;
// anything else "Unknown Windows Version". The name is then cleaned (CleanText) and trimmed, so
// the NULs of the service-pack field and a trailing blank disappear.
void GetOSName(Runtime& rt, std::string& name);

// Every character whose code is below 32 or at least 127 becomes a blank; same length as the input
// (in characters).
std::string CleanText(std::string_view text);

}  // namespace qx
