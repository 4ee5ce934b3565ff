#include "platform/errors.h"

#include <gtest/gtest.h>

namespace qx {
namespace {

TEST(ErrorTexts, FileErrorsThatAskAbortRetryIgnoreHaveTheirTexts) {
    EXPECT_EQ(errorDescription(57), "Device I/O error");
    EXPECT_EQ(errorDescription(61), "Disk full");
    EXPECT_EQ(errorDescription(68), "Device unavailable");
    EXPECT_EQ(errorDescription(71), "Disk not ready");
}

TEST(ErrorTexts, CommonRuntimeErrors) {
    EXPECT_EQ(errorDescription(5), "Invalid procedure call or argument");
    EXPECT_EQ(errorDescription(6), "Overflow");
    EXPECT_EQ(errorDescription(9), "Subscript out of range");
    EXPECT_EQ(errorDescription(13), "Type mismatch");
    EXPECT_EQ(errorDescription(52), "Bad file name or number");
    EXPECT_EQ(errorDescription(53), "File not found");
    EXPECT_EQ(errorDescription(55), "File already open");
    EXPECT_EQ(errorDescription(62), "Input past end of file");
    EXPECT_EQ(errorDescription(70), "Permission denied");
    EXPECT_EQ(errorDescription(75), "Path/File access error");
    EXPECT_EQ(errorDescription(76), "Path not found");
    EXPECT_EQ(errorDescription(91), "Object variable or With block variable not set");
}

TEST(ErrorTexts, UnknownNumberGetsTheGenericText) {
    EXPECT_EQ(errorDescription(31999), "Application-defined or object-defined error");
}

TEST(RuntimeErrorTest, TakesTheStandardTextUnlessGivenOne) {
    RuntimeError a(61);
    EXPECT_EQ(a.number(), 61);
    EXPECT_EQ(a.description(), "Disk full");
    EXPECT_STREQ(a.what(), "Disk full");
    RuntimeError b(3024, "Could not find file 'x'.");
    EXPECT_EQ(b.description(), "Could not find file 'x'.");
}

TEST(RuntimeErrorTest, RaiseThrowsTheNumber) {
    try {
        raise(err::kOverflow);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);
    }
}

}  // namespace
}  // namespace qx
