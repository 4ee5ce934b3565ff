// The data-access objects' own failures: numbers and texts as ADO gives them.
#include "ado/errors.h"

#include <gtest/gtest.h>

namespace qx::ado {
namespace {

TEST(AdoErrors, EveryFailureHasItsNumberAndText) {
    EXPECT_EQ(errorNumber(Failure::ObjectClosed), 3704);
    EXPECT_EQ(errorText(Failure::ObjectClosed), "Operation is not allowed when the object is closed.");
    EXPECT_EQ(errorNumber(Failure::ProviderNotFound), 3706);
    EXPECT_EQ(errorNumber(Failure::InvalidPath), -2147467259);
    EXPECT_EQ(errorText(Failure::InvalidPath, "C:\\NOFOLDER\\office.mdb"),
              "'C:\\NOFOLDER\\office.mdb' is not a valid path.  Make sure that the path name is spelled "
              "correctly and that you are connected to the server on which the file resides.");
    EXPECT_EQ(errorNumber(Failure::CommandTextNotSet), -2147217908);
    // A failure missing from the table would borrow the last row's text.
    const std::string last = errorText(Failure::ItemNotFound, "x");
    EXPECT_EQ(errorNumber(Failure::ItemNotFound), 3265);
    for (int f = 0; f < static_cast<int>(Failure::ItemNotFound); ++f) {
        EXPECT_NE(errorNumber(static_cast<Failure>(f)), 0) << f;
        EXPECT_NE(errorText(static_cast<Failure>(f), "x"), last) << f;
    }
}

}  // namespace
}  // namespace qx::ado
