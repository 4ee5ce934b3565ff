// The emulated Windows path space.
//
// The logic sees Windows paths exactly as the suite's configuration writes them
// ("C:\KELDATA\office.mdb"); it never sees a host path. An implementation maps drive letters to
// host folders, resolves each component without regard to case (as Windows does), treats a path
// without a drive as relative to the current folder of the current drive, and never reaches
// outside the mapped folders ("..", symlinks).
//
// Failures raise RuntimeError with VB's numbers: 53 file not found, 76 path not found,
// 68 device unavailable (an unmapped drive), 75 path/file access error, 70 permission denied,
// 61 disk full, 57 device I/O error, 52 bad file number, 55 file already open.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::platform {

// File attribute bits as the Windows API and VB's Dir use them.
namespace attr {
inline constexpr unsigned kNormal = 0;
inline constexpr unsigned kReadOnly = 1;
inline constexpr unsigned kHidden = 2;
inline constexpr unsigned kSystem = 4;
inline constexpr unsigned kVolume = 8;
inline constexpr unsigned kDirectory = 16;
inline constexpr unsigned kArchive = 32;
}  // namespace attr

struct DirEntry {
    std::string name;         // as stored on disk
    unsigned attributes = 0;  // attr:: bits
    std::int64_t length = 0;  // bytes; 0 for folders
};

class FileSystem {
  public:
    virtual ~FileSystem() = default;

    // VB's Dir(pattern, attributes): the entries of the folder named by `pattern` whose names match
    // its last component (Windows wildcards: * any run, ? one character; "*.*" matches every name,
    // "*." names without an extension). Without kDirectory only files are returned; with it,
    // folders too. A missing folder or an unmapped drive gives an empty list (no error); characters no
    // Windows name may hold raise 52. Sorted without regard to case. A pattern ending in "\" lists
    // the folder itself ("*.*"), with "." and ".." first when folders are asked for and the folder
    // is not a drive root - so a folder exists exactly when dir("<folder>\", kDirectory) is not empty.
    virtual std::vector<DirEntry> dir(std::string_view pattern, unsigned attributes) const = 0;

    // Length in bytes of an existing file (0 for a folder). 53 when missing, also when its folder is.
    virtual std::int64_t fileLen(std::string_view path) const = 0;

    // Full canonical form of an existing folder: upper-case drive letter, each component in its
    // on-disk case, no trailing "\" except for a drive root ("C:\"). "C:" alone means the current
    // folder of drive C. 76 when the folder does not exist, 68 when the drive is not mapped.
    virtual std::string canonicalFolder(std::string_view path) const = 0;

    // Names of the sub-folders of an existing folder, sorted without regard to case. 76 if missing.
    virtual std::vector<std::string> subfolders(std::string_view folder) const = 0;

    // Names of the files of an existing folder that match one or more patterns separated by ";"
    // ("*.mdb", "test.log", "*.*"), sorted without regard to case. 76 if the folder is missing.
    virtual std::vector<std::string> files(std::string_view folder, std::string_view patterns) const = 0;

    // Drive letters that are mapped, in order ("C", ...).
    virtual std::vector<char> drives() const = 0;

    // VB's FileCopy and Kill. FileCopy replaces its destination whole or not at all: the copy is
    // written under a temporary name in the destination's folder, flushed to disk and renamed over
    // the destination, so whatever stops it, the destination holds its old or its new bytes.
    virtual void copyFile(std::string_view source, std::string_view destination) = 0;
    virtual void deleteFile(std::string_view path) = 0;

    // Sequential text files by number, as VB's Open ... As #n. A number stays taken until Close,
    // also after an error; reopening a taken number raises 55. Text is written and read in
    // Windows-1252; the logic's strings are UTF-8.
    virtual void openForOutput(int number, std::string_view path) = 0;  // create or truncate
    virtual void openForInput(int number, std::string_view path) = 0;
    virtual void printLine(int number, std::string_view text) = 0;  // text + CR LF
    // VB's Input #n, var for one string: the next field (up to a comma or the line's end; a quoted
    // field keeps its commas; blanks around it dropped). 62 past the end.
    virtual std::string inputField(int number) = 0;
    virtual void close(int number) = 0;
    virtual bool isOpen(int number) const = 0;

    // The whole content of a file as bytes (used by the profile-string reader). 53 when missing.
    virtual std::string readAll(std::string_view path) const = 0;

    // The host path of a Windows path, for handing a database file to the engine. The target need
    // not exist, but its folder must lie inside a mapped drive (76 / 68 otherwise).
    virtual std::string hostPath(std::string_view path) const = 0;
    // The host path of a file that the database engine is about to create or change: a write, as
    // far as the file system's own refusals and failures go (a file system that refuses or fails
    // writes does so here too, before the engine touches anything).
    virtual std::string hostPathForWrite(std::string_view path) { return hostPath(path); }

    // Current drive and the current folder of a drive, as Windows paths ("C:\").
    virtual char currentDrive() const = 0;
    virtual std::string currentFolder(char drive) const = 0;
};

}  // namespace qx::platform
