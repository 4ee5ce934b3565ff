// Run-time errors as the program's error traps see them.
//
// The logic is written in the manner of the original Visual Basic program: an operation that fails
// raises a numbered run-time error, and a routine either traps it (see common/trap.h) or lets it
// travel up to its caller. RuntimeError is that error. Numbers follow VB's numbering for the runtime
// (5, 6, 53, 57, 61, 68, 75, 76, ...) and the engine's for database errors (3024, 3218, ...).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qx {

class RuntimeError : public std::runtime_error {
  public:
    // An empty description takes the standard text for the number (errorDescription).
    explicit RuntimeError(std::int32_t number, std::string description = {});

    std::int32_t number() const noexcept { return number_; }
    const std::string& description() const noexcept { return description_; }

  private:
    std::int32_t number_;
    std::string description_;
};

// Thrown when the program ends (VB's End, or unloading the last form on an exit path). Nothing
// after the ending statement runs; the host (the window or the script driver) catches it at the top,
// reports the end and stops. Deliberately not derived from std::exception so that no
// catch (const std::exception&) swallows it.
struct ProgramEnd {};

// Error numbers the program tells apart. The texts live in one table in errors.cc.
namespace err {
inline constexpr std::int32_t kInvalidProcedureCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kOutOfMemory = 7;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kDivisionByZero = 11;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kBadFileNameOrNumber = 52;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kBadFileMode = 54;
inline constexpr std::int32_t kFileAlreadyOpen = 55;
inline constexpr std::int32_t kDeviceIoError = 57;
inline constexpr std::int32_t kFileAlreadyExists = 58;
inline constexpr std::int32_t kInputPastEndOfFile = 62;
inline constexpr std::int32_t kDiskFull = 61;
inline constexpr std::int32_t kBadFileName = 64;
inline constexpr std::int32_t kTooManyFiles = 67;
inline constexpr std::int32_t kDeviceUnavailable = 68;
inline constexpr std::int32_t kPermissionDenied = 70;
inline constexpr std::int32_t kDiskNotReady = 71;
inline constexpr std::int32_t kPathFileAccessError = 75;
inline constexpr std::int32_t kPathNotFound = 76;
inline constexpr std::int32_t kObjectVariableNotSet = 91;
}  // namespace err

// VB's text for a run-time error number; "Application-defined or object-defined error" for
// numbers it has no text for.
std::string errorDescription(std::int32_t number);

[[noreturn]] void raise(std::int32_t number, std::string description = {});

}  // namespace qx
