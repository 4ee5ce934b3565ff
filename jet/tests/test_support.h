// Helpers for engine tests: fixture copies in a private temporary folder, running other programs.
#pragma once

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
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

// The independent checker (Jackcess, Java). Available when Java and its libraries are installed.
inline std::filesystem::path jetVerifyProgram() {
    return sharedDir() / "tools" / "jet-verify" / "jet-verify";
}
inline bool haveJetVerify() {
    int status = 0;
    runCommand(shellQuote(jetVerifyProgram().string()) + " >/dev/null 2>&1", status);
    return status == 2;  // usage: Java and the libraries are there
}

// What jet-verify finds wrong with `file`: its PROBLEM lines (the file's name left out, so that
// a copy can be compared with its source). Throws when the checker could not run.
inline std::set<std::string> verifyProblems(const std::filesystem::path& file) {
    int status = 0;
    std::string out = runCommand(
        shellQuote(jetVerifyProgram().string()) + " " + shellQuote(file.string()) + " 2>/dev/null", status);
    if (status != 0 && status != 1)
        throw std::runtime_error("jet-verify could not run (status " + std::to_string(status) + ")");
    std::set<std::string> problems;
    std::istringstream in(out);
    std::string line;
    bool summary = false;
    while (std::getline(in, line)) {
        if (line.rfind("PROBLEM", 0) == 0) {
            std::size_t at = line.find(file.string());
            if (at != std::string::npos) line.erase(at, file.string().size());
            // "row count 61 but 64 rows": a drop that deletes rows of a table Access left with a
            // wrong count keeps the same error; what matters is by how much the count is off.
            std::size_t rc = line.find("row count ");
            std::size_t but = line.find(" but ", rc == std::string::npos ? 0 : rc);
            std::size_t rows = line.find(" rows", but == std::string::npos ? 0 : but);
            if (rc != std::string::npos && but != std::string::npos && rows != std::string::npos) {
                try {
                    long stored = std::stol(line.substr(rc + 10, but - rc - 10));
                    long found = std::stol(line.substr(but + 5, rows - but - 5));
                    line = line.substr(0, rc) + "row count off by " + std::to_string(found - stored) +
                           line.substr(rows + 5);
                } catch (const std::exception&) {
                }
            }
            problems.insert(line);
        }
        if (line.rfind("verify:", 0) == 0) summary = true;
    }
    if (!summary) throw std::runtime_error("jet-verify printed no summary: " + out.substr(0, 300));
    return problems;
}

// Problems of `changed` that `source` does not have.
inline std::set<std::string> newProblems(const std::set<std::string>& source,
                                         const std::set<std::string>& changed) {
    std::set<std::string> out;
    for (const auto& p : changed) {
        if (!source.count(p)) out.insert(p);
    }
    return out;
}

}  // namespace jettest
