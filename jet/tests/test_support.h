// Helpers for engine tests: fixture copies in a private temporary folder, running other programs.
#pragma once

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace jettest {

inline std::filesystem::path sharedDir() {
    return std::filesystem::path(QX_SHARED_DIR);
}
inline std::filesystem::path fixturesDir() {
    return sharedDir() / "fixtures";
}

// A temporary folder removed with everything in it when the object goes.
class TempDir {
  public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qxjet-XXXXXX").string();
        std::vector<char> buf(pattern.begin(), pattern.end());
        buf.push_back('\0');
        if (!mkdtemp(buf.data())) throw std::runtime_error("mkdtemp failed");
        path_ = buf.data();
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }

    // Copies a fixture (path relative to the fixtures folder, or absolute) into the folder.
    std::filesystem::path copy(const std::filesystem::path& fixture) const {
        std::filesystem::path from = fixture.is_absolute() ? fixture : fixturesDir() / fixture;
        std::filesystem::path to = path_ / from.filename();
        std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::permissions(
            to, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        return to;
    }

  private:
    std::filesystem::path path_;
};

inline std::string shellQuote(const std::string& s) {
    std::string out = "'";
    for (char c : s) {
        if (c == '\'')
            out += "'\\''";
        else
            out.push_back(c);
    }
    return out + "'";
}

// Runs a shell command and returns its standard output; `status` gets the exit status.
inline std::string runCommand(const std::string& command, int& status) {
    std::string out;
    FILE* p = popen(command.c_str(), "r");
    if (!p) {
        status = -1;
        return out;
    }
    char buf[65536];
    std::size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    int rc = pclose(p);
    status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}

inline bool haveProgram(const std::string& name) {
    int status = 0;
    runCommand("command -v " + name + " >/dev/null 2>&1", status);
    return status == 0;
}

}  // namespace jettest
