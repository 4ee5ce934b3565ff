#include "common/trap.h"

#include <gtest/gtest.h>

#include "common/modmaster.h"
#include "platform/testing/test_drive.h"

namespace qx {
namespace {

using platform::Answer;

class TrapTest : public ::testing::Test {
  protected:
    testing::TestPlatform tp{QX_SHARED_DIR, false};
    Globals g;
    Runtime rt{tp.platform(), g};
};

TEST_F(TrapTest, SetsTheProcedureNameAsTwentyCharacters) {
    Trap trap(rt, "CkRSlash");
    EXPECT_EQ(g.currentProcedure, "CkRSlash            ");
    EXPECT_EQ(g.currentProcedure.size(), 20u);
}

TEST_F(TrapTest, LongNamesAreCut) {
    EXPECT_EQ(fixedProcedureName("AdoConnectTableANDDatabase"), "AdoConnectTableANDDa");
    EXPECT_EQ(fixedProcedureName("\u00e9"), "\u00e9" + std::string(19, ' '));
}

TEST_F(TrapTest, AnswerZeroRetriesTheFailingStatement) {
    tp.messages().queue(Answer::Retry);
    Trap trap(rt, "Routine");
    int attempts = 0;
    EXPECT_TRUE(trap.run([&] {
        if (++attempts == 1) raise(err::kDiskFull);
    }));
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(tp.messages().shown().size(), 1u);
}

TEST_F(TrapTest, AnswerOneGoesOnAfterTheStatement) {
    tp.messages().queue(Answer::Ignore);
    Trap trap(rt, "Routine");
    int after = 0;
    EXPECT_TRUE(trap.run([&] { raise(err::kDeviceIoError); }));
    ++after;
    EXPECT_EQ(after, 1);
}

TEST_F(TrapTest, AnswerTwoLeavesTheRoutine) {
    tp.messages().queue(Answer::Abort);
    Trap trap(rt, "Routine");
    EXPECT_FALSE(trap.run([&] { raise(err::kDiskNotReady); }));
}

TEST_F(TrapTest, AnswerThreeRaisesTheSameErrorToTheCaller) {
    Trap trap(rt, "Routine");
    try {
        trap.run([&] { raise(err::kPathNotFound); });
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 76);
    }
    EXPECT_TRUE(tp.messages().shown().empty());
}

TEST_F(TrapTest, ProgramEndAndOtherExceptionsPassThrough) {
    Trap trap(rt, "Routine");
    EXPECT_THROW(trap.run([] { throw ProgramEnd{}; }), ProgramEnd);
    EXPECT_THROW(trap.run([] { throw std::logic_error("x"); }), std::logic_error);
}

TEST_F(TrapTest, EndlessRetriesEndInTheError) {
    tp.messages().setFallback([](const platform::ShownBox&) { return Answer::Retry; });
    Trap trap(rt, "Routine");
    EXPECT_THROW(trap.run([] { raise(err::kDiskFull); }), RuntimeError);
    EXPECT_EQ(tp.messages().shown().size(), static_cast<std::size_t>(Trap::kMaxRetries + 1));
}

TEST_F(TrapTest, ErrorNumberBeyondSixteenBitsBecomesOverflow) {
    Trap trap(rt, "Routine");
    try {
        trap.run([] { raise(-2147467259); });
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
    }
}

}  // namespace
}  // namespace qx
