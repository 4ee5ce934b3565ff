#include "jet/error.h"

#include <cerrno>

namespace jet {

Error::Error(std::int32_t number, std::string description, std::optional<PageLocation> where)
    : std::runtime_error(description), number_(number), description_(std::move(description)), where_(where) {}

Error Error::fileNotFound(const std::string& name) {
    return Error(errc::kFileNotFound, "Could not find file '" + name + "'.");
}

Error Error::unrecognizedFormat(const std::string& name) {
    return Error(errc::kUnrecognizedFormat, "Unrecognized database format '" + name + "'.");
}

Error Error::badPassword() {
    return Error(errc::kBadPassword, "Not a valid password.");
}

Error Error::noPermission(const std::string& name) {
    return Error(errc::kNoPermission,
                 "The Microsoft Jet database engine cannot open the file '" + name +
                     "'.  It is already opened exclusively by another user, or you need permission to "
                     "view its data.");
}

Error Error::tableNotFound(const std::string& name) {
    return Error(errc::kTableNotFound,
                 "The Microsoft Jet database engine cannot find the input table or query '" + name +
                     "'.  Make sure it exists and that its name is spelled correctly.");
}

Error Error::notADatabase(const std::string& name) {
    return Error(errc::kCannotOpen, "Cannot open database '" + name +
                                        "'.  It may not be a database that your application recognizes, "
                                        "or the file may be corrupt.");
}

Error Error::noSuchTable(const std::string& name) {
    return Error(errc::kNoSuchTable, "Table '" + name + "' does not exist.");
}

Error Error::tableExists(const std::string& name) {
    return Error(3010, "Table '" + name + "' already exists.");
}

Error Error::duplicateKey() {
    return Error(
        3022,
        "The changes you requested to the table were not successful because they would create duplicate "
        "values in the index, primary key, or relationship.  Change the data in the field or fields that "
        "contain duplicate data, remove the index, or redefine the index to permit duplicate entries and "
        "try again.");
}

Error Error::requiredNull(const std::string& field) {
    return Error(3314,
                 "The field '" + field +
                     "' cannot contain a Null value because the Required property for this field is set "
                     "to True.  Enter a value in this field.");
}

Error Error::nullInIndex() {
    return Error(3058, "Index or primary key cannot contain a Null value.");
}

Error Error::valueTooLong() {
    return Error(
        3163,
        "The field is too small to accept the amount of data you attempted to add.  Try inserting or "
        "pasting less data.");
}

Error Error::typeMismatch() {
    return Error(3464, "Data type mismatch in criteria expression.");
}

Error Error::indexExists(const std::string& table, const std::string& index) {
    return Error(3375, "Table '" + table + "' already has an index named '" + index + "'.");
}

Error Error::primaryKeyExists() {
    return Error(3283, "Primary key already exists.");
}

Error Error::noObjectPermission(const std::string& object) {
    return Error(errc::kNoObjectPermission,
                 "You do not have the necessary permissions to use the '" + object +
                     "' object.  Have your system administrator or the person who created this object "
                     "establish the appropriate permissions for you.");
}

Error Error::itemNotFound() {
    return Error(errc::kItemNotFound, "Item not found in this collection.");
}

Error Error::locked() {
    return Error(errc::kLocked, "Could not update; currently locked.");
}

Error Error::readOnly() {
    return Error(errc::kReadOnly, "Cannot update.  Database or object is read-only.");
}

Error Error::writeFailed(const std::string& name, int errnoValue) {
    switch (errnoValue) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return Error(errc::kDiskFull, "Not enough space on disk.");
        case EROFS:
        case EACCES:
        case EPERM:
            return readOnly();
        case ENOENT:
        case ENOTDIR:
            return Error(errc::kInvalidPath,
                         "'" + name +
                             "' is not a valid path.  Make sure that the path name is spelled correctly and "
                             "that you are connected to the server on which the file resides.");
        default:
            return Error(errc::kDiskError, "Disk or network error.");
    }
}

Error Error::corrupt(const std::string& name, std::uint32_t page, std::uint32_t offset,
                     const std::string& what) {
    std::string text = "Cannot open database '" + name +
                       "'.  It may not be a database that your application recognizes, or the file may be "
                       "corrupt. (page " +
                       std::to_string(page) + ", offset " + std::to_string(offset) + ": " + what + ")";
    return Error(errc::kCannotOpen, std::move(text), PageLocation{page, offset});
}

}  // namespace jet
