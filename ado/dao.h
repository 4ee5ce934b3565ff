// A DAO-like face over the engine for the tool's code: OpenDatabase(path) gives a database whose
// TableDefs collection lists Name and Attributes in DAO's order. The database is released when the
// last reference to it is dropped, as DAO objects are.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/table.h"

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
