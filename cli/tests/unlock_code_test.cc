// `qxtest-cli unlock-code` against the unlock form itself: for every day of a leap year the printed
// code opens the lock on its day and is refused on the day before and the day after.
#include <sys/wait.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dbinspect/wire.h"
#include "platform/testing/test_drive.h"
#include "shell/app.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"

namespace {

struct Output {
    int status = -1;
    std::string text;
};

Output unlockCode(const std::string& arguments) {
    const std::string command = std::string("'") + QXTEST_CLI + "' unlock-code " + arguments + " 2>&1";
    Output r;
    FILE* p = ::popen(command.c_str(), "r");
    if (p == nullptr) return r;
    char buf[256];
    std::size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) r.text.append(buf, n);
    const int w = ::pclose(p);
    r.status = WIFEXITED(w) ? WEXITSTATUS(w) : -1;
    return r;
}

// The program with the support lock wired in; each entry goes through the real form.
class Checker {
  public:
    Checker() : tp_(QX_SHARED_DIR) {
        app_ = std::make_unique<qx::shell::Application>(tp_.platform(), qx::shell::buildVersion(),
                                                        qx::dbinspect::wire);
        app_->start();
    }
    // Whether `code` opens the lock on `day` (the lock is closed again afterwards).
    bool accepts(const std::string& code, const qx::platform::LocalTime& day) {
        tp_.clock().set(day);
        auto& f = app_->frmMain();
        auto& form = app_->frmGridSecurity();
        app_->globals().rememberedUnlockCode.clear();
        app_->dispatch([&] { f.mnuFileSecurity.userClick(); });
        EXPECT_TRUE(form.visible());
        app_->dispatch([&] { form.txtPassword.userType(code); });
        app_->dispatch([&] { form.cmdEnter.userClick(); });
        const bool open = !form.loaded() && app_->globals().usersTableLocked == qx::kVbFalse;
        if (form.loaded()) app_->dispatch([&] { form.cmdCancel.userClick(); });
        if (!f.mnuFileSecurity.checked()) app_->dispatch([&] { f.mnuFileSecurity.userClick(); });
        return open;
    }

  private:
    qx::testing::TestPlatform tp_;
    std::unique_ptr<qx::shell::Application> app_;
};

std::string isoDate(const qx::platform::LocalTime& t) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", t.year, t.month, t.day);
    return buf;
}

TEST(UnlockCodeCommand, EveryDayOfALeapYearOpensTheLockOnThatDayOnly) {
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::vector<qx::platform::LocalTime> days{{2027, 12, 31, 8, 0, 0}};
    for (int m = 1; m <= 12; ++m)
        for (int d = 1; d <= kDays[m - 1]; ++d) days.push_back({2028, m, d, 8, 0, 0});
    days.push_back({2029, 1, 1, 8, 0, 0});
    ASSERT_EQ(days.size(), 368u);

    Checker checker;
    for (std::size_t i = 1; i + 1 < days.size(); ++i) {
        const Output out = unlockCode("--date " + isoDate(days[i]));
        ASSERT_EQ(out.status, 0) << out.text;
        ASSERT_EQ(out.text.size(), 9u) << out.text;
        const std::string code = out.text.substr(0, 8);
        for (char c : code) ASSERT_TRUE(c >= '0' && c <= '9') << code;
        EXPECT_TRUE(checker.accepts(code, days[i])) << isoDate(days[i]) << " " << code;
        EXPECT_FALSE(checker.accepts(code, days[i - 1])) << isoDate(days[i]) << " " << code;
        EXPECT_FALSE(checker.accepts(code, days[i + 1])) << isoDate(days[i]) << " " << code;
    }
}

TEST(UnlockCodeCommand, TodayWithoutADateAndRefusals) {
    const Output today = unlockCode("");
    EXPECT_EQ(today.status, 0);
    EXPECT_EQ(today.text.size(), 9u) << today.text;
    for (const char* bad :
         {"--date 2027-02-29", "--date 2028-13-01", "--date 28-02-29", "--date", "--when 2028-01-01"}) {
        const Output out = unlockCode(bad);
        EXPECT_EQ(out.status, 2) << bad;
        EXPECT_NE(out.text.find("usage: unlock-code [--date YYYY-MM-DD]"), std::string::npos) << bad;
    }
    EXPECT_EQ(unlockCode("--date 2028-02-29").text, "28292002\n");
}

}  // namespace
