#include "platform/faulty_filesystem.h"

#include <algorithm>

#include "platform/errors.h"
#include "platform/utf8.h"

namespace qx::platform {
namespace {

bool atOrBelow(const std::string& folder, const std::string& top) {
    const auto f = foldForCompare(folder);
    auto t = foldForCompare(top);
    if (f == t) return true;
    if (!t.empty() && t.back() != U'\\') t.push_back(U'\\');
    return f.size() > t.size() && f.compare(0, t.size(), t) == 0;
}

std::string parentText(std::string_view path) {
    const auto cut = path.find_last_of("\\/");
    if (cut == std::string_view::npos) {
        if (path.size() >= 2 && path[1] == ':') return std::string(path.substr(0, 2));
        return ".";
    }
    if (cut == 0) return std::string(path.substr(0, 1));
    if (cut == 2 && path[1] == ':') return std::string(path.substr(0, 3));
    return std::string(path.substr(0, cut));
}

}  // namespace

void FaultyFileSystem::refuseWritesIn(std::string_view folder) {
    refusedFolders_.push_back(target().canonicalFolder(folder));
}

void FaultyFileSystem::vanish(std::string_view folder) {
    vanishedFolders_.push_back(target().canonicalFolder(folder));
}

void FaultyFileSystem::failWrite(int nth, std::int32_t errorNumber) {
    failAt_ = writes_ + nth;
    failNumber_ = errorNumber;
}

void FaultyFileSystem::failAllWrites(std::int32_t errorNumber) {
    failAll_ = true;
    failNumber_ = errorNumber;
}

void FaultyFileSystem::clearFaults() {
    refusedFolders_.clear();
    vanishedFolders_.clear();
    failAt_ = 0;
    failAll_ = false;
}

std::string FaultyFileSystem::folderOf(std::string_view path, bool isFolder) const {
    try {
        return target().canonicalFolder(isFolder ? std::string(path) : parentText(path));
    } catch (const RuntimeError&) {
        return {};
    }
}

bool FaultyFileSystem::vanished(std::string_view path, bool isFolder) const {
    if (vanishedFolders_.empty()) return false;
    const std::string f = folderOf(path, isFolder);
    if (f.empty()) return false;
    if (std::any_of(vanishedFolders_.begin(), vanishedFolders_.end(),
                    [&](const std::string& v) { return atOrBelow(f, v); }))
        return true;
    if (!isFolder) {
        // The path may name the vanished folder itself.
        const std::string self = folderOf(path, true);
        return !self.empty() && std::any_of(vanishedFolders_.begin(), vanishedFolders_.end(),
                                            [&](const std::string& v) { return atOrBelow(self, v); });
    }
    return false;
}

bool FaultyFileSystem::refused(std::string_view path) const {
    if (refusedFolders_.empty()) return false;
    const std::string f = folderOf(path, false);
    return !f.empty() && std::any_of(refusedFolders_.begin(), refusedFolders_.end(),
                                     [&](const std::string& r) { return atOrBelow(f, r); });
}

void FaultyFileSystem::countWrite() {
    ++writes_;
    if (failAll_ || (failAt_ != 0 && writes_ == failAt_)) {
        if (!failAll_) failAt_ = 0;
        raise(failNumber_);
    }
}

std::vector<DirEntry> FaultyFileSystem::dir(std::string_view pattern, unsigned attributes) const {
    const bool folderOnly = pattern.empty() || pattern.back() == '\\' || pattern.back() == '/';
    if (vanished(folderOnly ? pattern : std::string_view(parentText(pattern)), true)) return {};
    auto entries = target().dir(pattern, attributes);
    if (!vanishedFolders_.empty() && !folderOnly) {
        const std::string parent = parentText(pattern);
        std::erase_if(entries, [&](const DirEntry& e) {
            if (!(e.attributes & attr::kDirectory) || e.name == "." || e.name == "..") return false;
            return vanished(parent + "\\" + e.name, true);
        });
    }
    return entries;
}

std::int64_t FaultyFileSystem::fileLen(std::string_view path) const {
    if (vanished(path, false)) raise(err::kFileNotFound);
    return target().fileLen(path);
}

std::string FaultyFileSystem::canonicalFolder(std::string_view path) const {
    if (vanished(path, true)) raise(err::kPathNotFound);
    return target().canonicalFolder(path);
}

std::vector<std::string> FaultyFileSystem::subfolders(std::string_view folder) const {
    if (vanished(folder, true)) raise(err::kPathNotFound);
    auto names = target().subfolders(folder);
    std::erase_if(names,
                  [&](const std::string& n) { return vanished(std::string(folder) + "\\" + n, true); });
    return names;
}

std::vector<std::string> FaultyFileSystem::files(std::string_view folder, std::string_view patterns) const {
    if (vanished(folder, true)) raise(err::kPathNotFound);
    return target().files(folder, patterns);
}

void FaultyFileSystem::copyFile(std::string_view source, std::string_view destination) {
    if (vanished(source, false)) raise(err::kFileNotFound);
    if (vanished(destination, false)) raise(err::kPathNotFound);
    if (refused(destination)) raise(err::kPathFileAccessError);
    countWrite();
    target().copyFile(source, destination);
}

void FaultyFileSystem::deleteFile(std::string_view path) {
    if (vanished(path, false)) raise(err::kFileNotFound);
    if (refused(path)) raise(err::kPathFileAccessError);
    countWrite();
    target().deleteFile(path);
}

void FaultyFileSystem::openForOutput(int number, std::string_view path) {
    if (vanished(path, false)) raise(err::kPathNotFound);
    if (refused(path)) raise(err::kPathFileAccessError);
    countWrite();
    target().openForOutput(number, path);
}

void FaultyFileSystem::openForInput(int number, std::string_view path) {
    if (vanished(path, false)) raise(err::kPathNotFound);
    target().openForInput(number, path);
}

void FaultyFileSystem::printLine(int number, std::string_view text) {
    countWrite();
    target().printLine(number, text);
}

std::string FaultyFileSystem::readAll(std::string_view path) const {
    if (vanished(path, false)) raise(err::kFileNotFound);
    return target().readAll(path);
}

std::string FaultyFileSystem::hostPath(std::string_view path) const {
    if (vanished(path, false)) raise(err::kPathNotFound);
    return target().hostPath(path);
}

std::string FaultyFileSystem::hostPathForWrite(std::string_view path) {
    if (vanished(path, false)) raise(err::kPathNotFound);
    if (refused(path)) raise(err::kPathFileAccessError);
    countWrite();
    return target().hostPathForWrite(path);
}

}  // namespace qx::platform
