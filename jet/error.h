// Errors raised by the Jet engine.
//
// Every failure of the engine, from a missing file to a damaged page, is a jet::Error carrying the
// number and text the Windows engine gives for the same situation, so that callers (and users
// reading a message) see what they would have seen there. Damage found inside a file additionally
// names the page and byte offset where reading stopped; that location is part of the description
// so that it survives being shown as plain text.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace jet {

// Jet error numbers the engine raises.
namespace errc {
inline constexpr std::int32_t kFileNotFound = 3024;        // "Could not find file '<name>'."
inline constexpr std::int32_t kNoCurrentRecord = 3021;     // "No current record."
inline constexpr std::int32_t kBadPassword = 3031;         // "Not a valid password."
inline constexpr std::int32_t kInvalidPath = 3044;         // "'<path>' is not a valid path. ..."
inline constexpr std::int32_t kFileInUse = 3045;           // "Could not use '<name>'; file already in use."
inline constexpr std::int32_t kCannotOpen = 3049;          // not a database, or corrupt
inline constexpr std::int32_t kNoPermission = 3051;        // cannot open the file (permissions)
inline constexpr std::int32_t kTableNotFound = 3078;       // input table or query not found
inline constexpr std::int32_t kItemNotFound = 3265;        // "Item not found in this collection."
inline constexpr std::int32_t kUnrecognizedFormat = 3343;  // "Unrecognized database format '<file>'."
// Writing.
inline constexpr std::int32_t kDiskFull = 3026;  // "Not enough space on disk."
inline constexpr std::int32_t kReadOnly = 3027;  // "Cannot update.  Database or object is read-only."
inline constexpr std::int32_t kNoObjectPermission = 3033;  // no permission on an object (system tables)
inline constexpr std::int32_t kDiskError = 3043;           // "Disk or network error."
inline constexpr std::int32_t kTooManyUsers = 3050;        // "Could not lock file."
inline constexpr std::int32_t kLocked = 3218;              // "Could not update; currently locked."
inline constexpr std::int32_t kInRelationship = 3281;      // table used in a relationship
inline constexpr std::int32_t kOpenedExclusively = 3356;   // opened exclusively by user ... on machine ...
inline constexpr std::int32_t kNoSuchTable = 3376;         // "Table '<name>' does not exist."
}  // namespace errc

// Where in a file damage was found: page number and byte offset within that page.
struct PageLocation {
    std::uint32_t page = 0;
    std::uint32_t offset = 0;
};

class Error : public std::runtime_error {
  public:
    // `description` is the complete text (what() returns the same text).
    Error(std::int32_t number, std::string description, std::optional<PageLocation> where = {});

    std::int32_t number() const noexcept { return number_; }
    const std::string& description() const noexcept { return description_; }
    // Set for damage found in a page (number 3049); empty otherwise.
    const std::optional<PageLocation>& location() const noexcept { return where_; }

    // Constructors for the engine's errors with Jet's texts. `name` is the file or table name as
    // the caller gave it; it is quoted with ' in the text.
    static Error fileNotFound(const std::string& name);
    static Error unrecognizedFormat(const std::string& name);
    static Error badPassword();
    static Error noPermission(const std::string& name);
    static Error tableNotFound(const std::string& name);
    // A system object a change may not touch: 3033, `object` quoted in the text.
    static Error noObjectPermission(const std::string& object);
    // A file that is not a database at all (no page could be trusted).
    static Error notADatabase(const std::string& name);
    // Damage inside a page: Jet's 3049 text followed by " (page P, offset O: what)".
    static Error noSuchTable(const std::string& name);
    static Error locked();
    // Writing rows and definitions.
    static Error tableExists(const std::string& name);    // 3010
    static Error duplicateKey();                          // 3022
    static Error requiredNull(const std::string& field);  // 3314, `field` as "Table.Field"
    static Error nullInIndex();                           // 3058
    static Error valueTooLong();                          // 3163
    static Error typeMismatch();                          // 3464
    static Error indexExists(const std::string& table, const std::string& index);  // 3375
    static Error primaryKeyExists();                                               // 3283
    static Error itemNotFound();                                                   // 3265
    static Error readOnly();
    // A failed write or sync: 3026 for a full disk, 3027 for a read-only file or folder, 3044
    // for a folder that is gone, 3043 otherwise.
    static Error writeFailed(const std::string& name, int errnoValue);
    static Error corrupt(const std::string& name, std::uint32_t page, std::uint32_t offset,
                         const std::string& what);

  private:
    std::int32_t number_;
    std::string description_;
    std::optional<PageLocation> where_;
};

}  // namespace jet
