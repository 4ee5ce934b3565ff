#include "platform/posix_filesystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "platform/cp1252.h"
#include "platform/errors.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

constexpr int kFirstFileNumber = 1;
constexpr int kLastFileNumber = 511;  // VB's range for Open ... As #n

// A path made absolute and normalised: a drive and its components, no "." or "..".
struct WinPath {
    char drive = 'C';
    std::vector<std::string> parts;
};

std::string format(const WinPath& p) {
    std::string s{p.drive, ':'};
    if (p.parts.empty()) return s + "\\";
    for (const auto& part : p.parts) s += "\\" + part;
    return s;
}

bool isSeparator(char c) {
    return c == '\\' || c == '/';
}

bool hasWildcard(std::string_view s) {
    return s.find_first_of("*?") != std::string_view::npos;
}

// Characters no Windows file name may hold (besides the separators). Wildcards are allowed only
// where a pattern is expected, which the caller decides.
bool validComponent(std::string_view c, bool allowWildcards) {
    for (char ch : c) {
        const auto b = static_cast<unsigned char>(ch);
        if (b < 32) return false;
        if (ch == '<' || ch == '>' || ch == ':' || ch == '"' || ch == '|') return false;
        if (!allowWildcards && (ch == '*' || ch == '?')) return false;
    }
    return true;
}

// Host names the logic could never spell are left out of listings and lookups.
bool visibleHostName(std::string_view n) {
    if (n == "." || n == "..") return false;
    for (char ch : n) {
        const auto b = static_cast<unsigned char>(ch);
        if (b < 32 || ch == '\\' || ch == '*' || ch == '?' || ch == '<' || ch == '>' || ch == ':' ||
            ch == '"' || ch == '|')
            return false;
    }
    return true;
}

// Windows drops trailing dots and blanks of a name ("readme." is "readme").
std::string windowsTrimComponent(std::string_view c) {
    if (c == "." || c == "..") return std::string(c);
    std::size_t end = c.size();
    while (end > 0 && (c[end - 1] == '.' || c[end - 1] == ' ')) --end;
    return std::string(c.substr(0, end));
}

[[noreturn]] void raiseErrno(int e, std::int32_t fallback) {
    switch (e) {
        case ENOENT:
        case ENOTDIR:
            raise(err::kPathNotFound);
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case ETXTBSY:
        case EBUSY:
        case ELOOP:
        case EEXIST:
            raise(err::kPathFileAccessError);
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            raise(err::kDiskFull);
        case EIO:
            raise(err::kDeviceIoError);
        case EMFILE:
        case ENFILE:
            raise(err::kTooManyFiles);
        case ENAMETOOLONG:
            raise(err::kBadFileNameOrNumber);
        case ENXIO:
        case ENODEV:
            raise(err::kDeviceUnavailable);
        case ENOMEM:
            raise(err::kOutOfMemory);
        default:
            raise(fallback);
    }
}

std::string realPath(const std::string& host, bool& ok) {
    char buf[PATH_MAX];
    if (::realpath(host.c_str(), buf) == nullptr) {
        ok = false;
        return {};
    }
    ok = true;
    return buf;
}

bool within(const std::string& path, const std::string& root) {
    if (path == root) return true;
    if (root == "/") return true;
    return path.size() > root.size() && path.compare(0, root.size(), root) == 0 && path[root.size()] == '/';
}

std::vector<std::string> hostNames(const std::string& folder) {
    std::vector<std::string> names;
    DIR* d = ::opendir(folder.c_str());
    if (d == nullptr) return names;
    while (const dirent* e = ::readdir(d)) {
        if (visibleHostName(e->d_name)) names.emplace_back(e->d_name);
    }
    ::closedir(d);
    return names;
}

void writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            raiseErrno(errno, err::kDeviceIoError);
        }
        data.remove_prefix(static_cast<std::size_t>(n));
    }
}

