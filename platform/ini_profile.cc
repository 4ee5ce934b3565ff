#include "platform/ini_profile.h"

#include "platform/cp1252.h"
#include "platform/errors.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
    return s;
}

std::string_view trimTrailing(std::string_view s) {
    while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
    return s;
}

}  // namespace

IniProfileStrings::IniProfileStrings(const FileSystem& fs, std::string windowsDirectory)
    : fs_(fs), windowsDirectory_(std::move(windowsDirectory)) {}

std::optional<std::string> IniProfileStrings::lookup(std::string_view text, std::string_view section,
                                                     std::string_view key) {
    const auto wantSection = foldForCompare(trimBlanks(section));
    const auto wantKey = foldForCompare(trimBlanks(key));
    enum class State { Before, Inside, Done } state = State::Before;
    bool seenSection = false;
    std::size_t i = 0;
    while (i < text.size() && state != State::Done) {
        std::size_t j = text.find('\n', i);
        if (j == std::string_view::npos) j = text.size();
        std::string_view line = text.substr(i, j - i);
        i = j + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        line = trimBlanks(line);
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            if (state == State::Inside) {
                state = State::Done;  // only the first section of a name counts
                break;
            }
            std::string_view name = line.substr(1);
            const std::size_t close = name.find(']');
            if (close != std::string_view::npos) name = name.substr(0, close);
            if (!seenSection && foldForCompare(trimBlanks(name)) == wantSection) {
                state = State::Inside;
                seenSection = true;
            }
            continue;
        }
        if (state != State::Inside) continue;
        const std::size_t eq = line.find('=');
        if (eq == std::string_view::npos) continue;
        if (foldForCompare(trimBlanks(line.substr(0, eq))) != wantKey) continue;
        std::string_view value = trimBlanks(line.substr(eq + 1));
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        return std::string(value);
    }
    return std::nullopt;
}

std::uint32_t IniProfileStrings::GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                                          std::string_view defaultValue, std::string& buffer,
                                                          std::uint32_t size,
                                                          std::string_view fileName) const {
    if (size == 0) return 0;
    std::string path(fileName);
    if (path.find_first_of("\\/:") == std::string::npos) path = windowsDirectory_ + "\\" + path;

    std::optional<std::string> value;
    try {
        value = lookup(cp1252ToUtf8(fs_.readAll(path)), section, key);
    } catch (const RuntimeError&) {
        value.reset();  // an unreadable file behaves as a missing one
    }
    const std::string result = value ? *value : std::string(trimTrailing(defaultValue));

    const std::size_t length = utf8Length(result);
    const std::size_t room = size >= 2 ? size - 2 : 0;
    const std::size_t n = length <= room ? length : room;
    const std::string written = result.substr(0, utf8Offset(result, n));
    // The characters after the NUL are the caller's own: keep them.
    const std::string rest = buffer.substr(utf8Offset(buffer, n + 1));
    buffer = written + '\0' + rest;
    return static_cast<std::uint32_t>(n);
}

}  // namespace qx::platform
