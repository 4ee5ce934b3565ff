#include "jet/fault_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace jet {

namespace {

class FaultyFile final : public File {
  public:
    FaultyFile(FaultyFileSystem& fs, std::unique_ptr<File> inner) : fs_(fs), inner_(std::move(inner)) {}

    int readAt(std::uint64_t offset, void* data, std::size_t length, std::size_t& done) override {
        return inner_->readAt(offset, data, length, done);
    }
    int writeAt(std::uint64_t offset, const void* data, std::size_t length, std::size_t& done) override {
        done = 0;
        bool shortened = false;
        if (int err = fs_.beforeWrite(length, shortened)) return err;
        int err = inner_->writeAt(offset, data, length, done);
        fs_.wrote(done);
        return err;
    }
    int sync() override {
        if (int err = fs_.beforeSync()) return err;
        return inner_->sync();
    }
    int size(std::uint64_t& out) override { return inner_->size(out); }
    int truncate(std::uint64_t length) override {
        // A truncation changes the file as a write does.
        std::size_t n = 0;
        bool shortened = false;
        if (int err = fs_.beforeWrite(n, shortened)) return err;
        return inner_->truncate(length);
    }
    int lock(std::uint64_t offset, std::uint64_t length, LockKind kind, bool wait) override {
        return inner_->lock(offset, length, kind, wait);
    }
    int unlock(std::uint64_t offset, std::uint64_t length) override { return inner_->unlock(offset, length); }

  private:
    FaultyFileSystem& fs_;
    std::unique_ptr<File> inner_;
};

}  // namespace

std::unique_ptr<File> FaultyFileSystem::open(const std::string& path, OpenMode mode, int& error) {
    if (mode != OpenMode::Read && plan_.refuseWriteOpen != 0) {
        error = plan_.refuseWriteOpen;
        return nullptr;
    }
    auto inner = inner_.open(path, mode, error);
    if (!inner) return nullptr;
    return std::make_unique<FaultyFile>(*this, std::move(inner));
}

int FaultyFileSystem::remove(const std::string& path) {
    if (plan_.refuseWriteOpen != 0) return plan_.refuseWriteOpen;
    // Removing the journal is the commit: it counts as a write.
    std::size_t n = 0;
    bool shortened = false;
    if (int err = beforeWrite(n, shortened)) return err;
    return inner_.remove(path);
}

int FaultyFileSystem::rename(const std::string& from, const std::string& to) {
    if (plan_.refuseWriteOpen != 0) return plan_.refuseWriteOpen;
    // Renaming a journal into place is a step of the commit protocol: it counts as a write.
    std::size_t n = 0;
    bool shortened = false;
    if (int err = beforeWrite(n, shortened)) return err;
    return inner_.rename(from, to);
}

int FaultyFileSystem::syncDirectory(const std::string& path) {
    if (int err = beforeSync()) return err;
    return inner_.syncDirectory(path);
}

int FaultyFileSystem::beforeWrite(std::size_t& length, bool& shortened) {
    ++writes_;
    if (plan_.exitAtWrite != 0 && writes_ == plan_.exitAtWrite) ::_exit(plan_.exitCode);
    if (failed_ && plan_.failAllAfter) return plan_.error;
    if (plan_.failWrite != 0 && writes_ == plan_.failWrite) {
        failed_ = true;
        return plan_.error;
    }
    if (plan_.shortWrite != 0 && writes_ == plan_.shortWrite && length > 1) {
        length /= 2;
        shortened = true;
    }
    return 0;
}

int FaultyFileSystem::beforeSync() {
    ++syncs_;
    if (plan_.exitAtSync != 0 && syncs_ == plan_.exitAtSync) ::_exit(plan_.exitCode);
    if (failed_ && plan_.failAllAfter) return plan_.error;
    if (plan_.failSync != 0 && syncs_ == plan_.failSync) {
        failed_ = true;
        return plan_.error;
    }
    return 0;
}

namespace {

class MemoryFile final : public File {
  public:
    explicit MemoryFile(std::shared_ptr<std::vector<std::uint8_t>> bytes) : bytes_(std::move(bytes)) {}
    int readAt(std::uint64_t offset, void* data, std::size_t length, std::size_t& done) override {
        done = 0;
        if (offset >= bytes_->size()) return 0;
        done = static_cast<std::size_t>(std::min<std::uint64_t>(length, bytes_->size() - offset));
        std::memcpy(data, bytes_->data() + offset, done);
        return 0;
    }
    int writeAt(std::uint64_t offset, const void* data, std::size_t length, std::size_t& done) override {
        if (offset + length > bytes_->size()) bytes_->resize(static_cast<std::size_t>(offset + length));
        std::memcpy(bytes_->data() + offset, data, length);
        done = length;
        return 0;
    }
    int sync() override { return 0; }
    int size(std::uint64_t& out) override {
        out = bytes_->size();
        return 0;
    }
    int truncate(std::uint64_t length) override {
        bytes_->resize(static_cast<std::size_t>(length));
        return 0;
    }
    int lock(std::uint64_t, std::uint64_t, LockKind, bool) override { return 0; }
    int unlock(std::uint64_t, std::uint64_t) override { return 0; }

  private:
    std::shared_ptr<std::vector<std::uint8_t>> bytes_;
};

}  // namespace

void MemoryFileSystem::put(const std::string& path, std::vector<std::uint8_t> bytes) {
    files_[path] = std::make_shared<std::vector<std::uint8_t>>(std::move(bytes));
}

std::vector<std::uint8_t> MemoryFileSystem::get(const std::string& path) const {
    auto it = files_.find(path);
    return it == files_.end() ? std::vector<std::uint8_t>{} : *it->second;
}

std::unique_ptr<File> MemoryFileSystem::open(const std::string& path, OpenMode mode, int& error) {
    auto it = files_.find(path);
    if (it == files_.end()) {
        if (mode == OpenMode::Read || mode == OpenMode::ReadWrite) {
            error = ENOENT;
            return nullptr;
        }
        it = files_.emplace(path, std::make_shared<std::vector<std::uint8_t>>()).first;
    } else if (mode == OpenMode::CreateNew) {
        error = EEXIST;
        return nullptr;
    }
    error = 0;
    return std::make_unique<MemoryFile>(it->second);
}

int MemoryFileSystem::remove(const std::string& path) {
    return files_.erase(path) ? 0 : ENOENT;
}

int MemoryFileSystem::rename(const std::string& from, const std::string& to) {
    auto it = files_.find(from);
    if (it == files_.end()) return ENOENT;
    auto bytes = it->second;
    files_.erase(it);
    files_[to] = std::move(bytes);
    return 0;
}

int MemoryFileSystem::stat(const std::string& path, FileInfo& info) {
    info = FileInfo{};
    auto it = files_.find(path);
    if (it == files_.end()) return 0;
    info.exists = true;
    info.regular = true;
    info.size = it->second->size();
    info.inode = std::hash<std::string>{}(path);
    return 0;
}

}  // namespace jet