std::string readFd(int fd, std::int64_t limit) {
    std::string out;
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR) continue;
            raiseErrno(errno, err::kDeviceIoError);
        }
        if (n == 0) break;
        if (static_cast<std::int64_t>(out.size()) + n > limit) raise(err::kOutOfMemory);
        out.append(buf, static_cast<std::size_t>(n));
    }
    return out;
}

class Fd {
  public:
    explicit Fd(int fd) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) ::close(fd_);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

  private:
    int fd_;
};

bool lessIgnoringCase(const std::string& a, const std::string& b) {
    const auto fa = foldForCompare(a), fb = foldForCompare(b);
    return fa != fb ? fa < fb : a < b;
}

}  // namespace

struct PosixFileSystem::Impl {
    enum class Status { Found, Missing, Refused };

    struct Resolved {
        Status status = Status::Missing;
        std::string host;                    // Found: the real host path; Missing: the deepest found folder
        std::vector<std::string> diskNames;  // on-disk names of the components found
        bool isDir = false;
        struct stat st {};
    };

    enum class Mode { Output, Input };
    struct OpenFile {
        Mode mode = Mode::Output;
        int fd = -1;
        std::string host;
        std::string data;  // Input: the whole file, read at opening
        std::size_t pos = 0;
    };

    std::map<char, std::string> roots;  // real host paths
    std::map<char, WinPath> current;
    char currentDrive = 'C';
    std::map<int, OpenFile> open;

