// The profile-string service (GetPrivateProfileStringA) over the emulated file system.
//
// The file is read afresh on every call, as Windows does for a file it does not cache, so a test
// may change it between reads. A file name without a folder ("kel.ini") is looked up in the
// Windows directory, as the system service does. A file that cannot be read for any reason (missing,
// unreachable, refused) yields the default.
#pragma once

#include <optional>
#include <string>

#include "platform/system.h"

namespace qx::platform {

class IniProfileStrings final : public ProfileStrings {
  public:
    // `fs` must outlive this object. `windowsDirectory` is a Windows path without trailing "\".
    IniProfileStrings(const FileSystem& fs, std::string windowsDirectory);

    std::uint32_t GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                           std::string_view defaultValue, std::string& buffer,
                                           std::uint32_t size, std::string_view fileName) const override;

    // The value found for section/key in the text of an INI file (already UTF-8), or nothing.
    // Exposed for tests of the parsing rules.
    static std::optional<std::string> lookup(std::string_view text, std::string_view section,
                                             std::string_view key);

  private:
    const FileSystem& fs_;
    std::string windowsDirectory_;
};

}  // namespace qx::platform
