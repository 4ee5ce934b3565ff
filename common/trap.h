// The error trap every trapping routine of the program uses, written once.
//
// In the original each such routine sets the current procedure name on entry and, on an error,
// asks ErrorReport what to do: 0 retry the failing statement, 1 go on with the statement after
// it, 2 leave the routine with its result as it stands, 3 raise the same error to the caller.
// Here a routine creates a Trap on entry and runs each statement that may fail through it:
//
//     std::string StripRChar(Runtime& rt, std::string& path) {
//         Trap trap(rt, "StripRChar");
//         std::string result;
//         if (!trap.run([&] { ...statement... })) return result;   // answer 2: leave
//         ...
//         return result;
//     }
//
// run() returns true when the routine goes on (the statement succeeded, or answer 1 skipped it)
// and false when the routine must leave (answer 2). Answer 3 rethrows the original RuntimeError.
// ProgramEnd and anything not a RuntimeError pass through untouched.
//
// A retried statement runs again from its start, so a statement must be one step that can be
// repeated (one VB statement), not a block with effects half done.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/globals.h"
#include "platform/errors.h"

namespace qx {

// The fixed-length current procedure name: cut to 20 characters or padded with blanks.
std::string fixedProcedureName(std::string_view name);

// Sets g.currentProcedure (as fixedProcedureName) - what every trapping routine does on entry.
void enterProcedure(Globals& g, std::string_view name);

enum class TrapAction : std::int16_t { Retry = 0, Resume = 1, Leave = 2, Raise = 3 };

class Trap {
  public:
    Trap(Runtime& rt, std::string_view procedureName);

    template <class Statement>
    bool run(Statement&& statement) {
        for (;;) {
            try {
                statement();
                return true;
            } catch (const RuntimeError& e) {
                switch (decide(e)) {
                    case TrapAction::Retry:
                        continue;
                    case TrapAction::Resume:
                        return true;
                    case TrapAction::Leave:
                        return false;
                    case TrapAction::Raise:
                        throw;
                }
                throw;
            }
        }
    }

    // Retries a routine would make before the program is caught in a loop no user could break
    // (a script answering Retry forever). After this many retries of one statement the error is
    // raised to the caller instead.
    static constexpr int kMaxRetries = 1000;

  private:
    TrapAction decide(const RuntimeError& e);

    Runtime& rt_;
    int retries_ = 0;
};

}  // namespace qx
