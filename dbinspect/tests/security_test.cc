// The support lock: the Security menu item, frmGridSecurity's checks in order, and the unlock
// code's date fields.
#include "dbinspect/security.h"
#include "dbinspect/tests/inspect_fixture.h"
#include "dbinspect/unlock_code.h"

namespace qx::dbinspect::testing {
namespace {

class Security : public InspectTest {
  protected:
    void SetUp() override {
        tp_.clock().set({2028, 2, 29, 9, 30, 0});  // today's code: characters 3-4 "29", 7-8 "02"
        start();
    }
    void openForm() {
        click(main().mnuFileSecurity);
        ASSERT_TRUE(security().visible());
        ASSERT_TRUE(security().modal());
    }
    // Types `entry` into the box and presses the Enter button.
    void enter(const std::string& entry) {
        run([&] { security().txtPassword.setText(entry); });
        click(security().cmdEnter);
    }
    std::pair<std::string, std::string> messages() {
        return {security().lblPassword.caption(), security().lblPassword2.caption()};
    }
    void expectLocked(bool locked) {
        auto& f = main();
        EXPECT_EQ(f.mnuFileSecurity.checked(), locked);
        EXPECT_EQ(f.optSearch(10).visible(), !locked);
        for (forms::Grid* g : {&f.grdData, &f.grdListing}) {
            EXPECT_EQ(g->allowAddNew(), !locked) << g->name();
            EXPECT_EQ(g->allowDelete(), !locked) << g->name();
            EXPECT_EQ(g->allowUpdate(), !locked) << g->name();
        }
    }
    // The form stays up, its box empty and focused.
    void expectRefused(const std::string& first, const std::string& second) {
        EXPECT_EQ(messages(), std::make_pair(first, second));
        EXPECT_TRUE(security().loaded());
        EXPECT_TRUE(security().visible());
        EXPECT_EQ(security().txtPassword.text(), "");
        EXPECT_EQ(security().focused(), &security().txtPassword);
        EXPECT_EQ(globals().usersTableLocked, kVbTrue);
    }
};

TEST_F(Security, TheLockIsClosedAtStartUp) {
    expectLocked(true);
    EXPECT_EQ(globals().usersTableLocked, kVbTrue);
    EXPECT_EQ(globals().rememberedUnlockCode, "");
}

TEST_F(Security, AnEntryOfSpacesOnlyIsBlank) {
    openForm();
    enter("     ");
    expectRefused("(Blank) Unlock Code Entered ", "Please Enter Unlock Code");
    EXPECT_EQ(globals().rememberedUnlockCode, "");
}

TEST_F(Security, AWrongCodeOfTheRightFormIsRefusedAndRememberedAllTheSame) {
    openForm();
    enter("28282003");  // the day and month fields of another day
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    EXPECT_EQ(globals().rememberedUnlockCode, "28282003");
    expectLocked(true);
}

TEST_F(Security, TheFourUncheckedCharactersPlayNoPart) {
    const DateFields today = unlockDateFields(app_->program().rt, tp_.clock().now());
    EXPECT_EQ(today.a, "29");
    EXPECT_EQ(today.b, "02");
    EXPECT_TRUE(unlockFieldsMatch("11291102", today));
    EXPECT_TRUE(unlockFieldsMatch("98297702", today));
    EXPECT_FALSE(unlockFieldsMatch("11291103", today));
    EXPECT_FALSE(unlockFieldsMatch("11281102", today));
    // Through the form: one of two entries that differ only there opens the lock, as the other
    // would; two that differ only there and miss a field are both refused.
    openForm();
    enter("55295503");
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    enter("11291103");
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    enter("98297702");
    EXPECT_FALSE(security().loaded());
    EXPECT_EQ(globals().usersTableLocked, kVbFalse);
    expectLocked(false);
}

TEST_F(Security, SevenAndNineDigitsGiveTheSameTwoMessages) {
    openForm();
    enter("2829200");
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    enter("282920021");
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    EXPECT_EQ(globals().rememberedUnlockCode, "");
}

TEST_F(Security, TheNumericTestReadsALeadingNumber) {
    openForm();
    enter("00000000");
    expectRefused("Invalid Unlock Code", "Please Re-Enter code (Numeric Only)");
    enter("abcdefgh");
    expectRefused("Invalid Unlock Code", "Please Re-Enter code (Numeric Only)");
    EXPECT_EQ(globals().rememberedUnlockCode, "");
    // Digits first, letters after: past the numeric test, remembered, and judged by its fields.
    enter("7x29ab02");
    EXPECT_EQ(globals().rememberedUnlockCode, "7x29ab02");
    EXPECT_FALSE(security().loaded());
}

TEST_F(Security, EnterInTheBoxActsAsTheEnterButton) {
    openForm();
    run([&] { ASSERT_TRUE(security().txtPassword.userType("1234")); });
    run([&] { ASSERT_TRUE(security().txtPassword.userKeyPress(13)); });
    expectRefused("Invalid Unlock Code", "Please Re-Enter 8-digit Unlock Code");
    run([&] { ASSERT_TRUE(security().txtPassword.userType("28292002")); });
    EXPECT_EQ(security().txtPassword.text(), "28292002");  // other keys go into the box
    run([&] { ASSERT_TRUE(security().txtPassword.userKeyPress(13)); });
    EXPECT_FALSE(security().loaded());
    expectLocked(false);
}

TEST_F(Security, AfterAnAcceptedCodeTheMenuLocksEverythingAgain) {
    openForm();
    enter("28292002");
    ASSERT_EQ(globals().usersTableLocked, kVbFalse);
    expectLocked(false);
    click(main().mnuFileSecurity);
    expectLocked(true);
    EXPECT_EQ(globals().usersTableLocked, kVbTrue);
    EXPECT_FALSE(security().visible());
    // With a code remembered, the menu opens all but the USERS table without asking.
    click(main().mnuFileSecurity);
    EXPECT_FALSE(security().visible());
    expectLocked(false);
    EXPECT_EQ(globals().usersTableLocked, kVbTrue);
}

TEST_F(Security, CancelOnlyLocksTheUsersTable) {
    openForm();
    enter("11111111");  // remembered, refused
    click(security().cmdCancel);
    EXPECT_FALSE(security().loaded());
    EXPECT_EQ(globals().usersTableLocked, kVbTrue);
    expectLocked(true);
    // The remembered entry lets the menu open the rest; the USERS table stays withheld.
    click(main().mnuFileSecurity);
    expectLocked(false);
    EXPECT_EQ(globals().usersTableLocked, kVbTrue);
    run([&] { ASSERT_TRUE(main().SSTab1.userSelectTab(1)); });
    tp_.messages().queue(platform::Answer::OK);
    view("office-Users");
    ASSERT_EQ(tp_.messages().shown().size(), 1u);
    EXPECT_EQ(tp_.messages().shown()[0].title, "Permission Denied");
}

TEST_F(Security, TheFormStartsAfreshEachTime) {
    openForm();
    enter("1");
    click(security().cmdCancel);
    openForm();
    EXPECT_EQ(messages(),
              std::make_pair(std::string("Please Enter Unlock Code"), std::string("(8-digit numeric)")));
    EXPECT_EQ(security().caption(), "Database Grid - Security");
}

TEST(UnlockCode, EveryDayOfALeapYearIsAcceptedOnItsDayOnly) {
    qx::testing::TestPlatform tp(QX_SHARED_DIR, false);
    Globals g;
    Runtime rt{tp.platform(), g};
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::vector<platform::LocalTime> days;
    for (int m = 1; m <= 12; ++m)
        for (int d = 1; d <= kDays[m - 1]; ++d) days.push_back({2028, m, d, 12, 0, 0});
    ASSERT_EQ(days.size(), 366u);
    for (std::size_t i = 0; i < days.size(); ++i) {
        const std::string code = unlockCodeFor(rt, days[i]);
        ASSERT_EQ(code.size(), 8u);
        EXPECT_TRUE(unlockFieldsMatch(code, unlockDateFields(rt, days[i]))) << code;
        if (i > 0) {
            EXPECT_FALSE(unlockFieldsMatch(code, unlockDateFields(rt, days[i - 1]))) << code;
        }
        if (i + 1 < days.size()) {
            EXPECT_FALSE(unlockFieldsMatch(code, unlockDateFields(rt, days[i + 1]))) << code;
        }
    }
}

}  // namespace
}  // namespace qx::dbinspect::testing
