#include "ado/errors.h"

#include <array>

namespace qx::ado {

namespace {

struct Entry {
    Failure failure;
    std::int32_t number;
    std::string_view text;  // "%s" marks the argument
};

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

const Entry& entry(Failure failure) noexcept {
    for (const auto& e : kTable)
        if (e.failure == failure) return e;
    return kTable.back();  // not reached: every failure has its row (the tests check)
}

}  // namespace

std::int32_t errorNumber(Failure failure) noexcept {
    return entry(failure).number;
}

std::string errorText(Failure failure, std::string_view argument) {
    const std::string_view text = entry(failure).text;
    const auto mark = text.find("%s");
    if (mark == std::string_view::npos) return std::string(text);
    std::string out(text.substr(0, mark));
    out.append(argument);
    out.append(text.substr(mark + 2));
    return out;
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
