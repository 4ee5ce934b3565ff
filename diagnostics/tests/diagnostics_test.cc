#include <gtest/gtest.h>

#include "diagnostics/memory.h"

namespace qx::diagnostics {
namespace {

TEST(MemoryArithmetic, UsedMemoryIsSignedSubtraction) { EXPECT_EQ(usedMemory(1000, 400), 600); }

}  // namespace
}  // namespace qx::diagnostics
