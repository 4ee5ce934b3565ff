#include <gtest/gtest.h>

#include "ui/control_name.h"

namespace qx::ui {
namespace {

TEST(ControlName, ArrayMembersAreNamedWithTheirIndexInParentheses) {
    EXPECT_EQ(controlObjectName("cmdClear", 3), "cmdClear(3)");
    EXPECT_EQ(controlObjectName("cmdKELini"), "cmdKELini");
    auto parsed = parseControlObjectName("optSearch(11)");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->name, "optSearch");
    EXPECT_EQ(parsed->index, 11);
    EXPECT_FALSE(parseControlObjectName("a(x)"));
    EXPECT_FALSE(parseControlObjectName("a(-1)"));
    EXPECT_FALSE(parseControlObjectName("(1)"));
    EXPECT_FALSE(parseControlObjectName(""));
}

}  // namespace
}  // namespace qx::ui
