#include "platform/errors.h"

#include <array>
#include <utility>

namespace qx {
namespace {

// The runtime's own texts, as VB reports them through Err.Description. One table: every message
// the program shows for a run-time error comes from here.
struct ErrorText {
    std::int32_t number;
    const char* text;
};

constexpr std::array kErrorTexts{
    ErrorText{3, "Return without GoSub"},
    ErrorText{5, "Invalid procedure call or argument"},
    ErrorText{6, "Overflow"},
    ErrorText{7, "Out of memory"},
    ErrorText{9, "Subscript out of range"},
    ErrorText{10, "This array is fixed or temporarily locked"},
    ErrorText{11, "Division by zero"},
    ErrorText{13, "Type mismatch"},
    ErrorText{14, "Out of string space"},
    ErrorText{28, "Out of stack space"},
    ErrorText{35, "Sub or Function not defined"},
    ErrorText{48, "Error in loading DLL"},
    ErrorText{51, "Internal error"},
    ErrorText{52, "Bad file name or number"},
    ErrorText{53, "File not found"},
    ErrorText{54, "Bad file mode"},
    ErrorText{55, "File already open"},
    ErrorText{57, "Device I/O error"},
    ErrorText{58, "File already exists"},
    ErrorText{59, "Bad record length"},
    ErrorText{61, "Disk full"},
    ErrorText{62, "Input past end of file"},
    ErrorText{63, "Bad record number"},
    ErrorText{67, "Too many files"},
    ErrorText{68, "Device unavailable"},
    ErrorText{70, "Permission denied"},
    ErrorText{71, "Disk not ready"},
    ErrorText{74, "Can't rename with different drive"},
    ErrorText{75, "Path/File access error"},
    ErrorText{76, "Path not found"},
    ErrorText{91, "Object variable or With block variable not set"},
    ErrorText{92, "For loop not initialized"},
    ErrorText{93, "Invalid pattern string"},
    ErrorText{94, "Invalid use of Null"},
};

std::string describe(std::int32_t number, std::string description) {
    return description.empty() ? errorDescription(number) : std::move(description);
}

}  // namespace

RuntimeError::RuntimeError(std::int32_t number, std::string description)
    : std::runtime_error(describe(number, description)),
      number_(number),
      description_(describe(number, std::move(description))) {}

std::string errorDescription(std::int32_t number) {
    for (const auto& e : kErrorTexts) {
        if (e.number == number) return e.text;
    }
    return "Application-defined or object-defined error";
}

void raise(std::int32_t number, std::string description) {
    throw RuntimeError(number, std::move(description));
}

}  // namespace qx