    // Makes `path` absolute. With `allowWildcardsInLast` the last component may be a pattern, which
    // keeps its trailing dot ("*." means names without an extension).
    WinPath absolute(std::string_view path, bool allowWildcardsInLast) const {
        if (path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1])) raise(err::kPathNotFound);
        WinPath p;
        std::string_view rest = path;
        if (rest.size() >= 2 && rest[1] == ':') {
            const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(rest[0])));
            if (letter < 'A' || letter > 'Z') raise(err::kBadFileNameOrNumber);
            if (!roots.count(letter)) raise(err::kDeviceUnavailable);
            p.drive = letter;
            rest.remove_prefix(2);
        } else {
            p.drive = currentDrive;
        }
        if (rest.empty() || !isSeparator(rest[0])) p.parts = current.at(p.drive).parts;
        std::vector<std::string_view> raw;
        std::size_t i = 0;
        while (i <= rest.size()) {
            std::size_t j = i;
            while (j < rest.size() && !isSeparator(rest[j])) ++j;
            if (j > i) raw.push_back(rest.substr(i, j - i));
            i = j + 1;
        }
        for (std::size_t k = 0; k < raw.size(); ++k) {
            const bool last = k + 1 == raw.size();
            std::string c = last && allowWildcardsInLast && hasWildcard(raw[k])
                                ? std::string(raw[k])
                                : windowsTrimComponent(raw[k]);
            if (c.empty() || c == ".") continue;
            if (c == "..") {
                if (!p.parts.empty()) p.parts.pop_back();
                continue;
            }
            if (!validComponent(c, last && allowWildcardsInLast)) raise(err::kBadFileNameOrNumber);
            p.parts.push_back(std::move(c));
        }
        return p;
    }

    Resolved resolve(const WinPath& p) const {
        Resolved r;
        const std::string& root = roots.at(p.drive);
        std::string cur = root;
        for (std::size_t k = 0; k < p.parts.size(); ++k) {
            // The exact spelling needs no listing of the folder; only a miss does.
            std::vector<std::string> names;
            const std::string* hit = nullptr;
            struct stat probe {};
            const std::string exact = (cur == "/" ? cur : cur + "/") + p.parts[k];
            if (visibleHostName(p.parts[k]) && ::lstat(exact.c_str(), &probe) == 0) {
                names.push_back(p.parts[k]);
                hit = &names.front();
            } else {
                names = hostNames(cur);
                const auto want = foldForCompare(p.parts[k]);
                for (const auto& n : names) {
                    if (foldForCompare(n) == want && (hit == nullptr || n < *hit)) hit = &n;
                }
            }
            if (hit == nullptr) {
                r.status = Status::Missing;
                r.host = cur;
                return r;
            }
            std::string next = (cur == "/" ? cur : cur + "/") + *hit;
            struct stat lst {};
            if (::lstat(next.c_str(), &lst) != 0) {
                r.status = Status::Missing;
                r.host = cur;
                return r;
            }
            if (S_ISLNK(lst.st_mode)) {
                bool ok = false;
                std::string real = realPath(next, ok);
                if (!ok || !within(real, root)) {
                    r.status = Status::Refused;
                    return r;
                }
                next = std::move(real);
            }
            struct stat st {};
            if (::stat(next.c_str(), &st) != 0) {
                r.status = Status::Missing;
                r.host = cur;
                return r;
            }
            r.diskNames.push_back(*hit);
            const bool last = k + 1 == p.parts.size();
            if (!last && !S_ISDIR(st.st_mode)) {
                r.status = Status::Missing;
                r.host = cur;
                return r;
            }
            cur = std::move(next);
            r.st = st;
        }
        if (p.parts.empty() && ::stat(cur.c_str(), &r.st) != 0) {
            r.status = Status::Missing;
            return r;
        }
        r.status = Status::Found;
        r.host = cur;
        r.isDir = S_ISDIR(r.st.st_mode);
        return r;
    }

    Resolved resolve(std::string_view path) const { return resolve(absolute(path, false)); }

    // Host path for creating the last component of `p`: its folder must exist.
    std::string creationTarget(const WinPath& p, bool& exists, Resolved& found) const {
        found = resolve(p);
        if (found.status == Status::Refused) raise(err::kPathFileAccessError);
        if (found.status == Status::Found) {
            if (found.isDir) raise(err::kPathFileAccessError);
            exists = true;
            return found.host;
        }
        if (p.parts.empty()) raise(err::kPathFileAccessError);
        if (found.diskNames.size() + 1 != p.parts.size()) raise(err::kPathNotFound);
        exists = false;
        return found.host + "/" + p.parts.back();
    }

    OpenFile& openFile(int number) {
        auto it = open.find(number);
        if (it == open.end()) raise(err::kBadFileNameOrNumber);
        return it->second;
    }

    void checkNumberFree(int number) const {
        if (number < kFirstFileNumber || number > kLastFileNumber) raise(err::kBadFileNameOrNumber);
        if (open.count(number)) raise(err::kFileAlreadyOpen);
    }

    bool openedForOutput(const std::string& host) const {
        return std::any_of(open.begin(), open.end(), [&](const auto& e) {
            return e.second.host == host && e.second.mode == Mode::Output;
        });
    }
    bool openedAtAll(const std::string& host) const {
        return std::any_of(open.begin(), open.end(), [&](const auto& e) { return e.second.host == host; });
    }

    static unsigned attributesOf(const struct stat& st) {
        unsigned a = S_ISDIR(st.st_mode) ? attr::kDirectory : attr::kArchive;
        // Mode bits, not access(): the answer must not depend on running as root.
        if (!(st.st_mode & S_IWUSR)) a |= attr::kReadOnly;
        return a;
    }

    // Entries of a resolved folder, following in-root links and hiding refused ones.
    std::vector<DirEntry> entries(const WinPath& folder, const Resolved& rf) const {
        std::vector<DirEntry> out;
        const std::string& root = roots.at(folder.drive);
        for (const auto& n : hostNames(rf.host)) {
            std::string host = (rf.host == "/" ? rf.host : rf.host + "/") + n;
            struct stat lst {};
            if (::lstat(host.c_str(), &lst) != 0) continue;
            if (S_ISLNK(lst.st_mode)) {
                bool ok = false;
                host = realPath(host, ok);
                if (!ok || !within(host, root)) continue;
            }
            struct stat st {};
            if (::stat(host.c_str(), &st) != 0) continue;
            if (!S_ISDIR(st.st_mode) && !S_ISREG(st.st_mode)) continue;
            DirEntry e;
            e.name = n;
            e.attributes = attributesOf(st);
            e.length = S_ISDIR(st.st_mode) ? 0 : static_cast<std::int64_t>(st.st_size);
            out.push_back(std::move(e));
        }
        std::sort(out.begin(), out.end(),
                  [](const DirEntry& a, const DirEntry& b) { return lessIgnoringCase(a.name, b.name); });
        return out;
    }

    Resolved existingFolder(std::string_view path, WinPath& p) const {
        p = absolute(path, false);
        Resolved r = resolve(p);
        if (r.status == Status::Refused) raise(err::kPathFileAccessError);
        if (r.status != Status::Found || !r.isDir) raise(err::kPathNotFound);
        return r;
    }

    // What `path` names, which must exist (a file or a folder): a missing folder on the way is
    // reported as the file not found, as VB's file functions do.
    Resolved existing(std::string_view path) const {
        Resolved r;
        try {
            r = resolve(path);
        } catch (const RuntimeError& e) {
            if (e.number() == err::kPathNotFound) raise(err::kFileNotFound);
            throw;
        }
        if (r.status == Status::Refused) raise(err::kPathFileAccessError);
        if (r.status != Status::Found) raise(err::kFileNotFound);
        return r;
    }
};

