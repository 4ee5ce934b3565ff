#include "common/trap.h"

#include "common/modmaster.h"
#include "common/vb.h"
#include "platform/utf8.h"

namespace qx {

std::string fixedProcedureName(std::string_view name) {
    std::string s = vb::Left(name, 20);
    const auto n = platform::utf8Length(s);
    if (n < 20) s.append(20 - n, ' ');
    return s;
}

void enterProcedure(Globals& g, std::string_view name) {
    g.currentProcedure = fixedProcedureName(name);
}

Trap::Trap(Runtime& rt, std::string_view procedureName) : rt_(rt) {
    enterProcedure(rt.g, procedureName);
}

TrapAction Trap::decide(const RuntimeError& e) {
    const vb::Integer answer = ErrorReport(rt_, e);
    switch (answer) {
        case 0:
            if (++retries_ > kMaxRetries) return TrapAction::Raise;
            return TrapAction::Retry;
        case 1:
            return TrapAction::Resume;
        case 2:
            return TrapAction::Leave;
        default:
            return TrapAction::Raise;
    }
}

}  // namespace qx
