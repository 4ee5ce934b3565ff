// The memory monitor frmSM ("Free Memory") and its details form frmDetails ("Memory Status").
//
// Both read one program-wide snapshot, Globals::memory, which only frmSM refreshes (at its load and
// on every tick of its 3000 ms timer). The 32-bit fields are read as signed Longs, as the program
// always has: on a machine with 2 GiB or more the totals read negative, the details show negative
// kilobytes, and the percentages are still the quotient of the two signed numbers. No error is
// trapped here: a subtraction that leaves the Long range raises 6 (overflow) to the caller, which
// handles it as any unhandled error.
#pragma once

#include <cstdint>
#include <string>

#include "platform/system.h"
#include "shell/program.h"

namespace qx::diagnostics {

// A field of the snapshot as the signed 32-bit number the program computes with.
inline std::int32_t asLong(std::uint32_t field) {
    return static_cast<std::int32_t>(field);
}

// total - available in Long arithmetic (6 on overflow).
std::int32_t usedMemory(std::uint32_t total, std::uint32_t available);

// Format(used / total, "0.00%"). A zero total raises what the division raises: 6 when `used` is
// 0 as well, 11 (division by zero) otherwise.
std::string usagePercent(std::int32_t used, std::int32_t total);

// A figure of the details: the signed field divided by 1024, in the shortest general form.
std::string kilobytes(std::uint32_t field);

// Refreshes the snapshot from the system (record length 32 first).
void refreshSnapshot(Runtime& rt);

// frmSM.
void frmSM_Load(forms::Program& p);
void frmSM_Timer1_Timer(forms::Program& p);
void frmSM_Command1_Click(forms::Program& p);  // "Details"
void frmSM_Command2_Click(forms::Program& p);  // "Quit": closes the details too

// frmDetails.
void frmDetails_Load(forms::Program& p);
void frmDetails_Command1_Click(forms::Program& p);  // "OK"

}  // namespace qx::diagnostics