PosixFileSystem::PosixFileSystem(std::map<char, std::string> drives) : impl_(std::make_unique<Impl>()) {
    if (drives.empty()) throw std::invalid_argument("no drive is mapped");
    for (auto& [letter, host] : drives) {
        if (letter < 'A' || letter > 'Z') throw std::invalid_argument("drive letters are A to Z");
        bool ok = false;
        std::string real = realPath(host, ok);
        struct stat st {};
        if (!ok || ::stat(real.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
            throw std::invalid_argument("the folder for drive " + std::string(1, letter) +
                                        ": does not exist: " + host);
        impl_->roots[letter] = real;
        impl_->current[letter] = WinPath{letter, {}};
    }
    impl_->currentDrive = impl_->roots.count('C') ? 'C' : impl_->roots.begin()->first;
}

PosixFileSystem::~PosixFileSystem() {
    for (auto& [n, f] : impl_->open) {
        if (f.fd >= 0) ::close(f.fd);
    }
}

std::vector<DirEntry> PosixFileSystem::dir(std::string_view pattern, unsigned attributes) const {
    WinPath p;
    std::string last;
    try {
        const bool folderOnly =
            pattern.empty() || isSeparator(pattern.back()) || (pattern.size() == 2 && pattern[1] == ':');
        p = impl_->absolute(pattern, true);
        if (folderOnly) {
            last = "*.*";
        } else {
            if (p.parts.empty()) return {};  // "C:\.." and the like name no entry
            last = p.parts.back();
            p.parts.pop_back();
        }
        for (const auto& part : p.parts) {
            if (hasWildcard(part)) raise(err::kBadFileNameOrNumber);
        }
    } catch (const RuntimeError& e) {
        // A listing answers "nothing there" for an unmapped drive or unreachable path, as Dir does.
        if (e.number() == err::kDeviceUnavailable || e.number() == err::kPathNotFound) return {};
        throw;
    }
    const auto rf = impl_->resolve(p);
    if (rf.status != Impl::Status::Found || !rf.isDir) return {};
    std::vector<DirEntry> out;
    const bool wantDirs = (attributes & attr::kDirectory) != 0;
    if (wantDirs && !p.parts.empty()) {
        // Windows lists the folder itself and its parent in every folder but a drive root.
        for (const char* dot : {".", ".."}) {
            if (matchesWildcard(dot, last)) out.push_back(DirEntry{dot, attr::kDirectory, 0});
        }
    }
    for (auto& e : impl_->entries(p, rf)) {
        if ((e.attributes & attr::kDirectory) && !wantDirs) continue;
        if (matchesWildcard(e.name, last)) out.push_back(std::move(e));
    }
    return out;
}

std::int64_t PosixFileSystem::fileLen(std::string_view path) const {
    const Impl::Resolved r = impl_->existing(path);
    return r.isDir ? 0 : static_cast<std::int64_t>(r.st.st_size);
}

std::string PosixFileSystem::canonicalFolder(std::string_view path) const {
    WinPath p;
    const auto r = impl_->existingFolder(path, p);
    WinPath c{p.drive, r.diskNames};
    return format(c);
}

std::vector<std::string> PosixFileSystem::subfolders(std::string_view folder) const {
    WinPath p;
    const auto r = impl_->existingFolder(folder, p);
    std::vector<std::string> out;
    for (auto& e : impl_->entries(p, r)) {
        if (e.attributes & attr::kDirectory) out.push_back(std::move(e.name));
    }
    return out;
}

std::vector<std::string> PosixFileSystem::files(std::string_view folder, std::string_view patterns) const {
    WinPath p;
    const auto r = impl_->existingFolder(folder, p);
    std::vector<std::string> pats;
    std::size_t i = 0;
    while (i <= patterns.size()) {
        std::size_t j = patterns.find(';', i);
        if (j == std::string_view::npos) j = patterns.size();
        std::string_view one = patterns.substr(i, j - i);
        while (!one.empty() && one.front() == ' ') one.remove_prefix(1);
        while (!one.empty() && one.back() == ' ') one.remove_suffix(1);
        if (!one.empty()) pats.emplace_back(one);
        i = j + 1;
    }
    if (pats.empty()) pats.emplace_back("*.*");
    std::vector<std::string> out;
    for (auto& e : impl_->entries(p, r)) {
        if (e.attributes & attr::kDirectory) continue;
        if (std::any_of(pats.begin(), pats.end(),
                        [&](const std::string& pat) { return matchesWildcard(e.name, pat); }))
            out.push_back(std::move(e.name));
    }
    return out;
}

std::vector<char> PosixFileSystem::drives() const {
    std::vector<char> out;
    for (const auto& [letter, host] : impl_->roots) out.push_back(letter);
    return out;
}

void PosixFileSystem::copyFile(std::string_view source, std::string_view destination) {
    Impl::Resolved src;
    try {
        src = impl_->resolve(source);
    } catch (const RuntimeError& e) {
        if (e.number() == err::kPathNotFound) raise(err::kFileNotFound);
        throw;
    }
    if (src.status == Impl::Status::Refused) raise(err::kPathFileAccessError);
    if (src.status != Impl::Status::Found || src.isDir) raise(err::kFileNotFound);
    if (impl_->openedForOutput(src.host)) raise(err::kPathFileAccessError);

    const WinPath dp = impl_->absolute(destination, false);
    bool exists = false;
    Impl::Resolved found;
    const std::string target = impl_->creationTarget(dp, exists, found);
    if (exists && (!(found.st.st_mode & S_IWUSR) || impl_->openedAtAll(target)))
        raise(err::kPathFileAccessError);
    if (exists && target == src.host) raise(err::kPathFileAccessError);

    Fd in(::open(src.host.c_str(), O_RDONLY | O_CLOEXEC));
    if (in.get() < 0) raiseErrno(errno, err::kPathFileAccessError);
    const std::string folder = target.substr(0, target.rfind('/'));
    std::string tmp = folder + "/.qxcopy-XXXXXX";
    Fd out(::mkstemp(tmp.data()));
    if (out.get() < 0) raiseErrno(errno, err::kPathFileAccessError);
    try {
        char buf[65536];
        for (;;) {
            const ssize_t n = ::read(in.get(), buf, sizeof buf);
            if (n < 0) {
                if (errno == EINTR) continue;
                raiseErrno(errno, err::kDeviceIoError);
            }
            if (n == 0) break;
            writeAll(out.get(), std::string_view(buf, static_cast<std::size_t>(n)));
        }
        ::fchmod(out.get(), src.st.st_mode & 07777);
        if (::fsync(out.get()) != 0) raiseErrno(errno, err::kDeviceIoError);
        if (::close(out.release()) != 0) raiseErrno(errno, err::kDeviceIoError);
        if (::rename(tmp.c_str(), target.c_str()) != 0) raiseErrno(errno, err::kPathFileAccessError);
        // The new name is only kept across a power cut once the folder itself is on disk.
        Fd dirFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (dirFd.get() >= 0) ::fsync(dirFd.get());
    } catch (...) {
        ::unlink(tmp.c_str());
        throw;
    }
}

void PosixFileSystem::deleteFile(std::string_view path) {
    WinPath p = impl_->absolute(path, true);
    if (p.parts.empty()) raise(err::kFileNotFound);
    std::vector<std::string> hosts;
    if (hasWildcard(p.parts.back())) {
        // Kill with a pattern removes every matching file of the folder.
        const std::string pat = p.parts.back();
        p.parts.pop_back();
        const auto rf = impl_->resolve(p);
        if (rf.status != Impl::Status::Found || !rf.isDir) raise(err::kPathNotFound);
        for (const auto& e : impl_->entries(p, rf)) {
            if (!(e.attributes & attr::kDirectory) && matchesWildcard(e.name, pat)) {
                WinPath one = p;
                one.parts.push_back(e.name);
                hosts.push_back(impl_->resolve(one).host);
            }
        }
        if (hosts.empty()) raise(err::kFileNotFound);
    } else {
        const auto r = impl_->resolve(p);
        if (r.status == Impl::Status::Refused) raise(err::kPathFileAccessError);
        if (r.status != Impl::Status::Found || r.isDir) raise(err::kFileNotFound);
        if (!(r.st.st_mode & S_IWUSR)) raise(err::kPathFileAccessError);
        hosts.push_back(r.host);
    }
    for (const auto& h : hosts) {
        if (impl_->openedAtAll(h)) raise(err::kPathFileAccessError);
        if (::unlink(h.c_str()) != 0) raiseErrno(errno, err::kPathFileAccessError);
    }
}

void PosixFileSystem::openForOutput(int number, std::string_view path) {
    impl_->checkNumberFree(number);
    const WinPath p = impl_->absolute(path, false);
    bool exists = false;
    Impl::Resolved found;
    const std::string target = impl_->creationTarget(p, exists, found);
    if (impl_->openedAtAll(target)) raise(err::kFileAlreadyOpen);
    if (exists && !(found.st.st_mode & S_IWUSR)) raise(err::kPathFileAccessError);
    const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd < 0) raiseErrno(errno, err::kPathFileAccessError);
    Impl::OpenFile f;
    f.mode = Impl::Mode::Output;
    f.fd = fd;
    f.host = target;
    impl_->open.emplace(number, std::move(f));
}

void PosixFileSystem::openForInput(int number, std::string_view path) {
    impl_->checkNumberFree(number);
    const WinPath p = impl_->absolute(path, false);
    const auto r = impl_->resolve(p);
    if (r.status == Impl::Status::Refused) raise(err::kPathFileAccessError);
    if (r.status != Impl::Status::Found) {
        raise(r.diskNames.size() + 1 >= p.parts.size() ? err::kFileNotFound : err::kPathNotFound);
    }
    if (r.isDir) raise(err::kPathFileAccessError);
    if (impl_->openedForOutput(r.host)) raise(err::kFileAlreadyOpen);
    Fd fd(::open(r.host.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (fd.get() < 0) raiseErrno(errno, err::kPathFileAccessError);
    Impl::OpenFile f;
    f.mode = Impl::Mode::Input;
    f.data = readFd(fd.get(), kMaxReadBytes);
    f.host = r.host;
    impl_->open.emplace(number, std::move(f));
}

void PosixFileSystem::printLine(int number, std::string_view text) {
    auto& f = impl_->openFile(number);
    if (f.mode != Impl::Mode::Output) raise(err::kBadFileMode);
    writeAll(f.fd, utf8ToCp1252(text) + "\r\n");
}

std::string PosixFileSystem::inputField(int number) {
    auto& f = impl_->openFile(number);
    if (f.mode != Impl::Mode::Input) raise(err::kBadFileMode);
    const std::string& d = f.data;
    std::size_t i = f.pos;
    while (i < d.size() && (d[i] == ' ' || d[i] == '\t')) ++i;
    if (i >= d.size()) raise(err::kInputPastEndOfFile);
    std::string field;
    if (d[i] == '"') {
        const std::size_t close = d.find('"', i + 1);
        const std::size_t end = close == std::string::npos ? d.size() : close;
        field = d.substr(i + 1, end - i - 1);
        i = close == std::string::npos ? d.size() : close + 1;
        while (i < d.size() && d[i] != ',' && d[i] != '\r' && d[i] != '\n') ++i;
    } else {
        std::size_t j = i;
        while (j < d.size() && d[j] != ',' && d[j] != '\r' && d[j] != '\n') ++j;
        std::size_t end = j;
        while (end > i && (d[end - 1] == ' ' || d[end - 1] == '\t')) --end;
        field = d.substr(i, end - i);
        i = j;
    }
    if (i < d.size()) {
        if (d[i] == ',') {
            ++i;
        } else if (d[i] == '\r') {
            ++i;
            if (i < d.size() && d[i] == '\n') ++i;
        } else if (d[i] == '\n') {
            ++i;
        }
    }
    f.pos = i;
    return cp1252ToUtf8(field);
}

void PosixFileSystem::close(int number) {
    auto it = impl_->open.find(number);
    if (it == impl_->open.end()) return;  // Close of a number not open is no error in VB
    const int fd = it->second.fd;
    impl_->open.erase(it);
    if (fd >= 0 && ::close(fd) != 0) raiseErrno(errno, err::kDeviceIoError);
}

bool PosixFileSystem::isOpen(int number) const {
    return impl_->open.count(number) != 0;
}

std::string PosixFileSystem::readAll(std::string_view path) const {
    const Impl::Resolved r = impl_->existing(path);
    if (r.isDir) raise(err::kFileNotFound);
    Fd fd(::open(r.host.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (fd.get() < 0) raiseErrno(errno, err::kPathFileAccessError);
    return readFd(fd.get(), kMaxReadBytes);
}

std::string PosixFileSystem::hostPath(std::string_view path) const {
    const WinPath p = impl_->absolute(path, false);
    const auto r = impl_->resolve(p);
    if (r.status == Impl::Status::Refused) raise(err::kPathFileAccessError);
    if (r.status == Impl::Status::Found) return r.host;
    if (!p.parts.empty() && r.diskNames.size() + 1 == p.parts.size()) return r.host + "/" + p.parts.back();
    raise(err::kPathNotFound);
}

char PosixFileSystem::currentDrive() const {
    return impl_->currentDrive;
}

std::string PosixFileSystem::currentFolder(char drive) const {
    const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(drive)));
    auto it = impl_->current.find(letter);
    if (it == impl_->current.end()) raise(err::kDeviceUnavailable);
    return format(it->second);
}

void PosixFileSystem::changeFolder(std::string_view path) {
    WinPath p;
    const auto r = impl_->existingFolder(path, p);
    impl_->current[p.drive] = WinPath{p.drive, r.diskNames};
}

void PosixFileSystem::changeDrive(char drive) {
    const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(drive)));
    if (!impl_->roots.count(letter)) raise(err::kDeviceUnavailable);
    impl_->currentDrive = letter;
}

}  // namespace qx::platform
