#include "ado/errors.h"

#include <array>

#include "base/message_table.h"

namespace qx::ado {

namespace {

using Entry = qx::base::MessageRow<Failure>;

constexpr std::int32_t kFail = -2147467259;           // 0x80004005
constexpr std::int32_t kCommandNotSet = -2147217908;  // 0x80040E0C

constexpr std::array kTable{
    Entry{Failure::InvalidPath, kFail,
          "'%s' is not a valid path.  Make sure that the path name is spelled correctly and that you are "
          "connected to the server on which the file resides."},
    Entry{Failure::CommandTextNotSet, kCommandNotSet, "Command text was not set for the command object."},
    Entry{Failure::ProviderNotFound, 3706, "Provider cannot be found. It may not be properly installed."},
    Entry{Failure::ObjectClosed, 3704, "Operation is not allowed when the object is closed."},
    Entry{Failure::ItemNotFound, 3265,
          "Item cannot be found in the collection corresponding to the requested name or ordinal."},
};

}  // namespace

std::int32_t errorNumber(Failure failure) noexcept {
    return qx::base::messageFor(kTable, failure).number;
}

std::string errorText(Failure failure, std::string_view argument) {
    return qx::base::withArgument(qx::base::messageFor(kTable, failure).text, argument);
}

std::string inWindowsTerms(std::string text, const std::string& hostPath, const std::string& windowsPath) {
    if (hostPath.empty()) return text;
    for (auto at = text.find(hostPath); at != std::string::npos;
         at = text.find(hostPath, at + windowsPath.size())) {
        text.replace(at, hostPath.size(), windowsPath);
    }
    return text;
}

}  // namespace qx::ado
