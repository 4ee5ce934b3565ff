#include "platform/testing/test_drive.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "platform/ini_profile.h"

namespace qx::testing {

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::string tmpl = (fs::temp_directory_path() / "qxtest-XXXXXX").string();
    if (::mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("cannot create a temporary folder");
    path_ = tmpl;
}

TempDir::~TempDir() {
    std::error_code ec;
    // Make everything writable again first: a test may have taken write permission away.
    for (auto it = fs::recursive_directory_iterator(path_, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (!it->is_symlink()) fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    }
    fs::remove_all(path_, ec);
}

TempDriveC::TempDriveC(const std::string& sharedDir, bool withSuite) {
    if (!withSuite) return;
    const fs::path source = fs::path(sharedDir) / "fixtures" / "suite" / "drive_c";
    fs::copy(source, dir_.path(), fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    // Fixtures may be read-only where they are kept; the copy must be the test's to change.
    for (const auto& e : fs::recursive_directory_iterator(dir_.path()))
        fs::permissions(e.path(), fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
}

fs::path TempDriveC::host(std::string_view relative) const {
    std::string r(relative);
    for (char& c : r)
        if (c == '\\') c = '/';
    return dir_.path() / r;
}

void TempDriveC::write(std::string_view relative, std::string_view bytes) const {
    const fs::path p = host(relative);
    fs::create_directories(p.parent_path());
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + p.string());
}

TestPlatform::TestPlatform(const std::string& sharedDir, bool withSuite) : drive_(sharedDir, withSuite) {
    real_ = std::make_unique<platform::PosixFileSystem>(
        std::map<char, std::string>{{'C', drive_.root().string()}});
    faulty_ = std::make_unique<FaultyFileSystem>(*real_);
    profile_ = std::make_unique<platform::IniProfileStrings>(*faulty_, "C:\\WINDOWS");
    platform_ = std::make_unique<platform::Platform>(
        platform::Platform{*faulty_, *profile_, system_, clock_, messages_, process_});
}

TestPlatform::~TestPlatform() = default;

}  // namespace qx::testing
