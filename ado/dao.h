// A DAO-like face over the engine for the tool's code: OpenDatabase(path) gives a database whose
// TableDefs collection lists Name and Attributes in DAO's order. The database is released when the
// last reference to it is dropped, as DAO objects are.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"
#include "platform/filesystem.h"

namespace jet::dao {

struct TableDef {
    std::string Name;
    std::int32_t Attributes = 0;
};

class DaoDatabase {
  public:
    explicit DaoDatabase(Database db) : db_(std::move(db)) {}
    // The TableDefs collection in enumeration order.
    std::vector<TableDef> TableDefs() const {
        std::vector<TableDef> out;
        for (const auto& t : db_.tableDefs()) out.push_back({t.name, t.attributes});
        return out;
    }
    const std::string& Name() const noexcept { return db_.path(); }
    Database& engine() noexcept { return db_; }
    const Database& engine() const noexcept { return db_; }

  private:
    Database db_;
};

// Throws jet::Error as Database::open does.
inline std::shared_ptr<DaoDatabase> OpenDatabase(const std::string& hostPath) {
    return std::make_shared<DaoDatabase>(Database::open(hostPath));
}

}  // namespace jet::dao

namespace qx::ado {

// DBEngine.OpenDatabase(path) as the program calls it, with the path alone: a shared open for
// reading and writing, recorded in the lock file beside the database (<name>.ldb) while the
// returned reference lives; a file or folder that cannot be written is opened for reading.
// `windowsPath` is a path of the emulated Windows path space. Failures are qx::RuntimeError with
// DAO's number and the engine's text, the file named by its Windows path: 3024 missing, 3343 not
// a database, 3031 password-protected, 3049 damaged, 3045 / 3356 refused by another open's locks;
// a path outside the mapped drives raises the path space's 76 / 68.
std::shared_ptr<jet::dao::DaoDatabase> OpenDatabase(const platform::FileSystem& fs,
                                                    std::string_view windowsPath);

}  // namespace qx::ado
