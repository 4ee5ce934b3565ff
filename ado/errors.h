// The failures of the data-access objects themselves, as the program receives them: ADO's own
// small numbers (3704 for a closed recordset) and the HRESULTs of a connection or command that
// never reaches the engine, as signed 32-bit numbers. A statement's failures come from the engine
// (jet/sql/errors.h). The whole list lives in one table in errors.cc, so a number or a text is
// written down exactly once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qx::ado {

enum class Failure {
    InvalidPath,        // 0x80004005, names the path: its folder does not exist
    CommandTextNotSet,  // 0x80040E0C
    ProviderNotFound,   // 3706
    ObjectClosed,       // 3704
    ItemNotFound,       // 3265
};

// The number ADO reports for the failure.
std::int32_t errorNumber(Failure failure) noexcept;
// The text, with `argument` put in place of the table's placeholder; failures without a
// placeholder ignore it.
std::string errorText(Failure failure, std::string_view argument = {});

// The engine names a file by the host path it was given; the program knows it by its Windows
// path. `text` with every occurrence of `hostPath` replaced by `windowsPath`.
std::string inWindowsTerms(std::string text, const std::string& hostPath, const std::string& windowsPath);

}  // namespace qx::ado
