#include "diagnostics/memory.h"

#include "common/vb.h"
#include "diagnostics/texts.h"
#include "platform/errors.h"
#include "shell/frmDetails.h"
#include "shell/frmSM.h"

namespace qx::diagnostics {

namespace {

constexpr std::uint32_t kMemoryStatusLength = 32;
constexpr double kBytesPerKilobyte = 1024.0;
constexpr std::int32_t kErrDivisionByZero = 11;
constexpr std::string_view kPercentPattern = "0.00%";

}  // namespace

std::int32_t usedMemory(std::uint32_t total, std::uint32_t available) {
    return vb::subLong(asLong(total), asLong(available));
}

std::string usagePercent(std::int32_t used, std::int32_t total) {
    // VB's "/" on Longs divides as Doubles but still refuses a zero divisor: 0/0 is an overflow,
    // anything else over zero a division by zero.
    if (total == 0) raise(used == 0 ? err::kOverflow : kErrDivisionByZero);
    return vb::Format(static_cast<double>(used) / static_cast<double>(total), kPercentPattern);
}

std::string kilobytes(std::uint32_t field) {
    return vb::CStr(static_cast<double>(asLong(field)) / kBytesPerKilobyte);
}

void refreshSnapshot(Runtime& rt) {
    rt.g.memory.dwLength = kMemoryStatusLength;
    rt.os.system.GlobalMemoryStatus(rt.g.memory);
}

void frmSM_Load(forms::Program& p) {
    refreshSnapshot(p.rt);
    const platform::MemoryStatus& m = p.rt.g.memory;
    // The percentage lines keep their design captions until the first tick.
    p.frmSM.pgbPhysMem.setMin(0.0f);
    p.frmSM.pgbPhysMem.setMax(static_cast<float>(asLong(m.dwTotalPhys)));
    p.frmSM.pgbVirtMem.setMin(0.0f);
    p.frmSM.pgbVirtMem.setMax(static_cast<float>(asLong(m.dwTotalVirtual)));
}

void frmSM_Timer1_Timer(forms::Program& p) {
    refreshSnapshot(p.rt);
    const platform::MemoryStatus& m = p.rt.g.memory;
    forms::FrmSM& f = p.frmSM;

    const std::int32_t physUsed = usedMemory(m.dwTotalPhys, m.dwAvailPhys);
    // Not clamped: after a change of sign the bar may be asked for more than its maximum.
    f.pgbPhysMem.setValue(static_cast<float>(physUsed));
    f.lblPhysUsed.setCaption(std::string(text::kPhysicalUsage) +
                             usagePercent(physUsed, asLong(m.dwTotalPhys)));

    const std::int32_t virtUsed = usedMemory(m.dwTotalVirtual, m.dwAvailVirtual);
    f.pgbVirtMem.setValue(static_cast<float>(virtUsed));
    f.lblVirtUsed.setCaption(std::string(text::kVirtualUsage) +
                             usagePercent(virtUsed, asLong(m.dwTotalVirtual)));
}

void frmSM_Command1_Click(forms::Program& p) {
    // Loading an open details form does nothing, so a second "Details" shows the same figures.
    p.frmDetails.load();
    p.frmDetails.show(false);
}

void frmSM_Command2_Click(forms::Program& p) {
    p.frmDetails.unload();
    p.frmSM.unload();
}

void frmDetails_Load(forms::Program& p) {
    // Only shows the last refresh of the monitor; it never reads the system itself.
    const platform::MemoryStatus& m = p.rt.g.memory;
    const std::string kb(text::kKilobytes);
    forms::FrmDetails& f = p.frmDetails;
    f.lblTotalPhys.setCaption(std::string(text::kTotalPhys) + kilobytes(m.dwTotalPhys) + kb);
    f.lblAvailPhys.setCaption(std::string(text::kAvailPhys) + kilobytes(m.dwAvailPhys) + kb);
    f.lblTotalPage.setCaption(std::string(text::kTotalPage) + kilobytes(m.dwTotalPageFile));
    f.lblAvailPage.setCaption(std::string(text::kAvailPage) + kilobytes(m.dwAvailPageFile));
    f.lblTotalVirtual.setCaption(std::string(text::kTotalVirtual) + kilobytes(m.dwTotalVirtual) + kb);
    f.lblAvailVirtual.setCaption(std::string(text::kAvailVirtual) + kilobytes(m.dwAvailVirtual) + kb);
}

void frmDetails_Command1_Click(forms::Program& p) {
    p.frmDetails.hide();
    p.frmDetails.unload();
}

}  // namespace qx::diagnostics
