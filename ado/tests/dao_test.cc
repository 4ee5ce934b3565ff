// The DAO face over the engine: the TableDefs collection as the engine's catalog gives it.
#include <gtest/gtest.h>

#include "ado/dao.h"
#include "jet/tests/test_support.h"

namespace {

using jettest::TempDir;

TEST(JetCatalog, DaoFaceListsTheSameTableDefs) {
    TempDir tmp;
    auto path = tmp.copy("suite/drive_c/KELDATA/KelCom.mdb");
    std::shared_ptr<jet::dao::DaoDatabase> db = jet::dao::OpenDatabase(path.string());
    auto defs = db->TableDefs();
    ASSERT_EQ(defs.size(), db->engine().tableDefs().size());
    for (std::size_t i = 0; i < defs.size(); ++i) {
        EXPECT_EQ(defs[i].Name, db->engine().tableDefs()[i].name);
        EXPECT_EQ(defs[i].Attributes, db->engine().tableDefs()[i].attributes);
    }
    EXPECT_THROW(jet::dao::OpenDatabase((tmp.path() / "missing.mdb").string()), jet::Error);
}

}  // namespace
